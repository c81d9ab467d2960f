#include "RMesh.h"

#include "Progress.h"
#include "REdgeEnergy.h"
#include "colorDistance.h"
#include "flipLoops.h"
#include "random.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cfloat>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr u64 METROPOLIS_SEED = 0x7e3f11c5;
constexpr u64 RING_CENTER_SEED = 0x2c1b3c6d;

// The Metropolis rule. The number drawn is a function of temperature and edge, so it does not matter which
// thread asks when; each sweep has a temperature of its own.
bool isChosen(double improvement, double temperature, const REdge& edge)
{
    const double drawn = randomAt(METROPOLIS_SEED, std::bit_cast<u64>(temperature), edge.getNumber());
    return drawn <= std::exp(improvement / temperature);
}

} // namespace

void RMesh::getEdgeFlipCandidates_MT(const std::vector<REdge*>& vInRE, double minImprovement,
                                     double temperature, std::vector<RECandidate>& vImpRE)
{
    constexpr size_t MIN_SLICE = 100;
    const StageTimer stage("RM_gEfCandMT");
    zanAssert(vImpRE.empty());
    settleForFlips(vInRE);
    const LabCache lab(*this);

    vImpRE.resize(vInRE.size());
    const size_t sliceSize = std::max(MIN_SLICE, vInRE.size() / static_cast<size_t>(getNumCPU()));
    const size_t numSlices = (vInRE.size() + sliceSize - 1) / sliceSize;
    Progress* pProgress =
        getRootProgress()->getChildProgressSetTodo(flipCandidatesPhase(temperature), 5 * numSlices);
    const auto evaluate = [&](size_t from, size_t to) {
        getEdgeFlipCandidates_MT_priv(vInRE, minImprovement, temperature, from, to, lab, vImpRE);
    };
    forSlicesMT(vInRE.size(), sliceSize, evaluate, [pProgress] { pProgress->tick(); });
    if (temperature > 0.0)
        pProgress->finish(true);

    vImpRE.erase(std::remove_if(vImpRE.begin(), vImpRE.end(),
                                [](const RECandidate& candidate) { return candidate.pRE == nullptr; }),
                 vImpRE.end());
    sortMT(vImpRE.begin(), vImpRE.end(), [](const RECandidate& c0, const RECandidate& c1) {
        return c0.improvement != c1.improvement ? c0.improvement < c1.improvement
                                                : numberOf(c0.pRE) < numberOf(c1.pRE);
    });
}

// All that a rating would change, so that the workers only read.
void RMesh::settleForFlips(const std::vector<REdge*>& vInRE)
{
    std::atomic<bool> bSettled{true};
    forRangeMT(vInRE.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end && bSettled.load(std::memory_order_relaxed); ++i)
            if (!REdgeEnergy::isSettled(*vInRE[i]))
                bSettled.store(false, std::memory_order_relaxed);
    });
    if (!bSettled.load()) {
        for (REdge* pRE : vInRE) {
            try {
                REdgeEnergy::settle(this, pRE);
            } catch (const ZanBugException&) {
                continue; // a vertex that the host has moved: its edge can't be rated
            }
        }
    }
    forEachMT(vT, [](RTriangle* pRT) {
        if (pRT->isAlive())
            pRT->fillNNV();
    });
}

void RMesh::getEdgeFlipCandidates_MT_priv(const std::vector<REdge*>& vInRE, double minImprovement,
                                          double temperature, size_t from, size_t to, const LabCache& lab,
                                          std::vector<RECandidate>& vImpRE)
{
    REdgeEnergy energy(this, nullptr, &lab);
    for (size_t i = from; i < to; ++i) {
        REdgeEnergy::prefetch([&](size_t ahead) { return i + ahead < to ? vInRE[i + ahead] : nullptr; });
        const double improvement = energy.getSettledImprovement(vInRE[i]);
        if (improvement == -DBL_MAX)
            continue;
        const bool bBad = improvement < minImprovement && improvement < 0.0;
        if (bBad && (temperature == 0.0 || !isChosen(improvement, temperature, *vInRE[i])))
            continue;
        if (energy.hasAlternative())
            continue;
        vImpRE[i] = {improvement, vInRE[i]};
    }
}

bool RMesh::moveToRingCenter(Point3* pVtx)
{
    constexpr double MAX_STEP_CELLS = 0.1;
    constexpr double MAX_TURN_DEG = 170.0;
    constexpr int MAX_TRIES = 100; // far from the origin steps can be lost in rounding
    std::vector<Point3*> vRingVtx;
    getRingVtx(pVtx, vRingVtx);
    if (vRingVtx.empty())
        return false;

    Vector3 toTarget;
    for (const Point3* pRing : vRingVtx)
        toTarget += *pRing - *pVtx;
    toTarget /= static_cast<double>(vRingVtx.size());
    const double maxStep = MAX_STEP_CELLS * dCellSize;
    const double distance = toTarget.length();
    if (distance > maxStep)
        toTarget *= maxStep / distance;
    Point3 target = *pVtx + toTarget;

    Random random(RING_CENTER_SEED + numberOf(pVtx));
    for (int i = 0; i < MAX_TRIES && hasVtx(target); ++i) {
        const double dx = maxStep * random.uniform();
        const double dy = maxStep * random.uniform();
        target = target + Vector3(dx, dy, maxStep * random.uniform());
    }
    if (hasVtx(target))
        return false;
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers)
        if (vT[number]->getDevAngle(vT[number]->getICI(pVtx), &target, false) > MAX_TURN_DEG)
            return false;
    if (target != *pVtx)
        updateVertex(pVtx, target);
    return true;
}

} // namespace TESK_ZAN
