#include "Plane.h"

#include "messages.h"
#include "zanAssert.h"

#include <cmath>

namespace TESK_ZAN
{

namespace
{

double dot(const Point3& p, const Vector3& v)
{
    return p.x() * v.x() + p.y() * v.y() + p.z() * v.z();
}

} // namespace

Plane::Plane(const Point3& p0, const Point3& p1, const Point3& p2)
{
    if (!fit(p0, p1, p2)) {
        ZAN_ERROR("Degenerate plane");
        zanFail();
    }
}

Plane::Plane(const Point3& p, const Vector3& unitNormal) : normal(unitNormal), d(dot(p, unitNormal)) {}

Plane::Plane(const Point3& p0, const Point3& p1, const Point3& p2, bool& bOK)
{
    bOK = fit(p0, p1, p2);
}

bool Plane::fit(const Point3& p0, const Point3& p1, const Point3& p2)
{
    const Vector3 vec01 = normalize(p1 - p0);
    const Vector3 vec02 = normalize(p2 - p0);
    const Vector3 cp = crossProd(vec01, vec02);
    double vecLen = cp.length();
    if (vecLen == 0.0)
        return false;
    const Vector3 unit = cp / vecLen;
    vecLen = unit.length();
    zanAssertText(vecLen > 0.99 && vecLen < 1.01, "vecLen>.99 && vecLen<1.01");
    normal = unit;
    d = dot(p0, normal);
    return true;
}

double Plane::signedDistance(const Point3& p) const
{
    return dot(p, normal) - d;
}

double Plane::absDistance(const Point3& p) const
{
    return std::fabs(signedDistance(p));
}

Point3 Plane::projectPoint(const Point3& p) const
{
    return p - normal * signedDistance(p);
}

Point3 Plane::cutSegment(const Point3& a, const Point3& b, bool& bOK) const
{
    const Vector3 dir = b - a;
    const double slope = normal * dir;
    bOK = slope != 0.0;
    return bOK ? a + dir * ((d - dot(a, normal)) / slope) : a;
}

} // namespace TESK_ZAN
