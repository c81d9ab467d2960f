// Subsystem: real mesh. Builds on: RMesh. Used by: shapeRepair,
// edgeSharpening, rimGrowth.
// A flip of one edge or a collapse onto one of its endpoints: how the surface would look afterwards, and the
// step itself.
#pragma once

#include "Point3.h"
#include "Vector3.h"

#include <array>
#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;
class RTriangle;

// How some triangles look, among each other and beside those around them.
struct Shape {
    int numFolds = 0;            // edges across which the surface turns by more than 150 degrees
    double sharpestCos = 1.0;    // of the sharpest turn across an edge
    double leastAngleCos = -1.0; // of the least inner angle; 1.0 if one has no area

    // Fewer folds; of equally many, a least angle that is larger by a degree or so.
    bool isClearlyBetterThan(const Shape& other) const;
};

// The edge is alive. With pSrc, an endpoint, that vertex moves onto the other one; without, the edge flips.
struct LocalChange {
    REdge* pRE = nullptr; // null: no change
    Point3* pSrc = nullptr;
};

// How far a change may go for better triangles.
struct Allowance {
    double shiftCells = 0.1;             // how far the surface may move
    double turnCos = 0.9396926207859084; // 20 degrees: no turn gets sharper than this or the sharpest now
};

// The edge has two triangles, which run along it in opposite directions.
bool isRegular(const REdge& edge);

// Judges changes of a mesh, and makes them. Nothing it allows opens or closes a border, joins or parts
// anything, or takes a vertex off a border; no vertex moves. Where the mesh is not two-manifold or not
// oriented, nothing changes: flips are of regular edges, and a vertex that goes has regular edges only, and
// one fan.
class LocalChanger
{
public:
    explicit LocalChanger(RMesh& mesh_) : mesh(mesh_) {}

    // True if the change is possible, makes the triangles concerned clearly better and stays within the
    // allowance. after: what they would look like. O(square of the triangles concerned, which are few: hubs
    // are refused).
    bool improves(const LocalChange& change, const Allowance& allowance, Shape& after);

    // False if the change is impossible: it would open or close a border, or join or part something. before,
    // after: the triangles concerned. shift: how far the surface moves, in units of the input: the vertex
    // that goes and the middles of the edges that come, or for a flip where the diagonals pass each other,
    // each to the other surface.
    bool foresee(const LocalChange& change, Shape& before, Shape& after, double& shift);

    // Makes a change that one of the two has allowed; the mesh must not have changed since. vNewT: replaced
    // by the triangles that it made or moved.
    void apply(const LocalChange& change, std::vector<RTriangle*>& vNewT);

private:
    using Corners = std::array<const Point3*, 3>;

    // A side of the triangles concerned that stays, and the normal on its other side.
    struct RimSide {
        const Point3* pFrom;
        const Point3* pTo;
        Vector3 outerNormal; // null: border, or no normal
    };

    bool plan(const LocalChange& change, Shape& before, Shape& after);
    bool planFlip(const REdge& edge);
    bool planCollapse(const REdge& edge, const Point3* pSrc);
    bool mayVanish(const REdge& edge, const Point3* pSrc) const;
    void collectRim();
    double getShift() const;
    Shape shapeOf(const std::vector<Corners>& vCorners);
    Vector3 rimNormal(const Point3* pFrom, const Point3* pTo) const;

    RMesh& mesh;
    std::vector<RTriangle*> vOldT; // what the planned change takes away, and what it brings
    std::vector<Corners> vOld;
    std::vector<Corners> vNew;
    std::vector<Point3> vGoing, vComing; // on the old and the new surface, where it moves furthest
    std::vector<RimSide> vRim;
    std::vector<Corners> vAround; // the triangles over the rim
    std::vector<Vector3> vNormal; // of the triangles whose shape is looked at
};

// The cosine of the least inner angle; 1.0 if a corner stands on another one.
double leastAngleCos(const Point3& a, const Point3& b, const Point3& c);

// What counts as a fold: the cosine of a turn by 150 degrees.
constexpr double FOLD_COS = -0.8660254037844387;

} // namespace TESK_ZAN
