#include "CEdge.h"

#include "CMesh.h"
#include "CTriangle.h"
#include "Point3.h"
#include "freeFunctions.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// Markers of getDihedralAngle, above every angle.
constexpr double ANGLE_TOO_MANY = 362.0;
constexpr double ANGLE_TOO_FEW = 363.0;
constexpr double ANGLE_NO_NORMAL = 364.0;

const Point3* storedPoint(const std::map<u64, Point3>& mStored, u64 ccd)
{
    const auto q_it = mStored.find(ccd);
    zanAssertText(q_it != mStored.end(), "q_it!=mStored.end()");
    return &q_it->second;
}

} // namespace

CEdge::CEdge(u64 v0Given, u64 v1Given, std::uint32_t numberGiven)
    : v0(v0Given), v1(v1Given), number(numberGiven)
{
    zanAssert(v0 < v1);
}

void CEdge::getTriangles(std::vector<CTriangle*>& vOut) const
{
    vOut.insert(vOut.end(), vCT.begin(), vCT.end());
}

bool CEdge::getTwoTriangles(CTriangle*& p0, CTriangle*& p1, bool bExact) const
{
    p0 = nullptr;
    p1 = nullptr;
    if (vCT.size() < 2 || (bExact && vCT.size() > 2))
        return false;
    p0 = vCT[0];
    p1 = vCT[1];
    return true;
}

CTriangle* CEdge::getOtherT(const CTriangle* pCT) const
{
    CTriangle* pOther = nullptr;
    for (CTriangle* pCand : vCT) {
        if (pCand == pCT)
            continue;
        if (pOther != nullptr)
            return nullptr;
        pOther = pCand;
    }
    return pOther;
}

CTriangle* CEdge::getTriangle(bool bMustExist, bool bUnique) const
{
    zanAssertText(!bMustExist || !vCT.empty(), "pRet!=0");
    zanAssertText(!bUnique || vCT.size() < 2, "pRet==0");
    return vCT.empty() ? nullptr : vCT[0];
}

CTriangle* CEdge::getAdjInPatch(const CTriangle* pCT) const
{
    for (CTriangle* pCand : vCT)
        if (pCand != pCT && pCand->getPatch() == pCT->getPatch())
            return pCand;
    ZAN_WARNING("no adjacent triangle");
    return nullptr;
}

u64 CEdge::getOtherVCD(u64 ccd) const
{
    zanAssert(hasVertex(ccd));
    return ccd == v0 ? v1 : v0;
}

bool CEdge::hasTriangle(u64 a, u64 b, u64 c) const
{
    for (const CTriangle* pCT : vCT)
        if (pCT->has(a) && pCT->has(b) && pCT->has(c))
            return true;
    return false;
}

void CEdge::reorder(const TriangleList& vOrdered)
{
    zanAssert(std::is_permutation(vCT.begin(), vCT.end(), vOrdered.begin(), vOrdered.end()));
    vCT = vOrdered;
}

void CEdge::setDirection(EdgeDir ed)
{
    if (edgeDir != ED_NONE && ed != ED_NONE)
        messageStream() << "setDirection for " << *this << ", current edgeDirection=" << int{edgeDir}
                        << ", ed=" << int{ed} << std::endl;
    zanAssertText(edgeDir == ED_NONE || ed == ED_NONE, "edgeDir==ED_NONE || ed==ED_NONE");
    edgeDir = ed;
}

u64 CEdge::getSource() const
{
    zanAssertText(edgeDir != ED_NONE, "edgeDir!=ED_NONE");
    return edgeDir == ED_V0V1 ? v0 : v1;
}

u64 CEdge::getTarget() const
{
    zanAssertText(edgeDir != ED_NONE, "edgeDir!=ED_NONE");
    return edgeDir == ED_V0V1 ? v1 : v0;
}

std::pair<Point3, Point3> CEdge::getSegment(const CMesh* pMesh) const
{
    return {pMesh->getAvgPoint(v0), pMesh->getAvgPoint(v1)};
}

double CEdge::getDihedralAngle(const std::map<u64, Point3>& mStored) const
{
    if (vCT.size() != 2)
        return vCT.size() < 2 ? ANGLE_TOO_FEW : ANGLE_TOO_MANY;
    const Point3* p0 = storedPoint(mStored, v0);
    const Point3* p1 = storedPoint(mStored, v1);
    const Point3* pOpp0 = storedPoint(mStored, vCT[0]->getThirdCCD(v0, v1));
    const Point3* pOpp1 = storedPoint(mStored, vCT[1]->getThirdCCD(v0, v1));
    bool bOK0 = false, bOK1 = false;
    const Vector3 nnv0 = getNormalVector(p0, p1, pOpp0, bOK0);
    const Vector3 nnv1 = getNormalVector(p1, p0, pOpp1, bOK1);
    if (!bOK0 || !bOK1)
        return ANGLE_NO_NORMAL;
    return 180.0 - getAngleDegree(nnv0, nnv1);
}

void CEdge::checkOut(CTriangle* pCT)
{
    const auto pPlace = std::find(vCT.begin(), vCT.end(), pCT);
    if (pPlace == vCT.end()) {
        messageStream() << "CEdge::checkOut, triangle live state: " << *pCT << std::endl;
        zanFail();
    }
    vCT.swapErase(std::size_t(pPlace - vCT.begin()));
}

std::ostream& operator<<(std::ostream& os, const CEdge& edge)
{
    return os << "(" << edge.getV0() << ", " << edge.getV1() << ")";
}

} // namespace TESK_ZAN
