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
constexpr size_t MIN_LINE = 16;             // splits
constexpr double MAX_RESIDUAL_CELLS = 0.05; // on the mean of a line, and beyond the noise of its planes
constexpr double MAX_RESIDUAL_RMS = 0.8;
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
    const std::vector<std::uint32_t> vSplitOf = splitsOfEdges();
    for (const RTriangle* pRT : mesh.getAllT())
        for (int ici = 0; pRT->isAlive() && ici < 3; ++ici) {
            const std::uint32_t i = vSplitOf[pRT->getRE(ici)->getNumber()];
            const std::uint32_t k = vSplitOf[pRT->getRE(nextIndex3(ici))->getNumber()];
            if (i == NONE || k == NONE || !agree(vSplit[i], vSplit[k]))
                continue;
            const auto [low, high] = std::minmax({rootOf(i), rootOf(k)}); // of a list: copies
            vRoot[high] = low;
        }
    for (std::uint32_t i = 0; i < vRoot.size(); ++i)
        vRoot[i] = rootOf(i);
    return vRoot;
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
