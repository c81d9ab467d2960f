// Subsystem: mesh on codes. Builds on: Vector3. Used by: solidSheets, surplusStrips.
// Directions round an edge.
#pragma once

#include "Point3.h"
#include "Vector3.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace TESK_ZAN
{

// As angles that grow counterclockwise for who looks against the edge.
class Bearing
{
public:
    // The ends of the edge, which must differ.
    Bearing(const Point3& origin_, const Point3& to) : origin(origin_)
    {
        const Vector3 axis = to - origin;
        const std::array<double, 3> size{std::fabs(axis.x()), std::fabs(axis.y()), std::fabs(axis.z())};
        const auto least = std::min_element(size.begin(), size.end()) - size.begin();
        const Vector3 off(least == 0 ? 1.0 : 0.0, least == 1 ? 1.0 : 0.0, least == 2 ? 1.0 : 0.0);
        right = normalize(crossProd(axis, off));
        up = normalize(crossProd(axis, right));
    }

    // In radians, from -pi to pi.
    double of(const Point3& p) const
    {
        const Vector3 v = p - origin;
        return std::atan2(v * up, v * right);
    }

private:
    Point3 origin;
    Vector3 right, up;
};

} // namespace TESK_ZAN
