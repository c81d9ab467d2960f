// Builds real meshes out of indexed ones, and looks into them, for tests.
#pragma once

#include "RMesh.h"
#include "captured.h"
#include "meshChecks.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace zan_test
{

// A mesh and its vertices by the index that they had. Points must differ.
struct RealMesh {
    explicit RealMesh(const IndexedMesh& indexed, double cellSize = 1.0)
        : pMesh(std::make_unique<TESK_ZAN::RMesh>(cellSize))
    {
        for (const TESK_ZAN::Point3& p : indexed.vPoints)
            vVtx.push_back(pMesh->createVtx(p, true));
        for (size_t i = 0; i + 2 < indexed.vTriangles.size(); i += 3)
            addT(indexed.vTriangles[i], indexed.vTriangles[i + 1], indexed.vTriangles[i + 2]);
    }

    TESK_ZAN::Point3* vtx(int index) const { return vVtx[size_t(index)]; }
    TESK_ZAN::RTriangle* addT(int i0, int i1, int i2) { return pMesh->createT(vtx(i0), vtx(i1), vtx(i2)); }
    TESK_ZAN::REdge* edge(int i0, int i1) const { return pMesh->getRE(vtx(i0), vtx(i1)); }
    TESK_ZAN::RMesh* operator->() const { return pMesh.get(); }

    std::unique_ptr<TESK_ZAN::RMesh> pMesh;
    std::vector<TESK_ZAN::Point3*> vVtx;
};

inline std::vector<TESK_ZAN::RTriangle*> aliveT(const TESK_ZAN::RMesh& mesh)
{
    std::vector<TESK_ZAN::RTriangle*> vRT;
    mesh.getTriangles(vRT);
    return vRT;
}

// The alive triangles as vertex numbers, in order.
inline std::vector<std::array<int, 3>> triangleNumbers(const TESK_ZAN::RMesh& mesh)
{
    std::vector<std::array<int, 3>> vNumbers;
    for (const TESK_ZAN::RTriangle* pRT : aliveT(mesh))
        vNumbers.push_back({int(numberOf(pRT->getCorner(0))), int(numberOf(pRT->getCorner(1))),
                            int(numberOf(pRT->getCorner(2)))});
    return vNumbers;
}

inline IndexedMesh toIndexed(const TESK_ZAN::RMesh& mesh)
{
    std::vector<TESK_ZAN::Point3*> vVertices;
    std::vector<int> vIndices;
    mesh.getVertexIndexData(vVertices, vIndices);
    IndexedMesh indexed;
    for (const TESK_ZAN::Point3* pVtx : vVertices)
        indexed.vPoints.push_back(*pVtx);
    indexed.vTriangles = vIndices;
    return indexed;
}

// Empty if all invariants hold, else what checkDataStructures says.
inline std::string brokenInvariant(const TESK_ZAN::RMesh& mesh)
{
    const CapturedMessages messages;
    return mesh.checkDataStructures("test") ? "" : messages.text();
}

} // namespace zan_test
