// Component: which facets a sheet has, how they hang together, and how thick and which way round the sheet is
// there.
#include "Calc.h"
#include "Component.h"
#include "SheetCells.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

constexpr int FIRST_GROUP = 1000; // number of the first closed shell, while shells are told apart

// A cavity of at most 3x3x3 cells is a flaw inside the sheet. A larger one is the other side of a sheet that
// closes in itself.
constexpr size_t MAX_POCKET_FACETS = 54;

constexpr int NUM_NORMAL_ROUNDS = 4; // a facet's normal takes in facets up to so many steps away

// The bit of the neighbour beyond each side, in a configuration.
constexpr int FACE_BITS[6] = {12, 14, 10, 16, 4, 22};

} // namespace

void Component::createFacets()
{
    vVisibleFacets.reserve(2 * vAllRCD.size());
    auto itBorder = vBorderRCD.begin();
    for (const u64 rcd : vAllRCD) {
        itBorder = std::find_if(itBorder, vBorderRCD.end(), [rcd](u64 border) { return border >= rcd; });
        const bool bBorder = itBorder != vBorderRCD.end() && *itBorder == rcd;
        const unsigned int configuration = pCells->getConfiguration(rcd);
        for (int side = 0; side < 6; ++side)
            if ((configuration >> FACE_BITS[side] & 1) == 0)
                vVisibleFacets.emplace_back(rcd, side, bBorder ? FACET_STATE_BORDER : FACET_STATE_AREA);
    }
    vVisibleFacets.shrink_to_fit();
}

void Component::coloring_setFacetNeigs()
{
    pCells->indexFacets(vVisibleFacets);
    forEachMT(vVisibleFacets, [this](Facet& facet) {
        for (int edge = 0; edge < 4; ++edge) {
            Facet* pNeigFacet = facet.fetchNeigPtr(edge, *pCells);
            zanAssertText(pNeigFacet != nullptr, "pNeigFacet!=0");
            facet.aNeigs[static_cast<size_t>(edge)] = pNeigFacet;
        }
    });
}

// The shells are numbered in the order of their first facets. The very first facet lies at the lowest x, so
// its shell is the outer one.
void Component::coloring_removeInnerVisibleFacets()
{
    std::vector<size_t> vGroupSizes;
    FacetPtrs vReached;
    for (Facet& seed : vVisibleFacets) {
        if (seed.componentIndex >= FIRST_GROUP)
            continue;
        zanAssertText(seed.componentIndex == -1, "f.componentIndex==-1");
        const int group = FIRST_GROUP + static_cast<int>(vGroupSizes.size());
        seed.componentIndex = group;
        vReached.assign(1, &seed);
        for (size_t i = 0; i < vReached.size(); ++i) {
            for (Facet* pNeig : vReached[i]->aNeigs) {
                zanAssertText(pNeig != nullptr, "pNeig!=0");
                if (pNeig->componentIndex == group)
                    continue;
                pNeig->componentIndex = group;
                vReached.push_back(pNeig);
            }
        }
        vGroupSizes.push_back(vReached.size());
    }
    const auto isPocket = [&vGroupSizes](const Facet& facet) {
        const size_t group = static_cast<size_t>(facet.componentIndex - FIRST_GROUP);
        return group > 0 && vGroupSizes[group] <= MAX_POCKET_FACETS;
    };
    const size_t numRemoved = std::erase_if(vVisibleFacets, isPocket);
    for (Facet& facet : vVisibleFacets)
        facet.componentIndex = Facet::NO_INDEX;
    if (numRemoved != 0)
        coloring_setFacetNeigs(); // they have moved
}

void Component::setThickness()
{
    forRangeMT(vVisibleFacets.size(), [this](size_t start, size_t end) {
        for (size_t i = start; i < end; ++i) {
            Facet& facet = vVisibleFacets[i];
            const bool bSameCell = i > start && vVisibleFacets[i - 1].rcd == facet.rcd;
            facet.rel = bSameCell ? vVisibleFacets[i - 1].rel : pCells->getThickness(facet.rcd);
        }
    });
}

// The normal of a facet is that of its side, evened out over the facets near it.
void Component::setNormals()
{
    const auto indexOf = [this](const Facet* pFacet) {
        return static_cast<size_t>(pFacet - vVisibleFacets.data());
    };
    std::vector<Vector3> vNormals(vVisibleFacets.size());
    forEachMT(vVisibleFacets, [](Facet& facet) { facet.nnv = Facet::normalOf(facet.side); });
    for (int round = 0; round < NUM_NORMAL_ROUNDS; ++round) {
        transformMT(vVisibleFacets, vNormals, [](const Facet& facet) {
            Vector3 sum = facet.nnv;
            for (const Facet* pNeig : facet.aNeigs)
                sum += pNeig->nnv;
            return sum;
        });
        forEachMT(vVisibleFacets, [&](Facet& facet) { facet.nnv = vNormals[indexOf(&facet)]; });
    }
    forEachMT(vVisibleFacets, [](Facet& facet) {
        const double length = facet.nnv.length();
        facet.nnv = length > 0.0 ? facet.nnv / length : Facet::normalOf(facet.side);
    });
}

} // namespace TESK_ZAN
