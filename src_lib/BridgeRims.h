// Subsystem: volumes. Builds on: Filler, PointIndex3. Used by: fillGaps.
// Tells which of the cells beyond the rims of sheets lie in a gap, between two rims that face each other.
#pragma once

#include "Component.h"
#include "Vector3.h"
#include "definitions.h"
#include "tesk_locate3/PointIndex3.h"

#include <optional>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// A cell lies in a gap when it is before two rims, and between them. Two figures tell: how well the two ends
// of sheet point at the cell, as the sum of the cosines of the angles by which they miss it; and how far
// apart the rims are as seen from the cell, an angle a. Of a cell between two sheets that face each other
// with their sides, and of one anywhere before the slot between these, the sum is 2 * cos(a / 2); of one
// midway between two rims of one plane it is 2, with an a of 180 degrees. A gap is where the sum is larger
// than the former by MIN_EXCESS: also where one sheet ends before the rim of another that goes past it, as a
// wall under its roof, but neither in the open before a rim nor in a notch of one. Both rims may be of one
// sheet: around a hole, along a slit.
class BridgeRims
{
public:
    // The rims of some sheets; the way from rim to rim over a cell is at most maxGap cells.
    // vCells has the point of each of their cells, sorted.
    BridgeRims(const std::vector<const Component*>& vComponents, const CellPoints& vCells, const Calc& calc,
               double maxGap);

    // The far rim, in cells, of the narrowest gap that the cell lies in: opposite to the rim that is nearest
    // to it. None if it lies in no gap. From any thread. The cost is that of a radius query.
    std::optional<Point3> findFarRim(u64 rcd) const;

private:
    struct Rim {
        Point3 place;    // in cells
        Vector3 outward; // from the sheet, along it; of length 1
    };

    struct Sight { // of a rim from a cell
        double dist;
        double cosine; // of the angle by which the sheet points past the cell
        Vector3 toRim; // of length 1
    };

    static const Sight* nearestOf(const std::vector<Sight>& vSights);

    double maxGap;
    PointIndex3<Rim> rimIndex;
};

} // namespace TESK_ZAN
