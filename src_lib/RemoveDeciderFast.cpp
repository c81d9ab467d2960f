#include "RemoveDeciderFast.h"

#include "Calc.h"
#include "removalRules.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <queue>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

// Maps a double to an integer of the same order. Total: a NaN has its place too, and the zeros are equal.
u64 orderedBits(double value)
{
    constexpr u64 SIGN = u64{1} << 63;
    const u64 bits = std::bit_cast<u64>(value + 0.0);
    return (bits & SIGN) != 0 ? ~bits : bits | SIGN;
}

// f(rcd) for each of the 26 neighbours that exist by the configuration of the cell.
template <class F>
void forEachNeig(u64 rcd, unsigned int configuration, F f)
{
    for (unsigned int rest = configuration & ~CONFIG27_CENTRE; rest != 0; rest &= rest - 1)
        f(rcd + RCD_OFFSETS_27[static_cast<size_t>(std::countr_zero(rest))]);
}

void sortUnique(std::vector<u64>& vRCD)
{
    if (!std::is_sorted(vRCD.begin(), vRCD.end()))
        sortMT(vRCD.begin(), vRCD.end());
    vRCD.erase(std::unique(vRCD.begin(), vRCD.end()), vRCD.end());
}

double distanceToMid(const Calc& calc, u64 rcd, const Point3& point)
{
    return (point - calc.getCellMid_RCD(rcd)).length();
}

// The entry of the cell in the sorted list; it must be there.
RCDPoints::const_iterator findPoint(const RCDPoints& vRCDPoint, u64 rcd)
{
    const auto it = std::lower_bound(vRCDPoint.begin(), vRCDPoint.end(), rcd,
                                     [](const auto& entry, u64 code) { return entry.first < code; });
    zanAssertText(it != vRCDPoint.end() && it->first == rcd, "q_it!=vRCDPoint.end() && q_it->first==rcd");
    return it;
}

// Which cells may go in a run.
struct Rule {
    bool bBordersToo;
    bool bKeepThinBorders; // only asked where borders may go

    bool mayGo(unsigned int configuration) const
    {
        const RemovalRules& rules = RemovalRules::get();
        if (!bBordersToo)
            return rules.isInner(configuration);
        const bool bKept =
            bKeepThinBorders && RemovalRules::isThin(configuration) && rules.isBorder(configuration);
        return !bKept && !rules.isGap(configuration);
    }
};

enum class Outcome { DEAD_BEFORE, HELD_BACK, REMOVED };

// Removes the cell if it is alive and may go. configuration is its neighbourhood then, unless it was dead.
Outcome tryRemove(RCDStore& store, u64 rcd, const Rule& rule, unsigned int& configuration)
{
    RCDMatrix* pMatrix = store.findRCDMatrix(rcd);
    if (pMatrix == nullptr)
        return Outcome::DEAD_BEFORE;
    const u64 address = RCDMatrix::addressOf(rcd);
    configuration = pMatrix->gather(address);
    if ((configuration & CONFIG27_CENTRE) == 0)
        return Outcome::DEAD_BEFORE;
    if (!rule.mayGo(configuration))
        return Outcome::HELD_BACK;
    pMatrix->unset(address);
    return Outcome::REMOVED;
}

// vKept and vDoomed are replaced by the cells that are in the store and the others, both sorted.
void splitByAlive(const RCDStore& store, const std::vector<u64>& vRCD, std::vector<u64>& vKept,
                  std::vector<u64>& vDoomed)
{
    vKept.clear();
    vDoomed.clear();
    RCDMatrix* pMatrix = nullptr;
    for (const u64 rcd : vRCD) {
        pMatrix = store.findRCDMatrix(rcd, pMatrix);
        const bool bAlive = pMatrix != nullptr && pMatrix->isSet(RCDMatrix::addressOf(rcd));
        (bAlive ? vKept : vDoomed).push_back(rcd);
    }
    sortUnique(vKept);
    sortUnique(vDoomed);
}

// The order of one pass: (weight, place in the list), with the place replaced by the cell once all are
// sorted.
using PassQueue = std::vector<std::pair<u64, u64>>;

PassQueue makePassQueue(const Calc& calc, const RCDPoints& vRCDPoint, const std::vector<u64>& vCandidates)
{
    PassQueue vQueue(vCandidates.size());
    forRangeMT(vCandidates.size(), [&](size_t begin, size_t end) {
        auto it = vRCDPoint.begin(); // both lists are sorted as a rule: most often the next entry is the one
        for (size_t i = begin; i < end; ++i) {
            const u64 rcd = vCandidates[i];
            if (it == vRCDPoint.end() || it->first != rcd)
                it = findPoint(vRCDPoint, rcd);
            vQueue[i] = {orderedBits(distanceToMid(calc, rcd, *it->second)), i};
            ++it;
        }
    });
    sortMT(vQueue.begin(), vQueue.end());
    forEachMT(vQueue, [&vCandidates](auto& entry) { entry.second = vCandidates[entry.second]; });
    return vQueue;
}

// Candidates in a fixed order, those held back in a heap once they are to be tried again. Whatever is tried
// again comes before everything that has not been tried yet, so the heap always goes first.
class DistQueue
{
public:
    explicit DistQueue(const std::vector<std::pair<float, u64>>& vDist2RCD) : vOrder(vDist2RCD.size())
    {
        zanAssert(vOrder.size() < UINT32_MAX);
        for (size_t i = 0; i < vOrder.size(); ++i)
            vOrder[i] = {~orderedBits(static_cast<double>(vDist2RCD[i].first)), vDist2RCD[i].second};
        sortMT(vOrder.begin(), vOrder.end());
        mRCD2Rank.reserve(vOrder.size());
        for (std::uint32_t rank = 0; rank < vOrder.size(); ++rank)
            mRCD2Rank.tryEmplace(vOrder[rank].second, rank);
        vHeld.assign(vOrder.size(), 0);
    }

    // False when there is no candidate left to try.
    bool pop(u64& rcd)
    {
        if (!vRetry.empty()) {
            std::pop_heap(vRetry.begin(), vRetry.end(), std::greater<>());
            rcd = vOrder[vRetry.back()].second;
            vRetry.pop_back();
            return true;
        }
        if (next == vOrder.size())
            return false;
        rcd = vOrder[next++].second;
        return true;
    }

    void hold(u64 rcd) { vHeld[*mRCD2Rank.find(rcd)] = 1; }

    // If the cell is a candidate that was held back.
    void retry(u64 rcd)
    {
        const std::uint32_t* pRank = mRCD2Rank.find(rcd);
        if (pRank == nullptr || vHeld[*pRank] == 0)
            return;
        vHeld[*pRank] = 0;
        vRetry.push_back(*pRank);
        std::push_heap(vRetry.begin(), vRetry.end(), std::greater<>());
    }

private:
    std::vector<std::pair<u64, u64>> vOrder; // (falling distance, rcd); the place is the rank
    TESK_TOOLS::FlatMap<u64, std::uint32_t, TESK_TOOLS::U64Hash> mRCD2Rank;
    std::vector<unsigned char> vHeld; // by rank
    std::vector<std::uint32_t> vRetry;
    size_t next = 0;
};

// An entry of the queue with changing weights: smallest first.
struct DynamicEntry {
    int crowd; // what the mode makes of the number of neighbours
    u64 weight;
    u64 rcd;

    bool operator>(const DynamicEntry& other) const
    {
        return std::tie(crowd, weight, rcd) > std::tie(other.crowd, other.weight, other.rcd);
    }
};

int crowdOf(PruningMode mode, unsigned int configuration)
{
    if (mode == PM_FIXED)
        return 0;
    const int numNeigs = std::popcount(configuration & ~CONFIG27_CENTRE);
    return mode == PM_CROWDED ? -numNeigs : numNeigs;
}

} // namespace

RemoveDeciderFast::RemoveDeciderFast(const std::vector<u64>& vRCD, const Calc* pCalc_)
    : pvRCD(&vRCD), pCalc(pCalc_), rcdStore(pCalc_, vRCD)
{
}

bool RemoveDeciderFast::isBorder(u64 rcd) const
{
    return RemovalRules::get().isBorder(rcdStore.getConfiguration(rcd));
}

bool RemoveDeciderFast::isGap(u64 rcd) const
{
    return RemovalRules::get().isGap(rcdStore.getConfiguration(rcd));
}

void RemoveDeciderFast::getNeigs(u64 rcd, std::vector<u64>& vNeigs) const
{
    zanAssertText(vNeigs.empty(), "vNeigs.empty()");
    rcdStore.getRCDMatrix(rcd)->getNeigRCD26(RCDMatrix::addressOf(rcd), vNeigs);
}

void RemoveDeciderFast::getAlive(std::vector<u64>& vAlive) const
{
    RCDMatrix* pMatrix = nullptr;
    for (const u64 rcd : *pvRCD) {
        pMatrix = rcdStore.findRCDMatrix(rcd, pMatrix);
        if (pMatrix->isSet(RCDMatrix::addressOf(rcd)))
            vAlive.push_back(rcd);
    }
}

void RemoveDeciderFast::detectBorders(std::vector<u64>& vAreaRCDs, std::vector<u64>& vBorderRCDs) const
{
    zanAssertText(vBorderRCDs.empty(), "vBorderRCDs.empty()");
    const RemovalRules& rules = RemovalRules::get();
    enum Kind : unsigned char { DEAD, AREA, BORDER };
    std::vector<Kind> vKinds(pvRCD->size());
    forRangeMT(vKinds.size(), [&](size_t begin, size_t end) {
        RCDMatrix* pMatrix = nullptr;
        for (size_t i = begin; i < end; ++i) {
            pMatrix = rcdStore.findRCDMatrix((*pvRCD)[i], pMatrix);
            const unsigned int configuration = pMatrix->gather(RCDMatrix::addressOf((*pvRCD)[i]));
            if ((configuration & CONFIG27_CENTRE) != 0)
                vKinds[i] = rules.isBorder(configuration) ? BORDER : AREA;
        }
    });
    vAreaRCDs.reserve(vAreaRCDs.size() + vKinds.size());
    vBorderRCDs.reserve(vKinds.size() / 10);
    for (size_t i = 0; i < vKinds.size(); ++i) {
        if (vKinds[i] != DEAD)
            (vKinds[i] == BORDER ? vBorderRCDs : vAreaRCDs).push_back((*pvRCD)[i]);
    }
}

void RemoveDeciderFast::prune(const RCDPoints& vRCDPoint, const std::vector<u64>& vRCD,
                              std::vector<u64>& vKept, std::vector<u64>& vDoomed, bool bMayRemoveBorders,
                              bool bProtectBorderComponents)
{
    const Rule rule = {bMayRemoveBorders, bProtectBorderComponents};
    PassQueue vQueue = makePassQueue(*pCalc, vRCDPoint, vRCD);
    for (;;) {
        ++numPasses;
        u64 numKilledThisPass = 0;
        std::vector<u64> vNextRCD;
        for (const auto& [weight, rcd] : vQueue) {
            unsigned int configuration = 0;
            if (tryRemove(rcdStore, rcd, rule, configuration) != Outcome::REMOVED)
                continue;
            ++numKilledThisPass;
            forEachNeig(rcd, configuration, [&vNextRCD](u64 neig) { vNextRCD.push_back(neig); });
        }
        numRemoved += numKilledThisPass;
        if (numKilledThisPass == 0)
            break;
        sortUnique(vNextRCD);
        vQueue = makePassQueue(*pCalc, vRCDPoint, vNextRCD);
    }
    splitByAlive(rcdStore, vRCD, vKept, vDoomed);
}

void RemoveDeciderFast::pruneByDist(bool bFull, const std::vector<std::pair<float, u64>>& vDist2RCD,
                                    std::vector<u64>& vKept, std::vector<u64>& vDoomed)
{
    const Rule rule = {bFull, false};
    ++numPasses;
    DistQueue queue(vDist2RCD);
    for (u64 rcd = 0; queue.pop(rcd);) {
        unsigned int configuration = 0;
        const Outcome outcome = tryRemove(rcdStore, rcd, rule, configuration);
        if (outcome == Outcome::HELD_BACK)
            queue.hold(rcd);
        if (outcome != Outcome::REMOVED)
            continue;
        ++numRemoved;
        forEachNeig(rcd, configuration, [&queue](u64 neig) { queue.retry(neig); });
    }
    std::vector<u64> vRCD;
    transformMT(vDist2RCD, vRCD, [](const std::pair<float, u64>& entry) { return entry.second; });
    splitByAlive(rcdStore, vRCD, vKept, vDoomed);
}

void RemoveDeciderFast::pruneDynamicWeight(PruningMode mode,
                                           const std::vector<std::pair<double, u64>>& vWeight2RCD,
                                           std::vector<u64>& vKept, std::vector<u64>& vDoomed)
{
    const Rule rule = {false, false};
    ++numPasses;
    std::vector<u64> vRCD;
    TESK_TOOLS::FlatMap<u64, u64, TESK_TOOLS::U64Hash> mRCD2Weight;
    std::priority_queue<DynamicEntry, std::vector<DynamicEntry>, std::greater<>> queue;
    const auto enqueue = [&](u64 rcd) {
        const u64* pWeight = mRCD2Weight.find(rcd);
        if (pWeight != nullptr && rcdStore.isSet(rcd))
            queue.push({crowdOf(mode, rcdStore.getConfiguration(rcd)), *pWeight, rcd});
    };
    for (const auto& [weight, rcd] : vWeight2RCD) {
        vRCD.push_back(rcd);
        mRCD2Weight.tryEmplace(rcd, orderedBits(weight));
        enqueue(rcd);
    }
    while (!queue.empty()) {
        const DynamicEntry entry = queue.top();
        queue.pop();
        unsigned int configuration = 0;
        // Stale: a neighbour has gone since, and the cell was entered anew then.
        if (crowdOf(mode, rcdStore.getConfiguration(entry.rcd)) != entry.crowd ||
            tryRemove(rcdStore, entry.rcd, rule, configuration) != Outcome::REMOVED)
            continue;
        ++numRemoved;
        forEachNeig(entry.rcd, configuration, enqueue);
    }
    splitByAlive(rcdStore, vRCD, vKept, vDoomed);
}

double RemoveDeciderFast::getWeight(const RCDPoints& vRCDPoint, u64 rcd) const
{
    return distanceToMid(*pCalc, rcd, *findPoint(vRCDPoint, rcd)->second);
}

} // namespace TESK_ZAN
