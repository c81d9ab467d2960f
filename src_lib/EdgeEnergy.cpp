#include "EdgeEnergy.h"

#include "CMesh.h"
#include "Calc.h"
#include "freeFunctions.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// Cosines of 130 and 160 degrees, with pi taken as 3.14159.
const double COS_130 = std::cos(2.268926111111111);
const double COS_160 = std::cos(2.792524444444444);

// Dihedral angles as 1 - cos.
constexpr double DIH_2 = 0.000609173;
constexpr double DIH_160 = 1.939692621;
constexpr double DIH_170 = 1.984807753;

constexpr double EXPONENT = 0.3;
constexpr double SEPARATION_CELLS = 0.1;

double energyTerm(double dih, double len)
{
    return std::pow(dih * len, EXPONENT);
}

// False if two of the points are too near for a direction.
bool minCosPhi(const Point3& p0, const Point3& p1, const Point3& p2, double& cosPhi)
{
    const Vector3 vec01 = p1 - p0, vec02 = p2 - p0, vec12 = p2 - p1;
    for (const Vector3& vec : {vec01, vec02, vec12})
        if (!(vec.sqLength() > 0.0 && std::isfinite(vec.sqLength())))
            return false;
    const Vector3 nv01 = normalize(vec01), nv02 = normalize(vec02), nv12 = normalize(vec12);
    if (!nv01.isNV() || !nv02.isNV() || !nv12.isNV())
        return false;
    cosPhi =
        std::min({getCosPhi(nv01, nv02), getCosPhi(nv01 * -1.0, nv12), getCosPhi(nv02 * -1.0, nv12 * -1.0)});
    return true;
}

// The pair of triangles on an edge, before and after its flip. The edge runs between p1 and p2:
//
//            p1                           p1
//          / | \                        /    \       before: T0 = (p0, p1, p2) and T1 = (px, p2, p1)
//        p0  |  px                    p0 ---- px     after: alt0 = (p0, p1, px) and alt1 = (p0, px, p2)
//          \ | /                        \    /
//            p2                           p2
//
struct FlipQuad {
    CTriangle* pT0 = nullptr;
    CTriangle* pT1 = nullptr;
    u64 opp0 = 0, opp1 = 0, c1 = 0, c2 = 0;
    Point3 p0, px, p1, p2;
    Vector3 vec0, vec1, altVec0, altVec1;
};

// Two different corners at one place: both move towards the middle of their neighbours, or else the first
// leaves along the normal.
void separate(CMesh* pMesh, const FlipQuad& quad)
{
    pMesh->laplacianForOne(quad.opp0);
    pMesh->laplacianForOne(quad.opp1);
    Point3* pOpp0 = pMesh->getVtx(quad.opp0);
    if (*pOpp0 != *pMesh->getVtx(quad.opp1))
        return;
    const double step = SEPARATION_CELLS * pMesh->getCalc()->getCellSize();
    Vector3 nnv;
    bool bOK = false;
    quad.pT0->getNNV(pMesh, nnv, bOK);
    pOpp0->set(*pOpp0 + step * (bOK ? nnv : Vector3(1.0, 0.0, 0.0)));
}

// False if the edge cannot be flipped: no two triangles, or their opposite corners already have an edge.
bool fillCorners(CMesh* pMesh, const CEdge* pCE, FlipQuad& quad)
{
    if (!pCE->getTwoTriangles(quad.pT0, quad.pT1, true))
        return false;
    if (quad.pT0->needFlip(quad.pT1))
        quad.pT1->flipOrientation();
    quad.opp0 = quad.pT0->getThirdCCD(pCE->getV0(), pCE->getV1());
    quad.opp1 = quad.pT1->getThirdCCD(pCE->getV0(), pCE->getV1());
    if (quad.opp0 == quad.opp1 || pMesh->hasEdge(quad.opp0, quad.opp1))
        return false;
    quad.pT0->getNextPrev(quad.opp0, quad.c1, quad.c2);
    if (*pMesh->getVtx(quad.opp0) == *pMesh->getVtx(quad.opp1))
        separate(pMesh, quad);
    quad.p0 = pMesh->getAvgPoint(quad.opp0);
    quad.px = pMesh->getAvgPoint(quad.opp1);
    quad.p1 = pMesh->getAvgPoint(quad.c1);
    quad.p2 = pMesh->getAvgPoint(quad.c2);
    return true;
}

bool fillNormals(const CMesh* pMesh, FlipQuad& quad)
{
    bool bAlt0 = false, bAlt1 = false, bOK0 = false, bOK1 = false;
    quad.altVec0 = getNormalVector(&quad.p0, &quad.p1, &quad.px, bAlt0);
    quad.altVec1 = getNormalVector(&quad.p0, &quad.px, &quad.p2, bAlt1);
    quad.pT0->getNNV(pMesh, quad.vec0, bOK0);
    quad.pT1->getNNV(pMesh, quad.vec1, bOK1);
    return bAlt0 && bAlt1 && bOK0 && bOK1;
}

enum AngleRule { AR_FREE, AR_MARKED, AR_FORBIDDEN };

// A flip that makes the largest angle larger is watched from 130 degrees on and forbidden from 160 on.
AngleRule angleRule(const FlipQuad& quad)
{
    double alt0, alt1, cur0, cur1;
    if (!minCosPhi(quad.p0, quad.px, quad.p2, alt0) || !minCosPhi(quad.p0, quad.p1, quad.px, alt1) ||
        !minCosPhi(quad.p2, quad.p1, quad.px, cur0) || !minCosPhi(quad.p0, quad.p1, quad.p2, cur1))
        return AR_FORBIDDEN;
    const double altInteriorCosPhi = std::min(alt0, alt1);
    if (altInteriorCosPhi >= COS_130 || std::min(cur0, cur1) <= altInteriorCosPhi)
        return AR_FREE;
    return altInteriorCosPhi < COS_160 ? AR_FORBIDDEN : AR_MARKED;
}

// What the edge between the corners a and b of a triangle adds to both energies.
struct RowEnergy {
    double cur = 0.0, alt = 0.0;
};

RowEnergy rowEnergy(const CMesh* pMesh, u64 a, u64 b, const CTriangle* pCT, const Vector3& vecCur,
                    const Vector3& vecAlt)
{
    const CTriangle* pNeig = pMesh->getEdge(a, b)->getOtherT(pCT);
    Vector3 vecN;
    bool bOK = false;
    if (pNeig != nullptr)
        pNeig->getNNV(pMesh, vecN, bOK);
    if (!bOK)
        return {};
    if (pCT->needFlip(pNeig))
        vecN *= -1.0;
    const double len = (pMesh->getAvgPoint(a) - pMesh->getAvgPoint(b)).length();
    return {energyTerm(1.0 - getCosPhi(vecN, vecCur), len), energyTerm(1.0 - getCosPhi(vecN, vecAlt), len)};
}

} // namespace

EdgeEnergy::EdgeEnergy(CMesh* pMeshGiven, CEdge* pCEGiven)
    : pMesh(pMeshGiven), pCE(pCEGiven), improvement(-DBL_MAX)
{
    if (pCE != nullptr)
        compute();
}

void EdgeEnergy::compute()
{
    improvement = -DBL_MAX;
    FlipQuad quad;
    if (!fillCorners(pMesh, pCE, quad))
        return;
    const AngleRule rule = angleRule(quad);
    if (rule == AR_FORBIDDEN || !fillNormals(pMesh, quad))
        return;
    const double altDih = 1.0 - getCosPhi(quad.altVec0, quad.altVec1);
    const double curDih = 1.0 - getCosPhi(quad.vec0, quad.vec1);
    if (rule == AR_MARKED && (altDih < DIH_2 || altDih > DIH_160))
        return;
    if (altDih > DIH_170 && altDih > curDih)
        return; // a fold

    double curEnergy = energyTerm(curDih, (quad.p1 - quad.p2).length());
    double altEnergy = energyTerm(altDih, (quad.p0 - quad.px).length());
    for (const RowEnergy& row : {rowEnergy(pMesh, quad.opp0, quad.c2, quad.pT0, quad.vec0, quad.altVec1),
                                 rowEnergy(pMesh, quad.opp0, quad.c1, quad.pT0, quad.vec0, quad.altVec0),
                                 rowEnergy(pMesh, quad.opp1, quad.c1, quad.pT1, quad.vec1, quad.altVec0),
                                 rowEnergy(pMesh, quad.opp1, quad.c2, quad.pT1, quad.vec1, quad.altVec1)}) {
        curEnergy += row.cur;
        altEnergy += row.alt;
    }
    if (!std::isnan(curEnergy - altEnergy))
        improvement = curEnergy - altEnergy;
}

double EdgeEnergy::getMinCosPhi(const Point3* p0, const Point3* p1, const Point3* p2) const
{
    double cosPhi = 0.0;
    if (minCosPhi(*p0, *p1, *p2, cosPhi))
        return cosPhi;
    const auto text = [](const Vector3& v) {
        return "(" + std::to_string(v.x()) + ", " + std::to_string(v.y()) + ", " + std::to_string(v.z()) +
               ")";
    };
    std::ostream& os = messageStream();
    os << "*p0==*p1: " << (*p0 == *p1) << ", p0=p1: " << (p0 == p1) << ", vec01=" << text(*p1 - *p0)
       << ", vec02=" << text(*p2 - *p0) << ", vec12=" << text(*p2 - *p1) << std::endl;
    const std::string label = "getMinCosPhi";
    pMesh->checkCCD(label);
    pMesh->checkNoDups(label);
    pMesh->checkNoAdjGeomDups(label);
    pMesh->checkNoDegenerate(label);
    pMesh->hasNaN(label);
    zanFail();
}

} // namespace TESK_ZAN
