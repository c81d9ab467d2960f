#include "CMesh.h"

#include "CornerSlices.h"
#include "sortMT.h"
#include "tesk_tools/KeyBuckets.h"
#include "zanAssert.h"

#include <algorithm>
#include <span>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

constexpr std::uint32_t NONE = VertexTable::NONE;

// A seed in the list of those with its lowest corner.
struct SortedSeed {
    std::uint32_t middle, highest; // corners
    std::uint32_t place;           // in the list of seeds
};

// Of the seeds with the same corners only the first one keeps its place.
void sortAtLowest(std::span<SortedSeed> seeds)
{
    std::sort(seeds.begin(), seeds.end(), [](const SortedSeed& a, const SortedSeed& b) {
        return std::tie(a.middle, a.highest, a.place) < std::tie(b.middle, b.highest, b.place);
    });
    for (std::size_t i = 1; i < seeds.size(); ++i)
        if (seeds[i].middle == seeds[i - 1].middle && seeds[i].highest == seeds[i - 1].highest)
            seeds[i].place = NONE;
}

// The places of the seeds by ascending corners; of those with the same corners the first one only.
std::vector<std::uint32_t> orderByCorners(const std::vector<TriangleSeed>& vSeeds, std::size_t numCodes)
{
    TESK_TOOLS::KeyBuckets<SortedSeed> buckets(numCodes);
    for (const TriangleSeed& seed : vSeeds)
        buckets.announce(std::min({seed.corners[0], seed.corners[1], seed.corners[2]}));
    buckets.makeRoom();
    const CornerSlices slices(vSeeds.size(), [&](std::size_t i) { return std::span(vSeeds[i].corners); });
    forRangeMT(numCodes, [&](std::size_t firstCode, std::size_t endCode) {
        slices.forEachNear(firstCode, endCode, [&](std::size_t place) {
            std::uint32_t corners[3];
            std::copy_n(vSeeds[place].corners, 3, corners);
            std::sort(corners, corners + 3);
            if (corners[0] >= firstCode && corners[0] < endCode)
                buckets.add(corners[0], {corners[1], corners[2], std::uint32_t(place)});
        });
    });
    forRangeMT(numCodes, [&](std::size_t firstCode, std::size_t endCode) {
        for (std::size_t lowest = firstCode; lowest < endCode; ++lowest)
            sortAtLowest(buckets.get(std::uint32_t(lowest)));
    });
    std::vector<std::uint32_t> vOrder;
    vOrder.reserve(vSeeds.size());
    for (std::size_t lowest = 0; lowest < numCodes; ++lowest)
        for (const SortedSeed& seed : buckets.get(std::uint32_t(lowest)))
            if (seed.place != NONE)
                vOrder.push_back(seed.place);
    return vOrder;
}

// By place, for the chosen ones: how many chosen ones come before.
std::vector<std::uint32_t> numberChosen(const std::vector<std::uint32_t>& vChosen, std::size_t num)
{
    std::vector<std::uint32_t> vNumbers(num, NONE);
    for (const std::uint32_t place : vChosen)
        vNumbers[place] = 0;
    std::uint32_t next = 0;
    for (std::uint32_t& number : vNumbers)
        if (number != NONE)
            number = next++;
    return vNumbers;
}

} // namespace

void CMesh::createSortedT(const std::vector<u64>& vCCD_srt, const std::vector<TriangleSeed>& vSeeds)
{
    zanAssert(vMeshT.empty() && vMeshE.empty());
    zanAssert(vSeeds.size() < NONE);
    const std::vector<std::uint32_t> vVtxNumbers = getVertexNumbers(vCCD_srt);
    const std::vector<std::uint32_t> vOrder = orderByCorners(vSeeds, vCCD_srt.size());
    const std::vector<std::uint32_t> vNumbers = numberChosen(vOrder, vSeeds.size());
    std::vector<CTriangle*> vByNumber(vOrder.size());
    std::vector<CornerNumbers> vCorners(vOrder.size());
    for (std::size_t i = 0; i < vOrder.size(); ++i)
        vMeshT.push_back(oTrianglePool->newObject());
    forRangeMT(vOrder.size(), [&](std::size_t first, std::size_t end) { // who writes first pays for the page
        for (std::size_t i = first; i < end; ++i) {
            const TriangleSeed& seed = vSeeds[vOrder[i]];
            const auto [c0, c1, c2] = seed.corners;
            const std::uint32_t number = vNumbers[vOrder[i]];
            vByNumber[number] = std::construct_at(vMeshT[i], vCCD_srt[c0], vCCD_srt[c1], vCCD_srt[c2],
                                                  seed.vcd, seed.cfg, number);
            vCorners[number] = {vVtxNumbers[c0], vVtxNumbers[c1], vVtxNumbers[c2]};
        }
    });
    numCreatedT = std::uint32_t(vMeshT.size());
    numSortedT = vMeshT.size();
    connectEdges(vByNumber, vCorners);
}

// Vertices that are missing are made.
std::vector<std::uint32_t> CMesh::getVertexNumbers(const std::vector<u64>& vCCD_srt)
{
    std::vector<std::uint32_t> vNumbers;
    transformMT(vCCD_srt, vNumbers, [this](u64 ccd) { return vertices.find(ccd); });
    for (std::size_t i = 0; i < vCCD_srt.size(); ++i)
        if (vNumbers[i] == NONE)
            vNumbers[i] = vertices.findOrAdd(vCCD_srt[i]);
    return vNumbers;
}

// Makes the edges of the triangles, which are all that there are.
void CMesh::connectEdges(const std::vector<CTriangle*>& vByNumber, const std::vector<CornerNumbers>& vCorners)
{
    const std::size_t numVtx = vertices.getAll().size();
    const CornerSlices slices(
        vCorners.size(), [&](std::size_t i) -> const auto& { return vCorners[i]; });
    const EdgeNumbers numbers = numberEdges(vCorners, numVtx, slices);
    createEdges(vCorners, numbers.vFirstSides);
    forRangeMT(numVtx, [&](std::size_t firstVtx, std::size_t endVtx) {
        const auto isMine = [=](std::uint32_t vtx) { return vtx >= firstVtx && vtx < endVtx; };
        slices.forEachNear(firstVtx, endVtx, [&](std::size_t i) {
            CTriangle* pCT = vByNumber[i];
            CEdge** const sides[3] = {&pCT->pCE01, &pCT->pCE12, &pCT->pCE02}; // as SIDE_ENDS
            for (std::size_t side = 0; side < 3; ++side) {
                const auto [low, high] =
                    std::minmax(vCorners[i][SIDE_ENDS[side][0]], vCorners[i][SIDE_ENDS[side][1]]);
                if (!isMine(low) && !isMine(high))
                    continue;
                const std::uint32_t edge = numbers.vOfSides[3 * i + side];
                CEdge* pCE = vMeshE[edge];
                if (isMine(low)) {
                    *sides[side] = pCE;
                    pCE->checkIn(pCT);
                }
                if (numbers.vFirstSides[edge] != 3 * i + side)
                    continue;
                if (isMine(low))
                    linkAt(low, pCE);
                if (isMine(high))
                    linkAt(high, pCE);
            }
        });
    });
}

// In no chain yet, and without triangles.
void CMesh::createEdges(const std::vector<CornerNumbers>& vCorners,
                        const std::vector<std::uint32_t>& vFirstSides)
{
    zanAssert(vFirstSides.size() < NONE);
    for (std::size_t edge = 0; edge < vFirstSides.size(); ++edge)
        vMeshE.push_back(oEdgePool->newObject());
    forRangeMT(vFirstSides.size(), [&](std::size_t first, std::size_t end) {
        for (std::size_t edge = first; edge < end; ++edge) {
            const CornerNumbers& corners = vCorners[vFirstSides[edge] / 3];
            const auto& [i, j] = SIDE_ENDS[vFirstSides[edge] % 3];
            const EdgeEnds ends = std::minmax({vertices[corners[i]].ccd, vertices[corners[j]].ccd});
            std::construct_at(vMeshE[edge], ends.first, ends.second, std::uint32_t(edge));
        }
    });
}

} // namespace TESK_ZAN
