// Subsystem: holes. Builds on: AngleEntry, CMesh, edgeMap. Used by: HoleFiller, the drivers of hole closing.
// A closed border path, filled by cutting ears: the corner with the smallest inner angle gets a triangle.
#pragma once

#include "AngleEntry.h"
#include "definitions.h"
#include "edgeMap.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CTriangle;

// Which edge continues a border at a vertex where several strands meet: by vertex and number of the edge over
// which the vertex is reached. Both ways round.
using BorderStrands = TESK_TOOLS::FlatMap<std::pair<u64, u64>, CEdge*, TESK_TOOLS::U64PairHash>;

// Works on edges and triangles of a mesh, which must outlive it. No vertices come up: the triangles span the
// corners of the loop. An ear is cut only where no edge gets more than two triangles by it and no triangle
// comes up twice, so a mesh without edges of degree 3 stays without.
class Loop
{
public:
    // Takes edges out of the map, which must not be empty, and orients what lies beside them: see
    // orientChainAndAjacentT. If they close, also the other triangles at the corners; if not, the orientation
    // is left as it was. Directions that the edges had are lost, as are chains that had them. pStrands:
    // null, or how to go on at vertices with more than two edges; read in the constructor only.
    Loop(EdgeMap& mmVCD2CE, CMesh* pMesh, const BorderStrands* pStrands = nullptr);
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    // The walk came back to its start.
    bool isClosed() const { return bClosed; }

    // Appends the edges of the path, in its order.
    void getEdges(std::vector<CEdge*>& vOut) const { vOut.insert(vOut.end(), vCE.begin(), vCE.end()); }

    // Fills a closed loop whole and returns true; or gives up with the mesh as it was before this loop, and
    // returns false: if the loop bends the wrong way round, if no ear is left before the end, or if the
    // fill has more reflex area than convex. To be called once. O(n log n) for n edges, as long as the
    // vertices keep few triangles.
    bool run();

    // The triangles of a successful run, by creation.
    const std::vector<CTriangle*>& getNewT() const { return vNewT; }

    // --- the steps of the above, public for tests ---

    // Walks from the least vertex in the map over edges in the map until none continues; true if that is
    // where it started. Where there is a choice, an edge whose triangle needs no turning goes first, so a
    // loop in an oriented mesh turns nothing. The edges get the direction of the walk and leave the map, the
    // one triangle of each then runs against it. Every edge must have a triangle.
    bool orientChainAndAjacentT(EdgeMap& mmVCD2CE, const BorderStrands* pStrands);

    // Makes the corners and the queue. The loop must be closed.
    void initPrioq();

    // The next corner to be cut, taken out of the queue; null if there is none. Corners that no ear fits are
    // passed over: they come again when a neighbour changes.
    AngleEntry* getNext();

    // Cuts the ear at the next corner. False if there was none to cut.
    bool triangulate();

private:
    // A corner in the queue by its angle at that time, equal angles by sequence.
    struct QueuedCorner {
        double angleDeg;
        std::size_t sequence;
        AngleEntry* pAE;
    };

    static bool isLater(const QueuedCorner& a, const QueuedCorner& b);
    CEdge* chooseEdge(const EdgeMap& mmVCD2CE, u64 vcd, const CEdge* pArrived,
                      const BorderStrands* pStrands) const;
    void takeEdge(CEdge* pCE, u64 vcd);
    void turn(CTriangle* pCT);
    void turnBack();
    void orientAroundCorners();
    void enqueue(double angleDeg, AngleEntry* pAE);
    void enqueueIfUsable(AngleEntry* pAE);
    bool canCut(const AngleEntry& ear) const;
    void cutEar(AngleEntry* pAE);
    bool cutLastEar();
    double getAngleSum();
    void takeBack();

    double signedArea = 0.0;
    int numCorners = 0; // alive ones
    std::vector<CEdge*> vCE;
    bool bClosed = false;
    CMesh* pMesh;                      // not owned
    std::vector<QueuedCorner> mmPrioq; // a binary heap, smallest first
    std::size_t numQueued = 0;         // the next sequence number
    std::vector<CTriangle*> vNewT;
    std::vector<AngleEntry> vAE;      // the ring, in path order; never grows once entries point to each other
    std::vector<CTriangle*> vAdjT;    // the triangles beside the path, in its order
    std::vector<CTriangle*> vTurnedT; // of these and others at the corners, those with a new orientation
};

} // namespace TESK_ZAN
