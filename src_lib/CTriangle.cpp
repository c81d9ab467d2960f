#include "CTriangle.h"

#include "CMesh.h"
#include "Point3.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// -1, 0 or 1: how a lies to b on the axis of the mask. Masked codes compare like the coordinates.
double signOnAxis(u64 a, u64 b, u64 axisMask)
{
    a &= axisMask;
    b &= axisMask;
    return a == b ? 0.0 : (a > b ? 1.0 : -1.0);
}

Vector3 signVector(u64 from, u64 to)
{
    return Vector3(signOnAxis(to, from, CCD_X), signOnAxis(to, from, CCD_Y), signOnAxis(to, from, CCD_Z));
}

} // namespace

CTriangle::CTriangle(u64 c0Given, u64 c1Given, u64 c2Given, u64 vcdGiven, int cfgGiven,
                     std::uint32_t numberGiven)
    : c0(c0Given), c1(c1Given), c2(c2Given), vcd(vcdGiven), number(numberGiven),
      cfg(static_cast<std::int16_t>(cfgGiven))
{
}

std::array<u64, 3> CTriangle::getCornerRCDs() const
{
    return {Calc::ccdToRCD(c0), Calc::ccdToRCD(c1), Calc::ccdToRCD(c2)};
}

void CTriangle::getEdgeCCDs(int i, u64& a, u64& b) const
{
    a = getCorner(nextIndex3(i));
    b = getCorner(prevIndex3(i));
}

void CTriangle::getOtherCCDs(u64 ccd, u64& a, u64& b) const
{
    zanAssert(has(ccd));
    a = ccd == c0 ? c1 : (ccd == c1 ? c0 : c1);
    b = ccd == c2 ? c0 : c2;
}

void CTriangle::getNextPrev(u64 ccd, u64& next, u64& prev) const
{
    getEdgeCCDs(getICI(ccd), next, prev);
}

void CTriangle::getSortedCorners(u64& a, u64& b, u64& c) const
{
    u64 c0_ = c0, c1_ = c1, c2_ = c2;
    if (c0_ > c1_)
        std::swap(c0_, c1_);
    if (c1_ > c2_)
        std::swap(c1_, c2_);
    if (c0_ > c1_)
        std::swap(c0_, c1_);
    zanAssertText(c0_ < c1_ && c1_ < c2_, "c0_<c1_ && c1_<c2_");
    a = c0_;
    b = c1_;
    c = c2_;
}

bool CTriangle::operator<(const CTriangle& other) const
{
    std::array<u64, 4> own{0, 0, 0, number}, others{0, 0, 0, other.number};
    getSortedCorners(own[0], own[1], own[2]);
    other.getSortedCorners(others[0], others[1], others[2]);
    return own < others;
}

bool CTriangle::operator==(const CTriangle& other) const
{
    // Corners of one triangle differ, so three hits are all three.
    return has(other.c0) && has(other.c1) && has(other.c2);
}

HEDirection CTriangle::getHEDirection2(u64 a, u64 b) const
{
    if ((a == c0 && b == c1) || (a == c1 && b == c2) || (a == c2 && b == c0))
        return HE_SAME;
    if ((b == c0 && a == c1) || (b == c1 && a == c2) || (b == c2 && a == c0))
        return HE_OPPOSITE;
    return HE_NONE;
}

bool CTriangle::needFlip(const CTriangle* pOther) const
{
    const u64 ends[3][2] = {{c0, c1}, {c1, c2}, {c2, c0}};
    for (const auto& [a, b] : ends) {
        const HEDirection direction = pOther->getHEDirection2(a, b);
        if (direction != HE_NONE)
            return direction == HE_SAME;
    }
    return false;
}

void CTriangle::flipOrientation()
{
    std::swap(c1, c2);
    std::swap(pCE01, pCE02);
}

void CTriangle::getNNV(const CMesh* pMesh, Vector3& out, bool& bOK) const
{
    out = getNormalVector(pMesh, c0, c1, c2, bOK);
}

void CTriangle::getCoarseNNV(Vector3& out, bool& bOK) const
{
    const Vector3 normal = crossProd(signVector(c0, c1), signVector(c0, c2));
    bOK = !normal.isDegenerate();
    out = bOK ? normalize(normal) : normal;
}

Point3 CTriangle::getCentroid(const CMesh* pMesh, VtxType vt) const
{
    if (vt == VT_REAL)
        return TESK_ZAN::getCentroid(*pMesh->getVtx(c0), *pMesh->getVtx(c1), *pMesh->getVtx(c2));
    const Calc* pCalc = pMesh->getCalc();
    return TESK_ZAN::getCentroid(pCalc->getCellMid(c0), pCalc->getCellMid(c1), pCalc->getCellMid(c2));
}

double CTriangle::getArea(const CMesh* pMesh) const
{
    return TESK_ZAN::getArea(*pMesh->getVtx(c0), *pMesh->getVtx(c1), *pMesh->getVtx(c2));
}

bool CTriangle::isDegenerate(const CMesh* pMesh) const
{
    const Point3& p0 = *pMesh->getVtx(c0);
    const Point3& p1 = *pMesh->getVtx(c1);
    const Point3& p2 = *pMesh->getVtx(c2);
    if (p0 == p1 || p1 == p2 || p2 == p0)
        return true;
    const Vector3 vec01 = p1 - p0, vec02 = p2 - p0;
    return vec01.isDegenerate() || vec02.isDegenerate() || crossProd(vec01, vec02).sqLength() == 0.0;
}

int CTriangle::getLargestEdgeICI(const CMesh* pMesh) const
{
    const Point3& p0 = *pMesh->getVtx(c0);
    const Point3& p1 = *pMesh->getVtx(c1);
    const Point3& p2 = *pMesh->getVtx(c2);
    const double d01 = sqDistance(p0, p1), d12 = sqDistance(p1, p2), d20 = sqDistance(p2, p0);
    if (d01 >= d12 && d01 >= d20)
        return 2;
    if (d12 >= d01 && d12 >= d20)
        return 0;
    zanAssertText(d20 >= d01 && d20 >= d12, "d20>=d01 && d20>=d12");
    return 1;
}

void CTriangle::kill(CMesh* pMesh)
{
    zanAssert(bAlive);
    for (CEdge* pCE : {pCE01, pCE12, pCE02}) {
        pCE->checkOut(this);
        if (pCE->getDegree() == 0)
            pMesh->edgeDied(pCE);
    }
    bAlive = false;
}

std::ostream& operator<<(std::ostream& os, const CTriangle& triangle)
{
    return os << (triangle.isAlive() ? "alive" : "dead") << " (" << triangle.getC0() << ", "
              << triangle.getC1() << ", " << triangle.getC2() << "), vcd=" << triangle.getVCD()
              << ", cfg=" << triangle.getCfg();
}

} // namespace TESK_ZAN
