#include "SheetCells.h"

#include "freeFunctions.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr int CENTRE = CellBlocks::CENTRE;

// The directions with dir27 above the centre; 26 - dir27 is the opposite one. The axes come first: they are
// short most often and cut the search along the others.
constexpr int LINES[13] = {14, 16, 22, 15, 17, 19, 21, 23, 25, 18, 20, 24, 26};

float lengthOf(int dir27)
{
    const int numAxes = (dir27 % 3 != 1) + (dir27 / 3 % 3 != 1) + (dir27 / 9 != 1);
    return std::sqrt(static_cast<float>(numAxes));
}

} // namespace

SheetCells::SheetCells(const std::vector<u64>& vRCD)
{
    blocks.reserve(vRCD.size());
    for (const u64 rcd : vRCD) {
        const CellPos pos = blocks.touch(rcd);
        if ((pos >> 9) >= cells.numBlocks())
            blocks.fit(cells);
        cells.set(pos);
    }
    ranks.emplace(cells);
}

bool SheetCells::exists(u64 rcd) const
{
    const CellPos pos = blocks.find(rcd);
    return pos != NO_CELL && cells.test(pos);
}

unsigned int SheetCells::getConfiguration(u64 rcd) const
{
    const CellPos pos = blocks.find(rcd);
    zanAssert(pos != NO_CELL);
    return blocks.getConfiguration(cells, pos);
}

int SheetCells::countRow(CellPos pos, int dir27, int maxSteps) const
{
    for (int numSteps = 0; numSteps < maxSteps; ++numSteps) {
        pos = blocks.step(pos, dir27);
        if (pos == NO_CELL || !cells.test(pos))
            return numSteps;
    }
    return maxSteps;
}

float SheetCells::getThickness(u64 rcd) const
{
    const CellPos pos = blocks.find(rcd);
    zanAssert(pos != NO_CELL && cells.test(pos));
    float thickness = MAX_THICKNESS;
    for (const int dir : LINES) {
        // A row of this many cells is no shorter than what is known.
        const float stepLength = lengthOf(dir);
        const int maxSteps = static_cast<int>(thickness / stepLength);
        int num = 1 + countRow(pos, dir, maxSteps);
        num += countRow(pos, 2 * CENTRE - dir, maxSteps - num + 1);
        thickness = std::min(thickness, static_cast<float>(num) * stepLength);
    }
    return thickness;
}

bool SheetCells::estimateNormal(u64 rcd, const std::vector<std::pair<u64, Point3>>& vRCDPoint,
                                Vector3& normal) const
{
    std::vector<Point3> vCopies;
    constexpr int REACH = 2;
    for (int dx = -REACH; dx <= REACH; ++dx)
        for (int dy = -REACH; dy <= REACH; ++dy)
            for (int dz = -REACH; dz <= REACH; ++dz) {
                const u64 near = rcd + static_cast<u64>(dx) * RCD_STEP_X + static_cast<u64>(dy) * RCD_STEP_Y +
                                 static_cast<u64>(dz) * RCD_STEP_Z;
                if (!exists(near))
                    continue;
                const auto it =
                    std::lower_bound(vRCDPoint.begin(), vRCDPoint.end(), near,
                                     [](const auto& entry, u64 code) { return entry.first < code; });
                zanAssertText(it != vRCDPoint.end() && it->first == near,
                              "q_it!=vRCDPoint.end() && q_it->first==rcd");
                vCopies.push_back(it->second);
            }
    std::vector<Point3*> vPoints;
    for (Point3& point : vCopies)
        vPoints.push_back(&point);
    Point3 centroid;
    return estimateNNV(vPoints, normal, centroid);
}

void SheetCells::indexFacets(std::vector<Facet>& vFacets)
{
    pFacets = vFacets.data();
    vFacetsOfCell.assign(ranks->size(), FacetsOfCell());
    for (size_t i = 0; i < vFacets.size(); ++i) {
        FacetsOfCell& ofCell = vFacetsOfCell[(*ranks)(blocks.find(vFacets[i].rcd))];
        if (ofCell.sides == 0)
            ofCell.first = static_cast<std::uint32_t>(i);
        ofCell.sides |= 1u << vFacets[i].side;
    }
}

const SheetCells::FacetsOfCell* SheetCells::find(u64 rcd) const
{
    const CellPos pos = blocks.find(rcd);
    return pos != NO_CELL && cells.test(pos) ? &vFacetsOfCell[(*ranks)(pos)] : nullptr;
}

Facet* SheetCells::findFacet(u64 rcd, int side) const
{
    const FacetsOfCell* pOfCell = find(rcd);
    const unsigned int bit = 1u << side;
    if (pOfCell == nullptr || (pOfCell->sides & bit) == 0)
        return nullptr;
    return pFacets + pOfCell->first + std::popcount(pOfCell->sides & (bit - 1));
}

std::pair<Facet*, Facet*> SheetCells::findFacets(u64 rcd) const
{
    const FacetsOfCell* pOfCell = find(rcd);
    if (pOfCell == nullptr)
        return {nullptr, nullptr};
    Facet* pFirst = pFacets + pOfCell->first;
    return {pFirst, pFirst + std::popcount(pOfCell->sides)};
}

} // namespace TESK_ZAN
