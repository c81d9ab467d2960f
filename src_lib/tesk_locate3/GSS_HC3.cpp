#include "tesk_locate3/GSS_HC3.h"

#include "Calc.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

GSS_HC3::GSS_HC3(const Box3& box, int bitLength) : numLevels(bitLength / 3)
{
    zanAssert(bitLength >= 3 && bitLength <= 3 * MAXLEVELS && bitLength % 3 == 0);
    double halfExtent = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        halfOrigin[axis] = 0.5 * box.min[axis];
        halfExtent = std::max(halfExtent, 0.5 * box.max[axis] - halfOrigin[axis]);
    }
    // An extent of 0 makes this infinite: the one place of all points is then 0.
    cellsPerHalf = std::ldexp(1.0, numLevels) / halfExtent;
}

u64 GSS_HC3::getKey(const Point3& p) const
{
    return cellToKey(coordinate(p.x(), 0), coordinate(p.y(), 1), coordinate(p.z(), 2), numLevels);
}

u64 GSS_HC3::coordinate(double value, int axis) const
{
    const u64 maxCoord = (u64{1} << numLevels) - 1;
    return std::min(truncateToCoord((0.5 * value - halfOrigin[axis]) * cellsPerHalf), maxCoord);
}

// The transposition of J. Skilling, "Programming the Hilbert curve" (2004): undoes the turns of the octants
// from the finest level up, then takes the Gray code of the whole.
u64 GSS_HC3::cellToKey(u64 x, u64 y, u64 z, int numLevels)
{
    u64 c[3] = {x, y, z};
    const u64 highest = u64{1} << (numLevels - 1);
    for (u64 bit = highest; bit > 1; bit >>= 1) {
        const u64 lower = bit - 1;
        for (u64& axis : c) {
            if ((axis & bit) != 0) {
                c[0] ^= lower;
                continue;
            }
            const u64 exchanged = (c[0] ^ axis) & lower;
            c[0] ^= exchanged;
            axis ^= exchanged;
        }
    }
    c[1] ^= c[0];
    c[2] ^= c[1];
    u64 flipped = 0;
    for (u64 bit = highest; bit > 1; bit >>= 1)
        if ((c[2] & bit) != 0)
            flipped ^= bit - 1;
    return spreadBits3(c[0] ^ flipped) << 2 | spreadBits3(c[1] ^ flipped) << 1 | spreadBits3(c[2] ^ flipped);
}

} // namespace TESK_ZAN
