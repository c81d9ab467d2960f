// Subscribers for tests of progress: one that remembers all calls, and can cancel a run.
#pragma once

#include "ProgressBase.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zan_test
{

struct Cancelled : std::runtime_error {
    Cancelled() : std::runtime_error("cancelled by the subscriber") {}
};

// Remembers each call; throws Cancelled on the call of index throwAt (from 0), if that is not negative.
class Recorder : public TESK_ZAN::ProgressBase
{
public:
    explicit Recorder(int throwAtCall = -1) : throwAt(throwAtCall) {}

    void progressChanged(const std::string& treeName, double fraction) override
    {
        vCalls.emplace_back(treeName, fraction);
        if (int(vCalls.size()) == throwAt + 1)
            throw Cancelled();
    }

    std::vector<std::pair<std::string, double>> vCalls; // tree name, fraction

private:
    int throwAt;
};

} // namespace zan_test
