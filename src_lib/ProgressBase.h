// Subsystem: runtime. Builds on: zan_export. Used by: hosts, Progress, zan_api_functions.
// What a host implements to follow a run: one number from 0 to 1, with the name of the run. Installed.
#pragma once

#include "zan_export.h"

#include <string>

namespace TESK_ZAN
{

// Derive from it, implement progressChanged and hand the object to subscribe(). A subscription belongs to the
// thread that called subscribe and lasts until another object takes its place, the thread ends, or the object
// is destroyed: the destructor takes the object off every thread's list, so none is ever called after its
// end. The library never owns a subscriber.
class ZAN_EXPORT ProgressBase
{
public:
    ProgressBase();
    ProgressBase(const ProgressBase& other);
    ProgressBase& operator=(const ProgressBase& other);

    // Waits for a call of this very object that is going on in another thread; but a derived class is already
    // half gone by then, so better destroy a subscriber while none of its threads is inside the library.
    virtual ~ProgressBase();

    // Called on the thread of the run, about 200 times, when the fraction (0.0 to 1.0) has changed. It may go
    // back a little when a phase is opened again. An exception thrown here cancels the run: it passes through
    // the main call to the host, and the next call works as usual. Do not start another run in here.
    virtual void progressChanged(const std::string& treeName, double fraction) = 0;
};

} // namespace TESK_ZAN
