// Subsystem: volumes. Builds on: Vector3, definitions. Used by: Component, Filler.
// One exposed face of a cell: the cell beyond it does not belong to the component.
#pragma once

#include "Vector3.h"
#include "definitions.h"

#include <array>
#include <cstddef>

namespace TESK_ZAN
{

class SheetCells;

enum FacetState : int {
    FACET_STATE_AREA = 1,  // of an inner cell
    FACET_STATE_BORDER = 2 // of a border cell
};

// A side is a face of a cell: 0 to 5 for -x, +x, -y, +y, -z, +z; side ^ 1 is the opposite one. Facets hang
// together over their edges to closed shells: each has one neighbour across each of its 4 edges.
struct Facet {
    static constexpr int NO_INDEX = -1;

    u64 rcd = 0;
    int side = 0;
    int componentIndex = NO_INDEX; // 0 on the lower, 1 on the upper side of the sheet; others while colouring
    int state = FACET_STATE_AREA;
    float rel = 0;                  // thickness of the sheet at this facet, in cells
    Vector3 nnv;                    // outward, the mean over the facets near this one; of length 1
    std::array<Facet*, 4> aNeigs{}; // across edge 0 to 3, in the vector that holds this one

    Facet() = default;
    Facet(u64 rcd_, int side_, int state_) : rcd(rcd_), side(side_), state(state_) {}

    // By cell, then side.
    bool operator<(const Facet& other) const
    {
        return rcd != other.rcd ? rcd < other.rcd : side < other.side;
    }

    // What to add to a code for the cell beyond a side. No range check.
    static u64 offsetOf(int side)
    {
        const u64 step = side < 2 ? RCD_STEP_X : side < 4 ? RCD_STEP_Y : RCD_STEP_Z;
        return (side & 1) != 0 ? step : u64{0} - step;
    }

    // The side of the cell across which an edge of a facet leads: the four that are neither the facet's own
    // side nor the opposite one, ascending.
    static int sideAcross(int side, int edge) { return edge < (side & ~1) ? edge : edge + 2; }

    // The unit vector of a side.
    static Vector3 normalOf(int side)
    {
        const double sign = (side & 1) != 0 ? 1.0 : -1.0;
        return Vector3(side < 2 ? sign : 0.0, side / 2 == 1 ? sign : 0.0, side >= 4 ? sign : 0.0);
    }

    // The lattice corners of the facet, as RCCs.
    void getCorners(u64 aRCC[4]) const;

    // The neighbour across an edge: the facet of the diagonal cell round the edge, else the one of the same
    // side on the cell next door, else the one of the side across on the own cell. Over an edge where only
    // two diagonal cells meet, facets of different cells are neighbours. Null if the facet that the cells
    // call for is not there.
    Facet* fetchNeigPtr(int edge, const SheetCells& cells) const;
};

} // namespace TESK_ZAN
