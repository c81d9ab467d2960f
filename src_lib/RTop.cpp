#include "RTop.h"

#include "Progress.h"
#include "RMesh.h"
#include "flipLoops.h"
#include "freeFunctions.h"
#include "messages.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr double FORBIDDEN = DBL_MAX;

// The corners around an edge of degree 2. The triangles are (p0, p1, p2) and (px, p2, p1), or the second one
// the other way round; after a flip (p0, p1, px) and (p0, px, p2).
struct FlipCorners {
    explicit FlipCorners(const REdge& edge)
    {
        edge.getAdjT(pT0, pT1, true);
        const int ici = pT0->getICI(edge.getVtx0(), edge.getVtx1());
        p0 = pT0->getCorner(ici);
        p1 = pT0->getCorner(nextIndex3(ici));
        p2 = pT0->getCorner(prevIndex3(ici));
        px = pT1->getThirdPoint(p1, p2);
    }

    // The normals of the two triangles, so that they run alike. False if one has none.
    bool getNormals(Vector3& nnv0, Vector3& nnv1) const
    {
        bool bOK0 = false, bOK1 = false;
        nnv0 = pT0->getNNV(bOK0);
        nnv1 = pT1->getNNV(bOK1);
        if (bOK1 && pT0->needFlip(pT1))
            nnv1 = -1.0 * nnv1;
        return bOK0 && bOK1;
    }

    RTriangle* pT0;
    RTriangle* pT1;
    Point3* p0;
    Point3* p1;
    Point3* p2;
    Point3* px;
};

// In degrees; false if a side has no direction.
bool getAngleAt(const Point3* pApex, const Point3* pA, const Point3* pB, double& angleDeg)
{
    const Vector3 vecA = *pA - *pApex;
    const Vector3 vecB = *pB - *pApex;
    if (vecA.sqLength() == 0.0 || vecB.sqLength() == 0.0)
        return false;
    angleDeg = getAngleDegree(normalize(vecA), normalize(vecB));
    return true;
}

// The angle between the normals of two triangles, in degrees; false if one has none.
bool getDihedral(const Point3* (&t0)[3], const Point3* (&t1)[3], double& angleDeg)
{
    bool bOK0 = false, bOK1 = false;
    const Vector3 nnv0 = getNormalVector(t0[0], t0[1], t0[2], bOK0);
    const Vector3 nnv1 = getNormalVector(t1[0], t1[1], t1[2], bOK1);
    if (!bOK0 || !bOK1 || !nnv0.isNV() || !nnv1.isNV())
        return false;
    angleDeg = getAngleDegree(nnv0, nnv1);
    return true;
}

} // namespace

RTop::RTop(RMesh* pRMesh_) : pRMesh(pRMesh_) {}

void RTop::run()
{
    pRMesh->killDuplicateTriangles();
    pRMesh->createPatchesOrient();
    if (pRMesh->collapseFlat() > 0)
        pRMesh->killDuplicateTriangles();
}

void RTop::edgeFlips()
{
    for (const char* phase : {"RM_gEfCandMT", "RM_kdeg"})
        getRootProgress()->getChildProgressSetTodo(phase, 1)->finish(true);
    greedyFlips(pRMesh);
}

void RTop::edgeFlipsSimA(double temperature)
{
    TESK_ZAN::edgeFlipsSimA(pRMesh, temperature);
}

void RTop::runFlips()
{
    edgeFlips();
    for (const double temperature : annealingTemperatures())
        edgeFlipsSimA(temperature);
    edgeFlips();
}

// Ends: the same edge has the same penalty until a flip changes its surroundings, so only flips bring entries
// back, and a flipped edge is gone.
int RTop::flipExtremeCaps()
{
    double curIntra = 0.0, altIntra = 0.0, curDih = 0.0, altDih = 0.0;
    std::vector<RECandidate> vPenaltyRE;
    for (REdge* pRE : pRMesh->getAllRE()) {
        const double penalty = getFlipPenalty(pRE, curIntra, altIntra, curDih, altDih);
        if (penalty < FORBIDDEN)
            vPenaltyRE.push_back({penalty, pRE});
    }
    std::stable_sort(vPenaltyRE.begin(), vPenaltyRE.end(), [](const RECandidate& c0, const RECandidate& c1) {
        return c0.improvement < c1.improvement;
    });

    int numFlips = 0;
    FlipQueue queue(std::move(vPenaltyRE));
    while (!queue.empty()) {
        const auto [savedPenalty, pRE] = queue.pop();
        const double freshPenalty = getFlipPenalty(pRE, curIntra, altIntra, curDih, altDih);
        if (freshPenalty > savedPenalty) {
            if (freshPenalty < FORBIDDEN)
                queue.push({freshPenalty, pRE});
        } else if (flipCap(pRE)) {
            ++numFlips;
        }
    }
    return numFlips;
}

bool RTop::flipCap(REdge* pRE)
{
    constexpr double MAX_DIHEDRAL_DEG = 90.0;
    const FlipCorners c(*pRE);
    if (!canFlip(pRE->getVtx0(), pRE->getVtx1(), c.p0, c.px, MAX_DIHEDRAL_DEG))
        return false;
    c.pT0->kill(pRMesh);
    c.pT1->kill(pRMesh);
    pRMesh->createT(c.p0, c.p1, c.px);
    pRMesh->createT(c.p0, c.px, c.p2);
    return true;
}

double RTop::getFlipPenalty(REdge* pRE, double& curLargestIntra, double& altLargestIntra, double& curDih,
                            double& altDih) const
{
    constexpr double CAP_DEG = 170.0;
    constexpr double MAX_DIH_GROWTH_DEG = 2.0;
    constexpr double NO_NORMAL_NOW = 360.0;
    curLargestIntra = altLargestIntra = curDih = altDih = 0.0;
    if (pRE->getDegree() != 2)
        return FORBIDDEN;
    const FlipCorners c(*pRE);
    double angle0 = 0.0, angleX = 0.0, angle1 = 0.0, angle2 = 0.0;
    if (!getAngleAt(c.p0, c.p1, c.p2, angle0) || !getAngleAt(c.px, c.p1, c.p2, angleX) ||
        !getAngleAt(c.p1, c.p0, c.px, angle1) || !getAngleAt(c.p2, c.p0, c.px, angle2))
        return FORBIDDEN;
    curLargestIntra = std::max(angle0, angleX);
    altLargestIntra = std::max(angle1, angle2);

    Vector3 nnv0, nnv1;
    curDih = c.getNormals(nnv0, nnv1) ? getAngleDegree(nnv0, nnv1) : NO_NORMAL_NOW;
    const Point3* aAlt0[3] = {c.p0, c.p1, c.px};
    const Point3* aAlt1[3] = {c.p0, c.px, c.p2};
    if (!getDihedral(aAlt0, aAlt1, altDih) || curLargestIntra < CAP_DEG ||
        altLargestIntra > curLargestIntra || altDih - curDih > MAX_DIH_GROWTH_DEG)
        return FORBIDDEN;
    return (altDih - curDih) + (altLargestIntra - curLargestIntra);
}

bool RTop::canFlip(const Point3* p0, const Point3* p1, const Point3* pOpp0, const Point3* pOpp1,
                   double maxAngle) const
{
    if (p0 == p1 || p0 == pOpp0 || p0 == pOpp1 || p1 == pOpp0 || p1 == pOpp1 || pOpp0 == pOpp1) {
        ZAN_WARNING("Duplicate corner, canFlip() returns false");
        return false;
    }
    const REdge* pRE = pRMesh->getRE(p0, p1);
    if (pRE == nullptr || pRE->getDegree() != 2)
        return false;
    if (pRMesh->hasAliveEdge(pOpp0, pOpp1)) {
        ZAN_WARNING("AltEdge already present, canFlip() returns false");
        return false;
    }
    if (numberOf(p0) >= numberOf(p1)) {
        ZAN_WARNING("ccd0 >= ccd1, ");
        return false;
    }
    const Point3* aAlt0[3] = {pOpp0, p0, pOpp1};
    const Point3* aAlt1[3] = {pOpp0, pOpp1, p1};
    double angleDeg = 0.0;
    return getDihedral(aAlt0, aAlt1, angleDeg) && angleDeg < maxAngle;
}

void RTop::getEdgesForOptimization(double angleDeg, std::vector<REdge*>& vRE) const
{
    constexpr double PI = 3.14159;
    const double maxCos = std::cos(angleDeg / 180.0 * PI);
    for (REdge* pRE : pRMesh->getAllRE()) {
        if (pRE->getDegree() != 2)
            continue;
        Vector3 nnv0, nnv1;
        if (!FlipCorners(*pRE).getNormals(nnv0, nnv1))
            ZAN_WARNING("No NNV, skipped edge");
        else if (getCosPhi(nnv0, nnv1) <= maxCos)
            vRE.push_back(pRE);
    }
}

} // namespace TESK_ZAN
