#include "FillPass.h"

#include "Calc.h"
#include "CellQueue.h"
#include "messages.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace TESK_ZAN
{

namespace
{

// A pass that would look at more cells than this ends its growth early: it bounds the memory of a fill size
// that has no relation to the size of the cloud. Twenty rings on both sides of a layer that is border all
// over stay below it.
constexpr size_t MIN_SPACE = size_t{1} << 24;
constexpr size_t SPACE_PER_CELL = 64;

constexpr size_t MAX_POCKET_CELLS = 9; // a larger component is the open space outside
constexpr int POCKET_RINGS = 2;

std::vector<u64> getSortedRCDs(const CellBlocks& blocks, const CellLayer& layer)
{
    std::vector<u64> vRCD;
    layer.forEach([&](CellPos pos) { vRCD.push_back(blocks.getRCD(pos)); });
    std::sort(vRCD.begin(), vRCD.end());
    return vRCD;
}

} // namespace

FillPass::FillPass(CellBlocks& blocks_, CellLayer& alive_, CellLayer& border_)
    : rules(RemovalRules::get()), blocks(blocks_), alive(alive_), border(border_)
{
}

void FillPass::run(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc, int dist,
                   bool bFullClean, int maxRounds, std::vector<u64>& vAdded, std::vector<u64>& vRemoved)
{
    maxDist = static_cast<float>(dist) + 2.0f; // a source may lie a cell off its border cell
    rcdmch_createRCDBoxes(vRCD2Vtx.size(), dist);
    {
        const StageTimer stage("rcdmch_march");
        CellQueue queue(blocks, 0.0f, maxDist);
        rcdmch_createPrioq(vRCD2Vtx, pCalc, queue);
        rcdmch_march(queue);
    }
    hc_addVolumeFills();

    const StageTimer stage("fillPass_cleaning");
    cleanCandidates();
    vRemoved.clear();
    for (const CellPos pos : removeFalseBorder(bFullClean, maxRounds))
        if (!candidates.test(pos))
            vRemoved.push_back(blocks.getRCD(pos));
    std::sort(vRemoved.begin(), vRemoved.end());
    candidates.intersect(alive);
    vAdded = getSortedRCDs(blocks, candidates);
}

// The space is everything within dist steps of the border; what of it is empty are the candidates.
void FillPass::rcdmch_createRCDBoxes(size_t numLayerCells, int dist)
{
    const StageTimer stage("rcdmch_createRCDBoxes");
    const size_t maxCells = MIN_SPACE + SPACE_PER_CELL * numLayerCells;
    space = border;
    const int numRings = blocks.grow6(space, dist, maxCells);
    if (numRings < dist && space.count() > maxCells)
        ZAN_WARNING("the fill distance " + std::to_string(dist) + " is cut to " + std::to_string(numRings) +
                    ": the space around the border gets too large");
    blocks.fit(alive);
    blocks.fit(border);
    candidates = space;
    candidates.subtract(alive);
    open = candidates;
    ranks.emplace(candidates);
    vBoxes.assign(ranks->size(), {UNREACHED, 0});
}

// Every cell of the layer in the space offers its point to the candidates around it.
void FillPass::rcdmch_createPrioq(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc,
                                  CellQueue& queue)
{
    const double invCellSize = 1.0 / pCalc->getCellSize();
    for (const auto& [rcd, pPoint] : vRCD2Vtx) {
        const CellPos pos = blocks.find(rcd);
        if (!space.test(pos))
            continue;
        const Vector3 offset = *pPoint - pCalc->getCellMid_RCD(rcd);
        Source source{0,
                      0,
                      0,
                      static_cast<float>(offset.x() * invCellSize),
                      static_cast<float>(offset.y() * invCellSize),
                      static_cast<float>(offset.z() * invCellSize)};
        rcdToXYZ(rcd, source.x, source.y, source.z);
        const auto iSource = static_cast<std::uint32_t>(vSources.size());
        vSources.push_back(source);
        blocks.forEachNeig(candidates, pos, CONFIG27_ALL,
                           [&](CellPos neig, int) { offerSource(queue, neig, iSource); });
    }
}

// Carries the nearest known source from cell to cell. A source goes through corners near the surface, where
// it is worth it, and through faces further out. Distances are not monotonous along the way.
void FillPass::rcdmch_march(CellQueue& queue)
{
    while (!queue.empty()) {
        const std::pair<float, CellPos> entry = queue.pop();
        const CellPos pos = entry.second;
        if (!open.test(pos))
            continue; // an earlier, better entry of this cell came first
        open.clear(pos);
        const std::uint32_t iSource = vBoxes[(*ranks)(pos)].iSource;
        const std::uint32_t dirs = entry.first < 1.0f ? CONFIG27_ALL : CONFIG27_FACES;
        blocks.forEachNeig(open, pos, dirs, [&](CellPos neig, int) { offerSource(queue, neig, iSource); });
    }
    space = CellLayer();
    open = CellLayer();
    std::vector<Source>().swap(vSources);
}

// The candidate takes the source if it is nearer than the one it has.
void FillPass::offerSource(CellQueue& queue, CellPos pos, std::uint32_t iSource)
{
    int x = 0, y = 0, z = 0;
    rcdToXYZ(blocks.getRCD(pos), x, y, z);
    const Source& source = vSources[iSource];
    const float dx = static_cast<float>(x - source.x) - source.offX;
    const float dy = static_cast<float>(y - source.y) - source.offY;
    const float dz = static_cast<float>(z - source.z) - source.offZ;
    const float dist = std::sqrt(dx * dx + dy * dy + dz * dz);
    RCDBox& box = vBoxes[(*ranks)(pos)];
    if (dist >= box.dist)
        return;
    box = {dist, iSource};
    queue.push(dist, pos);
}

// Small components of the empty space right outside the candidates are pockets that these closed off, and
// become candidates too.
void FillPass::hc_addVolumeFills()
{
    const StageTimer stage("hc_addVolumeFills");
    const std::vector<CellPos> vPockets = findPockets();
    if (!vPockets.empty())
        joinPockets(vPockets);
}

std::vector<CellPos> FillPass::findPockets()
{
    CellLayer shell = candidates;
    blocks.grow6(shell, POCKET_RINGS, std::numeric_limits<size_t>::max());
    blocks.fit(candidates);
    blocks.fit(alive);
    blocks.fit(border);
    shell.subtract(candidates);
    shell.subtract(alive);

    std::vector<CellPos> vPockets;
    std::vector<CellPos> vComponent;
    SmallComponents components(blocks, shell, SmallComponents::Neighbourhood::FACES, MAX_POCKET_CELLS);
    shell.forEach([&](CellPos pos) {
        if (components.next(pos, vComponent))
            vPockets.insert(vPockets.end(), vComponent.begin(), vComponent.end());
    });
    return vPockets;
}

// A pocket cell takes the smallest distance of its six neighbours: first those beside a candidate, then the
// ones behind them. One that is walled in by the layer alone stays unreached and is the first to be tried for
// removal.
void FillPass::joinPockets(const std::vector<CellPos>& vPockets)
{
    const CellLayer oldCandidates = candidates;
    for (const CellPos pos : vPockets)
        candidates.set(pos);
    ranks.emplace(candidates);
    std::vector<RCDBox> vOldBoxes(ranks->size(), {UNREACHED, 0});
    vOldBoxes.swap(vBoxes);
    size_t iOld = 0; // both numberings ascend with the position
    oldCandidates.forEach([&](CellPos pos) { vBoxes[(*ranks)(pos)] = vOldBoxes[iOld++]; });

    std::vector<CellPos> vWaiting = vPockets;
    std::vector<std::pair<CellPos, float>> vReached;
    do {
        vReached.clear();
        for (const CellPos pos : vWaiting) {
            float dist = UNREACHED;
            blocks.forEachNeig(candidates, pos, CONFIG27_FACES,
                               [&](CellPos neig, int) { dist = std::min(dist, getDist(neig)); });
            if (dist < UNREACHED)
                vReached.emplace_back(pos, dist);
        }
        for (const auto& [pos, dist] : vReached)
            vBoxes[(*ranks)(pos)].dist = dist;
        std::erase_if(vWaiting, [&](CellPos pos) { return getDist(pos) < UNREACHED; });
    } while (!vReached.empty());
}

} // namespace TESK_ZAN
