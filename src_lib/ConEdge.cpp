#include "ConEdge.h"

#include "CMesh.h"
#include "freeFunctions.h"
#include "zanAssert.h"

namespace TESK_ZAN
{

namespace
{

constexpr double ANGLE_NO_NORMAL = 90.0; // between flat and folded
constexpr double ANGLE_LAST = 181.0;     // behind every real angle

} // namespace

ConEdge::ConEdge(const CMesh* pMesh, CEdge* pCEGiven, const CPatch* pPatch)
    : pCE(pCEGiven), deg(pCEGiven->getDegree()), angle(ANGLE_LAST), bSameSide(true)
{
    zanAssertText(deg > 1, "deg>1");
    for (CTriangle* pCT : pCE->getCTs())
        if (deg == 2 || pCT->getPatch() == pPatch)
            vMemT.push_back(pCT);
    zanAssertText(vMemT.size() >= 2, "vMemT.size()>=2");
    if (vMemT.size() > 2)
        return;
    bSameSide = deg == 2;
    angle = angleOfMembers(pMesh);
}

double ConEdge::angleOfMembers(const CMesh* pMesh) const
{
    Vector3 n0, n1;
    bool bOK0 = false, bOK1 = false;
    vMemT[0]->getNNV(pMesh, n0, bOK0);
    vMemT[1]->getNNV(pMesh, n1, bOK1);
    if (!bOK0 || !bOK1)
        return ANGLE_NO_NORMAL;
    if (vMemT[0]->needFlip(vMemT[1]))
        n1 *= -1.0;
    const double turn = getAngleDegree(n0, n1);
    return bSameSide ? turn : 180.0 - turn;
}

} // namespace TESK_ZAN
