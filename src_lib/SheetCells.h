// Subsystem: volumes. Builds on: CellBlocks, Facet. Used by: Component, SidePainter.
// The cells of a component for look-ups by the million: which exist, how thick the sheet is at a cell, and
// which facets a cell has.
#pragma once

#include "CellBlocks.h"
#include "Facet.h"
#include "Point3.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Reading is safe from several threads while nobody indexes.
class SheetCells
{
public:
    // Lines longer than this many cells are not followed to their ends.
    static constexpr float MAX_THICKNESS = 32.0f;

    explicit SheetCells(const std::vector<u64>& vRCD);
    SheetCells(const SheetCells&) = delete;
    SheetCells& operator=(const SheetCells&) = delete;

    bool exists(u64 rcd) const;

    // The 27 bits round a cell of the component, in the order of Calc::completeArray27_RCD.
    unsigned int getConfiguration(u64 rcd) const;

    // The length of the shortest straight row of cells through this one, over the 13 directions of the
    // lattice, in cells; at most MAX_THICKNESS.
    float getThickness(u64 rcd) const;

    // The unit normal, of no particular side, of the plane through the points of the cells within two steps.
    // vRCDPoint has the points of all cells, sorted. False, with normal untouched, where they lie on a line.
    bool estimateNormal(u64 rcd, const std::vector<std::pair<u64, Point3>>& vRCDPoint, Vector3& normal) const;

    // Takes in where the facets stand: sorted, and not moved or reordered as long as they are looked up here.
    void indexFacets(std::vector<Facet>& vFacets);

    // Null if there is none. O(1).
    Facet* findFacet(u64 rcd, int side) const;

    // All facets of a cell, as a range; empty if it has none.
    std::pair<Facet*, Facet*> findFacets(u64 rcd) const;

private:
    struct FacetsOfCell {
        std::uint32_t first = 0; // place in the vector of facets
        std::uint32_t sides = 0; // bit i: there is a facet of side i
    };

    const FacetsOfCell* find(u64 rcd) const;
    int countRow(CellPos pos, int dir27, int maxSteps) const;

    CellBlocks blocks;
    CellLayer cells;
    std::optional<CellRanks> ranks;
    std::vector<FacetsOfCell> vFacetsOfCell; // by rank
    Facet* pFacets = nullptr;                // not owned
};

} // namespace TESK_ZAN
