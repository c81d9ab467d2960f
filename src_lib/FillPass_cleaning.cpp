#include "FillPass.h"

#include "CellQueue.h"
#include "gridComponents.h"
#include "tesk_tools/sortUnique.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// Border components up to this size are false border if they have no ring. The larger limit holds for the
// first round of a pass that may only touch cells it has added itself.
constexpr size_t MAX_FALSE_BORDER = 30;
constexpr size_t MAX_FALSE_BORDER_FIRST = 100;

} // namespace

// Removes the candidates that close no gap, furthest first: at first not at the rim, so that the layer keeps
// its extent while it gets thin, then everywhere.
void FillPass::cleanCandidates()
{
    alive.add(candidates);
    CellLayer kept = candidates;
    prune(false, Order::BY_DIST, kept, nullptr);
    prune(true, Order::BY_DIST, kept, nullptr);

    // A safety net. Behind a complete full pruning every kept candidate closes a gap, and none can go here.
    CellLayer unprotected = getUnprotected(kept);
    prune(false, Order::BY_DIST, unprotected, nullptr);
}

// The kept candidates that are no bridge between three or more places of the border.
CellLayer FillPass::getUnprotected(const CellLayer& kept) const
{
    std::vector<CellPos> vComponent;
    std::vector<CellPos> vTouched;
    CellLayer unprotected = kept;
    SmallComponents components(blocks, kept, SmallComponents::Neighbourhood::ALL, kept.count());
    kept.forEach([&](CellPos first) {
        if (!components.next(first, vComponent))
            return;
        vTouched.clear();
        for (const CellPos pos : vComponent)
            blocks.forEachNeig(border, pos, CONFIG27_ALL,
                               [&](CellPos neig, int) { vTouched.push_back(neig); });
        std::sort(vTouched.begin(), vTouched.end());
        const auto end = std::unique(vTouched.begin(), vTouched.end());
        const auto numTouched = static_cast<size_t>(end - vTouched.begin());
        const bool bBridge = numTouched > 3 || (numTouched >= 2 && vComponent.size() < numTouched);
        for (const CellPos pos : vComponent)
            if (bBridge && !isLooseEnd(pos, kept))
                unprotected.clear(pos);
    });
    return unprotected;
}

// A border cell among the candidates with at most one neighbour, which then is of the same kind.
bool FillPass::isLooseEnd(CellPos pos, const CellLayer& kept) const
{
    const auto isNewBorder = [&](CellPos cell) {
        return kept.test(cell) && rules.isBorder(blocks.getConfiguration(alive, cell));
    };
    if (!isNewBorder(pos))
        return false;
    int numNeigs = 0;
    bool bAllNew = true;
    blocks.forEachNeig(alive, pos, CONFIG27_ALL, [&](CellPos neig, int) {
        ++numNeigs;
        bAllNew = bAllNew && isNewBorder(neig);
    });
    return numNeigs <= 1 && bAllNew;
}

// False border: bumps on the layer, stray cells and specks, all small border components without a ring. The
// rim of a true hole is a ring and stays. Brings "border" up to date, and gives the removed cells. Without
// bFullClean only candidates can go.
std::vector<CellPos> FillPass::removeFalseBorder(bool bFullClean, int maxRounds)
{
    CellLayer kept = candidates;
    kept.intersect(alive);
    std::vector<CellPos> vSeeds;
    kept.forEach([&](CellPos pos) { vSeeds.push_back(pos); });
    reclassifyAround(vSeeds);

    // A component without a candidate has nothing to lose unless bFullClean.
    vSeeds.clear();
    border.forEach([&](CellPos pos) {
        if (bFullClean || candidates.test(pos))
            vSeeds.push_back(pos);
    });
    std::vector<CellPos> vDoomed;
    for (int round = 0; round < maxRounds; ++round) {
        const bool bFirst = round == 0 && !bFullClean;
        CellLayer ringless = getRingless(vSeeds, bFirst ? MAX_FALSE_BORDER_FIRST : MAX_FALSE_BORDER);
        if (!bFullClean)
            ringless.intersect(candidates);
        std::vector<CellPos> vDoomedNow;
        if (prune(true, Order::BY_CODE, ringless, &vDoomedNow) == 0)
            break;
        vSeeds = reclassifyAround(vDoomedNow);
        vDoomed.insert(vDoomed.end(), vDoomedNow.begin(), vDoomedNow.end());
    }
    return vDoomed;
}

// The border components without a ring, of at most maxCells cells, that hold one of the seeds.
CellLayer FillPass::getRingless(const std::vector<CellPos>& vSeeds, size_t maxCells) const
{
    CellLayer ringless;
    blocks.fit(ringless);
    std::vector<CellPos> vComponent;
    std::vector<u64> vRCD;
    SmallComponents components(blocks, border, SmallComponents::Neighbourhood::ALL, maxCells);
    for (const CellPos seed : vSeeds) {
        if (!components.next(seed, vComponent))
            continue;
        vRCD.clear();
        for (const CellPos pos : vComponent)
            vRCD.push_back(blocks.getRCD(pos));
        std::sort(vRCD.begin(), vRCD.end());
        if (hasRing_RCD(vRCD, 0))
            continue;
        for (const CellPos pos : vComponent)
            ringless.set(pos);
    }
    return ringless;
}

// Cells that joined or left the layer change the class of nothing beyond their neighbours. Gives the border
// cells on or beside a cell that changed: every border component that is not as it was has one of them.
std::vector<CellPos> FillPass::reclassifyAround(const std::vector<CellPos>& vChanged)
{
    std::vector<CellPos> vAll = vChanged;
    const auto update = [&](CellPos pos) {
        const bool bBorder = alive.test(pos) && rules.isBorder(blocks.getConfiguration(alive, pos));
        const bool bSame = border.test(pos) == bBorder;
        bBorder ? border.set(pos) : border.clear(pos);
        return !bSame;
    };
    for (const CellPos pos : vChanged) {
        update(pos);
        blocks.forEachNeig(alive, pos, CONFIG27_ALL, [&](CellPos neig, int) {
            if (update(neig))
                vAll.push_back(neig);
        });
    }
    std::vector<CellPos> vBorder;
    for (const CellPos pos : vAll) {
        if (border.test(pos))
            vBorder.push_back(pos);
        blocks.forEachNeig(border, pos, CONFIG27_ALL, [&](CellPos neig, int) { vBorder.push_back(neig); });
    }
    TESK_TOOLS::sortUnique(vBorder);
    return vBorder;
}

// Removes cells of the layer "removable" from it and from "alive", by falling distance and then ascending
// code, or by code alone, while each removal opens no gap and, without bFull, takes no border cell. A cell
// that may not go is held back until a neighbour goes. Gives the number of removed cells, and appends them to
// *pDoomed unless that is null.
//
// A cell with all six face neighbours closes a gap by definition. It enters the queue only when one of them
// goes: in a thick layer this spares most cells the wait.
size_t FillPass::prune(bool bFull, Order order, CellLayer& removable, std::vector<CellPos>* pDoomed)
{
    CellLayer held; // left the queue and stayed
    blocks.fit(held);
    CellLayer idle = removable; // not in the queue, the held ones among them
    CellQueue queue(blocks, -maxDist, 0.0f);
    const auto wait = [&](CellPos pos) {
        idle.clear(pos);
        queue.push(order == Order::BY_DIST ? -getDist(pos) : 0.0f, pos);
    };
    getExposed(removable).forEach(wait);

    size_t numDoomed = 0;
    while (!queue.empty()) {
        const CellPos pos = queue.pop().second;
        const std::uint32_t configuration = blocks.getConfiguration(alive, pos);
        if (bFull ? rules.isGap(configuration) : !rules.isInner(configuration)) {
            idle.set(pos);
            held.set(pos);
            continue;
        }
        alive.clear(pos);
        ++numDoomed;
        if (pDoomed)
            pDoomed->push_back(pos);
        blocks.forEachNeig(held, pos, CONFIG27_ALL, [&](CellPos neig, int) {
            held.clear(neig);
            wait(neig);
        });
        blocks.forEachNeig(idle, pos, CONFIG27_FACES, [&](CellPos neig, int) { wait(neig); });
    }
    removable.intersect(alive);
    return numDoomed;
}

// The cells of a part of the layer that have an absent face neighbour.
CellLayer FillPass::getExposed(const CellLayer& part) const
{
    CellLayer exposed = part;
    for (size_t block = 0; block < part.numBlocks(); ++block) {
        if (!part[block].any())
            continue;
        const CellBits inner = blocks.getInner(alive, block);
        for (size_t i = 0; i < 8; ++i)
            exposed[block].word[i] &= ~inner.word[i];
    }
    return exposed;
}

} // namespace TESK_ZAN
