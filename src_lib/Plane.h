// Subsystem: geometry values. Builds on: Point3, Vector3, messages, zanAssert. Used by: mesh repair, melting.
// A plane as unit normal and offset: p lies in it when p * normal == d.
#pragma once

#include "Point3.h"
#include "Vector3.h"

namespace TESK_ZAN
{

// A default-built plane, and one that failed to build, has a zero normal and d = 0.
class Plane
{
public:
    Plane() = default;

    // Through three points; p0, p1, p2 turn counter-clockwise seen from the tip of the normal. A degenerate
    // triple (two equal points, or all on a line) is an error message and a failed condition.
    Plane(const Point3& p0, const Point3& p1, const Point3& p2);

    // Through a point, with a given unit normal.
    Plane(const Point3& p, const Vector3& unitNormal);

    // The same as the first, but a degenerate triple sets bOK to false and gives the zero plane. bOK is
    // always set.
    Plane(const Point3& p0, const Point3& p1, const Point3& p2, bool& bOK);

    const Vector3& getNormal() const { return normal; }
    double getD() const { return d; }

    // In units of the input; positive on the side that the normal points to.
    double signedDistance(const Point3& p) const;
    double absDistance(const Point3& p) const;

    // A point in the plane is neither.
    bool isPositive(const Point3& p) const { return signedDistance(p) > 0.0; }
    bool isNegative(const Point3& p) const { return signedDistance(p) < 0.0; }

    // The nearest point of the plane, without colour.
    Point3 projectPoint(const Point3& p) const;

    // Where the line from a to b passes the plane. Parallel to it: bOK false, and a.
    Point3 cutSegment(const Point3& a, const Point3& b, bool& bOK) const;

private:
    // False, with the plane unchanged, for a degenerate triple.
    bool fit(const Point3& p0, const Point3& p1, const Point3& p2);

    Vector3 normal;
    double d = 0.0;
};

} // namespace TESK_ZAN
