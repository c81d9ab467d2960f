// Properties of an indexed triangle list: what a test asserts in place of lists of vertices.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zan_test
{

// Three indices into vPoints for each triangle.
struct IndexedMesh {
    std::vector<TESK_ZAN::Point3> vPoints;
    std::vector<int> vTriangles;

    size_t numT() const { return vTriangles.size() / 3; }
};

// Copies the points.
IndexedMesh indexedMesh(const std::vector<TESK_ZAN::Point3*>& vPoints, const std::vector<int>& vTriangles);

// The connectivity of a mesh. A degenerate triangle has an index twice; it and one with an index out of range
// count there and nowhere else. Duplicates have the same three corners in any order. A vertex that no
// triangle uses does not count.
struct MeshReport {
    size_t numVertices = 0;        // used ones
    size_t numTriangles = 0;       // regular ones
    size_t numOutOfRange = 0;      // triangles
    size_t numDegenerate = 0;      // triangles
    size_t numDuplicates = 0;      // triangles beyond the first of their kind
    std::map<int, size_t> mDegree; // edge degree -> number of edges
    size_t numMisoriented = 0;     // edges of degree 2 that both triangles run through in the same direction
    size_t numBadFans = 0;         // vertices whose triangles are not one open or closed fan
    size_t numComponents = 0;      // sets of triangles that hang together by vertices
    long euler = 0;                // vertices - edges + triangles

    size_t numEdges(int degree) const;
    size_t numEdges() const;

    // Every edge has two triangles, every vertex one closed fan; orientation is not asked for.
    bool isClosedManifold() const;
    // The same, but edges of degree 1 are allowed.
    bool isManifold() const;
    bool isOriented() const { return numMisoriented == 0; }
};

MeshReport checkMesh(const IndexedMesh& mesh);

// All of it in one line, for failure messages.
std::string toText(const MeshReport& report);

// Sum of the areas; the signed volume is positive if a closed mesh has its triangles counterclockwise from
// outside.
double meshArea(const IndexedMesh& mesh);
double meshVolume(const IndexedMesh& mesh);

// The greatest |f| over vertices and centres of triangles: f is the signed distance to the ideal surface.
double maxDistance(const IndexedMesh& mesh, const std::function<double(const TESK_ZAN::Point3&)>& f);

// How many vertices are not exactly one of vInput.
size_t numForeignVertices(const IndexedMesh& mesh, const std::vector<TESK_ZAN::Point3>& vInput);

// The greatest distance from a point of vInput to the nearest vertex or triangle centre of the mesh: large
// where the mesh lacks surface. Meant for up to some ten thousand points.
double maxGap(const IndexedMesh& mesh, const std::vector<TESK_ZAN::Point3>& vInput);

} // namespace zan_test
