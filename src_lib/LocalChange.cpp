#include "LocalChange.h"

#include "RECollapse.h"
#include "RMesh.h"
#include "freeFunctions.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr size_t MAX_TRIANGLES = 32; // a hub is left alone

// A null vector if the triangle has no area. The bits are the same whichever corner comes first, and no
// other normal is looked at here: else a needle of nearly no height would face one way in one plan and
// another way in the next, and two flips could each take a fold away, in turn and for ever.
Vector3 normalOf(std::array<const Point3*, 3> corners)
{
    const auto isBefore = [](const Point3* p, const Point3* q) { return *p < *q; };
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end(), isBefore), corners.end());
    const Vector3 v01 = *corners[1] - *corners[0];
    const Vector3 v02 = *corners[2] - *corners[0];
    const Vector3 cross = crossProd(v01, v02);
    const double len = cross.length();
    const Vector3 normal = len > 0.0 ? cross / len : Vector3();
    return normal.isNV() ? normal : Vector3();
}

std::array<const Point3*, 3> cornersOf(const RTriangle& triangle)
{
    return {triangle.getCorner(0), triangle.getCorner(1), triangle.getCorner(2)};
}

// The triangle of the set that has a side in this direction; the number of triangles if there is none.
size_t findSide(const std::vector<std::array<const Point3*, 3>>& vCorners, const Point3* pFrom,
                const Point3* pTo)
{
    size_t i = 0;
    for (; i < vCorners.size(); ++i)
        for (size_t k = 0; k < 3; ++k)
            if (vCorners[i][k] == pFrom && vCorners[i][(k + 1) % 3] == pTo)
                return i;
    return i;
}

// The distance to the nearest of some triangles.
double distanceToAny(const std::vector<std::array<const Point3*, 3>>& vCorners, const Point3& p)
{
    double least = INFINITY;
    for (const auto& corners : vCorners)
        least = std::min(least, distanceToTriangle(*corners[0], *corners[1], *corners[2], p));
    return least;
}

Point3 middleOf(const Point3& p0, const Point3& p1)
{
    return p0 + 0.5 * (p1 - p0);
}

// Where two edges pass each other: of each, the point nearest to the line of the other. The middles if they
// are parallel.
std::pair<Point3, Point3> nearestPoints(const Point3& p0, const Point3& p1, const Point3& q0,
                                        const Point3& q1)
{
    const Vector3 p = p1 - p0, q = q1 - q0, across = crossProd(p, q);
    const double sqLen = across * across;
    if (!(sqLen > 0.0))
        return {middleOf(p0, p1), middleOf(q0, q1)};
    const double s = std::clamp(crossProd(q0 - p0, q) * across / sqLen, 0.0, 1.0);
    const double t = std::clamp(crossProd(q0 - p0, p) * across / sqLen, 0.0, 1.0);
    return {p0 + s * p, q0 + t * q};
}

} // namespace

double leastAngleCos(const Point3& a, const Point3& b, const Point3& c)
{
    double aSqLen[3] = {sqDistance(b, c), sqDistance(c, a), sqDistance(a, b)};
    std::sort(aSqLen, aSqLen + 3); // the least angle lies opposite the shortest side
    const double product = std::sqrt(aSqLen[1]) * std::sqrt(aSqLen[2]);
    return product > 0.0 && aSqLen[0] > 0.0 ? (aSqLen[1] + aSqLen[2] - aSqLen[0]) / (2.0 * product) : 1.0;
}

bool isRegular(const REdge& edge)
{
    RTriangle *pT0 = nullptr, *pT1 = nullptr;
    return edge.getAdjT(pT0, pT1, true) && !pT0->needFlip(pT1);
}

bool Shape::isClearlyBetterThan(const Shape& other) const
{
    constexpr double CLEARLY = 0.002; // between 10 and 11 degrees lies 0.0032
    return numFolds != other.numFolds ? numFolds < other.numFolds
                                      : leastAngleCos < other.leastAngleCos - CLEARLY;
}

bool LocalChanger::improves(const LocalChange& change, const Allowance& allowance, Shape& after)
{
    Shape before;
    return plan(change, before, after) && after.isClearlyBetterThan(before) && after.leastAngleCos < 1.0 &&
           after.sharpestCos >= std::min(before.sharpestCos, allowance.turnCos) &&
           getShift() <= allowance.shiftCells * mesh.getCellSize(); // last: costs most
}

bool LocalChanger::foresee(const LocalChange& change, Shape& before, Shape& after, double& shift)
{
    if (!plan(change, before, after))
        return false;
    shift = getShift();
    return true;
}

bool LocalChanger::plan(const LocalChange& change, Shape& before, Shape& after)
{
    vOldT.clear();
    vNew.clear();
    vGoing.clear();
    vComing.clear();
    if (!(change.pSrc == nullptr ? planFlip(*change.pRE) : planCollapse(*change.pRE, change.pSrc)))
        return false;
    vOld.clear();
    for (const RTriangle* pRT : vOldT)
        vOld.push_back(cornersOf(*pRT));
    collectRim();
    before = shapeOf(vOld);
    after = shapeOf(vNew);
    return true;
}

bool LocalChanger::planFlip(const REdge& edge)
{
    RTriangle *pT0 = nullptr, *pT1 = nullptr;
    if (!isRegular(edge) || !edge.getAdjT(pT0, pT1, true))
        return false;
    const int ici = pT0->getICI(edge.getVtx0(), edge.getVtx1());
    const Point3* p0 = pT0->getCorner(ici);
    const Point3* p1 = pT0->getCorner(nextIndex3(ici));
    const Point3* p2 = pT0->getCorner(prevIndex3(ici));
    const Point3* px = pT1->getThirdPoint(p1, p2);
    if (p0 == px || mesh.hasAliveEdge(p0, px))
        return false;
    vOldT = {pT0, pT1};
    vNew = {{p0, p1, px}, {p0, px, p2}};
    const auto [going, coming] = nearestPoints(*p1, *p2, *p0, *px);
    vGoing = {going};
    vComing = {coming};
    return true;
}

bool LocalChanger::planCollapse(const REdge& edge, const Point3* pSrc)
{
    const Point3* pTrg = edge.getOtherPoint(pSrc);
    mesh.getIncidentT(pSrc, vOldT);
    if (vOldT.size() > MAX_TRIANGLES || !mayVanish(edge, pSrc))
        return false;
    vGoing = {*pSrc};
    for (const RTriangle* pRT : vOldT) {
        if (pRT->has(pTrg))
            continue;
        const int ici = pRT->getICI(pSrc);
        vNew.push_back({pTrg, pRT->getCorner(nextIndex3(ici)), pRT->getCorner(prevIndex3(ici))});
        vComing.push_back(middleOf(*pTrg, *vNew.back()[1]));
    }
    return true;
}

// The vertex lies inside the surface, with a single fan around it, and the edge is all that it and the other
// endpoint have in common.
bool LocalChanger::mayVanish(const REdge& edge, const Point3* pSrc) const
{
    const Point3* pTrg = edge.getOtherPoint(pSrc);
    size_t numInFan = 0;
    const RTriangle* pRT = vOldT.front();
    do { // over regular edges every walk comes back
        const REdge* pRE = pRT->getRE(nextIndex3(pRT->getICI(pSrc)));
        if (!isRegular(*pRE))
            return false;
        pRT = pRE->getOtherT(pRT);
        ++numInFan;
    } while (pRT != vOldT.front());
    return numInFan == vOldT.size() && !MovingFan(mesh, pSrc).isPinchedBy(mesh, pTrg);
}

void LocalChanger::collectRim()
{
    vRim.clear();
    vAround.clear();
    for (const RTriangle* pRT : vOldT)
        for (int ici = 0; ici < 3; ++ici) {
            RTriangle* pNeig = pRT->getRE(ici)->getOtherT(pRT);
            if (pNeig != nullptr && std::find(vOldT.begin(), vOldT.end(), pNeig) != vOldT.end())
                continue;
            if (pNeig != nullptr)
                vAround.push_back(cornersOf(*pNeig));
            vRim.push_back({pRT->getCorner(nextIndex3(ici)), pRT->getCorner(prevIndex3(ici)),
                            pNeig == nullptr ? Vector3() : normalOf(cornersOf(*pNeig))});
        }
}

// The triangles around count on both sides: what comes out of a fold may come to lie on them.
double LocalChanger::getShift() const
{
    double shift = 0.0;
    for (const Point3& p : vGoing)
        shift = std::max(shift, std::min(distanceToAny(vNew, p), distanceToAny(vAround, p)));
    for (const Point3& p : vComing)
        shift = std::max(shift, std::min(distanceToAny(vOld, p), distanceToAny(vAround, p)));
    return shift;
}

Shape LocalChanger::shapeOf(const std::vector<Corners>& vCorners)
{
    Shape shape;
    vNormal.clear();
    for (const Corners& corners : vCorners) {
        vNormal.push_back(normalOf(corners));
        shape.leastAngleCos =
            std::max(shape.leastAngleCos, leastAngleCos(*corners[0], *corners[1], *corners[2]));
    }
    for (size_t i = 0; i < vCorners.size(); ++i)
        for (size_t side = 0; side < 3; ++side) {
            const Point3* pFrom = vCorners[i][side];
            const Point3* pTo = vCorners[i][(side + 1) % 3];
            const size_t partner = findSide(vCorners, pTo, pFrom);
            if (partner < i)
                continue; // seen from there
            const Vector3 across = partner < vCorners.size() ? vNormal[partner] : rimNormal(pFrom, pTo);
            if (across.isDegenerate() || vNormal[i].isDegenerate())
                continue;
            const double turnCos = vNormal[i] * across;
            shape.sharpestCos = std::min(shape.sharpestCos, turnCos);
            shape.numFolds += turnCos < FOLD_COS ? 1 : 0;
        }
    return shape;
}

Vector3 LocalChanger::rimNormal(const Point3* pFrom, const Point3* pTo) const
{
    const auto pos = std::find_if(vRim.begin(), vRim.end(),
                                  [=](const RimSide& rim) { return rim.pFrom == pFrom && rim.pTo == pTo; });
    return pos == vRim.end() ? Vector3() : pos->outerNormal;
}

void LocalChanger::apply(const LocalChange& change, std::vector<RTriangle*>& vNewT)
{
    vNewT.clear();
    if (change.pSrc == nullptr) {
        RTriangle *pT0 = nullptr, *pT1 = nullptr;
        if (change.pRE->getAdjT(pT0, pT1, true) && change.pRE->tryFlipEdge(&mesh, pT0, pT1) != nullptr)
            vNewT = {pT0, pT1}; // made in the same records
        return;
    }
    Point3* pTrg = change.pRE->getOtherPoint(change.pSrc);
    mesh.getIncidentT(change.pSrc, vNewT);
    vNewT.erase(
        std::remove_if(vNewT.begin(), vNewT.end(), [pTrg](const RTriangle* pRT) { return pRT->has(pTrg); }),
        vNewT.end());
    mesh.exchangeCorner(change.pSrc, pTrg);
}

} // namespace TESK_ZAN
