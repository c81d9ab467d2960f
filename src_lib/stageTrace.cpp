#include "stageTrace.h"

#include "messages.h"

#include <cstdlib>
#include <exception>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

thread_local std::vector<StageRecord>* pRecords = nullptr;

} // namespace

bool traceEnabled()
{
    static const bool bEnabled = [] {
        const char* value = std::getenv("ZAN_TRACE");
        return value != nullptr && std::string(value) == "1";
    }();
    return bEnabled;
}

void recordStages(std::vector<StageRecord>* p)
{
    pRecords = p;
}

StageTimer::StageTimer(const char* stage) : nameStage(stage), start(std::chrono::steady_clock::now()) {}

StageTimer::~StageTimer()
{
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    try {
        if (pRecords != nullptr)
            pRecords->push_back({nameStage, elapsed.count()});
        if (traceEnabled())
            complaintStream() << nameStage << ' ' << elapsed.count() << '\n' << std::flush;
    } catch (const std::exception&) {
        // a measurement may get lost, the run that it belongs to may not
    }
}

} // namespace TESK_ZAN
