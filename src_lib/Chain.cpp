#include "Chain.h"

#include "CEdge.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "Plane.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "tesk_tools/FlatMap.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <ostream>
#include <sstream>

namespace TESK_ZAN
{

namespace
{

using NumberSet = TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash>; // of triangles by their numbers

// How isGoodHole samples: so many triangles, the flattest first, steep ones only as long as there are few.
constexpr std::size_t MAX_TESTED = 50;
constexpr std::size_t ENOUGH_TESTED = 9;
constexpr double STEEP_DEGREES = 45.0;

std::atomic<int> numChainsMade{0};

// The largest angle in degrees between a triangle and its neighbours; negative if no pair has normals.
double getSteepestAngle(const CMesh* pMesh, const CTriangle* pCT)
{
    double maxDeg = -1.0;
    Vector3 nnv, nnvNeig;
    bool bOK = false;
    pCT->getNNV(pMesh, nnv, bOK);
    if (!bOK)
        return maxDeg;
    for (int i = 0; i < 3; ++i) {
        for (const CTriangle* pNeigCT : pCT->getCEdge(i)->getCTs()) {
            if (pNeigCT == pCT)
                continue;
            pNeigCT->getNNV(pMesh, nnvNeig, bOK);
            if (bOK)
                maxDeg = std::max(maxDeg, getAngleDegree(nnv, nnvNeig));
        }
    }
    return maxDeg;
}

u64 exchanged(u64 vcd, const CEdge* pCE)
{
    return pCE->hasVertex(vcd) ? pCE->getOtherVCD(vcd) : vcd;
}

} // namespace

// ---- making and reading

Chain::Chain(CMesh* pMeshGiven, EdgeMap& mmVCD2CE) : id(++numChainsMade), pMesh(pMeshGiven)
{
    zanAssert(!mmVCD2CE.empty());
    CEdge* pCE = mmVCD2CE.begin()->second;
    pCE->setDirection(ED_V0V1);
    removeEdge(mmVCD2CE, pCE);
    lMemberCE.push_back(pCE);
    left = pCE->getSource();
    right = pCE->getTarget();
    takeEdgesFromMap(mmVCD2CE);
}

void Chain::takeEdgesFromMap(EdgeMap& mmVCD2CE)
{
    while (mmVCD2CE.count(left) == 1) {
        CEdge* pCE = mmVCD2CE.find(left)->second;
        pCE->setDirection(pCE->getV1() == left ? ED_V0V1 : ED_V1V0);
        left = pCE->getSource();
        removeEdge(mmVCD2CE, pCE);
        lMemberCE.push_front(pCE);
    }
    while (mmVCD2CE.count(right) == 1) {
        CEdge* pCE = mmVCD2CE.find(right)->second;
        pCE->setDirection(pCE->getV0() == right ? ED_V0V1 : ED_V1V0);
        right = pCE->getTarget();
        removeEdge(mmVCD2CE, pCE);
        lMemberCE.push_back(pCE);
    }
}

void Chain::getEnds(u64& end0, u64& end1) const
{
    end0 = left;
    end1 = right;
}

void Chain::getEdges(std::vector<CEdge*>& vCE) const
{
    vCE.insert(vCE.end(), lMemberCE.begin(), lMemberCE.end());
}

void Chain::getVCDs(std::map<u64, int>& mVCD2Num) const
{
    for (const CEdge* pCE : lMemberCE) {
        ++mVCD2Num[pCE->getV0()];
        ++mVCD2Num[pCE->getV1()];
    }
}

void Chain::clear()
{
    lMemberCE.clear();
    vMoebiusCE.clear();
    left = right = FAILED_CODE;
}

void Chain::addEdges(const std::vector<CEdge*>& vCE)
{
    EdgeMap mmVCD2CE = getEdgeMap(vCE);
    takeEdgesFromMap(mmVCD2CE);
}

std::ostream& operator<<(std::ostream& os, const Chain& chain)
{
    u64 end0 = 0, end1 = 0;
    chain.getEnds(end0, end1);
    std::vector<CEdge*> vCE;
    chain.getEdges(vCE);
    return os << "chain from " << end0 << " to " << end1 << " of " << vCE.size() << " edges";
}

// ---- holes and rims

bool Chain::isGoodHole() const
{
    zanAssertText(isClosed(), "isClosed()");
    std::vector<Point3> vPolygon;
    vPolygon.reserve(2 * lMemberCE.size());
    for (const CEdge* pCE : lMemberCE) {
        vPolygon.push_back(pMesh->getAvgPoint(pCE->getSource()));
        vPolygon.push_back(pMesh->getAvgPoint(pCE->getTarget()));
    }

    const std::vector<SteepT> vAngle2T = getSteepness();
    const std::size_t step = std::max<std::size_t>(1, vAngle2T.size() / MAX_TESTED);
    std::size_t numTested = 0, numEncircled = 0;
    for (std::size_t i = 0; i < vAngle2T.size() && numTested < MAX_TESTED; i += step) {
        if (numTested > ENOUGH_TESTED && vAngle2T[i].angleDeg > STEEP_DEGREES)
            break;
        const Point3 mid = vAngle2T[i].pCT->getCentroid(pMesh, VT_REAL);
        Vector3 nnv;
        bool bOK = false;
        vAngle2T[i].pCT->getNNV(pMesh, nnv, bOK); // it has one, or it would not be listed
        if (isEncircled(mid, mid + nnv, vPolygon))
            ++numEncircled;
        ++numTested;
    }
    return numTested - numEncircled > numEncircled;
}

// The first triangle of each member, each once, the flattest first.
std::vector<Chain::SteepT> Chain::getSteepness() const
{
    std::vector<SteepT> vAngle2T;
    for (const CEdge* pCE : lMemberCE) {
        const CTriangle* pCT = pCE->getTriangle(true, false);
        const double angleDeg = getSteepestAngle(pMesh, pCT);
        if (angleDeg >= 0.0)
            vAngle2T.push_back({angleDeg, pCT});
    }
    sortMT(vAngle2T.begin(), vAngle2T.end(), [](const SteepT& a, const SteepT& b) {
        return a.angleDeg != b.angleDeg ? a.angleDeg < b.angleDeg : lessByNumber(a.pCT, b.pCT);
    });
    const auto isSame = [](const SteepT& a, const SteepT& b) { return a.pCT == b.pCT; };
    vAngle2T.erase(std::unique(vAngle2T.begin(), vAngle2T.end(), isSame), vAngle2T.end());
    return vAngle2T;
}

bool isEncircled(const Point3& a, const Point3& b, const std::vector<Point3>& vPolygon)
{
    constexpr double PI = 3.14159265359;
    double sumDeg = 0.0;
    for (std::size_t i = 0; i < vPolygon.size(); ++i) {
        const Point3& p = vPolygon[i];
        const Point3& q = vPolygon[i + 1 < vPolygon.size() ? i + 1 : 0];
        bool bOKp = false, bOKq = false;
        const Plane planeP(a, b, p, bOKp);
        const Plane planeQ(b, a, q, bOKq); // turned round: equal points have opposite normals
        if (!bOKp || !bOKq)
            continue;
        const double cosine = std::clamp(planeP.getNormal() * planeQ.getNormal(), -1.0, 1.0);
        const double angleDeg = (PI - std::acos(cosine)) / PI * 180.0;
        sumDeg += orient3d(a, b, p, q) < 0.0 ? -angleDeg : angleDeg;
    }
    sumDeg = std::fabs(sumDeg);
    return std::fabs(sumDeg - 360.0) < 1.0 || sumDeg > 180.0;
}

// ---- twisted strips

void Chain::getOriented(std::set<CTriangle*>& sAdjOrientedCT)
{
    std::vector<CTriangle*> vFlippedCT;
    warnOfGaps();
    orientAlong(sAdjOrientedCT, vFlippedCT);
}

void Chain::warnOfGaps() const
{
    for (std::size_t i = 0; i < lMemberCE.size(); ++i) {
        const CEdge* pNextCE = lMemberCE[i + 1 < lMemberCE.size() ? i + 1 : 0];
        if (lMemberCE[i]->getTarget() == pNextCE->getSource())
            continue;
        std::ostringstream text;
        text << "BUG, " << *this << ": " << *pNextCE << " does not continue " << *lMemberCE[i];
        ZAN_WARNING(text.str());
    }
}

// Appends what it had to turn.
void Chain::orientAlong(std::set<CTriangle*>& sAdjOrientedCT, std::vector<CTriangle*>& vFlippedCT) const
{
    for (const CEdge* pCE : lMemberCE) {
        if (pCE->getDegree() > 1)
            continue;
        for (CTriangle* pCT : pCE->getCTs()) {
            if (!sAdjOrientedCT.insert(pCT).second ||
                pCT->getHEDirection2(pCE->getSource(), pCE->getTarget()) == HE_OPPOSITE)
                continue;
            pCT->flipOrientation();
            vFlippedCT.push_back(pCT);
        }
    }
}

bool Chain::hasMoebius()
{
    std::set<CTriangle*> sAdjOrientedCT;
    std::vector<CTriangle*> vFlippedCT;
    warnOfGaps();
    orientAlong(sAdjOrientedCT, vFlippedCT);
    std::vector<CTriangle*> vCT(sAdjOrientedCT.begin(), sAdjOrientedCT.end());
    std::sort(vCT.begin(), vCT.end(),
              [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });

    vMoebiusCE.clear();
    for (const CTriangle* pCT : vCT) {
        for (int i = 0; i < 3; ++i) {
            CEdge* pCE = pCT->getCEdge(i);
            CTriangle* pOtherCT = pCE->getDegree() < 3 ? pCE->getOtherT(pCT) : nullptr;
            if (pOtherCT == nullptr || !lessByNumber(pCT, pOtherCT) || sAdjOrientedCT.count(pOtherCT) == 0)
                continue;
            const HEDirection ownHED = pCT->getHEDirection2(pCE->getV0(), pCE->getV1());
            if (ownHED == pOtherCT->getHEDirection2(pCE->getV0(), pCE->getV1()))
                vMoebiusCE.push_back(pCE);
        }
    }
    for (CTriangle* pCT : vFlippedCT)
        pCT->flipOrientation();
    return !vMoebiusCE.empty();
}

void Chain::fixMoebius()
{
    zanAssert(!vMoebiusCE.empty());
    for (const CEdge* pCE : vMoebiusCE) {
        std::vector<CTriangle*> vResultT;
        if (collectOneSide(pCE, vResultT) && exchangeEnds(pCE, vResultT))
            return;
    }
    std::ostringstream text;
    text << "the twist of the " << *this << " cannot be untied";
    ZAN_WARNING(text.str());
}

// The triangles round the ends of the edge, from its first triangle on without crossing the edge. False if
// they come round to another triangle of the edge.
bool Chain::collectOneSide(const CEdge* pCE, std::vector<CTriangle*>& vResultT) const
{
    NumberSet sSeen;
    vResultT.push_back(pCE->getTriangle(true, false));
    sSeen.tryEmplace(vResultT.front()->getNumber(), true);
    for (std::size_t i = 0; i < vResultT.size(); ++i) {
        for (int k = 0; k < 3; ++k) {
            const CEdge* pWayCE = vResultT[i]->getCEdge(k);
            if (pWayCE == pCE || !(pWayCE->hasVertex(pCE->getV0()) || pWayCE->hasVertex(pCE->getV1())))
                continue;
            for (CTriangle* pCT : pWayCE->getCTs())
                if (sSeen.tryEmplace(pCT->getNumber(), true).second)
                    vResultT.push_back(pCT);
        }
    }
    const auto& vOwnCT = pCE->getCTs();
    return std::none_of(vOwnCT.begin() + 1, vOwnCT.end(),
                        [&sSeen](const CTriangle* pCT) { return sSeen.find(pCT->getNumber()) != nullptr; });
}

// Makes the triangles anew with the ends of the edge exchanged. False, with nothing changed, if one of them
// would be there twice.
bool Chain::exchangeEnds(const CEdge* pCE, const std::vector<CTriangle*>& vResultT)
{
    const auto newCorners = [pCE](const CTriangle* pCT) {
        return std::array{exchanged(pCT->getC0(), pCE), exchanged(pCT->getC1(), pCE),
                          exchanged(pCT->getC2(), pCE)};
    };
    for (const CTriangle* pCT : vResultT) {
        const auto [c0, c1, c2] = newCorners(pCT);
        const CEdge* pTwinCE = pMesh->getEdge(c0, c1);
        if (pCT->has(pCE->getV0()) && pCT->has(pCE->getV1()))
            continue; // the corners stay the same
        if (pTwinCE != nullptr && pTwinCE->hasTriangle(c0, c1, c2))
            return false;
    }
    for (CTriangle* pCT : vResultT) {
        const auto [c0, c1, c2] = newCorners(pCT);
        const u64 vcd = pCT->getVCD();
        pCT->kill(pMesh);
        pMesh->createT(c0, c1, c2, vcd, 0);
    }
    return true;
}

} // namespace TESK_ZAN
