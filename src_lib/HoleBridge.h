// Subsystem: real mesh. Builds on: RMesh, CMesh, Calc, Bundle, freeCell. Used by: holeClosing.
// The way between a finished mesh and the code that works on the mesh on codes, for the surroundings of one
// hole.
#pragma once

#include "Bundle.h"
#include "CMesh.h"
#include "Calc.h"
#include "definitions.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CTriangle;
class Point3;
class REdge;
class RMesh;
class RTriangle;

// The surroundings: three rows of triangles, or all that hang together with the hole within a box as wide as
// the array of a Hole.
enum BridgeReach { BR_ROWS, BR_BOX };

double getMeanLength(const std::vector<REdge*>& vRE); // there must be some

// There: a CMesh of the triangles round a border loop, with their orientation; the points of its
// bundles are the vertices. Each vertex has the code of the cell that it lies in, on the lattice of the mesh
// where that fits, or on one whose cells are about as wide as the edges here are long. A vertex whose cell is
// taken gets the nearest one that is free.
//
// Back: new triangles on these codes become triangles of the mesh, new codes vertices. Until then the mesh is
// only read, and it must not change as long as the bridge stands. Linear in the surroundings.
class HoleBridge
{
public:
    HoleBridge(RMesh* pMesh, const std::vector<REdge*>& vLoopRE, BridgeReach reach);

    // False if the vertices found no place on a lattice; nothing else may be asked then.
    bool isBuilt() const { return oCMesh.has_value(); }

    CMesh* getCMesh() { return &*oCMesh; }

    // The edges of the loop, in its order.
    const std::vector<CEdge*>& getLoopCE() const { return vLoopCE; }

    // True if bringBack gives no edge of the mesh a third triangle, and no triangle a twin. The bridge knows
    // the surroundings of the loop alone; what meets the patch from elsewhere shows only here. O(triangles of
    // the patch).
    bool isWelcome(const std::vector<CTriangle*>& vNewT, const std::vector<CTriangle*>& vGoneT) const;

    // Kills those triangles of the mesh that stand for what is gone, and makes the alive ones of the new
    // triangles, with vertices for the codes that are new.
    void bringBack(const std::vector<CTriangle*>& vNewT, const std::vector<CTriangle*>& vGoneT);

private:
    struct Box;

    void collectRows(int numRows, const Box* pBox);
    double getMeanEdgeLength() const;
    bool fitsMeshLattice(double edgeLen) const;
    bool makeLattice(double cellSize);
    bool assignCells();
    void makeCMesh(const std::vector<REdge*>& vLoopRE);
    void killInMesh(const CTriangle& triangle);
    std::vector<RTriangle*> findInMesh(const CTriangle& triangle) const;

    RMesh* pMesh;                   // not owned
    std::vector<RTriangle*> vRowRT; // by number
    std::vector<Point3*> vRowVtx;   // by number
    std::optional<Calc> oCalc;
    TESK_TOOLS::FlatMap<u64, Point3*, TESK_TOOLS::U64Hash> mCCD2Vtx;
    TESK_TOOLS::FlatMap<u64, u64, TESK_TOOLS::U64Hash> mNumber2CCD; // by number of the vertex
    std::deque<Bundle> vBundles;
    std::map<u64, Bundle*> mCCDBundle; // of the rows; the CMesh adds its own
    std::optional<CMesh> oCMesh;
    std::vector<CEdge*> vLoopCE;
};

} // namespace TESK_ZAN
