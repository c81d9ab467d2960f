// Subsystem: volumes. Builds on: Point3. Used by: Octree, GSS_HC3.
// An axis-parallel box of real coordinates.
#pragma once

#include "Point3.h"

#include <algorithm>
#include <limits>

namespace TESK_ZAN
{

// Empty until the first point is added; the distances of an empty box have no meaning.
struct Box3 {
    double min[3] = {MAX, MAX, MAX};
    double max[3] = {-MAX, -MAX, -MAX};

    void add(const Point3& p)
    {
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], c[axis]);
            max[axis] = std::max(max[axis], c[axis]);
        }
    }

    void add(const Box3& box)
    {
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], box.min[axis]);
            max[axis] = std::max(max[axis], box.max[axis]);
        }
    }

    // The squared distance from p to the nearest point of the box, 0 inside. Never above the squared distance
    // to a point of the box as sqDistance computes it: rounding is monotonic.
    double sqDistanceTo(const Point3& p) const
    {
        const double c[3] = {p.x(), p.y(), p.z()};
        double d[3];
        for (int axis = 0; axis < 3; ++axis)
            d[axis] = std::max(std::max(min[axis] - c[axis], c[axis] - max[axis]), 0.0);
        return d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
    }

    // p itself if it is in the box; without colour.
    Point3 nearestTo(const Point3& p) const
    {
        return Point3(std::clamp(p.x(), min[0], max[0]), std::clamp(p.y(), min[1], max[1]),
                      std::clamp(p.z(), min[2], max[2]));
    }

private:
    static constexpr double MAX = std::numeric_limits<double>::max();
};

} // namespace TESK_ZAN
