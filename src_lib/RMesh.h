// Subsystem: real mesh. Builds on: REdge, RTriangle, RPatch, CMesh. Used by: Hal, Mesh, flips, reduction,
// writers. The triangle mesh on real coordinates: what a run ends with and all later optimisation works on.
#pragma once

#include "Calc.h"
#include "PointVertexMap.h"
#include "RECollapse.h"
#include "REdge.h"
#include "RPatch.h"
#include "RTriangle.h"
#include "RVertex.h"
#include "definitions.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/SimplePool.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class LabCache;
class Progress;
class Visualizer3;
struct RECandidate;

// The most phases that the rounds of a smoothing get; more rounds share them.
constexpr int MAX_SMOOTHING_PHASES = 1000;

// Owns its vertices, edges, triangles and patches; they refer to each other by plain pointers, which stay
// valid as long as the mesh. A vertex is a Point3*, and identity is that of the pointer. Nothing is erased
// during a run: a triangle dies by a flag, an edge by losing its last triangle, and every walk tests isAlive.
// A flip puts its two new triangles into the records of the old ones, so the mesh does not grow with the
// number of flips but for edges that are new to it; a million flips in each of many sweeps are usual.
//
// Invariants, by the numbers under which checkDataStructures reports them:
//   1. Each entry of mPointVertex is found at its own position, and no two vertices have the same position.
//   2. Each triangle in the list of a vertex is alive and has that vertex as a corner.
//   3. The endpoints of an edge differ and ascend by number. A dead edge that can still be looked up stands
//      in mDeadRE under the numbers of its endpoints; an alive edge is not there.
//   4. Each triangle that is checked in on an edge has both endpoints and has that edge in the slot opposite
//      its third corner; the third corners differ pairwise (twins break this until killDuplicateTriangles).
//   5. For each alive triangle, edge i has the corners other than i, and each corner lists the triangle.
//
// An edge is looked up through the triangles at the endpoint that has fewer of them, which costs no memory;
// only dead edges need a map. On a million vertices, in walks that follow the surface, this takes 13 ns
// against 53 ns of a flat map of all edges (which would also cost 70 to 140 bytes per vertex); at random
// places 280 against 150.
//
// Memory per vertex of a closed surface: 105 bytes for the vertex (record, two look-ups), 192 for two
// triangles, 168 for three edges, and 16 for the patches.
//
// No lock: changes come from one thread, and readers may run in parallel between them (RTriangle::getNNV
// fills a cache, so it is no reader).
class RMesh
{
public:
    // --- RMesh_takeover.cpp ---

    // One vertex for each bundle, by ascending code, colour included; then the alive triangles in their order
    // and with their orientation. The CMesh is only read. Its edges are not asked. Each corner must have a
    // bundle. Two bundles at one position both get a vertex: the later one moves by the smallest
    // representable step, so that positions stay unique.
    explicit RMesh(CMesh* pCMesh);

    // A new vertex with the colour of p, at its position if that is free, else as few smallest representable
    // steps beside it as it takes.
    Point3* createVtxBeside(const Point3& p);

    // A new vertex beside this one; among the zero vertices if this one is.
    Point3* copyVtx(const Point3* pVtx);

    // --- RMesh.cpp: construction and change ---

    // An empty mesh; fill it by createVtx and createT. cellSize: the length scale of later optimisation. The
    // counts that are expected save growth; wrong ones do no harm.
    explicit RMesh(double cellSize, size_t numVtxExpected = 3, size_t numTExpected = 3);
    ~RMesh();
    RMesh(const RMesh&) = delete;
    RMesh& operator=(const RMesh&) = delete;

    // The vertex at these coordinates, made if there is none (a copy of p, colour included). If one exists:
    // null with bFailIfExisting, else the existing one.
    Point3* createVtx(const Point3& p, bool bFailIfExisting);
    Point3* createVtx(double x, double y, double z, bool bFailIfExisting);

    // An alive triangle with these corners, which must be three different vertices of this mesh. O(degree).
    RTriangle* createT(Point3* p0, Point3* p1, Point3* p2);

    // Moves all triangles of pSrc onto pTrg: the collapse of the edge between them if there is one (its
    // triangles die), else a weld. Edges that meet an edge of pTrg are merged into it. Orientation is kept;
    // triangles that become twins stay. pSrc keeps its place and has no triangles any more.
    void exchangeCorner(Point3* pSrc, Point3* pTrg);

    // Moves a vertex; its colour stays. newPoint must differ from its position, and no vertex may stand there
    // (hasVtx).
    void updateVertex(Point3* pVtx, const Point3& newPoint);

    // --- RMesh.cpp: queries ---

    // The edge of the pair, in either order; null if there is none. A dead edge is returned too.
    REdge* getRE(const Point3* p0, const Point3* p1) const;
    bool hasAliveEdge(const Point3* p0, const Point3* p1) const;
    bool hasVtx(const Point3& p) const { return mPointVertex.find(p) != nullptr; }

    void getIncidentT(const Point3* pVtx, std::vector<RTriangle*>& vOut) const; // appends, in insertion order
    void getIncidentRE(const Point3* pVtx, std::vector<REdge*>& vRE) const;     // alive, by number; replaces
    void getRingVtx(const Point3* pVtx, std::vector<Point3*>& vP) const;        // by number; replaces
    void getRingRE(const Point3* pVtx, std::vector<REdge*>& vRE) const;         // one per triangle; appends
    int getCommonRingRE(const Point3* p0, const Point3* p1) const; // the number of common ring edges
    void getAdjacentT(const Point3* p0, const Point3* p1, std::vector<RTriangle*>& vRT) const; // appends

    // Appends the edges by degree, in order of creation: deg >= 0 exactly this degree, -1 above 2, -99 all
    // alive.
    void getDegN(int deg, std::vector<REdge*>& vRE) const;

    void getPoints(std::vector<Point3*>& vP) const; // vertices with triangles, by number; vP must be empty
    void getTriangles(std::vector<RTriangle*>& vRT) const;    // appends the alive ones, in order of creation
    void getCornerVtx(std::vector<Point3*>& vP) const;        // appends three per alive triangle
    void getCornerPoints(std::vector<Point3>& vPoints) const; // appends three per alive triangle
    size_t getNumT() const;                                   // alive ones; one pass

    // Three indices into vVertices per alive triangle. vVertices: as getPoints, must be empty. vIndices is
    // replaced. Linear.
    void getVertexIndexData(std::vector<Point3*>& vVertices, std::vector<int>& vIndices) const;

    double getAverageEdgeLength() const; // over alive edges; -1.0 if there is none
    double getCellSize() const { return dCellSize; }

    // For a mesh made of given triangles: the mean edge length, say, is known once it has edges.
    void setCellSize(double cellSize) { dCellSize = cellSize; }

    // The lattice of the run that made the mesh; null if none did. A vertex that a run has placed lies in a
    // cell of its own there, one that was moved or copied afterwards need not.
    const Calc* getCalc() const { return oCalc ? &*oCalc : nullptr; }
    bool hasColor() const; // true as soon as one corner of one alive triangle has a colour

    size_t getNumVtx() const { return vVtx.size(); } // all ever made: the numbers run from 0 to here
    Point3* getVtx(size_t number) const { return &vVtx[number]->point; }
    const std::vector<REdge*>& getAllRE() const { return vRE; }         // dead ones included, by creation
    const std::vector<RTriangle*>& getAllT() const { return vT; }       // dead ones included, by creation
    const std::vector<Point3*>& getZeroVtx() const { return vZeroVtx; } // by number
    const std::vector<std::unique_ptr<RPatch>>& getPatches() const { return vRP; }

    // The fans at a vertex: its triangles, grouped by connection over edges of degree 2. If one fan is not
    // closed: a warning, and a single fan with all triangles. vvRT is replaced.
    void getUmbrellas(const Point3* pCenter, std::vector<std::vector<RTriangle*>>& vvRT) const;

    // --- RMesh_cleaning.cpp ---

    // Collapses an edge of each triangle that is flat at corner 0 (isFlatAngle), by the choice that turns
    // other triangles least, until none is left; then killDuplicateTriangles. bKeepTopology: a triangle stays
    // flat where every collapse would pinch the surface or a hole; for meshes that are manifolds already.
    // Progress "RM_kdeg".
    void killDegenerate(bool bKeepTopology = false);

    // The collapses of that alone; the result is their number. Without one no twins can have come.
    size_t collapseFlat(bool bKeepTopology = false);

    // Kills the later one of two triangles over one edge with the same third corner. Returns the number of
    // findings; a pair of twins is found once per edge.
    size_t killDuplicateTriangles();

    // Appends what that would kill because of these edges, once per finding.
    void getDuplicateTriangles(const std::vector<REdge*>& vAmongRE, std::vector<RTriangle*>& vLaterT) const;

    // Kills these, but never the last one of its corners: edges may list twins in different orders, so that
    // each is the later one somewhere. Returns how many died.
    size_t killTwins(const std::vector<RTriangle*>& vLaterT);

    // Groups the triangles by connection over edges of degree 2 and orients each group from its first
    // triangle outward; a Moebius band stays as it falls. Returns the number of patches. Progress "RM_cpo".
    size_t createPatchesOrient();

    // --- RMesh_flips.cpp ---

    // Rates the flips of the edges (REdgeEnergy) in parallel and collects the candidates: every edge with an
    // improvement of at least 0 or minImprovement, whichever is less, and at a temperature above 0 some worse
    // ones, chosen with the probability exp(improvement / temperature). Which ones is fixed by temperature
    // and edge number. vImpRE must be empty; it comes back sorted by improvement, then by edge number. The
    // mesh changes only where edges had to be settled first (REdgeEnergy::settle). Progress:
    // flipCandidatesPhase.
    void getEdgeFlipCandidates_MT(const std::vector<REdge*>& vInRE, double minImprovement, double temperature,
                                  std::vector<RECandidate>& vImpRE);

    // Moves a vertex towards the mean of its neighbours, by a tenth of a cell at most, to a place where no
    // vertex is; meant to separate it from another one at the same place. False if it has no edges, if a
    // triangle would turn by more than 170 degrees, or if no free place was found: it stays then.
    bool moveToRingCenter(Point3* pVtx);

    // --- RMesh_reduce.cpp ---

    // Collapses edges by increasing penalty as long as the limits permit one; no vertex gets new coordinates.
    // maxSqLen: no longer edge collapses, as squared length. maxAngleDeg: no collapse turns a triangle
    // further; turns of several collapses may add up. Border vertices move along the border only, where it
    // runs straight. Returns how many triangles the collapses removed. NaN: a warning, and 0. Progress
    // "RM_redborder", "RM_redprioq", "RM_redprocprioq". About n log n.
    int reduce(double maxSqLen, double maxAngleDeg);

    // The cost of a collapse (dir as in RECollapse): 100 times the mean angle by which triangles turn, plus
    // the root of the length in cells, plus 100 times the colour distance. COLLAPSE_FORBIDDEN beyond the
    // limits, of a dead edge, where two triangles would coincide, and where a tube or a hole with a ring of
    // three edges would be pinched (an extension: the Euler number stays). vSrcT: replaced by the triangles
    // at the moving vertex. Reads the mesh only.
    double getCollapsePenalty(const REdge* pRE, int dir, double maxSqLen, double maxAngleRad,
                              std::vector<RTriangle*>& vSrcT) const;

    // The candidate, or one without an edge if the collapse is forbidden.
    RECollapse createCollapse(REdge* pRE, int dir, double maxSqLen, double maxAngleRad) const;

    // The candidates of the edges in both directions, in their order; vOut is replaced. Parallel.
    void getCollapseCandidates_MT(double maxAngleRad, double maxSqLen, const std::vector<REdge*>& vEdges,
                                  std::vector<RECollapse>& vOut) const;

    // --- RMesh_smoothing.cpp ---

    // Moves each vertex that is not on a border to the mean of its neighbours, so many times; all at once, so
    // each round reads old positions only. A vertex whose place is taken waits for the next round. Dead edges
    // count as neighbours. Then killDegenerate. bProgress: phases "border", "list", "it%0", "it%1", ..., at
    // most MAX_SMOOTHING_PHASES of the latter, which share more iterations. 0 or less: no round.
    void laplacianSmoothing(int iterations, bool bProgress);

    // Moves the vertices at zero cells, but those on a border, to the mean of themselves and their
    // neighbours, so many times, one after the other: each sees the new places of those before it.
    void smoothZeros(int iterations);

    // --- RMesh_colour.cpp ---

    // Gives colourless vertices the mean colour of their coloured neighbours, in waves from the coloured
    // ones outward. What no wave reaches stays colourless. Linear.
    void colorizeFilledHoles();

    // Stretches all colour channels by one curve to 0..255; alpha stays. The fractions, of 3 times all
    // vertices, tell how many of the lowest and highest channel values may be cut off; a range of at most 20
    // is stretched from its own ends. Colours stay as they are where there is no range to stretch: one value
    // only, fractions that meet, NaN.
    void contrastSpread(double lowFraction, double highFraction);

    // --- RMesh_checks.cpp ---

    // Tests the invariants. Prints what is broken and returns false, or prints "survived".
    bool checkDataStructures(const std::string& name) const;

    // True if no edge has two triangles with the same third corner. Silent without a name.
    bool checkNoDups(const std::string& name) const;

    // True if no alive triangle is degenerate. Silent without a name. bWriteScene: writes those that are to
    // the debug scene "degenerateT.list".
    bool checkNoDegenerate(const std::string& name, bool bWriteScene = false) const;

    // The number of triangles and a histogram of the edge degrees, as a message.
    void printStatistics(const std::string& name) const;

    // All alive triangles as one object; bNormals adds their normals; bEdges adds the edges of degree 1, 3, 4
    // and higher, each in its colour.
    void writeToScene(Visualizer3& visualizer, const std::string& color, bool bNormals, bool bEdges) const;

private:
    friend class REdge;
    friend class RTriangle;

    // All construction ends here; counts that are expected.
    RMesh(double cellSize, size_t numVtx, size_t numT, size_t numRE);

    // RMesh.cpp
    using Ring4 = std::array<Point3*, 4>;

    Point3* newVtx(const Point3& p); // not yet in mPointVertex
    REdge* turnDiagonal(RTriangle* pRT0, RTriangle* pRT1, const Ring4& ring);
    void registerTriangle(RTriangle* pRT);
    void checkInTriangle(RTriangle* pRT);
    void checkOutTriangle(RTriangle* pRT);
    REdge* getOrCreateRE(Point3* p0, Point3* p1);
    REdge* reviveOrCreateRE(Point3* p0, Point3* p1);
    REdge* findAliveRE(const Point3* p0, const Point3* p1) const;
    void parkDeadEdge(REdge* pRE);
    REdge* takeDeadRE(const Point3* p0, const Point3* p1);
    void moveEdge(REdge* pRE, Point3* pSrc, Point3* pTrg);
    void replaceEdge(REdge* pRE, REdge* pExistingRE);

    // RMesh_takeover.cpp
    void takeOverVertices(const CMesh* pCMesh, std::vector<u64>& vCCD);
    void takeOverTriangles(const CMesh* pCMesh, const std::vector<u64>& vCCD);
    void insertMovingAside(Point3* pVtx);

    // RMesh_cleaning.cpp
    bool findBestCollapse(const RTriangle* pRT, bool bKeepTopology, Point3*& pSrc, Point3*& pTrg) const;
    static void orientByWalk(RTriangle* pSeed);

    // RMesh_flips.cpp
    void settleForFlips(const std::vector<REdge*>& vInRE);
    void getEdgeFlipCandidates_MT_priv(const std::vector<REdge*>& vInRE, double minImprovement,
                                       double temperature, size_t from, size_t to, const LabCache& lab,
                                       std::vector<RECandidate>& vImpRE);

    // RMesh_checks.cpp
    std::string findBrokenPosition() const;
    std::string findBrokenIncidence() const;
    std::string findBrokenKey() const;
    std::string findBrokenEdge() const;
    std::string findBrokenTriangle() const;

    std::vector<Point3*> vZeroVtx; // vertices at the zero codes, by number: what smoothZeros moves
    PointVertexMap mPointVertex;   // every vertex, by its position
    TESK_TOOLS::FlatMap<u64, REdge*, TESK_TOOLS::U64Hash>
        mDeadRE;                              // dead edges, by the numbers of the endpoints
    std::vector<RVertex*> vVtx;               // every vertex, by number
    std::vector<RTriangle*> vT;               // every triangle ever made, by number
    std::vector<REdge*> vRE;                  // every edge ever made, by number
    std::vector<std::unique_ptr<RPatch>> vRP; // the patches of the last patch stage
    TESK_TOOLS::SimplePool<RVertex> vtxPool;
    TESK_TOOLS::SimplePool<RTriangle> rtPool;
    TESK_TOOLS::SimplePool<REdge> rePool;
    double dCellSize;
    std::optional<Calc> oCalc;
};

// Writes the mesh in white and its edges of degree 1 in red to the scene "holes.list" in the working folder.
void writeHolesScene(const RMesh& mesh);

} // namespace TESK_ZAN
