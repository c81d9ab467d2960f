#include "Facet.h"

#include "SheetCells.h"

namespace TESK_ZAN
{

void Facet::getCorners(u64 aRCC[4]) const
{
    const u64 base = rcd + ((side & 1) != 0 ? offsetOf(side) : 0);
    const u64 stepA = side < 2 ? RCD_STEP_Y : RCD_STEP_X;
    const u64 stepB = side < 4 ? RCD_STEP_Z : RCD_STEP_Y;
    aRCC[0] = base;
    aRCC[1] = base + stepB;
    aRCC[2] = base + stepA;
    aRCC[3] = base + stepA + stepB;
}

Facet* Facet::fetchNeigPtr(int edge, const SheetCells& cells) const
{
    const int across = sideAcross(side, edge);
    const u64 nextDoor = rcd + offsetOf(across);
    if (Facet* pDiagonal = cells.findFacet(nextDoor + offsetOf(side), across ^ 1))
        return pDiagonal;
    if (Facet* pNextDoor = cells.findFacet(nextDoor, side))
        return pNextDoor;
    return cells.findFacet(rcd, across);
}

} // namespace TESK_ZAN
