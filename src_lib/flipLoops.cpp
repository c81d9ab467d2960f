#include "flipLoops.h"

#include "Progress.h"
#include "RMesh.h"
#include "colorDistance.h"
#include "random.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <locale>
#include <sstream>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr double MIN_IMPROVEMENT = 0.005; // a value that has shrunk to this is not worth another look
constexpr u64 SHUFFLE_SEED = 0x51f15e3b;

// -DBL_MAX also where the rating fails, which takes an unsound mesh.
double improvementOrForbidden(REdgeEnergy& energy, REdge* pRE)
{
    try {
        return energy.getImprovement(pRE);
    } catch (const ZanBugException&) {
        return -DBL_MAX;
    }
}

// Fisher and Yates.
void shuffle(std::vector<RECandidate>& vCandidates, u64 seed)
{
    Random random(seed);
    for (size_t i = vCandidates.size(); i > 1; --i)
        std::swap(vCandidates[i - 1], vCandidates[random.below(static_cast<std::uint32_t>(i))]);
}

} // namespace

// It ends: each entry leaves by a flip, for good, or comes back with a lower value.
void greedyFlips(RMesh* pRMesh)
{
    std::vector<RECandidate> vImpRE;
    pRMesh->getEdgeFlipCandidates_MT(pRMesh->getAllRE(), MIN_IMPROVEMENT, 0.0, vImpRE);

    const StageTimer stage("efLoop");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("efLoop", 3 * pRMesh->getAllRE().size());
    const LabCache lab(*pRMesh);
    REdgeEnergy energy(pRMesh, nullptr, &lab);
    FlipQueue queue(std::move(vImpRE));
    while (!queue.empty()) {
        energy.prefetchAll([&](size_t ahead) { return queue.getAhead(ahead); });
        const auto [savedImprovement, pRE] = queue.pop();
        zanAssert(savedImprovement > -DBL_MAX && pRE != nullptr);
        const double freshImprovement = improvementOrForbidden(energy, pRE);
        if (savedImprovement <= freshImprovement) {
            zanAssert(freshImprovement >= 0.0 && pRE->getDegree() == 2);
            pProgress->tick();
            pRE->tryFlipEdge(pRMesh, nullptr, nullptr);
        } else if (freshImprovement > MIN_IMPROVEMENT) {
            queue.push({freshImprovement, pRE});
        }
    }
    pProgress->finish(true);
}

void edgeFlipsSimA(RMesh* pRMesh, double temperature)
{
    std::vector<RECandidate> vImpRE;
    pRMesh->getEdgeFlipCandidates_MT(pRMesh->getAllRE(), 0.0, temperature, vImpRE);
    shuffle(vImpRE, SHUFFLE_SEED ^ std::bit_cast<u64>(temperature));

    const StageTimer stage("efSweep");
    const LabCache lab(*pRMesh);
    REdgeEnergy energy(pRMesh, nullptr, &lab);
    for (size_t i = 0; i < vImpRE.size(); ++i) {
        energy.prefetchAll(
            [&](size_t ahead) { return i + ahead < vImpRE.size() ? vImpRE[i + ahead].pRE : nullptr; });
        REdge* pRE = vImpRE[i].pRE;
        if (improvementOrForbidden(energy, pRE) !=
            -DBL_MAX) // chosen is chosen: the value does not matter now
            pRE->tryFlipEdge(pRMesh, nullptr, nullptr);
    }
}

std::vector<double> annealingTemperatures()
{
    constexpr double START = 0.02;
    constexpr double END = 0.001;
    constexpr double FACTOR = 0.9;
    std::vector<double> vTemperatures;
    for (double t = START; t > END;) {
        t *= FACTOR;
        vTemperatures.push_back(t);
    }
    return vTemperatures;
}

std::string flipCandidatesPhase(double temperature)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "RM_gEfCandMT";
    if (temperature > 0.0)
        text << '_' << temperature;
    return text.str();
}

// ---- FlipQueue ----

FlipQueue::FlipQueue(std::vector<RECandidate> vSorted_) : vSorted(std::move(vSorted_)) {}

bool FlipQueue::comesLater(const Entry& entry0, const Entry& entry1)
{
    const double improvement0 = entry0.candidate.improvement;
    const double improvement1 = entry1.candidate.improvement;
    return improvement0 != improvement1 ? improvement0 < improvement1 : entry0.sequence < entry1.sequence;
}

RECandidate FlipQueue::pop()
{
    if (vHeap.empty() ||
        (!vSorted.empty() && vSorted.back().improvement > vHeap.front().candidate.improvement)) {
        const RECandidate top = vSorted.back();
        vSorted.pop_back();
        return top;
    }
    std::pop_heap(vHeap.begin(), vHeap.end(), comesLater);
    const RECandidate top = vHeap.back().candidate;
    vHeap.pop_back();
    return top;
}

void FlipQueue::push(const RECandidate& candidate)
{
    vHeap.push_back({candidate, numPushed++});
    std::push_heap(vHeap.begin(), vHeap.end(), comesLater);
}

} // namespace TESK_ZAN
