#include "SharpEdgePlan.h"

#include "FacePlanes.h"
#include "RMesh.h"
#include "freeFunctions.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace TESK_ZAN
{

namespace
{

// How far a new vertex may stand from the middle of its edge or triangle. On a cube whose chamfers are as
// wide at a corner as along the edges, the second is 1.6 times the first.
constexpr double MAX_MOVE_CELLS = 1.5;
constexpr double MAX_CORNER_MOVE_CELLS = 2.4;

constexpr double ON_EDGE_CELLS = 0.05;      // a vertex nearer to the other plane is on the sharp edge
constexpr size_t MIN_LINE = 24;             // splits
constexpr int RINGS_LINKED = 2;             // edges from an end of a split to those of others of its line
constexpr size_t MAX_TRIANGLES = 32;        // at a vertex: more make a hub, which links nothing
constexpr double MAX_RESIDUAL_CELLS = 0.05; // on the mean of a line, and beyond the noise of its planes
constexpr double MAX_RESIDUAL_RMS = 1.0;
constexpr double MAX_SIDESTEP_CELLS = 0.25;         // of a line, between the splits of a triangle
constexpr double MAX_BEND_COS = 0.9396926207859084; // 20 degrees
constexpr double MIN_CORNER_DET = 0.1;              // of three normals; 1.0 for a cube's corner

} // namespace

SharpEdgePlan::SharpEdgePlan(const RMesh& mesh_, double featureAngle)
    : mesh(mesh_), cell(mesh_.getCellSize()), featureCos(std::cos(featureAngle * RADIANS_PER_DEGREE))
{
    const FacePlanes planes(mesh, featureAngle);
    findSplits(planes);
    dropStrays();
    findCorners(planes);
}

void SharpEdgePlan::findSplits(const FacePlanes& planes)
{
    for (REdge* pRE : mesh.getAllRE()) {
        const FacePlane *pFace0 = planes.at(pRE->getVtx0()), *pFace1 = planes.at(pRE->getVtx1());
        EdgeSplit split;
        split.pRE = pRE;
        if ((pRE->getDegree() == 1 || pRE->getDegree() == 2) && pFace0 != nullptr && pFace1 != nullptr &&
            findPlace(*pFace0, *pFace1, split))
            vSplit.push_back(split);
    }
}

// Both ends must lie on the same side of the other's plane: there the planes meet beyond the mesh edge.
// Faces that turn by nearly 180 degrees are the two sides of a thin wall.
bool SharpEdgePlan::findPlace(const FacePlane& face0, const FacePlane& face1, EdgeSplit& split) const
{
    const Plane &plane0 = face0.plane, &plane1 = face1.plane;
    const Vector3 &normal0 = plane0.getNormal(), &normal1 = plane1.getNormal();
    const double turnCos = normal0 * normal1;
    if (turnCos > featureCos || turnCos < -featureCos)
        return false;
    const Point3 &p0 = *split.pRE->getVtx0(), &p1 = *split.pRE->getVtx1();
    const double above0 = plane0.signedDistance(p1), above1 = plane1.signedDistance(p0);
    split.bOnEdge = std::min(std::fabs(above0), std::fabs(above1)) < ON_EDGE_CELLS * cell;
    if (!split.bOnEdge && above0 * above1 <= 0.0)
        return false;
    const Point3 middle = p0 + 0.5 * (p1 - p0);
    const double d0 = plane0.signedDistance(middle), d1 = plane1.signedDistance(middle);
    const double sqSin = 1.0 - turnCos * turnCos;
    const Vector3 move = normal0 * ((turnCos * d1 - d0) / sqSin) + normal1 * ((turnCos * d0 - d1) / sqSin);
    split.place = middle + move;
    split.direction = crossProd(normal0, normal1) / std::sqrt(sqSin);
    split.residual = (plane0.absDistance(p0) + plane1.absDistance(p1)) / 2.0;
    split.rms = (face0.rms + face1.rms) / 2.0;
    return move.length() <= MAX_MOVE_CELLS * cell;
}

void SharpEdgePlan::dropStrays()
{
    const std::vector<std::uint32_t> vRoot = rootsOfLines();
    std::vector<size_t> vCount(vSplit.size(), 0); // by root
    std::vector<double> vResidual(vSplit.size(), 0.0), vRms(vSplit.size(), 0.0);
    for (size_t i = 0; i < vSplit.size(); ++i) {
        ++vCount[vRoot[i]];
        vResidual[vRoot[i]] += vSplit[i].residual;
        vRms[vRoot[i]] += vSplit[i].rms;
    }
    size_t numKept = 0;
    for (size_t i = 0; i < vSplit.size(); ++i) {
        const size_t count = vCount[vRoot[i]];
        const double maxResidual =
            MAX_RESIDUAL_CELLS * cell * static_cast<double>(count) + MAX_RESIDUAL_RMS * vRms[vRoot[i]];
        if (count >= MIN_LINE && vResidual[vRoot[i]] <= maxResidual && !vSplit[i].bOnEdge)
            vSplit[numKept++] = vSplit[i];
    }
    vSplit.resize(numKept);
}

// By split: the first split of its line.
std::vector<std::uint32_t> SharpEdgePlan::rootsOfLines() const
{
    std::vector<std::uint32_t> vRoot(vSplit.size());
    std::iota(vRoot.begin(), vRoot.end(), 0);
    const auto rootOf = [&vRoot](std::uint32_t i) {
        while (vRoot[i] != i)
            i = vRoot[i] = vRoot[vRoot[i]];
        return i;
    };
    const std::vector<SplitAt> vAt = splitsAtVertices();
    const auto firstAt = [&vAt](const Point3* p) {
        return std::lower_bound(vAt.begin(), vAt.end(), SplitAt{numberOf(p), 0});
    };
    std::vector<Point3*> vNear;
    for (const auto& [vtxNumber, i] : vAt) {
        collectNear(mesh.getVtx(vtxNumber), vNear);
        for (const Point3* pNear : vNear)
            for (auto at = firstAt(pNear); at != vAt.end() && at->first == numberOf(pNear); ++at) {
                const auto [low, high] = std::minmax({rootOf(i), rootOf(at->second)}); // of a list: copies
                if (low != high && agree(vSplit[i], vSplit[at->second]))
                    vRoot[high] = low;
            }
    }
    for (std::uint32_t i = 0; i < vRoot.size(); ++i)
        vRoot[i] = rootOf(i);
    return vRoot;
}

// Each split at both of its ends, in order of their numbers.
std::vector<SharpEdgePlan::SplitAt> SharpEdgePlan::splitsAtVertices() const
{
    std::vector<SplitAt> vAt;
    for (std::uint32_t i = 0; i < vSplit.size(); ++i)
        for (int end = 0; end < 2; ++end)
            vAt.emplace_back(numberOf(vSplit[i].pRE->getVertex(end)), i);
    std::sort(vAt.begin(), vAt.end());
    return vAt;
}

// The vertex and those around it, by number. No hubs, and nothing across them.
void SharpEdgePlan::collectNear(const Point3* pVtx, std::vector<Point3*>& vNear) const
{
    const auto isHub = [](const Point3* p) { return recordOf(p).vTNumbers.size() > MAX_TRIANGLES; };
    vNear = {mesh.getVtx(numberOf(pVtx))};
    std::vector<Point3*> vRing;
    for (int ring = 0; ring <= RINGS_LINKED; ++ring) {
        std::erase_if(vNear, isHub);
        sortUniqueByNumber(vNear);
        const size_t end = ring < RINGS_LINKED ? vNear.size() : 0;
        for (size_t i = 0; i < end; ++i) {
            mesh.getRingVtx(vNear[i], vRing);
            vNear.insert(vNear.end(), vRing.begin(), vRing.end());
        }
    }
}

bool SharpEdgePlan::agree(const EdgeSplit& split0, const EdgeSplit& split1) const
{
    const Vector3 offset = split1.place - split0.place;
    const double along = offset * split0.direction;
    return std::fabs(split0.direction * split1.direction) >= MAX_BEND_COS &&
           (offset - along * split0.direction).length() <= MAX_SIDESTEP_CELLS * cell;
}

void SharpEdgePlan::findCorners(const FacePlanes& planes)
{
    const std::vector<std::uint32_t> vSplitOf = splitsOfEdges();
    for (const RTriangle* pRT : mesh.getAllT()) {
        if (!pRT->isAlive())
            continue;
        const auto [first, last] =
            std::minmax({vSplitOf[pRT->getRE(0)->getNumber()], vSplitOf[pRT->getRE(1)->getNumber()],
                         vSplitOf[pRT->getRE(2)->getNumber()]});
        Point3 place;
        if (last == NONE || !findPlace(*pRT, planes, place))
            continue;
        const REdge& edge = *vSplit[first].pRE;
        vCorner.push_back({first, pRT->getThirdPoint(edge.getVtx0(), edge.getVtx1()), place});
    }
}

bool SharpEdgePlan::findPlace(const RTriangle& triangle, const FacePlanes& planes, Point3& place) const
{
    const Point3 middle = getCentroid(*triangle.getCorner(0), *triangle.getCorner(1), *triangle.getCorner(2));
    Vector3 aNormal[3];
    double aDistance[3];
    for (int ici = 0; ici < 3; ++ici) {
        const Plane& plane = planes.at(triangle.getCorner(ici))->plane;
        aNormal[ici] = plane.getNormal();
        aDistance[ici] = plane.signedDistance(middle);
    }
    const double det = crossProd(aNormal[0], aNormal[1]) * aNormal[2];
    if (std::fabs(det) < MIN_CORNER_DET)
        return false;
    Vector3 move; // by Cramer's rule
    for (int i = 0; i < 3; ++i)
        move += crossProd(aNormal[nextIndex3(i)], aNormal[prevIndex3(i)]) * (-aDistance[i] / det);
    place = middle + move;
    return move.length() <= MAX_CORNER_MOVE_CELLS * cell;
}

// By number of the edge: the place of its split, or NONE.
std::vector<std::uint32_t> SharpEdgePlan::splitsOfEdges() const
{
    std::vector<std::uint32_t> vSplitOf(mesh.getAllRE().size(), NONE);
    for (std::uint32_t i = 0; i < vSplit.size(); ++i)
        vSplitOf[vSplit[i].pRE->getNumber()] = i;
    return vSplitOf;
}

} // namespace TESK_ZAN
