#include "CMesh.h"

#include "tesk_tools/KeyBuckets.h"
#include "zanAssert.h"

#include <algorithm>
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

// The places of the seeds by ascending corners; of those with the same corners the first one only.
std::vector<std::uint32_t> orderByCorners(const std::vector<TriangleSeed>& vSeeds, std::size_t numCodes)
{
    TESK_TOOLS::KeyBuckets<SortedSeed> buckets(numCodes);
    for (const TriangleSeed& seed : vSeeds)
        buckets.announce(std::min({seed.corners[0], seed.corners[1], seed.corners[2]}));
    buckets.makeRoom();
    for (std::size_t place = 0; place < vSeeds.size(); ++place) {
        std::uint32_t corners[3];
        std::copy_n(vSeeds[place].corners, 3, corners);
        std::sort(corners, corners + 3);
        buckets.add(corners[0], {corners[1], corners[2], std::uint32_t(place)});
    }
    std::vector<std::uint32_t> vOrder;
    vOrder.reserve(vSeeds.size());
    for (std::size_t lowest = 0; lowest < numCodes; ++lowest) {
        const auto seeds = buckets.get(std::uint32_t(lowest));
        std::sort(seeds.begin(), seeds.end(), [](const SortedSeed& a, const SortedSeed& b) {
            return std::tie(a.middle, a.highest, a.place) < std::tie(b.middle, b.highest, b.place);
        });
        for (std::size_t i = 0; i < seeds.size(); ++i)
            if (i == 0 || seeds[i].middle != seeds[i - 1].middle || seeds[i].highest != seeds[i - 1].highest)
                vOrder.push_back(seeds[i].place);
    }
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
    for (const std::uint32_t place : vOrder) {
        const TriangleSeed& seed = vSeeds[place];
        const auto [c0, c1, c2] = seed.corners;
        const std::uint32_t number = vNumbers[place];
        CTriangle* pCT = std::construct_at(oTrianglePool->newObject(), vCCD_srt[c0], vCCD_srt[c1],
                                           vCCD_srt[c2], seed.vcd, seed.cfg, number);
        vMeshT.push_back(pCT);
        vByNumber[number] = pCT;
        vCorners[number] = {vVtxNumbers[c0], vVtxNumbers[c1], vVtxNumbers[c2]};
    }
    numCreatedT = std::uint32_t(vMeshT.size());
    numSortedT = vMeshT.size();
    connectEdges(vByNumber, vCorners);
}

// Vertices that are missing are made.
std::vector<std::uint32_t> CMesh::getVertexNumbers(const std::vector<u64>& vCCD_srt)
{
    std::vector<std::uint32_t> vNumbers;
    vNumbers.reserve(vCCD_srt.size());
    for (const u64 ccd : vCCD_srt)
        vNumbers.push_back(vertices.findOrAdd(ccd));
    return vNumbers;
}

// Makes the edges of the triangles, which are all that there are.
void CMesh::connectEdges(const std::vector<CTriangle*>& vByNumber, const std::vector<CornerNumbers>& vCorners)
{
    const std::vector<std::uint32_t> vEdges = numberEdges(vCorners, vertices.getAll().size());
    for (std::size_t i = 0; i < vByNumber.size(); ++i) {
        CTriangle* pCT = vByNumber[i];
        CEdge** const sides[3] = {&pCT->pCE01, &pCT->pCE12, &pCT->pCE02}; // as SIDE_ENDS
        for (std::size_t side = 0; side < 3; ++side) {
            const std::uint32_t edge = vEdges[3 * i + side];
            if (edge == vMeshE.size())
                createLinkedEdge(vCorners[i][SIDE_ENDS[side][0]], vCorners[i][SIDE_ENDS[side][1]]);
            *sides[side] = vMeshE[edge];
            vMeshE[edge]->checkIn(pCT);
        }
    }
}

} // namespace TESK_ZAN
