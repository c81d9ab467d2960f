#include "SeamSheets.h"

#include "RPatch.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

// A patch below this size that ends at a seam is no surface of its own: the extraction makes such fins and
// skins out of a few cells. Larger ones are kept as sheets.
constexpr size_t MIN_SHEET_T = 25;

constexpr double PI = std::numbers::pi;

// By how much the surface turns from one half-plane around an edge to another: 0 is flat, pi folded back.
double turnBetween(double angle0, double angle1)
{
    return std::fabs(std::fabs(angle0 - angle1) - PI);
}

// The part of v that is orthogonal to the unit vector axis.
Vector3 orthogonalPart(const Vector3& v, const Vector3& axis)
{
    return v - axis * (v * axis);
}

Vector3 unitOrNull(const Vector3& v)
{
    const double len = v.length();
    return len > 0.0 && std::isfinite(len) ? v / len : Vector3();
}

} // namespace

// ---- Seams and patches ----

SeamSheets::SeamSheets(const RMesh& mesh_, std::vector<REdge*> vSeamRE_)
    : mesh(mesh_), vSeamRE(std::move(vSeamRE_))
{
    const auto& vRP = mesh.getPatches();
    vPatches.reserve(vRP.size());
    for (const auto& pPatch : vRP) {
        vPatches.emplace_back();
        vPatches.back().numT = pPatch->getTriangles().size();
    }
    forest = SideForest(vPatches.size());
    vSeams.reserve(vSeamRE.size());
    for (REdge* pRE : vSeamRE)
        addSeam(pRE);
    for (Patch& patch : vPatches)
        TESK_TOOLS::sortUnique(patch.vSeams);
}

void SeamSheets::addSeam(REdge* pRE)
{
    std::vector<RTriangle*> vRT;
    pRE->getAliveT(vRT);
    sortUniqueByNumber(vRT);
    Seam seam;
    seam.numOpen = vRT.size();
    for (RTriangle* pRT : vRT) {
        const auto patch = static_cast<Index>(pRT->getPatch()->getId());
        const int ici = pRT->getICI(pRE->getVtx0());
        const bool bAlongEdge = pRT->getCorner((ici + 1) % 3) == pRE->getVtx1();
        seam.vSlots.push_back({pRT, patch, OPEN, 0.0, bAlongEdge});
        vPatches[patch].vSeams.push_back(static_cast<Index>(vSeams.size()));
    }
    setAngles(*pRE, seam.vSlots);
    vSeams.push_back(std::move(seam));
}

// A triangle without area, or so large that its sides overflow, has no direction round the edge: it counts as
// lying where the first one lies.
void SeamSheets::setAngles(const REdge& edge, std::vector<Slot>& vSlots)
{
    const Point3& origin = *edge.getVtx0();
    const Vector3 axis = unitOrNull(*edge.getVtx1() - origin);
    const auto directionOf = [&](const Slot& slot) {
        const Point3* pOpp = slot.pRT->getThirdPoint(edge.getVtx0(), edge.getVtx1());
        return orthogonalPart(*pOpp - origin, axis);
    };
    const Vector3 ahead = unitOrNull(directionOf(vSlots[0]));
    const Vector3 aside = crossProd(axis, ahead);
    for (Slot& slot : vSlots) {
        const Vector3 direction = directionOf(slot);
        const double angle = std::atan2(direction * aside, direction * ahead);
        slot.angle = !std::isfinite(angle) ? 0.0 : angle < 0.0 ? angle + 2.0 * PI : angle;
    }
    vSlots[0].angle = 0.0;
}

// True unless both are of one patch and would be joined against its sides.
bool SeamSheets::fitTogether(const Slot& slot0, const Slot& slot1)
{
    const SideForest::Root root0 = forest.find(slot0.patch);
    const SideForest::Root root1 = forest.find(slot1.patch);
    const bool bOpposite = slot0.bAlongEdge != slot1.bAlongEdge;
    return root0.index != root1.index || bOpposite == (root0.bTurned == root1.bTurned);
}

// Makes the patches of two triangles one. Each seam of the patch with fewer of them is counted anew, so a
// seam is counted O(log n) times in all.
void SeamSheets::becomeOne(const Slot& slot0, const Slot& slot1)
{
    SideForest::Root keep = forest.find(slot0.patch);
    SideForest::Root gone = forest.find(slot1.patch);
    if (keep.index == gone.index)
        return;
    if (vPatches[keep.index].vSeams.size() < vPatches[gone.index].vSeams.size())
        std::swap(keep, gone);
    Patch& keptPatch = vPatches[keep.index];
    Patch& gonePatch = vPatches[gone.index];
    const std::vector<Index> vMoved = std::move(gonePatch.vSeams);
    for (const Index seam : vMoved)
        addEffects(vSeams[seam], -1);
    const bool bOpposite = slot0.bAlongEdge != slot1.bAlongEdge;
    forest.attach(gone.index, keep.index, bOpposite != (keep.bTurned == gone.bTurned));
    keptPatch.numT += gonePatch.numT;
    keptPatch.effect.add(gonePatch.effect, 1);
    keptPatch.vSeams.insert(keptPatch.vSeams.end(), vMoved.begin(), vMoved.end());
    for (const Index seam : vMoved)
        addEffects(vSeams[seam], 1);
}

// ---- 1. Detaching ----

// The sums of turns are integers, so that what was added is taken off exactly.
void SeamSheets::Effect::add(const Effect& other, int sign)
{
    numSolved += sign * other.numSolved;
    numAlone += sign * other.numAlone;
    numOwnEnds += sign * other.numOwnEnds;
    sumTurns = sign > 0 ? sumTurns + other.sumTurns : sumTurns - other.sumTurns;
    numTurns = sign > 0 ? numTurns + other.numTurns : numTurns - other.numTurns;
}

SeamSheets::Effect SeamSheets::effectAt(const Seam& seam, Index root)
{
    Effect effect;
    if (seam.numOpen <= 2)
        return effect;
    std::vector<const Slot*> vpOwn;
    std::vector<const Slot*> vpOthers;
    for (const Slot& slot : seam.vSlots)
        if (slot.group == OPEN)
            (sheetOf(slot) == root ? vpOwn : vpOthers).push_back(&slot);
    if (vpOthers.empty())
        return effect;
    const auto numLost = [this](const std::vector<const Slot*>& vpLeft) {
        const bool bLost = vpLeft.size() == 1 || (vpLeft.size() == 2 && !fitTogether(*vpLeft[0], *vpLeft[1]));
        return bLost ? static_cast<int>(vpLeft.size()) : 0;
    };
    effect.numSolved = 1;
    effect.numAlone = numLost(vpOthers);
    effect.numOwnEnds = numLost(vpOwn);
    for (const Slot* pOwn : vpOwn) {
        double minTurn = PI;
        for (const Slot* pOther : vpOthers)
            minTurn = std::min(minTurn, turnBetween(pOwn->angle, pOther->angle));
        effect.sumTurns += static_cast<u64>(1e6 * minTurn);
        ++effect.numTurns;
    }
    return effect;
}

// Adds the effects at this seam to all its patches, or takes them off (sign -1): off before the seam changes,
// on afterwards.
void SeamSheets::addEffects(const Seam& seam, int sign)
{
    std::vector<Index> vRoots;
    for (const Slot& slot : seam.vSlots)
        if (slot.group == OPEN)
            vRoots.push_back(sheetOf(slot));
    TESK_TOOLS::sortUnique(vRoots);
    for (const Index root : vRoots) {
        vPatches[root].effect.add(effectAt(seam, root), sign);
        if (sign > 0)
            pushCandidate(root);
    }
}

// The queue has on top what is above nothing.
bool SeamSheets::Candidate::operator>(const Candidate& other) const
{
    return std::tie(bEnds, cost, patch) > std::tie(other.bEnds, other.cost, other.patch);
}

bool SeamSheets::mayDetach(Index root) const
{
    const Patch& patch = vPatches[root];
    return !patch.bDetached && patch.effect.numSolved > 0 && patch.effect.numAlone == 0;
}

// The size, discounted for the mean turn at the seams: what stands upright counts a quarter, what is folded
// back a thirteenth.
double SeamSheets::costOf(Index root) const
{
    constexpr double DISCOUNT = 3.0;
    const Patch& patch = vPatches[root];
    if (patch.effect.numTurns == 0)
        return static_cast<double>(patch.numT);
    const double meanTurn =
        1e-6 * static_cast<double>(patch.effect.sumTurns) / static_cast<double>(patch.effect.numTurns);
    const double uprights = meanTurn / (0.5 * PI);
    return static_cast<double>(patch.numT) / (1.0 + DISCOUNT * uprights * uprights);
}

void SeamSheets::pushCandidate(Index root)
{
    if (mayDetach(root))
        queue.push({vPatches[root].effect.numOwnEnds > 0, costOf(root), root});
}

// Entries go stale when something near them is detached; what changed then was pushed again.
void SeamSheets::detachPatches()
{
    for (const Seam& seam : vSeams)
        addEffects(seam, 1);
    while (!queue.empty()) {
        const Candidate best = queue.top();
        queue.pop();
        const bool bFresh = forest.find(best.patch).index == best.patch && mayDetach(best.patch) &&
                            (vPatches[best.patch].effect.numOwnEnds > 0) == best.bEnds &&
                            costOf(best.patch) == best.cost;
        if (bFresh)
            detach(best.patch);
    }
}

void SeamSheets::detach(Index root)
{
    Patch& patch = vPatches[root];
    patch.bDetached = true;
    patch.bScrap = patch.effect.numOwnEnds > 0 && patch.numT < MIN_SHEET_T;
    std::vector<Index> vOwnSeams = patch.vSeams;
    TESK_TOOLS::sortUnique(vOwnSeams);
    for (const Index seam : vOwnSeams)
        detachAt(vSeams[seam], root);
}

// Where two triangles are left they become one sheet.
void SeamSheets::detachAt(Seam& seam, Index root)
{
    addEffects(seam, -1);
    const Slot* aLeft[2] = {nullptr, nullptr};
    size_t numLeft = 0;
    for (Slot& slot : seam.vSlots) {
        if (slot.group != OPEN)
            continue;
        if (sheetOf(slot) == root) {
            slot.group = root;
            --seam.numOpen;
        } else {
            if (numLeft < 2)
                aLeft[numLeft] = &slot;
            ++numLeft;
        }
    }
    addEffects(seam, 1);
    if (numLeft == 2)
        becomeOne(*aLeft[0], *aLeft[1]);
}

// ---- 2. Joining ----

void SeamSheets::joinGroups()
{
    std::vector<Slot*> vpGroup;
    for (size_t i = 0; i < vSeams.size(); ++i) {
        std::vector<Slot>& vSlots = vSeams[i].vSlots;
        std::sort(vSlots.begin(), vSlots.end(), [](const Slot& a, const Slot& b) {
            return a.group != b.group ? a.group < b.group : a.angle < b.angle;
        });
        for (size_t begin = 0; begin < vSlots.size();) {
            vpGroup.clear();
            for (; begin < vSlots.size() && (vpGroup.empty() || vpGroup[0]->group == vSlots[begin].group);
                 ++begin)
                vpGroup.push_back(&vSlots[begin]);
            joinPairs(vSeamRE[i], vpGroup);
        }
    }
}

bool SeamSheets::Pair::crosses(const Pair& other) const
{
    const auto isInside = [&](size_t i) { return other.first < i && i < other.second; };
    const auto isOutside = [&](size_t i) { return i < other.first || other.second < i; };
    return !(isInside(first) && isInside(second)) && !(isOutside(first) && isOutside(second));
}

// The pairs that may be joined, the best first. Slots in the order of their angles. Of an even number of them
// a pair with an odd number on each side would leave one over.
std::vector<SeamSheets::Pair> SeamSheets::findPairs(const std::vector<Slot*>& vpSlots)
{
    constexpr double SAME_SHEET_BONUS = 0.5 * PI; // it may turn by so much more than a stranger
    const size_t num = vpSlots.size();
    std::vector<Pair> vPairs;
    for (size_t first = 0; first < num; ++first) {
        for (size_t second = first + 1; second < num; ++second) {
            const bool bLeavesOne = num % 2 == 0 && (second - first) % 2 == 0;
            if (bLeavesOne || !fitTogether(*vpSlots[first], *vpSlots[second]))
                continue;
            const bool bSameSheet = sheetOf(*vpSlots[first]) == sheetOf(*vpSlots[second]);
            const double turn = turnBetween(vpSlots[first]->angle, vpSlots[second]->angle);
            vPairs.push_back({turn - (bSameSheet ? SAME_SHEET_BONUS : 0.0), first, second});
        }
    }
    std::sort(vPairs.begin(), vPairs.end(), [](const Pair& a, const Pair& b) {
        return std::tie(a.cost, a.first, a.second) < std::tie(b.cost, b.first, b.second);
    });
    return vPairs;
}

// All that is not joined ends here.
void SeamSheets::joinPairs(const REdge* pRE, std::vector<Slot*>& vpSlots)
{
    for (const Slot* pSlot : vpSlots)
        joints.end(pRE, pSlot->pRT);
    std::vector<Pair> vTaken;
    for (const Pair& pair : findPairs(vpSlots)) {
        const bool bInTheWay =
            std::any_of(vTaken.begin(), vTaken.end(), [&](const Pair& taken) { return pair.crosses(taken); });
        if (bInTheWay || !fitTogether(*vpSlots[pair.first], *vpSlots[pair.second]))
            continue;
        vTaken.push_back(pair);
        joints.join(pRE, vpSlots[pair.first]->pRT, vpSlots[pair.second]->pRT);
        becomeOne(*vpSlots[pair.first], *vpSlots[pair.second]);
    }
}

void SeamSheets::decide()
{
    const StageTimer stage("RM_sheets");
    detachPatches();
    joinGroups();
}

void SeamSheets::getScrapT(std::vector<RTriangle*>& vRT)
{
    for (size_t i = 0; i < vPatches.size(); ++i) {
        if (!vPatches[forest.find(static_cast<Index>(i)).index].bScrap)
            continue;
        const auto& vPatchT = mesh.getPatches()[i]->getTriangles();
        std::copy_if(vPatchT.begin(), vPatchT.end(), std::back_inserter(vRT),
                     [](const RTriangle* pRT) { return pRT->isAlive(); });
    }
}

} // namespace TESK_ZAN
