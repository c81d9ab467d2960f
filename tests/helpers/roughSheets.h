// Real meshes for tests of edge flips, and the energy that flips lower, computed the slow way.
#pragma once

#include "freeFunctions.h"
#include "random.h"
#include "realMesh.h"

#include <cmath>

namespace zan_test
{

// n by n vertices about 1 apart, two triangles a square; roughness scatters them on all axes.
// Counterclockwise seen from above.
inline IndexedMesh roughSheet(int n, double roughness, TESK_ZAN::u64 seed = 1)
{
    TESK_ZAN::Random random(seed);
    IndexedMesh mesh;
    for (int x = 0; x < n; ++x)
        for (int y = 0; y < n; ++y) {
            const double dx = roughness * (random.uniform() - 0.5);
            const double dy = roughness * (random.uniform() - 0.5);
            mesh.vPoints.emplace_back(x + dx, y + dy, roughness * random.uniform());
        }
    for (int x = 0; x + 1 < n; ++x)
        for (int y = 0; y + 1 < n; ++y) {
            const int a = x * n + y;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, a + n, a + n + 1, a, a + n + 1, a + 1});
        }
    return mesh;
}

// The sum over all edges of degree 2, by the formula. All triangles need a normal, and neighbours must run
// alike.
inline double totalEnergy(const TESK_ZAN::RMesh& mesh)
{
    double sum = 0.0;
    for (const TESK_ZAN::REdge* pRE : mesh.getAllRE()) {
        TESK_ZAN::RTriangle* aT[2];
        if (!pRE->getAdjT(aT[0], aT[1], true))
            continue;
        bool bOK = false;
        const double dihedral = 1.0 - TESK_ZAN::getCosPhi(aT[0]->getNNV(bOK), aT[1]->getNNV(bOK));
        sum += std::pow(dihedral * pRE->getLength(), 0.335);
    }
    return sum;
}

} // namespace zan_test
