#include "SideVotes.h"

#include "RCDMatrix.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// Edges of the blocks, level by level: facets of the same block or of two that touch are near. So they are
// less than 6, 20, 200, 1000 cells apart on each axis.
constexpr u64 BLOCK_SIZES[] = {3, 10, 100, 500};

// Pairs may wait for others that lie between them and the main pair. What is not reached in so many rounds is
// left to the next level.
constexpr int MAX_SWEEPS = 10;

size_t pairOf(const Facet& facet)
{
    return static_cast<size_t>(facet.componentIndex) / 2;
}

// The block of a cell, one away from the ends of the lattice on each axis, so that all neighbours have a
// code.
u64 blockOf(u64 rcd, u64 blockSize)
{
    const u64 x = (rcd & RCD_X) >> 42, y = (rcd & RCD_Y) >> 21, z = rcd & RCD_Z;
    return (x / blockSize + 1) << 42 | (y / blockSize + 1) << 21 | (z / blockSize + 1);
}

} // namespace

SideVotes::SideVotes(const std::vector<const Facet*>& vFacets_, size_t numPairs, size_t mainPair)
    : vFacets(vFacets_), vVerdicts(numPairs, OPEN)
{
    vVerdicts[mainPair] = SAME;
    std::vector<size_t> vSizes(numPairs, 0);
    for (const Facet* pFacet : vFacets)
        ++vSizes[pairOf(*pFacet)];
    for (size_t pair = 0; pair < numPairs; ++pair)
        if (pair != mainPair && vSizes[pair] > 0)
            vOrder.push_back(pair);
    std::stable_sort(vOrder.begin(), vOrder.end(),
                     [&vSizes](size_t a, size_t b) { return vSizes[a] > vSizes[b]; });
}

const std::vector<SideVotes::Verdict>& SideVotes::solve()
{
    for (const u64 blockSize : BLOCK_SIZES) {
        if (vOrder.empty())
            break;
        collect(blockSize);
        for (int i = 0; i < MAX_SWEEPS && sweep(); ++i)
            continue;
    }
    return vVerdicts;
}

// Sums up the facets of each pair in each block, and starts the main pair with all that have joined it.
void SideVotes::collect(u64 blockSize)
{
    std::vector<Entry> vSingle;
    vSingle.reserve(vFacets.size());
    for (const Facet* pFacet : vFacets) {
        const double sign = (pFacet->componentIndex & 1) != 0 ? -1.0 : 1.0;
        vSingle.push_back({blockOf(pFacet->rcd, blockSize), pairOf(*pFacet), {pFacet->nnv * sign, 1.0}});
    }
    std::stable_sort(vSingle.begin(), vSingle.end(), [](const Entry& a, const Entry& b) {
        return a.pair != b.pair ? a.pair < b.pair : a.block < b.block;
    });
    vEntries.clear();
    for (const Entry& single : vSingle) {
        if (vEntries.empty() || vEntries.back().pair != single.pair ||
            vEntries.back().block != single.block) {
            vEntries.push_back(single);
            continue;
        }
        vEntries.back().sum.normals += single.sum.normals;
        vEntries.back().sum.num += 1.0;
    }
    vFirstEntry.assign(vVerdicts.size() + 1, 0);
    for (const Entry& entry : vEntries)
        ++vFirstEntry[entry.pair + 1];
    for (size_t pair = 0; pair < vVerdicts.size(); ++pair)
        vFirstEntry[pair + 1] += vFirstEntry[pair];

    mMain.clear();
    for (size_t pair = 0; pair < vVerdicts.size(); ++pair)
        if (vVerdicts[pair] != OPEN)
            join(pair);
}

// Looks at each open pair once; true if one has joined.
bool SideVotes::sweep()
{
    std::vector<size_t> vStillOpen;
    for (const size_t pair : vOrder) {
        const double vote = voteOf(pair);
        if (vote == 0.0) {
            vStillOpen.push_back(pair);
            continue;
        }
        vVerdicts[pair] = vote > 0.0 ? SAME : CROSSED;
        join(pair);
    }
    vOrder.swap(vStillOpen);
    return vOrder.size() < vStillOpen.size();
}

// Above 0 for the same orientation, below 0 for the crossed one, 0 if nothing is near or nothing speaks for
// either.
double SideVotes::voteOf(size_t pair) const
{
    double vote = 0.0;
    for (size_t i = vFirstEntry[pair]; i < vFirstEntry[pair + 1]; ++i) {
        const Entry& entry = vEntries[i];
        for (const u64 offset : RCD_OFFSETS_27)
            if (const Sum* pMain = mMain.find(entry.block + offset))
                vote += entry.sum.normals * pMain->normals / std::max(entry.sum.num, pMain->num);
    }
    return vote;
}

void SideVotes::join(size_t pair)
{
    for (size_t i = vFirstEntry[pair]; i < vFirstEntry[pair + 1]; ++i) {
        Sum& main = *mMain.tryEmplace(vEntries[i].block, Sum()).first;
        main.normals += vEntries[i].sum.normals * static_cast<double>(vVerdicts[pair]);
        main.num += vEntries[i].sum.num;
    }
}

} // namespace TESK_ZAN
