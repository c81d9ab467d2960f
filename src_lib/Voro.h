// Subsystem: mesh on codes. Builds on: Casx, CubeRows, CMesh, CubeBlocks, RemoveDecider, Progress. Used by:
// Hal, Top, melt. Surface extraction: turns the set of occupied cells into the first CMesh, cube by cube.
#pragma once

#include "Casx.h"
#include "CubeBlocks.h"
#include "CubeRows.h"
#include "definitions.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class CMesh;
struct Bundle;
struct TriangleSeed;

// Lives on the stack of one run stage, from before the first extraction until the passes of Top are through:
// these call it again for the second extraction. It looks at codes only, never at points. Single-threaded.
// The thread's progress root must have a name before an extraction with progress.
class Voro
{
public:
    // The cells are the keys of the map. Nothing is owned, all must outlive this. Cells at the ends of the
    // lattice are a failed condition.
    Voro(const Calc* pCalc, std::map<u64, Bundle*>* pCCDBundle, const std::vector<u64>* pZeroCCD, TriMode tm);

    // The same, for one who has the bundles of the map at hand, by ascending code.
    Voro(const Calc* pCalc, std::map<u64, Bundle*>* pCCDBundle, std::vector<Bundle*> vBundles_srt,
         const std::vector<u64>* pZeroCCD, TriMode tm);
    ~Voro();
    Voro(const Voro&) = delete;
    Voro& operator=(const Voro&) = delete;

    // Makes the mesh, or empties the one that there is, and draws the triangles of all cubes: those with one
    // answer in ascending order of the cube keys, then the flat squares in the same order, each on the
    // diagonal that a neighbour already uses. Triangles end up sorted by their corners
    // (CMesh::createSortedT). Progress "VO_ftx", "VO_amb". About half a second for a million cells of a
    // sheet, most of it the making of the mesh and the first touch of its 400 bytes a cell.
    void fatExtractTriangles();

    // The mesh, null before the first extraction. The first call that returns a mesh hands it over to the
    // caller, who must keep it as long as this object is asked for further extractions.
    CMesh* getCMesh();

    // The configuration of the cube with key vcd, from its member cells in any order. A cell that is no
    // member of the cube is a failed condition.
    int getConfig(u64 vcd, const std::vector<u64>& vMemberCBS) const;

    // Second extraction. Cubes of the sorted list vGeneratingVCDs with one or two missing cells are filled
    // up; the cells that then stand out opposite go where a RemoveDecider lets them. Cells that are new get
    // bundles at the mean of their neighbours. Returns the mesh, the same object. May run again.
    CMesh* extractWithExtraCCDs(const std::vector<u64>& vGeneratingVCDs);

    // Decides flat squares: records of 8 values, two triangles on one square, cube key, configuration.
    void solveAmbiguousT(const std::vector<u64>& vAmbiguousT);

    // The cells that are missing in the given cubes and those that face a gap there, both sorted and unique
    // and appended to. Each cube must have an occupied cell.
    void createExtraCCDs_borderFix(const std::vector<u64>& vVCD, std::vector<u64>& vExtraCCD,
                                   std::vector<u64>& vRemoveCCD) const;

    // An experiment with TM_THIN beside the runs: always a new mesh, no progress, then pruneCase27.
    void thinNewExtractTriangles();

    // Writes a line of statistics, then killOpenCase27.
    void pruneCase27();

    // The current cells, ascending.
    const std::vector<u64>& getCCD() const { return vCCD; }

private:
    void createMesh();
    void getCubeCorners(u64 vcd, int config, const CubeBlocks::Members& members,
                        std::uint32_t corners[8]) const;
    template <class Tick>
    void extractCubes(std::vector<TriangleSeed>& vSeeds, std::vector<std::uint8_t>& vFaces, Tick tick) const;
    void extractSquares(std::vector<TriangleSeed>& vSeeds, std::vector<std::uint8_t>& vFaces) const;
    void rebuildBlocks();
    void removeCells(const std::vector<u64>& vRemoveCCD, const std::vector<u64>& vExtraCCD);
    void addMissingBundles();

    const Calc* pCalc;                  // not owned
    std::map<u64, Bundle*>* pCCDBundle; // not owned
    std::vector<Bundle*> vBundles;      // of the map, until the first mesh
    const std::vector<u64>* pZeroCCD;   // not owned
    std::unique_ptr<CMesh> pMeshOwned;  // until getCMesh hands it over
    CMesh* pMesh = nullptr;             // the same mesh, also afterwards
    std::vector<u64> vCCD;              // ascending
    CubeBlocks cubeBlocks;              // the cells of vCCD
    Casx casx;
    CubeRows cubeRows; // of casx
};

// Kills the triangles of the rotations of configuration 27 that have an edge of degree below 2.
void killOpenCase27(CMesh& mesh);

} // namespace TESK_ZAN
