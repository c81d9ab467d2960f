// Subsystem: holes. Builds on: geometry values. Used by: Hole.
// The general shape of the surface round a hole.
#pragma once

#include "Point3.h"
#include "Vector3.h"

#include <vector>

namespace TESK_ZAN
{

// A quadratic height over a plane, fitted to points of the surface: z = a + bx + cy + dxx + exy + fyy.
class HoleTrend
{
public:
    // vPoints: of the surface, vNNV: unit normals there, which tell the upper side. Linear.
    HoleTrend(const std::vector<Point3*>& vPoints, const std::vector<Vector3>& vNNV);

    // False if the points are too few or in a line, or if the surface turns too far away for a height.
    bool isValid() const { return bValid; }

    // About the signed distance, positive above. 0.0 if it is not valid.
    double signedDistance(const Point3& point) const;

private:
    bool setFrame(const std::vector<Point3*>& vPoints, const std::vector<Vector3>& vNNV);
    bool fit(const std::vector<Point3*>& vPoints);

    bool bValid = false;
    Point3 origin;
    Vector3 axes[3]; // the last one points up
    double scale = 1.0;
    double coefficients[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
};

} // namespace TESK_ZAN
