#include "ProgressListener.h"

#include <zan/zan_api_functions.h>

#include <stdexcept>
#include <utility>

namespace py = pybind11;

namespace
{

// Often enough for the hand at the keyboard; seldom enough not to wait for the interpreter's lock all the
// time while other threads hold it.
constexpr std::chrono::milliseconds BETWEEN_LOOKS(50);

thread_local bool bCallRuns = false;

} // namespace

ProgressListener::ProgressListener(py::object callable_) : callable(std::move(callable_))
{
    if (std::exchange(bCallRuns, true))
        throw std::runtime_error("a progress callable must not start another call of zan");
    TESK_ZAN::subscribe(this);
}

ProgressListener::~ProgressListener()
{
    bCallRuns = false;
}

void ProgressListener::progressChanged(const std::string&, double fraction)
{
    const Clock::time_point now = Clock::now();
    const bool bCallable = !callable.is_none();
    if (!bCallable && now - lastLook < BETWEEN_LOOKS)
        return;
    lastLook = now;

    const py::gil_scoped_acquire acquire;
    try {
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
        if (bCallable)
            callable(fraction);
    } catch (const py::error_already_set&) {
        pRaised = std::current_exception();
        throw CancelledByPython();
    }
}

void ProgressListener::rethrow() const
{
    std::rethrow_exception(pRaised);
}
