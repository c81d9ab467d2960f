#include "RTriangle.h"

#include "REdge.h"
#include "RMesh.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <utility>

namespace TESK_ZAN
{

namespace
{

// Squared lengths outside of this range have lost digits or have overflowed: no direction can be taken from
// such a vector.
bool hasDirection(double sqLen)
{
    return sqLen > 1e-290 && sqLen < 1e290;
}

} // namespace

bool isFlatAngle(const Point3& apex, const Point3& p0, const Point3& p1)
{
    constexpr double MIN_ANGLE_DEG = 0.01;
    constexpr double MAX_ANGLE_DEG = 179.99;
    constexpr double CLEAR_SQ_COS = 0.999; // an angle between 1.8 and 178.2 degrees: no need to look closer

    const Vector3 vec0 = p0 - apex;
    const Vector3 vec1 = p1 - apex;
    const double sqLen0 = vec0.sqLength();
    const double sqLen1 = vec1.sqLength();
    if (!hasDirection(sqLen0) || !hasDirection(sqLen1))
        return true;
    // The product of the two may leave the range, each quotient does not. Asked for each triangle of a mesh:
    // no root, no acos.
    const double dot = vec0 * vec1;
    if ((dot / sqLen0) * (dot / sqLen1) < CLEAR_SQ_COS)
        return false;
    const double angleDeg = getAngleDegree(normalize(vec0), normalize(vec1));
    return angleDeg < MIN_ANGLE_DEG || angleDeg > MAX_ANGLE_DEG;
}

RTriangle::RTriangle(Point3* p0, Point3* p1, Point3* p2, std::uint32_t number_)
    : aCorners{p0, p1, p2}, aOppRE{nullptr, nullptr, nullptr}, pPatch(nullptr), number(number_),
      bVisited(false), bAlive(true)
{
}

Vector3 RTriangle::getNNV(bool& bOK)
{
    bOK = true;
    if (!nnv.isDegenerate())
        return nnv;
    nnv = getNormalVector(aCorners[0], aCorners[1], aCorners[2], bOK);
    if (!bOK || !nnv.isNV()) { // of near-collinear corners digits may have got lost on the way
        nnv.reset();
        bOK = false;
    }
    return nnv;
}

void RTriangle::fillNNV()
{
    if (!nnv.isDegenerate())
        return; // before any corner is read: loops of flips ask often, and corners are far in memory
    const bool bHasSides =
        (*aCorners[1] - *aCorners[0]).sqLength() != 0.0 && (*aCorners[2] - *aCorners[0]).sqLength() != 0.0;
    bool bOK = false;
    if (bHasSides)
        getNNV(bOK);
}

void RTriangle::flipOrientation()
{
    std::swap(aCorners[0], aCorners[1]);
    std::swap(aOppRE[0], aOppRE[1]);
    nnv.set(-nnv.x(), -nnv.y(), -nnv.z());
}

bool RTriangle::needFlip(const RTriangle* pOther) const
{
    for (int i = 0; i < 3; ++i) {
        const Point3* pFrom = aCorners[i];
        const Point3* pTo = aCorners[(i + 1) % 3];
        if (pOther->hasEdge(pFrom, pTo))
            return pOther->aCorners[(pOther->getICI(pFrom) + 1) % 3] == pTo;
    }
    zanFail();
}

int RTriangle::getLargestEdgeICI() const
{
    const double d01 = sqDistance(*aCorners[0], *aCorners[1]);
    const double d12 = sqDistance(*aCorners[1], *aCorners[2]);
    const double d20 = sqDistance(*aCorners[2], *aCorners[0]);
    if (d01 >= d12 && d01 >= d20)
        return 2;
    return d12 >= d01 && d12 >= d20 ? 0 : 1;
}

double RTriangle::getArea() const
{
    return TESK_ZAN::getArea(*aCorners[0], *aCorners[1], *aCorners[2]);
}

double RTriangle::getDevAngle(int ici, const Point3* pAltPoint, bool bSkipIfCorner)
{
    constexpr double NO_NORMAL_NOW = 360.0;
    constexpr double NO_NORMAL_THEN = -1.0;

    if (bSkipIfCorner)
        for (const Point3* pCorner : aCorners)
            if (*pCorner == *pAltPoint)
                return 0.0;
    bool bOK = false;
    const Vector3 curNormal = getNNV(bOK);
    if (!bOK)
        return NO_NORMAL_NOW;
    const Point3* aAlt[3] = {aCorners[0], aCorners[1], aCorners[2]};
    aAlt[ici] = pAltPoint;
    const Vector3 altNormal = getNormalVector(aAlt[0], aAlt[1], aAlt[2], bOK);
    if (!bOK || !altNormal.isNV())
        return NO_NORMAL_THEN;
    return getAngleDegree(curNormal, altNormal);
}

void RTriangle::getNeighbours(int ici, std::vector<RTriangle*>& vOut) const
{
    std::vector<RTriangle*> vAtEdge;
    for (const int iciOpp : {(ici + 2) % 3, (ici + 1) % 3}) {
        vAtEdge.clear();
        aOppRE[iciOpp]->getAliveT(vAtEdge);
        for (RTriangle* pRT : vAtEdge)
            if (pRT != this)
                vOut.push_back(pRT);
    }
}

bool RTriangle::isDegenerate() const
{
    const Vector3 vec01 = *aCorners[1] - *aCorners[0];
    const Vector3 vec02 = *aCorners[2] - *aCorners[0];
    return vec01.isDegenerate() || vec02.isDegenerate() || crossProd(vec01, vec02).sqLength() == 0.0;
}

void RTriangle::kill(RMesh* pRMesh)
{
    zanAssert(bAlive);
    pRMesh->checkOutTriangle(this);
    for (REdge* pRE : aOppRE)
        if (!pRE->isAlive())
            pRMesh->parkDeadEdge(pRE);
    bAlive = false;
}

void RTriangle::failForeignCorner()
{
    zanFail();
}

void RTriangle::setCorner(int ici, Point3* pVtx)
{
    aCorners[ici] = pVtx;
    nnv.reset();
}

} // namespace TESK_ZAN
