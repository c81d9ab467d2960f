// Subsystem: holes. Builds on: Calc. Used by: HolePatcher, HoleBridge.
// Cells of their own for points that crowd.
#pragma once

#include "Calc.h"
#include "definitions.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace TESK_ZAN
{

// The point's own cell or, of those round it, the free one whose centre is nearest; FAILED_CODE if none is
// free. isTaken(ccd): whether a cell is not. The point must lie on the lattice, not at its border.
template <class F>
u64 findFreeCell(const Calc& calc, const Point3& point, F isTaken)
{
    constexpr int REACH = 2;
    const u64 rcdOwn = calc.getRCD(&point);
    if (!isTaken(Calc::rcdToCCD(rcdOwn)))
        return Calc::rcdToCCD(rcdOwn);
    int x, y, z;
    rcdToXYZ(rcdOwn, x, y, z);
    std::pair<double, u64> best = {std::numeric_limits<double>::max(), FAILED_CODE};
    for (int dx = -REACH; dx <= REACH; ++dx)
        for (int dy = -REACH; dy <= REACH; ++dy)
            for (int dz = -REACH; dz <= REACH; ++dz) {
                const u64 ccd = Calc::rcdToCCD(xyzToRCD(u64(x + dx), u64(y + dy), u64(z + dz)));
                if (!isTaken(ccd))
                    best = std::min(best, {(calc.getCellMid(ccd) - point).sqLength(), ccd});
            }
    return best.second;
}

} // namespace TESK_ZAN
