// Subsystem: intake. Builds on: Point3, Vector3, zanAssert. Used by: Pixel.
// One triangle of a soup whose equal corners have been merged.
#pragma once

#include "Point3.h"
#include "Vector3.h"

namespace TESK_ZAN
{

// A plain record, 48 bytes. The corners are ascending by address, so neither the winding of the input nor the
// place of a corner in it enters what is computed from them. Corners are one when their pointers are equal.
class Tri
{
public:
    // Condition "pVtx0<pVtx1 && pVtx1<pVtx2". The points are not owned and must not move.
    Tri(Point3* pVtx0, Point3* pVtx1, Point3* pVtx2);

    // No normal: corners on a line, or so near (or far) that the arithmetic gives none.
    bool isDegenerate() const { return nnv.isDegenerate(); }

    // Index 0, 1, 2 gives the corners (1, 2), (0, 2), (0, 1). Any other is a failed condition.
    void getEdgePoints(int index, Point3*& p1, Point3*& p2) const;

    // The unit normal, turned so that it would be opposite in a triangle that continues this one flat beyond
    // the edge from pA to pB: the corners' own when pA to pB runs along 0, 1, 2, 0, otherwise its negative. A
    // degenerate triangle is a failed condition.
    Vector3 getNNV(const Point3* pA, const Point3* pB) const;

    Point3* const pVtx0;
    Point3* const pVtx1;
    Point3* const pVtx2;

private:
    Vector3 nnv; // of the corners in their order
};

} // namespace TESK_ZAN
