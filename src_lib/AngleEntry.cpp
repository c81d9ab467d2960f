#include "AngleEntry.h"

#include "CMesh.h"
#include "CTriangle.h"
#include "Point3.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <cmath>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr double NO_ANGLE = 720.0;
constexpr double FLAT_DEGREES = 179.9;

// False if the vector has no direction.
bool unitVector(const Vector3& v, Vector3& unit)
{
    const double len = v.length();
    if (!std::isnormal(len))
        return false;
    unit = v / len;
    return true;
}

} // namespace

AngleEntry::AngleEntry(CMesh* pMeshGiven, u64 vcdGiven, bool bBorderAngleGiven)
    : pMesh(pMeshGiven), vcd(vcdGiven), pVtx(pMeshGiven->getVtx(vcdGiven)), angle(NO_ANGLE),
      bBorderAngle(bBorderAngleGiven)
{
}

void AngleEntry::kill()
{
    zanAssert(bAlive);
    bAlive = false;
}

double AngleEntry::getAngle(bool bRecompute, int& statusOut)
{
    if (bRecompute)
        angle = computeAngle();
    statusOut = status;
    return angle;
}

double AngleEntry::computeAngle()
{
    zanAssert(pPrevAE != nullptr && pNextAE != nullptr);
    status = CS_TWO_LEFT;
    if (pPrevAE == pNextAE)
        return NO_ANGLE;
    status = CS_FLAT;
    Vector3 toNext, toPrev;
    if (!unitVector(*pNextAE->pVtx - *pVtx, toNext) || !unitVector(*pPrevAE->pVtx - *pVtx, toPrev) ||
        !unitVector(crossProd(toNext, toPrev), crossProduct))
        return NO_ANGLE;

    getAvgNNV(localNNV, true);
    const double spanDeg = getAngleDegree(toNext, toPrev);
    const bool bConvex = bBorderAngle && localNNV * crossProduct > 0.0;
    const double angleDeg = bConvex ? spanDeg : 360.0 - spanDeg;
    status = angleDeg < FLAT_DEGREES ? CS_USABLE : CS_FLAT;
    return angleDeg;
}

double AngleEntry::getPrevNextDihedral()
{
    zanAssert(pPrevAE != this && pNextAE != this && pPrevAE != pNextAE);
    zanAssert(bAlive && pPrevAE->bAlive && pNextAE->bAlive);
    Vector3 nnvPrev, nnvNext;
    pPrevAE->getAvgNNV(nnvPrev, true);
    pNextAE->getAvgNNV(nnvNext, true);
    return getAngleDegree(nnvPrev, nnvNext);
}

void AngleEntry::getAvgNNV(Vector3& out, bool bRecompute)
{
    if (bRecompute) {
        std::vector<CTriangle*> vCT;
        pMesh->getIncidentT(vcd, vCT);
        Vector3 sum;
        for (const CTriangle* pCT : vCT) {
            u64 next = 0, prev = 0;
            pCT->getNextPrev(vcd, next, prev);
            bool bOK = false;
            const Vector3 nnv = getNormalVector(pVtx, pMesh->getVtx(next), pMesh->getVtx(prev), bOK);
            if (bOK)
                sum += nnv;
        }
        if (!unitVector(sum, localNNV))
            localNNV = Vector3(1.0, 0.0, 0.0);
    }
    out = localNNV;
}

} // namespace TESK_ZAN
