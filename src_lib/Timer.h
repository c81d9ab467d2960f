// Subsystem: ground. Builds on: the standard library. Used by: stage times and progress.
// A stop watch. What it shows goes into messages only, never into a result.
#pragma once

#include <chrono>

namespace TESK_ZAN
{

// Runs from its construction on.
class Timer
{
public:
    Timer();

    // Stops the watch and returns the seconds since the start; a second call measures again from the start.
    double stop();

    // Seconds: the stored value if stopped, otherwise the time since the start.
    double elapsed() const;

private:
    using Clock = std::chrono::high_resolution_clock;

    double secondsSinceStart() const;

    Clock::time_point start;
    double elapsedSeconds = 0.0;
    bool bStopped = false;
};

} // namespace TESK_ZAN
