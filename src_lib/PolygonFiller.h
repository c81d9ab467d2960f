// Subsystem: holes. Builds on: CMesh, loopCorners, freeFunctions. Used by: HolePatcher, FoldCutter.
// Fills a border loop by the best of all triangulations between its corners, where ear cutting gave up.
#pragma once

#include "Vector3.h"
#include "definitions.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;

// The best one turns least at its sharpest edge, the edges of the loop included, and has the least area among
// equal ones. It uses no edge that the mesh has already. Time n^3 / 6 and memory n^2 for n edges.
class PolygonFiller
{
public:
    static constexpr std::size_t MAX_EDGES = 300; // below a second

    // The edges make a closed path, each with one triangle. The mesh must outlive this.
    PolygonFiller(CMesh* pMesh, const std::vector<CEdge*>& vLoopCE);

    // Makes the triangles, oriented like those beside the loop, and returns true. False, with the mesh as it
    // was, if the loop is too long, if it is no path with all triangles on one side, or if there is no
    // triangulation. A loop may pass a vertex twice; then two new edges can fall together.
    bool run();

private:
    struct Best { // of the corners first to last
        double turnDeg = std::numeric_limits<double>::max();
        double area = 0.0;
        std::size_t apex = 0; // 0: none
        Vector3 nnv;          // of the triangle at the apex, or of the triangle beside a loop edge
    };

    void takeNormals();
    bool isFree(std::size_t first, std::size_t last) const;
    bool isNeedle(std::size_t i, std::size_t j, std::size_t k) const;
    void findBest(std::size_t first, std::size_t last);
    Best& best(std::size_t first, std::size_t last) { return vBest[first * vVCD.size() + last]; }
    void createTriangles();

    CMesh* pMesh; // not owned
    bool bUsable;
    std::vector<u64> vVCD;        // in the direction of the new triangles
    std::vector<Vector3> vRimNNV; // of the triangle beside the edge from each corner to the next
    std::vector<Best> vBest;
};

} // namespace TESK_ZAN
