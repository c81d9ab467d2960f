// Subsystem: real mesh. Builds on: RVertex, Vector3. Used by: REdge, RPatch, RMesh, flips, reduction,
// writers. A triangle of an RMesh.
#pragma once

#include "RVertex.h"
#include "Vector3.h"

#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;
class RPatch;

// The triangle whose sides from apex run to p0 and p1 counts as flat: one of the sides has no direction (its
// length is 0, or underflows), or their angle is below 0.01 or above 179.99 degrees.
bool isFlatAngle(const Point3& apex, const Point3& p0, const Point3& p1);

// Corners run in the order that gives the orientation. ICI: the index 0, 1, 2 of a corner; "next" is
// (i + 1) % 3, "prev" is (i + 2) % 3. Edge i lies opposite corner i:
//
//             corner 2
//             /      \         ...
//     RE(1)  /        \  RE(0)
//           /          \       ...
//      corner 0 ---- corner 1
//              RE(2)
//
// Made by RMesh::createT and by flips only; dies by kill and stays in the mesh's vector then.
class RTriangle
{
public:
    RTriangle(Point3* p0, Point3* p1, Point3* p2, std::uint32_t number);

    Point3* getCorner(int ici) const { return aCorners[ici]; }
    REdge* getRE(int ici) const { return aOppRE[ici]; }
    std::uint32_t getNumber() const { return number; } // the place in the mesh's vector
    bool isAlive() const { return bAlive; }
    RPatch* getPatch() const { return pPatch; } // null before patches exist; stale after a topological change

    bool has(const Point3* pVtx) const
    {
        return aCorners[0] == pVtx || aCorners[1] == pVtx || aCorners[2] == pVtx;
    }
    bool hasEdge(const Point3* p0, const Point3* p1) const { return p0 != p1 && has(p0) && has(p1); }

    // The index of a corner; of the corner that is neither p0 nor p1, and that corner. The arguments must be
    // corners, and two must differ.
    int getICI(const Point3* pVtx) const
    {
        if (aCorners[0] == pVtx)
            return 0;
        if (aCorners[1] == pVtx)
            return 1;
        if (aCorners[2] != pVtx) [[unlikely]]
            failForeignCorner();
        return 2;
    }
    int getICI(const Point3* p0, const Point3* p1) const
    {
        if (p0 == p1) [[unlikely]]
            failForeignCorner();
        return 3 - getICI(p0) - getICI(p1);
    }
    Point3* getThirdPoint(const Point3* p0, const Point3* p1) const { return aCorners[getICI(p0, p1)]; }

    // The unit normal of the corners in order, cached. Without one (collinear corners): bOK false, zero
    // vector.
    Vector3 getNNV(bool& bOK);
    void resetNNV() { nnv.reset(); } // call whenever a corner has moved

    // Stores what getNNV would give, but never writes a message: for several threads, each on triangles of
    // its own.
    void fillNNV();

    // What has been stored: the null vector before the first call of these, and where there is no normal.
    const Vector3& getCachedNNV() const { return nnv; }

    // Swaps corners 0 and 1. Other triangles are not told.
    void flipOrientation();

    // True if this and the neighbour pOther run their common edge in the same direction. No common edge
    // fails.
    bool needFlip(const RTriangle* pOther) const;

    int getLargestEdgeICI() const; // opposite the longest edge; of equal ones 01 wins before 12 before 20
    double getArea() const;

    // By how many degrees the normal turns if corner ici moves to altPoint, which need not be a vertex.
    // 360.0: there is no normal now. -1.0: there would be none. bSkipIfCorner: 0.0 if altPoint has the
    // coordinates of a corner, since the triangle would vanish.
    double getDevAngle(int ici, const Point3* pAltPoint, bool bSkipIfCorner);

    // Appends the other alive triangles at the two edges that meet at corner ici: first those over the edge
    // to the next corner, then those over the edge to the previous one.
    void getNeighbours(int ici, std::vector<RTriangle*>& vOut) const;

    // True if a side from corner 0 is null, or the cross product of the two has squared length exactly 0.
    bool isDegenerate() const;

    // Checks the triangle out of its edges and vertices. Must be alive. The patch is not told.
    void kill(RMesh* pRMesh);

private:
    friend class REdge;
    friend class RMesh;
    friend class RPatch;

    [[noreturn]] static void
    failForeignCorner(); // out of line, so that what can fail is inlined all the same
    void setCorner(int ici, Point3* pVtx);

    Point3* aCorners[3];
    REdge* aOppRE[3]; // entry i lies opposite corner i
    Vector3 nnv;      // all zero: to be computed by the next reader
    RPatch* pPatch;   // not owned
    std::uint32_t number;
    bool bVisited; // work flag of the patch stage, false outside of it
    bool bAlive;
};

inline std::uint32_t numberOf(const RTriangle* pRT)
{
    return pRT->getNumber();
}

} // namespace TESK_ZAN
