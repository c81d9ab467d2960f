// Time of the steps of a command.
#pragma once

#include <chrono>

// Seconds since the last call, or since it was made.
class Stopwatch
{
public:
    double lap()
    {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double> passed = now - last;
        last = now;
        return passed.count();
    }

private:
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};
