#include "soupMesh.h"

#include "Progress.h"
#include "RMesh.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace TESK_ZAN
{

namespace
{

using Corners = std::array<Point3*, 3>; // vertices of the mesh

// How many triangles were left out, and why.
struct LeftOut {
    size_t numNotFinite = 0;
    size_t numDegenerate = 0;
    size_t numDuplicate = 0;
};

// Products of four lengths have to stay finite in the work on the mesh. False for NaN too.
bool isInReach(const Point3& p)
{
    constexpr double MAX_COORDINATE = 1e75;
    return std::fabs(p.x()) <= MAX_COORDINATE && std::fabs(p.y()) <= MAX_COORDINATE &&
           std::fabs(p.z()) <= MAX_COORDINATE;
}

Point3* vertexFor(const Point3& corner, RMesh& mesh)
{
    Point3* pVtx = mesh.createVtx(corner, false);
    if (!pVtx->hasColor())
        pVtx->copyColorFrom(corner);
    return pVtx;
}

// Vertices for all triangles that have three corners.
std::vector<Corners> weld(const std::vector<Point3>& vCorners, RMesh& mesh, LeftOut& leftOut)
{
    const size_t numT = vCorners.size() / 3;
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_smVtx", numT);
    std::vector<Corners> vTriangles;
    vTriangles.reserve(numT);
    for (size_t i = 0; i < numT; ++i) {
        const Point3* const p = &vCorners[3 * i];
        if (!isInReach(p[0]) || !isInReach(p[1]) || !isInReach(p[2]))
            ++leftOut.numNotFinite;
        else if (p[0] == p[1] || p[1] == p[2] || p[2] == p[0])
            ++leftOut.numDegenerate;
        else
            vTriangles.push_back({vertexFor(p[0], mesh), vertexFor(p[1], mesh), vertexFor(p[2], mesh)});
        pProgress->tick();
    }
    pProgress->finish(true);
    return vTriangles;
}

// For each triangle whether an earlier one has the same corners, in whatever order. By sorting: among the
// triangles at a corner or an edge there may be all others.
std::vector<char> markDuplicates(const std::vector<Corners>& vTriangles, LeftOut& leftOut)
{
    using Key = std::array<std::uint32_t, 4>; // the numbers of the corners, ascending; that of the triangle
    std::vector<Key> vKeys(vTriangles.size());
    for (size_t i = 0; i < vKeys.size(); ++i) {
        Key& key = vKeys[i];
        std::transform(vTriangles[i].begin(), vTriangles[i].end(), key.begin(),
                       [](const Point3* pVtx) { return numberOf(pVtx); });
        std::sort(key.begin(), key.begin() + 3);
        key[3] = static_cast<std::uint32_t>(i);
    }
    sortMT(vKeys.begin(), vKeys.end());
    std::vector<char> vLater(vTriangles.size(), 0);
    for (size_t i = 1; i < vKeys.size(); ++i) {
        if (!std::equal(vKeys[i].begin(), vKeys[i].begin() + 3, vKeys[i - 1].begin()))
            continue;
        vLater[vKeys[i][3]] = 1;
        ++leftOut.numDuplicate;
    }
    return vLater;
}

void createTriangles(const std::vector<Corners>& vTriangles, RMesh& mesh, LeftOut& leftOut)
{
    const std::vector<char> vLater = markDuplicates(vTriangles, leftOut);
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_smT", vTriangles.size());
    for (size_t i = 0; i < vTriangles.size(); ++i) {
        if (vLater[i] == 0)
            mesh.createT(vTriangles[i][0], vTriangles[i][1], vTriangles[i][2]);
        pProgress->tick();
    }
    pProgress->finish(true);
}

void warn(const LeftOut& leftOut)
{
    if (leftOut.numNotFinite > 0)
        ZAN_WARNING(std::to_string(leftOut.numNotFinite) +
                    " triangles with a coordinate that is not finite, or beyond 1e75, are left out");
    if (leftOut.numDegenerate > 0)
        ZAN_WARNING(std::to_string(leftOut.numDegenerate) +
                    " degenerate triangles (two equal corners) are left out");
    if (leftOut.numDuplicate > 0)
        ZAN_WARNING(std::to_string(leftOut.numDuplicate) +
                    " duplicate triangles (the corners of an earlier one) are left out");
}

std::unique_ptr<RMesh> meshForCorners(size_t numCorners)
{
    zanAssertText(numCorners % 3 == 0, "vCorners.size()%3==0");
    return std::make_unique<RMesh>(0.0, numCorners / 6 + 3, numCorners / 3);
}

// The vertices that have a number already keep it.
std::unique_ptr<RMesh> addCorners(std::unique_ptr<RMesh> pMesh, const std::vector<Point3>& vCorners)
{
    LeftOut leftOut;
    createTriangles(weld(vCorners, *pMesh, leftOut), *pMesh, leftOut);
    warn(leftOut);
    if (pMesh->getAllT().empty()) {
        ZAN_WARNING("No triangles to make a mesh of");
        return nullptr;
    }
    pMesh->setCellSize(pMesh->getAverageEdgeLength());
    return pMesh;
}

} // namespace

std::unique_ptr<RMesh> makeSoupMesh(const std::vector<Point3>& vCorners)
{
    const StageTimer stage("RM_soup");
    return addCorners(meshForCorners(vCorners.size()), vCorners);
}

std::unique_ptr<RMesh> makeIndexedMesh(const std::vector<Point3>& vVertices, const std::vector<int>& vIndices,
                                       double cellSize)
{
    const StageTimer stage("RM_soup");
    std::vector<Point3> vCorners;
    vCorners.reserve(vIndices.size());
    std::vector<bool> vUsed(vVertices.size(), false);
    for (const int index : vIndices) {
        if (index < 0 || size_t(index) >= vVertices.size()) {
            ZAN_ERROR("a triangle names vertex " + std::to_string(index) + " of " +
                      std::to_string(vVertices.size()));
            return nullptr;
        }
        vCorners.push_back(vVertices[size_t(index)]);
        vUsed[size_t(index)] = true;
    }
    std::unique_ptr<RMesh> pMesh = meshForCorners(vCorners.size());
    for (size_t i = 0; i < vVertices.size(); ++i)
        if (vUsed[i] && isInReach(vVertices[i]))
            vertexFor(vVertices[i], *pMesh);
    pMesh = addCorners(std::move(pMesh), vCorners);
    if (pMesh != nullptr && cellSize > 0.0 && std::isfinite(cellSize))
        pMesh->setCellSize(cellSize);
    return pMesh;
}

} // namespace TESK_ZAN
