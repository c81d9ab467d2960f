// Subsystem: mesh on codes. Builds on: SmallVector, definitions. Used by: CMesh and all that walk it.
// An edge of the mesh on codes: two vertex codes and the triangles that share them, any number of them.
#pragma once

#include "definitions.h"
#include "tesk_tools/SmallVector.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;
class Point3;

// Which way a directed border runs. Only chains of border edges use it.
enum EdgeDir : std::uint8_t { ED_NONE = 0, ED_V0V1 = 1, ED_V1V0 = 2 };

// Lives in the pool of its CMesh, from its first triangle until CMesh::clear. An edge whose triangles have
// all died stays as an edge of degree 0 and is used again when a triangle on the same two vertices is made.
//
// vCT holds alive triangles only, in order of creation until the first of them dies: a dying triangle is
// replaced by the last one. Everything below that says "the first" means the order of vCT.
class CEdge
{
public:
    using TriangleList = TESK_TOOLS::SmallVector<CTriangle*, 2>;

    // Needs v0 < v1. number is the place of the edge in CMesh::getEdges.
    CEdge(u64 v0, u64 v1, std::uint32_t number);

    u64 getV0() const { return v0; } // getV0() < getV1()
    u64 getV1() const { return v1; }

    // Unique in the mesh and ascending in order of creation: sort by this wherever an order of edges shows.
    std::uint32_t getNumber() const { return number; }

    // 0 dead, 1 border, 2 regular, above 2 non-manifold.
    int getDegree() const { return int(vCT.size()); }
    bool isBorder() const { return vCT.size() == 1; }

    const TriangleList& getCTs() const { return vCT; }

    // Appends the triangles.
    void getTriangles(std::vector<CTriangle*>& vOut) const;

    // The first two triangles. False, with both null, if there are fewer; with bExact also if there are more.
    bool getTwoTriangles(CTriangle*& p0, CTriangle*& p1, bool bExact) const;

    // The one triangle other than pCT; null if there is none or more than one.
    CTriangle* getOtherT(const CTriangle* pCT) const;

    // The first triangle, null if there is none. bMustExist makes none a failed condition ("pRet!=0"),
    // bUnique more than one ("pRet==0").
    CTriangle* getTriangle(bool bMustExist, bool bUnique) const;

    // The first triangle other than pCT in the same patch; a warning and null if there is none.
    CTriangle* getAdjInPatch(const CTriangle* pCT) const;

    // The other end; ccd must be one.
    u64 getOtherVCD(u64 ccd) const;
    bool hasVertex(u64 ccd) const { return ccd == v0 || ccd == v1; }

    // Some triangle here has exactly these corners, in any order.
    bool hasTriangle(u64 a, u64 b, u64 c) const;

    // Lists the same triangles in another order.
    void reorder(const TriangleList& vOrdered);

    EdgeDir getDirection() const { return edgeDir; }

    // Only from or to ED_NONE: condition "edgeDir==ED_NONE || ed==ED_NONE".
    void setDirection(EdgeDir ed);

    // The ends by direction. A failed condition without a direction.
    u64 getSource() const;
    u64 getTarget() const;

    // The points of v0 and v1.
    std::pair<Point3, Point3> getSegment(const CMesh* pMesh) const;

    // The angle between the two triangles in degrees, 180.0 when they lie flat. Above 360.0 it is a marker:
    // 363.0 fewer than two triangles, 362.0 more than two, 364.0 a triangle without a normal. The points come
    // from mStored, which must hold all four corners.
    double getDihedralAngle(const std::map<u64, Point3>& mStored) const;

    // --- changes of the mesh round this edge: CMesh_operations.cpp ---

    // Replaces the edge between two triangles by the one between the corners opposite to it and keeps the
    // orientation. With both arguments null the edge must have exactly two triangles. Returns the new edge;
    // null, after a warning, if there are no two triangles or one is dead. Two triangles on the same three
    // corners are a failed condition, with the mesh unchanged. New triangles have vcd 0 and cfg 0.
    CEdge* flipEdge(CMesh* pMesh, CTriangle* pCT0, CTriangle* pCT1);

    // Removes pKillCT, whose corner ici lies opposite this edge, and splits every other triangle of this edge
    // at that corner. A half that exists already is not made, and the existing triangle goes as well. False,
    // with nothing changed, if a split would make a triangle without a normal or turn one by more than 90.0
    // degrees. The new triangles are appended to vKids.
    bool trySplitNeigsKillT(CMesh* pMesh, CTriangle* pKillCT, int ici, std::vector<CTriangle*>& vKids);

private:
    friend class CMesh;
    friend class CTriangle;

    void checkIn(CTriangle* pCT) { vCT.push_back(pCT); }
    void checkOut(CTriangle* pCT);

    TriangleList vCT;
    u64 v0;
    u64 v1;
    std::uint32_t number;
    std::uint32_t next0 = 0; // the mesh's chains of edges round v0 and v1, meaningful while degree > 0
    std::uint32_t next1 = 0;
    EdgeDir edgeDir = ED_NONE;
};

static_assert(sizeof(CEdge) <= 56, "a mesh holds three of these for each vertex");

// By the two ends, the order in which edges at a vertex are listed.
inline bool lessByEnds(const CEdge* a, const CEdge* b)
{
    return a->getV0() != b->getV0() ? a->getV0() < b->getV0() : a->getV1() < b->getV1();
}

inline bool lessByNumber(const CEdge* a, const CEdge* b)
{
    return a->getNumber() < b->getNumber();
}

std::ostream& operator<<(std::ostream& os, const CEdge& edge);

} // namespace TESK_ZAN
