// The way from the library's progress to a Python callable, and of an interrupt into the library.
#pragma once

#include <zan/ProgressBase.h>

#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <string>

// What the library is left with when Python has raised: it carries no Python object, so that it may pass
// through code that does not hold the interpreter's lock.
struct CancelledByPython {
};

// Follows the calls of this thread while it lives: gives the fraction to the callable, and looks for
// interrupts (Ctrl-C), for which Python counts the main thread only. Made and destroyed with the
// interpreter's lock held, called without.
class ProgressListener : public TESK_ZAN::ProgressBase
{
public:
    // None as a callable: only interrupts. Throws std::runtime_error if a call of this thread is running
    // already, which a progress callable would have started.
    explicit ProgressListener(pybind11::object callable);
    ~ProgressListener() override;
    ProgressListener(const ProgressListener&) = delete;
    ProgressListener& operator=(const ProgressListener&) = delete;

    // Throws CancelledByPython when the callable or a signal handler raises.
    void progressChanged(const std::string& treeName, double fraction) override;

    // To be called with the interpreter's lock after CancelledByPython: throws what Python raised.
    [[noreturn]] void rethrow() const;

private:
    using Clock = std::chrono::steady_clock;

    pybind11::object callable;
    Clock::time_point lastLook = Clock::now();
    std::exception_ptr pRaised;
};

// Runs f, a call of the library, without the interpreter's lock, and gives back what it returns.
template <class F>
auto runCall(const pybind11::object& progress, const F& f)
{
    ProgressListener listener(progress);
    try {
        const pybind11::gil_scoped_release release;
        return f();
    } catch (const CancelledByPython&) {
        listener.rethrow();
    }
}
