// A subscriber that cancels a call.
#pragma once

#include "ProgressBase.h"
#include "zan_api_functions.h"

#include <string>

namespace zan_test
{

struct HadEnough {
};

// Subscribes itself on the thread that makes it, and throws HadEnough at one of the notifications.
class Impatient : public TESK_ZAN::ProgressBase
{
public:
    // The first one is 1; 0: never.
    explicit Impatient(int throwAt_) : throwAt(throwAt_) { TESK_ZAN::subscribe(this); }

    void progressChanged(const std::string&, double) override
    {
        if (++numCalls == throwAt)
            throw HadEnough();
    }

    int numCalls = 0;

private:
    const int throwAt;
};

} // namespace zan_test
