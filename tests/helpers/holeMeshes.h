// Surfaces with holes, and their borders, for tests of chains and loops. Triangles turn counterclockwise seen
// from above.
#pragma once

#include "CMesh.h"
#include "edgeMap.h"
#include "helpers/meshChecks.h"

#include <cmath>
#include <set>
#include <utility>
#include <vector>

namespace zan_test
{

// n corners on a circle of radius 1, or n / 20 if that is larger, against the clock.
inline std::vector<TESK_ZAN::Point3> polygon(int n)
{
    std::vector<TESK_ZAN::Point3> vPoints;
    const double radius = n > 20 ? n / 20.0 : 1.0;
    for (int i = 0; i < n; ++i) {
        const double angle = 2 * 3.14159265358979 * i / n;
        vPoints.emplace_back(radius * std::cos(angle), radius * std::sin(angle), 0);
    }
    return vPoints;
}

// A ring of 2n triangles round a hole with these corners, 0 to n-1, against the clock and star-shaped seen
// from the origin; n to 2n-1 are the same corners at twice the distance.
inline IndexedMesh frame(const std::vector<TESK_ZAN::Point3>& vCorners)
{
    IndexedMesh mesh{vCorners, {}};
    for (const TESK_ZAN::Point3& p : vCorners)
        mesh.vPoints.emplace_back(2 * p.x(), 2 * p.y(), 2 * p.z());
    const int n = int(vCorners.size());
    for (int i = 0; i < n; ++i) {
        const int next = (i + 1) % n;
        mesh.vTriangles.insert(mesh.vTriangles.end(), {i, n + i, next, next, n + i, n + next});
    }
    return mesh;
}

// A sheet of columns by rows squares without some of them. Vertex (x, y) is y * (columns + 1) + x.
inline IndexedMesh sheetWithout(int columns, int rows, const std::set<std::pair<int, int>>& sMissing)
{
    IndexedMesh mesh;
    for (int y = 0; y <= rows; ++y)
        for (int x = 0; x <= columns; ++x)
            mesh.vPoints.emplace_back(x, y, 0);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            const int a = y * (columns + 1) + x, b = a + 1, c = a + columns + 1, d = c + 1;
            if (sMissing.count({x, y}) == 0)
                mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, d, a, d, c});
        }
    }
    return mesh;
}

inline TESK_ZAN::EdgeMap borderMap(const TESK_ZAN::CMesh& mesh)
{
    std::vector<TESK_ZAN::CEdge*> vCE;
    mesh.getDegN(1, vCE);
    return TESK_ZAN::getEdgeMap(vCE);
}

} // namespace zan_test
