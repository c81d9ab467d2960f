// Subsystem: runtime. Builds on: messages. Used by: every stage, the benches.
// Where the time of a run goes: each stage holds a StageTimer. Costs two clock readings per stage.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace TESK_ZAN
{

struct StageRecord {
    std::string name;
    double seconds;
};

// True when the environment has ZAN_TRACE=1. Read once per process.
bool traceEnabled();

// From now on the timers that end on this thread append a record to p, in the order in which they end (an
// inner stage comes before the one around it). Null ends it. p must live until then.
void recordStages(std::vector<StageRecord>* p);

// Measures from its construction to its end. With traceEnabled, the end writes one line "stage seconds" to
// the complaint stream.
class StageTimer
{
public:
    // stage must outlive the timer: meant for literals.
    explicit StageTimer(const char* stage);
    ~StageTimer();
    StageTimer(const StageTimer&) = delete;
    StageTimer& operator=(const StageTimer&) = delete;

private:
    const char* nameStage;
    std::chrono::steady_clock::time_point start;
};

} // namespace TESK_ZAN
