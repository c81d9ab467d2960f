// Subsystem: real mesh. Builds on: REdge, RTriangle. Used by: RMesh (reduction), RTop, LocalChange.
// A candidate of the reduction, and the tests that a collapse has to pass.
#pragma once

#include "REdge.h"
#include "RTriangle.h"
#include "Vector3.h"

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

// The triangles at a vertex that may move, as all collapses of its edges see them: what does not depend on
// the other endpoint is computed once. Valid as long as nothing changes at these triangles. Reads the mesh
// only.
class MovingFan
{
public:
    MovingFan() = default;
    MovingFan(const RMesh& mesh, const Point3* pVtx) { set(mesh, pVtx); }

    void set(const RMesh& mesh, const Point3* pVtx);
    void forget() { pSrc = nullptr; }
    const Point3* getSrc() const { return pSrc; } // null: of none

    // The vertex moves to target; the triangles with pTrg die. A triangle whose cross product at the target
    // is shorter than 1e-10 (in square units of the input) has lost its normal. O(triangles).
    TurnedTriangles turn(const Point3* pTrg, const Point3& target, double maxAngleRad);

    // True if an edge lies opposite the vertex in one triangle and opposite pTrg in another one: the two
    // would coincide after a collapse onto pTrg. O(triangles), also beside a hub.
    bool hasCommonRingEdge(const RMesh& mesh, const Point3* pTrg) const;

    // The same, and true as well if a neighbour of both is the third corner of no triangle of the edge: the
    // three vertices ring a tube or a hole, which the collapse would pinch. O(triangles), times those at the
    // neighbours if pTrg is a hub.
    bool isPinchedBy(const RMesh& mesh, const Point3* pTrg) const;

private:
    struct Side { // a triangle
        const Point3* pNext;
        const Point3* pPrev;
        const REdge* pRingRE; // between these two
        Vector3 unit;         // the normal; once it is needed
        bool bUnitKnown;
        bool bDegenerate; // has none

        bool has(const Point3* pVtx) const { return pNext == pVtx || pPrev == pVtx; }
    };

    static void addTurn(Side& side, const Point3& src, const Point3& target, double maxAngleRad,
                        TurnedTriangles& turned);
    bool isThird(const Point3* pVtx, const Point3* pTrg) const;
    bool isBareNeighbour(const Point3* pVtx, const Point3* pTrg) const;
    bool isPinchedByHub(const RMesh& mesh, const Point3* pTrg) const;

    const Point3* pSrc = nullptr;
    std::vector<Side> vSides; // in the order of the vertex
};

} // namespace TESK_ZAN
