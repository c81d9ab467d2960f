#include "trianglesCross.h"

#include "freeFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace TESK_ZAN
{

namespace
{

// The segment from p to q runs through the inside of the triangle. What rounding leaves of a volume where all
// lies in one plane is none.
bool pierces(const Point3& p, const Point3& q, const std::array<const Point3*, 3>& corners)
{
    const double sideP = orient3d(*corners[0], *corners[1], *corners[2], p);
    const double sideQ = orient3d(*corners[0], *corners[1], *corners[2], q);
    constexpr double ROUNDING = 1e-12;
    const double sqLen = std::max({sqDistance(*corners[0], *corners[1]), sqDistance(*corners[0], *corners[2]),
                                   sqDistance(*corners[0], p), sqDistance(*corners[0], q)});
    if (!(sideP * sideQ < 0.0) ||
        std::min(std::fabs(sideP), std::fabs(sideQ)) <= ROUNDING * sqLen * std::sqrt(sqLen))
        return false;
    const double w0 = orient3d(p, q, *corners[0], *corners[1]);
    const double w1 = orient3d(p, q, *corners[1], *corners[2]);
    const double w2 = orient3d(p, q, *corners[2], *corners[0]);
    return (w0 > 0.0 && w1 > 0.0 && w2 > 0.0) || (w0 < 0.0 && w1 < 0.0 && w2 < 0.0);
}

} // namespace

bool trianglesCross(const std::array<const Point3*, 3>& a, const std::array<const Point3*, 3>& b)
{
    for (std::size_t i = 0; i < 3; ++i)
        if (pierces(*a[i], *a[(i + 1) % 3], b) || pierces(*b[i], *b[(i + 1) % 3], a))
            return true;
    return false;
}

} // namespace TESK_ZAN
