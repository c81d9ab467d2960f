// Subsystem: real mesh. Builds on: RMesh, SeamSheets, FanSplitter. Used by: Hal.
// The last repair: makes a mesh two-manifold where the stages before left a defect.
#pragma once

#include <cstddef>
#include <string>

namespace TESK_ZAN
{

class RMesh;

// What was found and what was done.
struct RepairReport {
    size_t numOverfullRE = 0; // edges with more than two triangles at the start
    size_t numBadVtx =
        0; // vertices at the start whose triangles are more than one fan, over edges of degree 2
    size_t numRemovedT = 0;  // triangles that are gone
    size_t numCopiedVtx = 0; // vertices that got a copy, once per copy
    size_t numSplitRE = 0;   // edges that got a vertex in the middle
    size_t numTwistedRE = 0; // edges that were cut because no orientation fits on both sides
    size_t numRounds = 0;

    bool isUntouched() const { return numRemovedT == 0 && numCopiedVtx == 0 && numSplitRE == 0; }
};

// In one line, for a message.
std::string toText(const RepairReport& report);

// Afterwards no edge has more than two triangles, the triangles at each vertex are one fan or half-fan, and
// each component is oriented. A mesh without a defect stays as it is, to the bit. Extension of 1.17.
//
// Where sheets meet in an edge or a vertex they are parted: one keeps the vertices, the other ones get
// copies, which stand beside them by the smallest representable step and have their colour. Nothing else
// moves. Small sheets that hang on a larger one only by such edges, fins and the second skins of pockets, are
// removed as a whole: that leaves no hole. Two sheets that cannot be parted at the ends of their edge because
// they hang together around both get a new vertex in the middle. A one-sided component is cut along a line.
//
// Linear, but for the sorting of the edges with a defect. Opens the progress phase "RM_cpo" again if there is
// a defect. Patches of the mesh are invalid afterwards.
RepairReport repairNonManifold(RMesh& mesh);

} // namespace TESK_ZAN
