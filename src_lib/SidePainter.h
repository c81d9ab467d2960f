// Subsystem: volumes. Builds on: Facet, SheetCells, freeFunctions. Used by: Component.
// The colouring of the facets that the flood over a sheet's inner cells left open, from those round them.
#pragma once

#include "Facet.h"
#include "Point3.h"
#include "definitions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class SheetCells;

// Works on the facets of one component while it lives. A facet is coloured when its index is one of the pair,
// lowerIndex or upperIndex; all others are open. Each round looks again only at facets beside those that the
// round before coloured, and decides on the state that it found: results do not depend on the order within a
// round, and the work is linear in the facets but for the heaps.
class SidePainter
{
public:
    SidePainter(std::vector<Facet>& vFacets, const SheetCells& cells, int lowerIndex, int upperIndex);

    // The index that the neighbours across the four edges call for, and its weight. A coloured neighbour on
    // another cell weighs 10, but 1 if it looks another way and its cell is a border cell. With both indices
    // the one that reaches 10 alone counts; NO_DECISION with weight 0 if neither does or both do.
    static constexpr int NO_DECISION = -99;
    std::pair<int, float> cc_getWeight(const Facet* pFacet) const;

    // Colours open facets, the strongest weight first, down to minWeight. Gives their number.
    std::size_t cc_colorize_w(float minWeight);

    // Colours open facets that look the same way as at least minCount facets of one index on the 26 cells
    // round theirs. With bFinal, of two indices the one that is found more often counts, if it is found at
    // least twice; otherwise such facets stay open. Goes on in rounds, with cc_colorize_w(10) where a round
    // finds nothing, until both find nothing. Gives the number coloured.
    std::size_t cc_colorize_27(int minCount, bool bFinal);

    // Thins the seam: facets beside one of the other index lose theirs, first those that stand upright on the
    // sheet, until no seam is left there. vRCDPoint has the points of the cells, sorted.
    void cc_makeThinBorder(const std::vector<std::pair<u64, Point3>>& vRCDPoint);

private:
    using Counts = std::array<std::uint8_t, 2>;

    bool isOpen(const Facet& facet) const
    {
        return facet.componentIndex != aIndices[0] && facet.componentIndex != aIndices[1];
    }
    std::size_t placeOf(const Facet* pFacet) const;
    void paint(Facet* pFacet, int index);
    void count(const Facet& facet);
    void colorizeRound(int minCount, bool bFinal, std::vector<Facet*>& vCandidates);
    int choose27(const Facet& facet, int minCount, bool bFinal) const;
    float conflictWeight(const Facet& facet, const std::vector<std::pair<u64, Point3>>& vRCDPoint) const;

    std::vector<Facet>& vFacets; // not owned
    const SheetCells& cells;     // not owned
    const std::array<int, 2> aIndices;
    std::vector<Counts> vCounts;    // by facet: facets of each index round it that look the same way
    std::vector<Facet*> vTouched27; // open facets whose counts have grown since the last round
    std::vector<Facet*> vTouchedW;  // open facets whose weights may have grown since cc_colorize_w
    float lastMinWeight = 0;        // of the last cc_colorize_w; 0 before the first
    std::size_t numPainted = 0;
};

} // namespace TESK_ZAN
