// Subsystem: real mesh. Builds on: REdge, RTriangle. Used by: RMesh (reduction), RTop.
// A candidate of the reduction, and the tests that a collapse has to pass.
#pragma once

#include "REdge.h"
#include "RTriangle.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace TESK_ZAN
{

class RMesh;

// The penalty of a collapse that must not happen.
constexpr double COLLAPSE_FORBIDDEN = std::numeric_limits<double>::max();

constexpr double RADIANS_PER_DEGREE = 0.01745329251;

// One endpoint of an edge moves onto the other, which keeps its place. What it says holds for the mesh as it
// was at the evaluation.
struct RECollapse {
    REdge* pRE = nullptr; // null: no candidate
    int dir = 0;          // 0: getVtx0() moves onto getVtx1(); 1: the other way
    double penalty = COLLAPSE_FORBIDDEN;

    Point3* getSrc() const { return pRE->getVertex(dir); }
    Point3* getTrg() const { return pRE->getVertex(1 - dir); }
};

// What becomes of the triangles at a vertex that moves.
struct TurnedTriangles {
    bool bAllowed = true; // no triangle loses its normal or turns too far; if false, the rest is incomplete
    int numDying = 0;     // triangles that have the other endpoint too
    int numTurned = 0;    // triangles that survive and had a normal
    double angleSumRad = 0.0; // by how much those turn, together
    size_t numDegenerate = 0; // triangles that had no normal before: not judged
};

// vSrcT: the triangles at pSrc, which moves to target; those with pTrg die. A triangle whose cross product at
// the target is shorter than 1e-10 (in square units of the input) has lost its normal. Reads the mesh only.
TurnedTriangles turnTriangles(const std::vector<RTriangle*>& vSrcT, const Point3* pSrc, const Point3* pTrg,
                              const Point3& target, double maxAngleRad);

// True if an edge lies opposite pSrc in one triangle and opposite pTrg in another one: the two would coincide
// after the collapse. vSrcT: the triangles at pSrc. O(triangles at pSrc).
bool hasCommonRingEdge(const RMesh& mesh, const std::vector<RTriangle*>& vSrcT, const Point3* pSrc,
                       const Point3* pTrg);

// True if a neighbour of both is the third corner of no triangle of the edge: the three vertices ring a tube
// or a hole, which the collapse would pinch. vSrcT: the triangles at pSrc. O(triangles at pSrc), times those
// at the neighbours if pTrg is a hub.
bool hasBareCommonNeighbour(const RMesh& mesh, const std::vector<RTriangle*>& vSrcT, const Point3* pSrc,
                            const Point3* pTrg);

} // namespace TESK_ZAN
