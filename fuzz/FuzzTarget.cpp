#include "FuzzTarget.h"

#include "zan_api_functions.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace zan_fuzz
{

namespace
{

// What a call may refuse by a ZanBugException, as its report says.
constexpr std::array REFUSALS{"[ usedSpacing>0 ",        "[ spacingAbs>0 ",
                              "[ numCReal>=numReqC ",    "[ vTriangleCorners.size()%3==0 ",
                              "[ vCorners.size()%3==0 ", "[ numGrowSteps>0 "};

} // namespace

const std::vector<FuzzTarget>& allTargets()
{
    static const std::vector<FuzzTarget> vTargets{
        {"ply_points", readPlyPoints},
        {"ply_faces", readPlyFaces},
        {"text_points", readTextPoints},
        {"binary_points", readBinaryPoints},
        {"stl_text", readTextStl},
        {"stl_binary", readBinaryStl},
        {"obj", readObjFile},
        {"reconstruct_auto", reconstructDetected},
        {"reconstruct_abs", reconstructGiven},
        {"melt", meltSoup},
        {"cloud", cloudOfSoup},
        {"bridge", bridgeSoup},
        {"improve", improveMesh},
        {"cancel", cancelCalls},
    };
    return vTargets;
}

const FuzzTarget* findTarget(std::string_view name)
{
    const std::vector<FuzzTarget>& vTargets = allTargets();
    const auto it =
        std::find_if(vTargets.begin(), vTargets.end(), [&](const FuzzTarget& t) { return name == t.name; });
    return it == vTargets.end() ? nullptr : &*it;
}

void prepareProcess()
{
    TESK_ZAN::setGlobalNumCPU(1);
    TESK_ZAN::setMessageStream(nullptr);
}

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "zan_fuzz: does not hold: %s\n", what);
    std::abort();
}

bool refusesArguments(const std::function<void()>& call)
{
    struct Silence {
        ~Silence() { TESK_ZAN::setMessageStream(nullptr); }
    };
    std::ostringstream messages;
    const Silence silence;
    TESK_ZAN::setMessageStream(&messages);
    try {
        call();
        return false;
    } catch (const TESK_ZAN::ZanBugException&) {
        const std::string text = messages.str();
        if (std::none_of(REFUSALS.begin(), REFUSALS.end(),
                         [&](const char* part) { return text.find(part) != std::string::npos; })) {
            std::fputs(text.c_str(), stderr);
            require(false, "no condition inside the library fails");
        }
        return true;
    }
}

} // namespace zan_fuzz
