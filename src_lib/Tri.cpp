#include "Tri.h"

#include "zanAssert.h"

#include <cmath>

namespace TESK_ZAN
{

namespace
{

// Below, squares lose digits or vanish; above, they overflow.
bool isMeasurable(const Vector3& v)
{
    constexpr double MIN_SQ_LENGTH = 1e-290;
    const double sqLen = v.sqLength();
    return sqLen > MIN_SQ_LENGTH && std::isfinite(sqLen);
}

// Zero for a degenerate triangle.
Vector3 unitNormal(const Point3& p0, const Point3& p1, const Point3& p2)
{
    const Vector3 side01 = p1 - p0;
    const Vector3 side02 = p2 - p0;
    if (!isMeasurable(side01) || !isMeasurable(side02) || !isMeasurable(p2 - p1))
        return Vector3();
    const Vector3 normal = crossProd(normalize(side01), normalize(side02));
    return isMeasurable(normal) ? normalize(normal) : Vector3();
}

} // namespace

Tri::Tri(Point3* pVtx0_, Point3* pVtx1_, Point3* pVtx2_) : pVtx0(pVtx0_), pVtx1(pVtx1_), pVtx2(pVtx2_)
{
    zanAssertText(pVtx0 < pVtx1 && pVtx1 < pVtx2, "pVtx0<pVtx1 && pVtx1<pVtx2");
    nnv = unitNormal(*pVtx0, *pVtx1, *pVtx2);
}

void Tri::getEdgePoints(int index, Point3*& p1, Point3*& p2) const
{
    zanAssert(index >= 0 && index < 3);
    p1 = index == 0 ? pVtx1 : pVtx0;
    p2 = index == 2 ? pVtx1 : pVtx2;
}

Vector3 Tri::getNNV(const Point3* pA, const Point3* pB) const
{
    zanAssert(!isDegenerate());
    const bool bAlong =
        (pA == pVtx0 && pB == pVtx1) || (pA == pVtx1 && pB == pVtx2) || (pA == pVtx2 && pB == pVtx0);
    return bAlong ? nnv : -1.0 * nnv;
}

} // namespace TESK_ZAN
