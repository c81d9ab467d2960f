// Subsystem: real mesh. Builds on: RMesh, FacePlanes. Used by: edgeSharpening.
// Where a mesh needs new vertices to have its sharp edges back.
#pragma once

#include "Point3.h"
#include "Vector3.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class FacePlanes;
struct FacePlane;
class REdge;
class RMesh;
class RTriangle;

// A mesh edge across a chamfer, and the place on the sharp edge that its new vertex gets: of the line in
// which the planes of its ends meet, the point nearest to its middle.
struct EdgeSplit {
    REdge* pRE = nullptr;
    Point3 place;
    Vector3 direction;     // of the sharp edge, of length 1, of no particular sense
    double residual = 0.0; // the mean distance of the two ends from their planes
    double rms = 0.0;      // the mean of those of the planes
    bool bOnEdge = false;  // an end is on the sharp edge already: part of the line, but nothing to split
};

// A triangle of which all edges are split, and where its three planes meet.
struct CornerSplit {
    size_t split; // the edge that comes first in the order of the splits
    Point3* pOpp; // the corner opposite
    Point3 place;
};

// Reads the mesh only, but for its cached normals. Splits come in order of their edges.
//
// Kept are lines of 24 splits, about 12 cells, or more: splits that are no more than two edges apart belong
// to a line if they agree on where it runs; in noise some between them are missing. Shorter ones are mostly
// chance, and a vertex that stands out alone looks worse than a chamfer. And a line is kept only if its
// vertices lie in their planes as well as those do that the planes were fitted to, give or take 0.05 cells:
// on an edge that is rounded they do not.
class SharpEdgePlan
{
public:
    // Faces that turn by less than the feature angle, in degrees, have no edge between them.
    SharpEdgePlan(const RMesh& mesh, double featureAngle);

    const std::vector<EdgeSplit>& getSplits() const { return vSplit; }
    const std::vector<CornerSplit>& getCorners() const { return vCorner; }

private:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    using SplitAt = std::pair<std::uint32_t, std::uint32_t>; // the number of an end, the place of the split

    void findSplits(const FacePlanes& planes);
    bool findPlace(const FacePlane& face0, const FacePlane& face1, EdgeSplit& split) const;
    void dropStrays();
    std::vector<std::uint32_t> rootsOfLines() const;
    std::vector<SplitAt> splitsAtVertices() const;
    void collectNear(const Point3* pVtx, std::vector<Point3*>& vNear) const;
    bool agree(const EdgeSplit& split0, const EdgeSplit& split1) const;
    void findCorners(const FacePlanes& planes);
    bool findPlace(const RTriangle& triangle, const FacePlanes& planes, Point3& place) const;
    std::vector<std::uint32_t> splitsOfEdges() const;

    const RMesh& mesh;
    double cell;
    double featureCos;
    std::vector<EdgeSplit> vSplit;
    std::vector<CornerSplit> vCorner;
};

} // namespace TESK_ZAN
