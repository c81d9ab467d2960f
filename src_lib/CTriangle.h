// Subsystem: mesh on codes. Builds on: definitions, Vector3, zanAssert. Used by: CMesh and all that walk it.
// A triangle of the mesh on codes: three vertex codes whose cyclic order is the orientation.
#pragma once

#include "Vector3.h"
#include "definitions.h"
#include "zanAssert.h"

#include <array>
#include <cstdint>
#include <iosfwd>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CPatch;
class Point3;

// How a triangle runs along a pair of vertices.
enum HEDirection { HE_NONE = 0, HE_SAME = 1, HE_OPPOSITE = 2 };

// Where a vertex is taken to lie: at its bundle's point, or at the centre of its cell.
enum VtxType { VT_REAL, VT_COARSE };

// Lives in the pool of its CMesh until CMesh::clear; it dies by a flag and stays in CMesh::getT, so every
// walk tests isAlive. ICI is the index of a corner: 0, 1, 2 for c0, c1, c2.
class CTriangle
{
public:
    // Made by CMesh::createT only, which also connects the edges.
    CTriangle(u64 c0, u64 c1, u64 c2, u64 vcd, int cfg, std::uint32_t number);

    u64 getC0() const { return c0; }
    u64 getC1() const { return c1; }
    u64 getC2() const { return c2; }
    u64 getCorner(int ici) const // a failed condition for any other index
    {
        zanAssert(ici >= 0 && ici < 3);
        return ici == 0 ? c0 : (ici == 1 ? c1 : c2);
    }
    std::array<u64, 3> getCornerRCDs() const; // the corners as RCDs
    bool has(u64 ccd) const { return ccd == c0 || ccd == c1 || ccd == c2; }

    // Key of the cube that made the triangle, 0 for triangles that flips made, and the configuration of that
    // cube, 0 for triangles made later.
    u64 getVCD() const { return vcd; }
    int getCfg() const { return cfg; }

    // Unique in the mesh and ascending in order of creation: sort by this wherever an order of triangles
    // shows.
    std::uint32_t getNumber() const { return number; }

    bool isAlive() const { return bAlive; }
    bool isVisited() const { return bVisited; }
    void setVisited(bool b) { bVisited = b; }
    CPatch* getPatch() const { return pPatch; } // not owned
    void setPatch(CPatch* p) { pPatch = p; }

    // --- corners and edges ---

    // The edge opposite corner i: 0 gives (c1, c2), 1 gives (c0, c2), 2 gives (c0, c1).
    CEdge* getCEdge(int i) const
    {
        zanAssert(i >= 0 && i < 3);
        return i == 0 ? pCE12 : (i == 1 ? pCE02 : pCE01);
    }

    // The ends of that edge in cyclic order: 0 gives (c1, c2), 1 gives (c2, c0), 2 gives (c0, c1).
    void getEdgeCCDs(int i, u64& a, u64& b) const;

    // The index of a corner; of the corner that is neither a nor b, and its code. The arguments must be
    // different corners of this triangle.
    int getICI(u64 ccd) const
    {
        zanAssert(has(ccd));
        return ccd == c0 ? 0 : (ccd == c1 ? 1 : 2);
    }
    int getICI(u64 a, u64 b) const
    {
        zanAssert(a != b);
        return 3 - getICI(a) - getICI(b);
    }
    u64 getThirdCCD(u64 a, u64 b) const { return getCorner(getICI(a, b)); }

    // The two others: (c1, c2) for c0, (c0, c2) for c1, (c1, c0) for c2. Not the cyclic order for c1.
    void getOtherCCDs(u64 ccd, u64& a, u64& b) const;

    // The two others in cyclic order after ccd.
    void getNextPrev(u64 ccd, u64& next, u64& prev) const;

    // Ascending; condition "c0_<c1_ && c1_<c2_".
    void getSortedCorners(u64& a, u64& b, u64& c) const;

    // Ascending corners first, then the creation number.
    bool operator<(const CTriangle& other) const;

    // The same three corners, in any order.
    bool operator==(const CTriangle& other) const;

    // --- orientation ---

    // HE_SAME if b follows a in the cyclic order, HE_OPPOSITE if a follows b, HE_NONE if this is no edge.
    HEDirection getHEDirection2(u64 a, u64 b) const;

    // True if pOther runs along the first edge that both have in the same direction as this one: two
    // neighbours are consistently oriented when they run along their edge in opposite directions.
    bool needFlip(const CTriangle* pOther) const;

    // Swaps c1 and c2.
    void flipOrientation();

    // --- geometry, on the points of the corners in pMesh ---

    // The unit normal of (c0, c1, c2); bOK false and (0, 0, 0) if there is none.
    void getNNV(const CMesh* pMesh, Vector3& out, bool& bOK) const;

    // The unit normal from the codes alone: the edge vectors count only by the signs of their components.
    // bOK false and (0, 0, 0) if these are parallel.
    void getCoarseNNV(Vector3& out, bool& bOK) const;

    Point3 getCentroid(const CMesh* pMesh, VtxType vt) const;
    double getArea(const CMesh* pMesh) const;

    // Two points are equal, or the cross product of the edge vectors from c0 has squared length 0.
    bool isDegenerate(const CMesh* pMesh) const;

    // The corner opposite the longest edge; of equally long ones (c0, c1) wins, then (c1, c2).
    int getLargestEdgeICI(const CMesh* pMesh) const;

    // Takes the triangle out of its edges and marks it dead. It must be alive.
    void kill(CMesh* pMesh);

private:
    friend class CMesh;

    CEdge* pCE01 = nullptr;
    CEdge* pCE12 = nullptr;
    CEdge* pCE02 = nullptr;
    CPatch* pPatch = nullptr;
    u64 c0;
    u64 c1;
    u64 c2;
    u64 vcd;
    std::uint32_t number;
    std::int16_t cfg;
    bool bVisited = false;
    bool bAlive = true;
};

static_assert(sizeof(CTriangle) <= 72, "a mesh holds two of these for each vertex");

inline bool lessByNumber(const CTriangle* a, const CTriangle* b)
{
    return a->getNumber() < b->getNumber();
}

// Corners, state and origin on one line.
std::ostream& operator<<(std::ostream& os, const CTriangle& triangle);

} // namespace TESK_ZAN
