#include "Timer.h"

namespace TESK_ZAN
{

Timer::Timer() : start(Clock::now()) {}

double Timer::stop()
{
    elapsedSeconds = secondsSinceStart();
    bStopped = true;
    return elapsedSeconds;
}

double Timer::elapsed() const
{
    return bStopped ? elapsedSeconds : secondsSinceStart();
}

double Timer::secondsSinceStart() const
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace TESK_ZAN
