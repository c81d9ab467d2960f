// Subsystem: real mesh. Builds on: RVertex. Used by: RTriangle, RPatch, RMesh, flips, reduction.
// An edge of an RMesh and the operations that start from one.
#pragma once

#include "RVertex.h"

#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class RMesh;
class RTriangle;

// Holds alive triangles only: a dying triangle checks itself out. Any number of them is legal. An edge
// without triangles is dead; it stays in the mesh's vector of edges, and createT may revive it.
class REdge
{
public:
    // The two vertices in any order; they must differ. number: the place in the mesh's vector of edges.
    REdge(Point3* p0, Point3* p1, std::uint32_t number);

    Point3* getVtx0() const { return aEndpoints[0]; } // the endpoint with the lower number
    Point3* getVtx1() const { return aEndpoints[1]; }
    Point3* getVertex(int i) const { return aEndpoints[i]; }
    std::uint32_t getNumber() const { return number; }
    bool has(const Point3* pVtx) const { return aEndpoints[0] == pVtx || aEndpoints[1] == pVtx; }
    Point3* getOtherPoint(const Point3* pVtx) const; // fails unless pVtx is an endpoint
    double getLength() const;

    int getDegree() const { return static_cast<int>(vRT.size()); }
    bool isAlive() const { return !vRT.empty(); }
    bool isBorder() const { return vRT.size() == 1; }

    // Stores the first two triangles, null where there are fewer. True if the degree is exactly 2
    // (bExactly2), or at least 2.
    bool getAdjT(RTriangle*& pT0, RTriangle*& pT1, bool bExactly2) const
    {
        pT0 = vRT.size() > 0 ? vRT[0] : nullptr;
        pT1 = vRT.size() > 1 ? vRT[1] : nullptr;
        return bExactly2 ? vRT.size() == 2 : vRT.size() >= 2;
    }

    // The one triangle other than pRT; null if there is none, or more than one.
    RTriangle* getOtherT(const RTriangle* pRT) const
    {
        RTriangle* pOther = nullptr;
        for (RTriangle* pCandidate : vRT) {
            if (pCandidate == pRT)
                continue;
            if (pOther != nullptr)
                return nullptr;
            pOther = pCandidate;
        }
        return pOther;
    }

    // The first triangle, null if there is none. bMustExist makes none a failed condition, bUnique a second
    // one.
    RTriangle* getTriangle(bool bMustExist, bool bUnique) const;

    // True if a triangle of the edge has this corner. O(degree).
    bool hasTriangleAt(const Point3* pVtx) const;

    // Appends the triangles, in the order of the edge.
    void getAliveT(std::vector<RTriangle*>& vOut) const;

    // Replaces each triangle of the edge by two that meet at pMid, orientation kept. pMid is a vertex of the
    // mesh that none of the triangles has. The edge must be alive and is dead afterwards.
    void split(Point3* pMid, RMesh* pRMesh);

    // Turns the edge to the other diagonal of its two triangles:
    //
    //        opp0                opp0
    //       /    \              / | \      ...
    //      e0----e1    ->     e0  |  e1
    //       \    /              \ | /
    //        opp1                opp1
    //
    // Returns the new edge, or null if nothing was done: the degree is not 2, a triangle is dead, an alive
    // edge (opp0, opp1) exists, or the new triangles would be flat at opp0. The two triangles may both be
    // null: then they are taken from the edge. They must not be twins. The new triangles take over the
    // records and numbers of the two.
    REdge* tryFlipEdge(RMesh* pRMesh, RTriangle* pRT0, RTriangle* pRT1);

    // Removes the flat triangle pKillRT, whose corner ici lies nearly on this edge, and splits the triangles
    // on the other side at that corner. The new triangles are appended to vNewT. False: refused, nothing
    // changed.
    bool trySplitNeigsKillT(RMesh* pRMesh, RTriangle* pKillRT, int ici, std::vector<RTriangle*>& vNewT);

private:
    friend class RMesh;
    friend class RTriangle;

    void setEndpoints(Point3* p0, Point3* p1);
    void checkIn(RTriangle* pRT) { vRT.push_back(pRT); }
    void checkOut(const RTriangle* pRT); // the last triangle takes the place of pRT
    bool canSplitAt(RTriangle* pRT, Point3* pApex, const std::vector<Point3*>& vRingVtx) const;

    TESK_TOOLS::SmallVector<RTriangle*, 2> vRT;
    Point3* aEndpoints[2]; // ascending by number
    std::uint32_t number;
};

inline std::uint32_t numberOf(const REdge* pRE)
{
    return pRE->getNumber();
}

} // namespace TESK_ZAN
