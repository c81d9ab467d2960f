// Subsystem: volumes. Builds on: Box3, Calc (bits). Used by: Octree.
// Places of points along a Hilbert curve through a cube: what is near on the curve is near in space, and the
// cells of one octant, at every level, are one piece of the curve.
#pragma once

#include "definitions.h"
#include "tesk_octree/Box3.h"

namespace TESK_ZAN
{

// Plainly copyable, safe to read from all threads.
class GSS_HC3
{
public:
    // The curve through 2^bitLength cells of the smallest cube that holds the box. bitLength is a multiple of
    // three from 3 to 63, a third of it for each axis; otherwise a failed condition.
    GSS_HC3(const Box3& box, int bitLength);

    // The place of the cell that holds the point, 0 to 2^bitLength - 1. Defined for every point: one outside
    // the cube has the place of a cell at its wall. Three bits a level, the coarsest octant highest.
    u64 getKey(const Point3& p) const;

    // The same for a cell, by its coordinates below 2^numLevels. Neighbours on the curve share a face.
    static u64 cellToKey(u64 x, u64 y, u64 z, int numLevels);

    int getNumLevels() const { return numLevels; }

private:
    u64 coordinate(double value, int axis) const;

    int numLevels;        // bits for each axis
    double halfOrigin[3]; // halves, as the extent of a box can be beyond the largest double
    double cellsPerHalf;
};

} // namespace TESK_ZAN
