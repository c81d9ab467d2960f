// Subsystem: geometry values. Builds on: freeFunctions. Used by: patchCrossings, edgeSharpening.
// Whether a triangle runs through another one.
#pragma once

#include <array>

namespace TESK_ZAN
{

class Point3;

// An edge of one triangle runs through the inside of the other. Triangles that only touch, as those with a
// common corner may, or that lie in one plane, do not cross.
bool trianglesCross(const std::array<const Point3*, 3>& a, const std::array<const Point3*, 3>& b);

} // namespace TESK_ZAN
