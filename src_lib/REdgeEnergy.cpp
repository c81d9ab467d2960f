#include "REdgeEnergy.h"

#include "RMesh.h"
#include "colorDistance.h"
#include "freeFunctions.h"
#include "tesk_tools/FixedPower.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr double FORBIDDEN = -DBL_MAX;
constexpr double COS_130 = -0.6427861415753421;
constexpr double COS_160 = -0.9396918140444841;
constexpr TESK_TOOLS::FixedPower ENERGY_POWER(0.335);

double energyOf(double dihedral, double length)
{
    return ENERGY_POWER(dihedral * length);
}

double cosOf(const Vector3& a, const Vector3& b)
{
    return std::clamp(a * b, -1.0, 1.0);
}

// A null vector where the length is 0 or underflows. No message, which a worker must not write.
Vector3 unitFrom(const Point3& from, const Point3& to)
{
    const Vector3 v = to - from;
    const double len = v.length();
    return len == 0.0 ? Vector3() : v / len;
}

// The unit normal of a triangle with the unit sides u and v at one corner, null if there is none.
Vector3 normalOf(const Vector3& u, const Vector3& v)
{
    const Vector3 cp = crossProd(u, v);
    const double len = cp.length();
    return len == 0.0 ? Vector3() : cp / len;
}

// The cosine of the largest inner angle of a triangle (a, b, c) with the unit sides ab, ac, bc. FORBIDDEN if
// a side has no direction.
double largestAngleCos(const Vector3& ab, const Vector3& ac, const Vector3& bc)
{
    if (!ab.isNV() || !ac.isNV() || !bc.isNV())
        return FORBIDDEN;
    return std::min({cosOf(ab, ac), -cosOf(ab, bc), cosOf(ac, bc)});
}

int slotOf(const RTriangle* pRT, const REdge* pRE)
{
    return pRT->getRE(0) == pRE ? 0 : pRT->getRE(1) == pRE ? 1 : 2;
}

// Where the triangle begins when it runs along its edge i.
const Point3* startOfEdge(const RTriangle* pRT, int i)
{
    return pRT->getCorner((i + 1) % 3);
}

// A record can lie across the border between two lines of the cache.
template <class T>
void prefetchRecord(const T& record)
{
    static_assert(sizeof(T) <= 128);
    __builtin_prefetch(&record);
    __builtin_prefetch(reinterpret_cast<const char*>(&record + 1) - 1);
}

} // namespace

// An edge of degree 2 and what is around it:
//
//             p2
//            / | \        ...
//     rim 0 /  |  \ rim 3
//          / T0|T1 \      ...
//        p0    |    px
//          \   |   /
//     rim 1 \  |  / rim 2
//            \ | /
//             p1
struct REdgeEnergy::Quad {
    explicit Quad(const REdge& edge)
    {
        edge.getAdjT(aT[0], aT[1], true);
        const int i0 = slotOf(aT[0], &edge);
        const int i1 = slotOf(aT[1], &edge);
        p0 = aT[0]->getCorner(i0);
        p1 = aT[0]->getCorner((i0 + 1) % 3);
        p2 = aT[0]->getCorner((i0 + 2) % 3);
        px = aT[1]->getCorner(i1);
        bAlike = startOfEdge(aT[1], i1) != p1;
        aRim[0] = {aT[0], (i0 + 1) % 3};
        aRim[1] = {aT[0], (i0 + 2) % 3};
        const int iP1 = aT[1]->getCorner((i1 + 1) % 3) == p1 ? (i1 + 1) % 3 : (i1 + 2) % 3;
        aRim[2] = {aT[1], 3 - i1 - iP1}; // opposite p2
        aRim[3] = {aT[1], iP1};
    }

    // A rim edge: the triangle of the quad, and the slot that the edge has in it.
    struct Rim {
        RTriangle* pRT;
        int slot;
        REdge* getRE() const { return pRT->getRE(slot); }
        RTriangle* getNeighbour() const { return getRE()->getOtherT(pRT); }
    };

    // The normal of the neighbour over a rim edge, turned so that it runs like T0. Null if there is none.
    Vector3 rimNormal(const Rim& rim) const
    {
        const RTriangle* pNeig = rim.getNeighbour();
        if (pNeig == nullptr)
            return {};
        const bool bSameWay =
            startOfEdge(pNeig, slotOf(pNeig, rim.getRE())) == startOfEdge(rim.pRT, rim.slot);
        const bool bTurn = bSameWay != (rim.pRT == aT[1] && !bAlike);
        return bTurn ? -1.0 * pNeig->getCachedNNV() : pNeig->getCachedNNV();
    }

    RTriangle* aT[2];
    Point3* p0;
    Point3* p1;
    Point3* p2;
    Point3* px;
    bool bAlike; // T1 runs as T0 does; otherwise its normal counts the other way round
    Rim aRim[4];
};

// Directions and normals of the quad before and after the flip, all of length 1 or null.
struct REdgeEnergy::Shape {
    explicit Shape(const Quad& quad)
        : u01(unitFrom(*quad.p0, *quad.p1)), u0x(unitFrom(*quad.p0, *quad.px)),
          u02(unitFrom(*quad.p0, *quad.p2)), u1x(unitFrom(*quad.p1, *quad.px)),
          ux2(unitFrom(*quad.px, *quad.p2)),
          altLargestCos(std::min(largestAngleCos(u0x, u02, ux2), largestAngleCos(u01, u0x, u1x))),
          alt0(normalOf(u01, u0x)), alt1(normalOf(u0x, u02)), cur0(quad.aT[0]->getCachedNNV()),
          cur1(quad.bAlike ? quad.aT[1]->getCachedNNV() : -1.0 * quad.aT[1]->getCachedNNV())
    {
    }

    bool hasAll() const
    {
        return altLargestCos != FORBIDDEN && alt0.isNV() && alt1.isNV() && cur0.isNV() && cur1.isNV();
    }

    // For flips that make the largest angle larger, and large.
    double anglePenalty(const Quad& quad) const
    {
        if (!(altLargestCos < COS_130))
            return 0.0;
        const Vector3 u12 = unitFrom(*quad.p1, *quad.p2);
        const double curLargestCos = std::min(largestAngleCos(-1.0 * u12, -1.0 * ux2, u1x), // p2, p1, px
                                              largestAngleCos(u01, u02, u12));
        if (!(curLargestCos > altLargestCos))
            return 0.0;
        return altLargestCos < COS_160 ? 1.0 : 0.1;
    }

    // Calls f(edge, cosine of the turn across it, the same after the flip) for the edges around the quad that
    // have a neighbour with a normal.
    template <class F>
    void forEachRim(const Quad& quad, F f) const
    {
        const Vector3* const aCur[4] = {&cur0, &cur0, &cur1, &cur1};
        const Vector3* const aAlt[4] = {&alt1, &alt0, &alt0, &alt1};
        for (int i = 0; i < 4; ++i) {
            const Vector3 normal = quad.rimNormal(quad.aRim[i]);
            if (!normal.isDegenerate())
                f(*quad.aRim[i].getRE(), cosOf(normal, *aCur[i]), cosOf(normal, *aAlt[i]));
        }
    }

    // The cosines of the least angle after the flip and before it.
    double altLeastAngleCos() const
    {
        return std::max({cosOf(u01, u0x), -cosOf(u01, u1x), cosOf(u0x, u1x), cosOf(u0x, u02),
                         -cosOf(u0x, ux2), cosOf(u02, ux2)});
    }
    double curLeastAngleCos(const Quad& quad) const
    {
        const Vector3 u12 = unitFrom(*quad.p1, *quad.p2);
        return std::max({cosOf(u01, u02), -cosOf(u01, u12), cosOf(u02, u12), cosOf(u1x, u12),
                         -cosOf(u1x, ux2), cosOf(ux2, u12)});
    }

    Vector3 u01, u0x, u02, u1x, ux2; // unit vectors between the corners of the quad
    double altLargestCos;            // of the largest angle after the flip
    Vector3 alt0, alt1;              // normals after it, of (p0, p1, px) and (p0, px, p2)
    Vector3 cur0, cur1;              // normals of T0 and T1
};

REdgeEnergy::REdgeEnergy(RMesh* pRMesh_, REdge* pRE_, const LabCache* pLab_)
    : pRMesh(pRMesh_), pRE(pRE_), improvement(FORBIDDEN), pLab(pLab_)
{
    zanAssert(pRMesh != nullptr);
    if (pRE != nullptr)
        compute();
}

double REdgeEnergy::getImprovement(REdge* pRE_)
{
    pRE = pRE_;
    compute();
    return improvement;
}

double REdgeEnergy::getSettledImprovement(REdge* pRE_)
{
    pRE = pRE_;
    improvement = rate();
    return improvement;
}

void REdgeEnergy::compute()
{
    improvement = FORBIDDEN;
    if (pRE->getDegree() != 2)
        return;
    settle(pRMesh, pRE);
    fillNormals();
    improvement = rate();
    if (improvement != FORBIDDEN && hasAlternative())
        improvement = FORBIDDEN;
}

// The record of the edge; its triangles; their corners and edges; the triangles around. Each stage reads what
// the one before has fetched.
void REdgeEnergy::prefetchStage(int stage, const REdge& edge)
{
    if (stage == 0) {
        prefetchRecord(edge);
        return;
    }
    RTriangle* aT[2];
    if (!edge.getAdjT(aT[0], aT[1], true))
        return;
    for (const RTriangle* pRT : aT) {
        if (stage == 1)
            prefetchRecord(*pRT);
        for (int i = 0; i < 3 && stage > 1; ++i) {
            const REdge& rim = *pRT->getRE(i);
            if (stage == 2) {
                prefetchRecord(*pRT->getCorner(i));
                prefetchRecord(rim);
            } else if (const RTriangle* pNeig = rim.getOtherT(pRT)) {
                prefetchRecord(*pNeig);
            }
        }
    }
}

// The places where the mesh keeps the triangles at the corner with fewer of them; then the triangles.
void REdgeEnergy::prefetchRing(bool bRecords, const REdge& edge) const
{
    if (edge.getDegree() != 2)
        return;
    const Quad quad(edge);
    const auto& vTNumbers0 = recordOf(quad.p0).vTNumbers;
    const auto& vTNumbersX = recordOf(quad.px).vTNumbers;
    const std::vector<RTriangle*>& vT = pRMesh->getAllT();
    for (const std::uint32_t number : vTNumbers0.size() > vTNumbersX.size() ? vTNumbersX : vTNumbers0) {
        if (bRecords)
            prefetchRecord(*vT[number]);
        else
            __builtin_prefetch(&vT[number]);
    }
}

bool REdgeEnergy::hasAlternative() const
{
    const Quad quad(*pRE);
    return pRMesh->hasAliveEdge(quad.p0, quad.px);
}

bool REdgeEnergy::isSettled(const REdge& edge)
{
    if (edge.getDegree() != 2)
        return true;
    const Quad quad(edge);
    return quad.bAlike && (quad.p0 == quad.px || *quad.p0 != *quad.px);
}

void REdgeEnergy::settle(RMesh* pRMesh, REdge* pRE)
{
    constexpr double LAST_STEP_CELLS = 0.1;
    if (isSettled(*pRE))
        return;
    const Quad quad(*pRE);
    if (!quad.bAlike)
        quad.aT[1]->flipOrientation();
    if (quad.p0 == quad.px || *quad.p0 != *quad.px)
        return;
    pRMesh->moveToRingCenter(quad.p0);
    pRMesh->moveToRingCenter(quad.px);
    if (*quad.p0 != *quad.px)
        return;
    bool bOK = false;
    const Vector3 nnv = quad.aT[0]->getNNV(bOK);
    const Vector3 step = (bOK ? nnv : Vector3(1.0, 0.0, 0.0)) * (LAST_STEP_CELLS * pRMesh->getCellSize());
    if (!pRMesh->hasVtx(*quad.p0 + step))
        pRMesh->updateVertex(quad.p0, *quad.p0 + step);
}

void REdgeEnergy::fillNormals() const
{
    const Quad quad(*pRE);
    for (RTriangle* pRT : quad.aT)
        pRT->fillNNV();
    for (const Quad::Rim& rim : quad.aRim)
        if (RTriangle* pNeig = rim.getNeighbour())
            pNeig->fillNNV();
}

double REdgeEnergy::rate() const
{
    constexpr double CLEAR_GAIN = 0.1; // what a flip has to gain to be forgiven its angles
    constexpr double PENALTY_FACTOR = 10.0;
    if (pRE->getDegree() != 2)
        return FORBIDDEN;
    const Quad quad(*pRE);
    if (quad.p0 == quad.px)
        return FORBIDDEN;
    const Shape shape(quad);
    if (!shape.hasAll())
        return FORBIDDEN;
    const double penalty = shape.anglePenalty(quad);
    double gain = energyGain(quad, shape);
    if (gain == FORBIDDEN)
        return FORBIDDEN;
    gain -= penalty;
    if (const double bonus = colorBonus(quad); bonus > 0.0 && !spoilsShape(quad, shape))
        gain += bonus;
    if (gain < CLEAR_GAIN)
        gain -= PENALTY_FACTOR * penalty;
    return std::isnan(gain) ? FORBIDDEN : gain;
}

// The energies of the five edges, before minus after.
double REdgeEnergy::energyGain(const Quad& quad, const Shape& shape) const
{
    constexpr double DIH_170 = 1.984807753; // 1 minus the cosine of a turn by 170 degrees
    const double curDih = 1.0 - cosOf(shape.cur0, shape.cur1);
    const double altDih = 1.0 - cosOf(shape.alt0, shape.alt1);
    if (altDih > DIH_170 && altDih > curDih)
        return FORBIDDEN;
    double curEnergy = energyOf(curDih, (*quad.p2 - *quad.p1).length());
    double altEnergy = energyOf(altDih, (*quad.px - *quad.p0).length());
    shape.forEachRim(quad, [&](const REdge& rim, double curCos, double altCos) {
        const double len = rim.getLength();
        curEnergy += energyOf(1.0 - curCos, len);
        altEnergy += energyOf(1.0 - altCos, len);
    });
    return curEnergy - altEnergy;
}

// A fold or a needle that the two triangles did not have. The bonus outweighs all that the energy holds
// against these, and where colours are speckled it would tear a clean surface to shreds.
bool REdgeEnergy::spoilsShape(const Quad& quad, const Shape& shape)
{
    constexpr double COS_12 = 0.9781476007338057;
    constexpr double COS_120 = -0.5;
    const double altLeast = shape.altLeastAngleCos();
    if (altLeast > COS_12 && altLeast > shape.curLeastAngleCos(quad))
        return true;
    double curTurn = cosOf(shape.cur0, shape.cur1), altTurn = cosOf(shape.alt0, shape.alt1);
    shape.forEachRim(quad, [&](const REdge&, double curCos, double altCos) {
        curTurn = std::min(curTurn, curCos);
        altTurn = std::min(altTurn, altCos);
    });
    return altTurn < COS_120 && altTurn < curTurn;
}

// For a new edge between like colours in the place of one between different colours.
double REdgeEnergy::colorBonus(const Quad& quad) const
{
    constexpr double MIN_DIFFERENCE = 4.6; // about twice what an eye can just tell apart
    constexpr double FULL_DIFFERENCE = 10.0;
    constexpr double FACTOR = 2.0;
    constexpr double FULL_BONUS = 20.0;
    if (!quad.p0->hasColor() || !quad.p1->hasColor() || !quad.p2->hasColor() || !quad.px->hasColor())
        return 0.0;
    const auto distance = [this](const Point3* pVtx0, const Point3* pVtx1) {
        return double(pLab != nullptr ? pLab->distance(pVtx0, pVtx1) : colorDistance(*pVtx0, *pVtx1));
    };
    const double d = (distance(quad.p1, quad.p2) - distance(quad.p0, quad.px)) - MIN_DIFFERENCE;
    if (!(d > 0.0))
        return 0.0;
    return d < FULL_DIFFERENCE ? FACTOR * d : FULL_BONUS;
}

} // namespace TESK_ZAN
