// Subsystem: real mesh. Builds on: RMesh, FlatMap. Used by: SeamSheets, manifoldRepair.
// Parts the sheets of a mesh along edges and at vertices, by copies of vertices.
#pragma once

#include "RMesh.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Which triangles are to hang together over an edge. An edge that nobody spoke of joins its triangles if it
// has two, and none if it has more.
class EdgeJoints
{
public:
    // From now on the edge joins these two of its triangles.
    void join(const REdge* pRE, RTriangle* pT0, RTriangle* pT1);

    // From now on the surface of this triangle ends at the edge.
    void end(const REdge* pRE, const RTriangle* pRT);

    // The triangle that pRT is joined to; null if its surface ends here.
    RTriangle* getJoinedT(const REdge* pRE, const RTriangle* pRT) const;

private:
    TESK_TOOLS::FlatMap<u64, RTriangle*, TESK_TOOLS::U64Hash> mJoinedT; // by edge and triangle number
};

// Splits the triangles at vertices into fans by the joints. The largest fan keeps the vertex, each other one
// gets a copy of it. Look at all vertices first, then apply the changes at once: fans are told by the edges
// as they were.
class FanSplitter
{
public:
    // Both must live as long as this.
    FanSplitter(RMesh& mesh, const EdgeJoints& joints);

    // Notes the changes that the fans at the vertex ask for, and makes the copies. O(d log d) in the degree.
    void splitAt(Point3* pVtx);

    // Replaces the triangles that got another corner, in order of their numbers. The new ones have their
    // corners in the same order.
    void apply();

    // After apply: what the triangle replaced, or itself.
    const RTriangle* getFormerT(const RTriangle* pRT) const;

    size_t getNumCopies() const { return numCopies; }

private:
    struct NewCorner {
        RTriangle* pRT;
        int ici;
        Point3* pVtx;
    };

    size_t labelFans(const Point3* pVtx);
    size_t findKeptFan(size_t numFans) const;

    RMesh& mesh;
    const EdgeJoints& joints;
    std::vector<NewCorner> vNewCorners;
    std::vector<const RTriangle*> vFormerT; // of the triangles that apply made, by their numbers
    size_t firstMade = 0;                   // the number of the first of these
    size_t numCopies = 0;
    std::vector<RTriangle*> vIncT;  // of the vertex at hand, by number
    std::vector<size_t> vFanOfIncT; // parallel to vIncT
};

} // namespace TESK_ZAN
