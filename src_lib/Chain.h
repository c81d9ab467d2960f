// Subsystem: holes. Builds on: CMesh, edgeMap, freeFunctions. Used by: ChainMgr, HoleFiller and the drivers
// of hole closing. A path or a cycle of edges of the mesh on codes, as a rule of border edges.
#pragma once

#include "Point3.h"
#include "definitions.h"
#include "edgeMap.h"

#include <deque>
#include <iosfwd>
#include <map>
#include <set>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;

// The edges belong to the mesh, which must outlive the chain. As long as they are members, their directions
// make a path of them: the target of one is the source of the next, in a closed chain also from the last to
// the first. An edge without a direction is in no chain, so each edge can be in one at a time.
//
// Changes of the mesh do not show here: a chain whose edges got or lost triangles is to be made again.
class Chain
{
public:
    // Takes its edges out of the map, which must not be empty: the first one, and from there on both ways as
    // long as exactly one edge continues. Edges in the map must have no direction.
    Chain(CMesh* pMesh, EdgeMap& mmVCD2CE);
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    // Unique in the process. For names and messages only: it depends on what was made before.
    int getId() const { return id; }

    // An empty chain is open.
    bool isClosed() const { return !lMemberCE.empty() && left == right; }

    // Equal if the chain is closed.
    void getEnds(u64& end0, u64& end1) const;

    // Appends the members in path order.
    void getEdges(std::vector<CEdge*>& vCE) const;

    // Adds, for each vertex, how many members end there: 1 at the end of an open path, else 2.
    void getVCDs(std::map<u64, int>& mVCD2Num) const;

    // Forgets the edges, which keep their directions.
    void clear();

    // Prolongs the chain at both ends by the ones among these that continue it. They must have no direction.
    void addEdges(const std::vector<CEdge*>& vCE);

    // The chain is a hole in a surface and neither its outer rim nor the rim of a thin sheet seen from the
    // side: it winds around the normals of few of the triangles along it. Needs a closed chain whose edges
    // all have a triangle. O(n log n), and up to 50 times n for the windings.
    bool isGoodHole() const;

    // Turns the triangles on members of degree 1 so that they run against the chain, and adds them to the
    // set. A path with a gap is a warning that begins with "BUG". Look the triangles up in the set, don't
    // walk over it: it is ordered by address.
    void getOriented(std::set<CTriangle*>& sAdjOrientedCT);

    // Oriented so, some neighbours among these triangles would run along their common edge in the same
    // direction: the strip along the chain is twisted. Those edges are kept for fixMoebius. The orientation
    // is left as it was.
    bool hasMoebius();

    // Unties the strip where hasMoebius found it twisted: at an edge that cuts the strip, its two ends are
    // exchanged in the triangles on one side. The chain is invalid afterwards. A warning, with the mesh
    // unchanged, if no found edge cuts the strip or the exchange would double a triangle.
    void fixMoebius();

private:
    struct SteepT { // a triangle and the largest angle between it and a neighbour
        double angleDeg;
        const CTriangle* pCT;
    };

    void takeEdgesFromMap(EdgeMap& mmVCD2CE);
    void warnOfGaps() const;
    void orientAlong(std::set<CTriangle*>& sAdjOrientedCT, std::vector<CTriangle*>& vFlippedCT) const;
    std::vector<SteepT> getSteepness() const;
    bool collectOneSide(const CEdge* pCE, std::vector<CTriangle*>& vResultT) const;
    bool exchangeEnds(const CEdge* pCE, const std::vector<CTriangle*>& vResultT);

    int id;
    CMesh* pMesh; // not owned
    std::deque<CEdge*> lMemberCE;
    u64 left;
    u64 right;
    std::vector<CEdge*> vMoebiusCE;
};

// Ends and length.
std::ostream& operator<<(std::ostream& os, const Chain& chain);

// The closed polygon winds around the line through a and b once rather than not at all. Points may follow
// themselves. O(n).
bool isEncircled(const Point3& a, const Point3& b, const std::vector<Point3>& vPolygon);

} // namespace TESK_ZAN
