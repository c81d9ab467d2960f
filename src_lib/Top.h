// Subsystem: mesh on codes. Builds on: CMesh, CPatch, Rotx, EdgeEnergy, Voro, meshComponents, Progress. Used
// by: Hal. The topology driver: works the raw surface of Voro into an oriented one without double sheets,
// fins and loose ends, still on codes.
#pragma once

#include "definitions.h"
#include "solidSheets.h"

#include <map>
#include <memory>
#include <set>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CPatch;
class CTriangle;
class Calc;
class Point3;
class Rotx;
class Voro;

// How simplify collapses an edge.
enum SimplifyMode {
    SM_ALL = 0,    // to the middle, or else onto one of its ends
    SM_SINGLE = 1, // onto one of its ends only
    SM_MID = 2     // to the middle only
};

// Lives on the stack of a run stage, beside the Voro that made the mesh. It holds no geometry of its own: its
// passes are called in a fixed order by a driver, or one by one. After the driver an edge has at most two
// triangles wherever the passes could decide it, and the orientation is consistent within a component.
//
// All passes are single-threaded but for sorts and the marks of patches, walk snapshots in an order of
// creation numbers or codes, and are linear or n log n in the size of the mesh unless they say more.
class Top
{
public:
    // Neither is owned; both must outlive this.
    Top(CMesh* pMesh, const Calc* pCalc);
    ~Top();
    Top(const Top&) = delete;
    Top& operator=(const Top&) = delete;

    CMesh* getCMesh() const { return pMesh; }

    // --- drivers: Top.cpp ---
    // pVoro must be the one that made the mesh. Both extract again (cbsComplete): afterwards no edge,
    // triangle or patch of before exists. The thread's progress root must have a name.

    // The passes of a reconstruction. Progress "TP_unif", "TP_pps", "TP_cbcpl", "TP_itr", "TP_fin".
    void runReconstruct(Voro* pVoro);

    // The same for the patch of a hole, without the phase "TP_unif".
    void runInHole(Voro* pVoro);

    // The passes of a melt: squares, then unless all edges are regular the sheets that bound bodies
    // (extension of 1.17); of a soup that has no inside, second extraction twice, rims, pairs of sheets,
    // strips between sheets that cross and the last word on pieces of sheets (extensions of 1.17), vertices
    // that the mesh added, flat triangles, and no two vertices at one position. Of the vertices on the input
    // only those move that lie in a flat triangle or with another one. Same phases.
    void runMelt(Voro* pVoro);

    // For runMelt: the cells where the input ends, ascending. There a border is no fault.
    void setInputBorders(const std::vector<u64>& vCCD_srt) { vInputBorderCCD = vCCD_srt; }
    // For runMelt: tells what lies inside. Without it sheets are told from each other by what they look like.
    void setInsideTest(InsideTest test) { findInside = std::move(test); }

    // Whether runMelt has told inside from outside: what has a border then is no body.
    bool boundsBodies() const { return bBoundsBodies; }

    // --- rims, fins and the second extraction: Top_borders.cpp ---

    // Appends the edges of degree 1 in order of creation. A triangle that hangs with one border edge on two
    // edges of degree above 2, a fin, is killed instead.
    void getBordersKillDeg1nn(std::vector<CEdge*>& vBorders);

    // Removes the triangle of a border edge if all its edges are borders, or if two are and the third has a
    // degree above 2: then the others on that edge are split at its tip where that works. Nothing happens if
    // the edge is no border.
    void integrateCCD(CEdge* pCE);

    // Finds the cubes that hold a border triangle or an edge of degree 4, has them completed by a second
    // extraction, and settles the squares. Everything that was killed before comes back unless its cells are
    // gone. Phase "TP_cbcpl".
    void cbsComplete(Voro* pVoro);

    // Kills what hangs together, over regular edges, with a component of border edges, if this is at most
    // maxT triangles and most of it is border: pieces of fewer than 7, or of fewer than 25 with more than one
    // border edge, or with as many border edges as triangles.
    void killTinyBorderPatches(u64 maxT);

    // Kills triangles with a border edge among those that the rotations of configuration 27 made. On no road.
    void pruneCases();

    // Last resort at the edges of degree 3: kills a triangle that hangs on no regular edge there. With
    // bMayOpen also one with a single regular edge, one with a loose neighbour, and what deleteAroundEvilDeg3
    // finds: fewer edges of degree 3 stay, but holes open, and sheets hang together afterwards that have no
    // common orientation. The smallest triangles first.
    void killAtDeg3(bool bMayOpen);

    // For an edge of degree 3: kills the first of its triangles that has a border edge, appends the edges
    // then left at the end that the two edges share, and returns true. False if there is no such triangle.
    bool deleteAroundEvilDeg3(CEdge* pCE, std::vector<CEdge*>& vIncBorderCE);

    // --- the last step of a melt: Top_melt.cpp ---

    // Moves vertices apart that are at one position, or at the ends of an edge that has hardly a length: one
    // stays, of the input if there is one, each other one goes up by less than a hundredth of a cell on each
    // axis, to where no vertex is. Where the numbers are too coarse for that, by smallest representable
    // steps. The point may leave its cell. n log n.
    void separateVertices();

    // --- flips and collapses: Top_flips.cpp ---

    // A square of cells that is covered along both diagonals keeps one of them.
    void unifyDiagonals();

    // Removes degenerate triangles by splitting their neighbours or moving a corner. A warning for each that
    // stays.
    void killDegenerate();

    // Flips edges with more than minAngle degrees between their triangles, the greatest gain of EdgeEnergy
    // first, as long as it exceeds 0.01. On no road, as all below.
    void edgeFlips(double minAngle);

    // Appends the edges of degree 2 whose triangles' normals differ by more than minAngle degrees, in order
    // of creation. Each pair without normals is a warning.
    void getEdgesForOptimization(double minAngle, std::vector<CEdge*>& vOut) const;

    // True if the edge (ccd0, ccd1), ccd0 < ccd1, may be replaced by (alt0, alt1): this must be new, the two
    // new triangles must have normals, less than 120.0 degrees apart. A refusal says why.
    bool canFlip(u64 ccd0, u64 ccd1, u64 alt0, u64 alt1) const;

    // The feature vertices beside either end that continue the edge (ccd0, ccd1) straight, within 0.2
    // degrees. Both ends must be feature vertices, and different.
    int countCollinearConnectors(u64 ccd0, u64 ccd1) const;

    // The vertices on feature chains, which flipFeatures reads.
    void setFeatureCCD(const std::set<u64>& sCCD) { sFeatureCCD = sCCD; }

    // Lines edges up with the feature chains. Three turns over the triangles at feature vertices.
    void flipFeatures();

    // Flips edges opposite an angle close to 180 degrees where canFlip allows it and no angle as large comes
    // up. One walk over the triangles, or walks until nothing is left to flip. Returns the number of flips.
    int flipExtremeCaps(bool bRepeat);

    // Collapses edges shorter than maxLen (DBL_MAX: of any length) with no end at a border, shortest first.
    // False if it is not worth another pass: fewer than 11 collapses, and none at all or not in pass 0.
    bool simplify(int passNo, double maxLen, SimplifyMode mode);

    // Collapse the edge to mid, which must be the middle of its ends; or the vertex at end (0 or 1 for v0 or
    // v1) onto the other one. False, with nothing changed, if this would turn a triangle by more than 5.0
    // degrees or make a duplicate. The edges then at the kept vertex whose squared length is below sqMax
    // enter the queue.
    bool killMid(CEdge* pCE, const Point3& mid, double sqMax, std::multimap<double, CEdge*>& mmQueue);
    bool killSingle(CEdge* pCE, int end, double sqMax, std::multimap<double, CEdge*>& mmQueue);

    // --- pairs of sheets and pockets: Top_pairs.cpp ---

    // Builds all patches and kills one of each pair with the same rim, and closed ones that are flat pockets.
    // bFlag: a pocket whose both sides are in use elsewhere stays. True if it killed something that counts;
    // the caller repeats it until it does not. Progress "TP_pps", 100 steps.
    bool solvePatchPairsRound(bool bFlag);

    // Kills the patch with fewer triangles, pB if they are equal, unless both are large: from 21 triangles on
    // and together more than a tenth of meshArea. True if one was killed.
    bool solvePair(CPatch* pA, CPatch* pB, double meshArea);

    // True if a side of a closed patch was killed. Small closed patches that touch nothing else go without
    // counting.
    bool killClosedPatches(std::vector<CPatch*>& vClosedPatches, bool bFlag);

    // Kills patches of at most 20 triangles that hang on others with their whole rim and whose loss leaves
    // only regular edges there: walls inside bubbles, and sheets over several others, which no pair of equal
    // rims tells. The smallest first. True if it killed one; that can expose pairs and other membranes.
    // Linear in the size of the mesh. An extension of version 1.17.
    bool killMembranes();

    // Splits the alive triangles of vT into patches, which belong to the caller, and orients each
    // consistently. vPatches must be empty (condition "vPatches.empty()").
    void createPatchesOrient(std::vector<CTriangle*>& vT, std::vector<CPatch*>& vPatches);

    // Orients everything from the first alive triangle on, over the flattest connection first, across edges
    // of any degree. Edges where this cannot be consistent go to sFences. On no road.
    void strategyMST(std::set<CEdge*>& sFences);

    // Enters the neighbours of a triangle over its edge i into the queue of strategyMST.
    void enqueue(CTriangle* pCT, int i);

    // --- holes: Top_holes.cpp ---

    // Finds the holes of the mesh and where their patches would lie (Holex), and leaves the mesh as it is.
    // Experimental, on no road; pVoro is not used. Each vertex must lie in its cell.
    void fillHoles(Voro* pVoro);

private:
    // A connection that strategyMST may grow over, the least angle first, equal angles by sequence.
    struct Connection {
        double angleDeg;
        u64 sequence;
        CTriangle* pSource;
        CTriangle* pCandidate;
    };

    void settleSquares();
    void decideSheets(Voro* pVoro);
    void solvePatchPairs(bool bFirst);

    // The patches of the mesh, and what the passes on them killed since the last of these two.
    void dividePatches();
    void updatePatches();
    void killPatch(CPatch* pPatch);
    bool solveRound(bool bFlag);
    bool killSmallMembranes();
    void integrateBorders(u64 maxTinyT);
    void finishOriented();
    bool killSurplusOfSolids();
    void settleSheets(Voro* pVoro);
    void killSurplus();
    void finishMelt();
    void orientPatches();
    bool isAsExtracted() const;
    void splitOrMove(CTriangle* pCT, int ici, const char* warning);
    void enqueueConnection(CTriangle* pSource, CTriangle* pCandidate);
    bool isFeatureFlip(const CEdge* pCE, u64 ccd, u64 ccd2) const;
    bool flipIfCap(CTriangle* pCT);
    bool collapse(CEdge* pCE, SimplifyMode mode, double sqMax, std::multimap<double, CEdge*>& mmQueue);

    CMesh* pMesh;                     // not owned
    const Calc* pCalc;                // not owned
    bool bBoundsBodies = false;       // see boundsBodies
    InsideTest findInside;            // see setInsideTest; may be empty
    std::vector<u64> vInputBorderCCD; // see setInputBorders
    std::vector<CTriangle*> vKilledT; // see updatePatches
    std::set<u64> sFeatureCCD;        // the vertices on feature chains
    std::unique_ptr<Rotx> pRotx;      // with its table, for enqueue
    std::vector<Connection> vMstHeap; // the queue of strategyMST, a binary heap
    u64 numMstEntries = 0;            // the next sequence number
};

} // namespace TESK_ZAN
