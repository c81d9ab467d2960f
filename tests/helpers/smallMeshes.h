// Meshes of a few triangles, each with one trait. Triangles are counterclockwise from outside or above where
// the mesh has such a side.
#pragma once

#include "meshChecks.h"

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

// Two tetrahedra that share a vertex only: every edge is regular, the vertex is not.
inline IndexedMesh twoTetrahedraOnAVertex()
{
    return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0, -1, 0}, {0, 0, -1}},
            {0, 2, 1, 0, 1, 3, 1, 2, 3, 0, 3, 2, 0, 4, 5, 0, 6, 4, 4, 6, 5, 0, 5, 6}};
}

} // namespace zan_test
