// Subsystem: mesh on codes. Builds on: CEdge, CTriangle, VertexTable, numberEdges, Bundle, Calc. Used by:
// Voro, Top and the passes on codes, RMesh, holes, writers. The working surface of the grid stages: vertices
// are cell codes, topology is decided on codes alone.
#pragma once

#include "Bundle.h"
#include "CEdge.h"
#include "CTriangle.h"
#include "Calc.h"
#include "Point3.h"
#include "VertexTable.h"
#include "numberEdges.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/SimplePool.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CPatch;
class Voro;

using BorderPatches = std::vector<std::pair<u64, CPatch*>>; // contract: CPatch.h

// A triangle to be made. The corners are places in a list of codes.
struct TriangleSeed {
    u64 vcd;
    std::uint32_t corners[3];
    int cfg;
};

// The mesh may be non-manifold: an edge can hold any number of triangles. Points are only read to measure
// angles and lengths. One thread at a time; inside, what goes over all of it uses all threads.
//
// What the operations keep (checkDataStructures reports by these numbers):
//  1. an alive triangle has three different corners, and its three edge pointers are the edges of its
//  corners;
//  2. an edge lists exactly the alive triangles that point to it, each once;
//  3. the chain at a vertex holds exactly the edges of degree above 0 that end there;
//  4. every other edge stands in mDeadEdges; no two edges have the same ends;
//  5. the bundles of the vertices are those of the map, code by code.
//
// What a good mesh has besides, which operations may break and the other checks report: every corner has a
// bundle whose point lies in its cell (checkCCD), no two alive triangles have the same corners (checkNoDups),
// the triangles on an edge have different opposite corners and points (checkNoAdjGeomDups), no alive triangle
// is geometrically degenerate (checkNoDegenerate).
//
// Orders that show: triangles and edges by creation (until killDuplicateTriangles), triangles at a vertex by
// creation, edges at a vertex by (v0, v1). None follows addresses or hashes.
class CMesh
{
public:
    // Works on the run's map of bundles, which must live as long as the mesh is in use (but for its
    // destructor). The map is read once, here: afterwards only addBundle and removeLooseBundles may change
    // it. vZeroCCD is copied. pVoro may be null.
    CMesh(Voro* pVoro, const Calc* pCalc, std::map<u64, Bundle*>* pCCDBundle,
          const std::vector<u64>& vZeroCCD);

    // The same, for one who has the bundles of the map at hand, by ascending code: a walk over a large map
    // takes as long as all configurations of its cells.
    CMesh(Voro* pVoro, const Calc* pCalc, std::map<u64, Bundle*>* pCCDBundle,
          const std::vector<Bundle*>& vBundles_srt, const std::vector<u64>& vZeroCCD);

    // With a map of its own, empty at first. bOwnMap only selects this form and must be true.
    CMesh(Voro* pVoro, const Calc* pCalc, bool bOwnMap);

    ~CMesh();
    CMesh(const CMesh&) = delete;
    CMesh& operator=(const CMesh&) = delete;

    Voro* getVoro() const { return pVoro; }
    const Calc* getCalc() const { return pCalc; }
    const std::map<u64, Bundle*>& getBundles() const { return *pCCDBundle; }
    const std::vector<u64>& getZeroCCD() const { return vZeroCCD; }

    // --- building and look-up: CMesh.cpp ---

    // A hint that the mesh will have about this many vertices. To be called while the mesh is empty.
    void reserve(std::size_t numVertices);

    // Removes all triangles, edges and patches. Their memory stays with the mesh, for the next ones. Bundles
    // stay.
    void clear();

    // Gives the memory of edges and patches back, most of what a mesh holds, for a last reader that walks
    // over getT and asks for corners. After this nothing else about edges or patches may be asked.
    void releaseEdges();

    // Makes a triangle with this orientation, and its edges where they are missing. The corners must differ.
    // A triangle on the same corners is not looked for. O(least number of edges at two of the corners).
    CTriangle* createT(u64 v0, u64 v1, u64 v2, u64 vcd, int cfg);

    // The same, unless the edge (v0, v1) already holds a triangle on these corners: then null.
    CTriangle* createTIfMissing(u64 v0, u64 v1, u64 v2, u64 vcd, int cfg);

    // The edge, also one of degree 0, or null. The ends may come in any order.
    CEdge* getEdge(u64 v0, u64 v1) const;

    // The edge exists with degree above 0. O(least number of edges at one of the ends).
    bool hasEdge(u64 v0, u64 v1) const;

    // Append the triangles at a vertex in order of creation; the edges there with degree above 0 by (v0, v1).
    // O(d log d) for d edges at the vertex.
    void getIncidentT(u64 ccd, std::vector<CTriangle*>& vCT) const;
    void getIncidentCE(u64 ccd, std::vector<CEdge*>& vCE) const;

    // All triangles and all edges since the last clear, dead ones included. Edges stand in order of creation,
    // triangles too until killDuplicateTriangles.
    const std::vector<CTriangle*>& getT() const { return vMeshT; }
    const std::vector<CEdge*>& getE() const { return vMeshE; }

    // Append the codes that alive triangles use, ascending; the alive triangles in the order of getT; all
    // edges in order of creation, those of degree 0 included.
    void getCCDs(std::vector<u64>& vOut) const;
    void getAliveT(std::vector<CTriangle*>& vOut) const;
    void getEdges(std::vector<CEdge*>& vOut) const;

    // Appends edges in order of creation: above 0 of exactly this degree, -1 of a degree above 2, -5 of
    // degree 1 or at least 3, -99 of any degree above 0. Any other code is a warning. O(edges).
    void getDegN(int deg, std::vector<CEdge*>& vCE) const;

    // Whether each edge has two triangles or none. O(edges).
    bool isRegular() const;

    // Sum of the areas of the alive triangles.
    double getArea() const;

    // Clears the mark bVisited of all triangles.
    void clearVisited();

    // --- many triangles at once: CMesh_bulk.cpp ---

    // Fills the mesh, which must have no triangles: one for each seed, unless an earlier one has the same
    // corners. They are numbered in this order, as if made by createTIfMissing, but stand in getT as
    // killDuplicateTriangles would leave them, and in memory too. The codes must be unique. Linear as long as
    // the triangles at each vertex are few.
    void createSortedT(const std::vector<u64>& vCCD_srt, const std::vector<TriangleSeed>& vSeeds);

    // --- patches: CMesh_patches.cpp ---
    // The mesh owns the patches that it makes, and a new division or clear deletes them. No triangle names a
    // patch that is gone.

    // Divides the alive triangles into patches: maximal sets that hang together over edges of degree 2 that
    // are no fences (psFences may be null). The walk turns triangles so that each patch is consistently
    // oriented, from its first triangle, but for one-sided ones. The label of a patch is the place of its
    // first triangle in getT, and patches stand in the order of labels. O(n).
    void createPatches(const std::set<CEdge*>* psFences, std::vector<CPatch*>& vPatchesOut);

    // The same, and where patches meet: the edges of degree above 2 by creation number, and the corners
    // opposite to them with their patches.
    void createPatches(const std::set<CEdge*>* psFences, std::vector<CPatch*>& vPatchesOut,
                       BorderPatches& mBorderCCD2Patch, std::vector<CEdge*>& vBorderME);

    // One patch for each set of triangles that hangs together over edges of any degree. O(n).
    void createCCPatches();

    // Makes of a division without fences what a new one would give after the deaths of these triangles, all
    // that died since. Patches that did not change stay as they are; those that hang together now are one,
    // whose members stand in any order until settleMembers. O(d + m log n) for d deaths and m triangles of
    // patches that changed, the largest of each joined patch not counted but for its rim.
    void updatePatches(const std::vector<CTriangle*>& vDeadT);

    // Brings the members of a patch of the last division into the order that a new division would give them.
    // For whatever shows that order. O(1) if they are, else O(size).
    void settleMembers(CPatch* pPatch);

    // Of the last division by the mesh.
    const std::vector<CPatch*>& getPatches() const { return vPatches; }

    // Deletes them. No triangle has a patch afterwards, whoever made it. O(n).
    void clearPatches();

    // --- vertices: CMesh_vertices.cpp ---

    // The bundle of a vertex, null if there is none.
    Bundle* findBundle(u64 ccd) const;
    bool hasBundle(u64 ccd) const { return findBundle(ccd) != nullptr; }

    // The point of a vertex. A code without a bundle is a failed condition ("q_it!=mCCDBundle.end()"). The
    // pointer belongs to the bundle.
    Point3* getVtx(u64 ccd) const;
    Point3* getBundleVtx(u64 ccd) const { return getVtx(ccd); }
    Point3 getAvgPoint(u64 ccd) const { return *getVtx(ccd); }

    // Gives a vertex that has none a bundle of the mesh's own, at (x, y, z) or, if all three are DBL_MAX, at
    // the centre of the cell, then runs averageBundle on it. Condition "pCalc->getCCD(pVtx)==ccd".
    void addBundle(u64 ccd, double x, double y, double z);

    // Appends all bundles by ascending code: what a walk over the map gives, in a fraction of the time.
    void getBundlesByCode(std::vector<Bundle*>& vOut) const;
    std::vector<u64> getCellsWithBundle() const; // as RCDs, in the same order

    // The bundles that the mesh made, in order of making.
    const std::vector<Bundle*>& getOwnBundles() const { return vOwnBundles; }

    // Places a vertex, in place, at 1.003 times the way from one of its neighbours to the mean of them;
    // points that the mesh made count only when there are fewer than three others. The factor and a shift in
    // x of at most 1e-5 (a function of the code) keep the vertex from coinciding with the mean of a symmetric
    // ring. With fewer than two edges nothing happens; without a neighbour that has a bundle the vertex goes
    // to the centre of its cell. The point may leave the cell.
    void averageBundle(Bundle* pBundle);
    void averageAllBundles(); // all that the mesh made, in order of making

    // Collapses the vertices of the mesh's own bundles onto a neighbour where the link test allows it, then
    // deletes every own bundle that no triangle uses, also from the map.
    void removeLooseBundles();

    // Moves a vertex towards the mean of its neighbours, by at most a tenth of a cell. False, with nothing
    // moved, if a triangle would turn by more than 90.0 degrees or has no normal now, or without neighbours.
    bool laplacianForOne(u64 ccd);

    // --- changes of topology: CMesh_operations.cpp ---

    // No triangle that a collapse of src onto trg would make exists already. O(degree).
    bool linkTest(u64 src, u64 trg) const;

    // Moves all triangles of src to trg, which are the two ends of the edge; those that hold both die. False,
    // with nothing changed, for an edge of degree 0 or if this would make a duplicate triangle. The new
    // triangles keep vcd and have cfg 0.
    bool collapseEdgeToEndpoint(CEdge* pCE, u64 src, u64 trg);

    // Moves v1 to the middle and all triangles of v0 to it, without the test for duplicates. Returns v1;
    // FAILED_CODE for an edge of degree 0.
    u64 collapseEdgeToMidpoint(CEdge* pCE);

    // Sorts getT by ascending corners, dead ones included, and kills all but the oldest of equal alive
    // triangles. Returns the number of kills. O(n log n).
    int killDuplicateTriangles();

    // Removes geometrically degenerate triangles: splits the neighbours on the longest edge, or else moves a
    // corner. Those where neither works stay.
    void splitDegenerate();

    // --- checks: CMesh_checks.cpp ---
    // Each writes the label with its result and returns whether the mesh passed. None stops a run.

    bool checkCCD(const std::string& label) const;
    bool checkNoDups(const std::string& label) const;
    bool checkNoAdjGeomDups(const std::string& label) const;
    bool checkNoDegenerate(const std::string& label) const;
    bool hasNaN(const std::string& label) const; // true: no bundle has a coordinate that is not a number

    // The invariants above. O(n log n). Silent when all is well; else one line with the number of the first
    // one that is broken.
    bool checkDataStructures(const std::string& label) const;

private:
    friend class CTriangle;

    using EdgeEnds = std::pair<u64, u64>;

    CEdge* findAliveEdge(std::uint32_t vtxA, std::uint32_t vtxB) const;
    CEdge* findOrCreateEdge(std::uint32_t vtxA, std::uint32_t vtxB);
    void linkAt(std::uint32_t vtx, CEdge* pCE);
    std::vector<std::uint32_t> getVertexNumbers(const std::vector<u64>& vCCD_srt);
    void connectEdges(const std::vector<CTriangle*>& vByNumber, const std::vector<CornerNumbers>& vCorners);
    void createEdges(const std::vector<CornerNumbers>& vCorners,
                     const std::vector<std::uint32_t>& vFirstSides);
    void unlinkAt(u64 ccd, const CEdge* pCE);
    template <class F>
    void forEachEdgeAt(u64 ccd, F f) const;
    void edgeDied(CEdge* pCE);
    void destroyEdges();
    CPatch* newPatch(std::size_t seedPlace);
    void divideBrokenPatches(const std::vector<CTriangle*>& vDeadT);
    void joinPatches(const std::vector<CTriangle*>& vDeadT);
    std::size_t placeOf(const CTriangle* pCT) const;

    void moveTriangles(u64 src, u64 trg);
    void deleteUnusedOwnBundles();
    double deviationIfMoved(const CTriangle* pCT, u64 ccd, const Point3& target) const;

    std::string findBrokenTriangle() const;
    std::string findBrokenEdge() const;
    std::string findBrokenChain() const;
    std::string findBrokenDeadEdge() const;
    std::string findBrokenBundle() const;

    Voro* pVoro;                          // not owned
    const Calc* pCalc;                    // not owned
    std::map<u64, Bundle*> mOwnCCDBundle; // used by the second constructor only
    std::map<u64, Bundle*>* pCCDBundle;   // the run's map, or the one above
    std::vector<u64> vZeroCCD;

    std::optional<TESK_TOOLS::SimplePool<CTriangle>> oTrianglePool;
    std::optional<TESK_TOOLS::SimplePool<CEdge>> oEdgePool;
    std::vector<CTriangle*> vMeshT; // owned through the pools
    std::vector<CEdge*> vMeshE;     // an edge stands at its number
    std::size_t numSortedT = 0;     // so many of vMeshT stand in the order of killDuplicateTriangles
    std::uint32_t numCreatedT = 0;

    std::optional<TESK_TOOLS::SimplePool<CPatch>> oPatchPool;
    std::vector<CPatch*> vPatches; // owned through the pool

    VertexTable vertices;
    TESK_TOOLS::FlatMap<EdgeEnds, CEdge*, TESK_TOOLS::U64PairHash> mDeadEdges; // edges of degree 0 by ends

    // The bundles that the mesh made, and their points; the flat set tells their codes from those of the
    // cloud.
    std::vector<Bundle*> vOwnBundles;
    TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash> sOwnCCD;
};

// The bundles of a map, by code.
std::vector<Bundle*> bundlesOf(const std::map<u64, Bundle*>& mCCDBundle);

// The unit normal of three vertices of the mesh; bOK false and (0, 0, 0) if there is none. A code without a
// vertex in the mesh is a failed condition ("pVtx is NULL").
Vector3 getNormalVector(const CMesh* pMesh, u64 ccd0, u64 ccd1, u64 ccd2, bool& bOK);

} // namespace TESK_ZAN
