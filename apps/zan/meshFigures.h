// What can be told of a triangle soup by looking at how its triangles hang together.
#pragma once

#include <zan/Point3.h>

#include <cstddef>
#include <vector>

// Corners at exactly the same place are one vertex. Only proper triangles count for edges and components.
struct MeshFigures {
    std::size_t numTriangles = 0;  // all
    std::size_t numDegenerate = 0; // two corners at the same place, or a coordinate that is not finite
    std::size_t numVertices = 0;
    std::size_t numEdges = 0;
    std::size_t numBorder = 0;      // edges with one triangle
    std::size_t numNonManifold = 0; // edges with more than two
    std::size_t numComponents = 0;  // triangles hang together by a common vertex
};

// vCorners: three a triangle. O(n log n).
MeshFigures figuresOf(const std::vector<TESK_ZAN::Point3>& vCorners);

struct MeshEdge {
    TESK_ZAN::Point3 from, to;
    std::size_t degree = 0; // how many triangles have it
};

// The edges of proper triangles, or only those that have not two. O(n log n).
std::vector<MeshEdge> edgesOf(const std::vector<TESK_ZAN::Point3>& vCorners, bool bRegularToo);
