// Subsystem: holes. Builds on: Loop, CMesh, edgeMap. Used by: tests; beside the roads.
// Finds the border loops of a mesh on codes and fills them with triangles between their corners.
#pragma once

#include "Loop.h"
#include "definitions.h"
#include "edgeMap.h"

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CTriangle;

// Every loop that can be filled is, also the outer rim of a curved open surface; Chain::isGoodHole tells them
// apart. Whatever is not filled stays as it was.
class HoleFiller
{
public:
    explicit HoleFiller(CMesh* pMesh); // not owned
    ~HoleFiller();
    HoleFiller(const HoleFiller&) = delete;
    HoleFiller& operator=(const HoleFiller&) = delete;

    // Fills what it can and returns the number of loops filled. A loop that does not close is the warning
    // "Open loop, impossible". O(edges), and what the loops cost.
    std::size_t run();

    // Sorts border edges into the loops below. All must have degree 1.
    void createLoopsStrategy(std::vector<CEdge*>& vBorderEdges);

    // Parts the strands that meet at a vertex with four border edges between two groups of triangles: pairs
    // the edges across the gaps, or, if the angles do not tell, puts a triangle into the narrower gap and
    // brings the map up to date. With other numbers of edges nothing happens. Groups of which one is empty
    // are the warning "empty groups".
    void solveMultiVCD(u64 vcd, EdgeMap& mmVCD2CE);

    // Of the last createLoopsStrategy, in order of their least vertices.
    const std::vector<std::unique_ptr<Loop>>& getLoops() const { return vLoops; }

private:
    using Pair = std::array<CEdge*, 2>;

    void bridgeNearestEnds(u64 vcd, const Pair& vCE0, const Pair& vCE1, EdgeMap& mmVCD2CE);
    void putBridge(u64 vcd, CEdge* pCE0, CEdge* pCE1, EdgeMap& mmVCD2CE);
    void removeIdleBridges();

    CMesh* pMesh; // not owned
    std::vector<std::unique_ptr<Loop>> vLoops;
    BorderStrands strands;
    std::vector<CTriangle*> vBridgeT; // what solveMultiVCD put between strands
};

} // namespace TESK_ZAN
