// Meshes of a few triangles, each with one trait. Triangles are counterclockwise from outside or above where
// the mesh has such a side.
#pragma once

#include "meshChecks.h"

#include <algorithm>
#include <cmath>

namespace zan_test
{

// Closed, Euler number 2.
inline IndexedMesh tetrahedron()
{
    return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 2, 1, 0, 1, 3, 1, 2, 3, 0, 3, 2}};
}

// Closed, every vertex has four triangles.
inline IndexedMesh octahedron()
{
    return {{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}},
            {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5}};
}

// A unit cube without its top: 10 triangles, one border loop of 4 edges.
inline IndexedMesh openBox()
{
    return {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}},
            {0, 2, 1, 0, 3, 2, 0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}};
}

// Two rows of vertices at distance 1, numQuads squares of two triangles each; one border loop.
inline IndexedMesh strip(int numQuads)
{
    IndexedMesh mesh;
    for (int i = 0; i <= numQuads; ++i) {
        mesh.vPoints.emplace_back(i, 0, 0);
        mesh.vPoints.emplace_back(i, 1, 0);
    }
    for (int i = 0; i < numQuads; ++i) {
        const int a = 2 * i;
        mesh.vTriangles.insert(mesh.vTriangles.end(), {a, a + 2, a + 1, a + 1, a + 2, a + 3});
    }
    return mesh;
}

// Five vertices, five triangles, one border loop; no orientation fits everywhere. Euler number 0.
inline IndexedMesh moebiusStrip()
{
    return {{{1, 0, 0}, {0.3, 1, 0.2}, {-0.8, 0.6, 0.5}, {-0.8, -0.6, -0.5}, {0.3, -1, -0.2}},
            {0, 1, 2, 1, 2, 3, 2, 3, 4, 3, 4, 0, 4, 0, 1}};
}

// Three triangles on the edge (0, 1).
inline IndexedMesh threeOnAnEdge()
{
    return {{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {-1, 1, 0}, {-1, -1, 0}}, {0, 1, 2, 0, 1, 3, 0, 1, 4}};
}

// A square of two triangles and the same square from below with the other diagonal: closed, volume 0.
inline IndexedMesh doubleSheet()
{
    return {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3, 1, 0, 3, 1, 3, 2}};
}

// A rim of n vertices on a circle of radius 1, or n / 20 if that is larger (0 .. n-1), and a sheet above and
// one below it, each a fan round one vertex (n and n+1) at the given height: first the n triangles above,
// then the n below. Closed. With fins, the first numFins rim edges (i, i+1) each have a further triangle that
// points outward.
inline IndexedMesh pocket(int n, double zAbove, double zBelow, int numFins)
{
    IndexedMesh mesh;
    const auto onCircle = [n](double i, double radius) {
        const double angle = 2 * 3.14159265358979 * i / n;
        const double scale = std::max(1.0, n / 20.0);
        return TESK_ZAN::Point3(scale * radius * std::cos(angle), scale * radius * std::sin(angle), 0);
    };
    for (int i = 0; i < n; ++i)
        mesh.vPoints.push_back(onCircle(i, 1));
    mesh.vPoints.emplace_back(0, 0, zAbove);
    mesh.vPoints.emplace_back(0, 0, zBelow);
    for (int i = 0; i < n; ++i)
        mesh.vTriangles.insert(mesh.vTriangles.end(), {i, (i + 1) % n, n});
    for (int i = 0; i < n; ++i)
        mesh.vTriangles.insert(mesh.vTriangles.end(), {(i + 1) % n, i, n + 1});
    for (int i = 0; i < numFins; ++i) {
        mesh.vPoints.push_back(onCircle(i + 0.5, 2));
        mesh.vTriangles.insert(mesh.vTriangles.end(), {(i + 1) % n, i, n + 2 + i});
    }
    return mesh;
}

// n by n vertices, 1 apart, with the height of (x, y) by a function; that one has the index y * n + x. Two
// triangles a square, counterclockwise from above, with the diagonal from its lower left corner.
template <class F>
IndexedMesh gridMesh(int n, F height)
{
    IndexedMesh mesh;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            mesh.vPoints.emplace_back(x, y, height(x, y));
    for (int y = 0; y + 1 < n; ++y)
        for (int x = 0; x + 1 < n; ++x) {
            const int a = y * n + x;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, a + 1, a + n + 1, a, a + n + 1, a + n});
        }
    return mesh;
}

inline IndexedMesh flatGrid(int n)
{
    return gridMesh(n, [](int, int) { return 0.0; });
}

// Splits triangle t at its centre: it becomes one of the three parts, the others are appended.
inline void splitInThree(IndexedMesh& mesh, int t)
{
    int* p = mesh.vTriangles.data() + 3 * t;
    const int a = p[0], b = p[1], c = p[2], mid = int(mesh.vPoints.size());
    const TESK_ZAN::Point3 p0 = mesh.vPoints[size_t(a)], p1 = mesh.vPoints[size_t(b)],
                           p2 = mesh.vPoints[size_t(c)];
    mesh.vPoints.emplace_back((p0.x() + p1.x() + p2.x()) / 3, (p0.y() + p1.y() + p2.y()) / 3,
                              (p0.z() + p1.z() + p2.z()) / 3);
    p[2] = mid;
    mesh.vTriangles.insert(mesh.vTriangles.end(), {b, c, mid, c, a, mid});
}

// Two tetrahedra that share a vertex only: every edge is regular, the vertex is not.
inline IndexedMesh twoTetrahedraOnAVertex()
{
    return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0, -1, 0}, {0, 0, -1}},
            {0, 2, 1, 0, 1, 3, 1, 2, 3, 0, 3, 2, 0, 4, 5, 0, 6, 4, 4, 6, 5, 0, 5, 6}};
}

} // namespace zan_test
