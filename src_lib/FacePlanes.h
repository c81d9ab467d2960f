// Subsystem: real mesh. Builds on: RMesh, Plane, sortMT. Used by: SharpEdgePlan.
// The smooth faces beside the sharp bends of a mesh, carried on up to the bends.
#pragma once

#include "Plane.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class Point3;
class RMesh;

struct FacePlane {
    Plane plane;      // without a normal: none
    double rms = 0.0; // root mean square distance of the vertices that it was fitted to
};

// A vertex is flat if its triangles turn by less than a quarter of the feature angle from their mean, or on
// a noisy surface, the mean normals of the neighbours from its own. Within a few edges of one that is not,
// each flat vertex gets the plane that fits the flat ones around it, in noise those further around. From
// there the planes go on over the other vertices: each takes the plane from its neighbours that it lies in,
// up to the noise of that plane. So a vertex beside a sharp edge has the plane of the face that it is on,
// whatever its own triangles look like. What lies in no plane, as on a rounded edge, has none, and neither
// have vertices far from all bends. Linear, in parallel but for the spreading.
class FacePlanes
{
public:
    // The mesh must be oriented. Fills its cached normals.
    FacePlanes(const RMesh& mesh, double featureAngle);

    // Of a vertex of the mesh as it was then; null: none. Its normal points where those of the triangles do.
    const FacePlane* at(const Point3* pVtx) const;

private:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    void findFlat(double featureAngle);
    std::vector<Vector3> ownNormals() const;
    std::vector<Vector3> wideNormals(const std::vector<Vector3>& vOwn) const;
    void findBends();
    void fitPlanes();
    void spread();
    FacePlane fitAround(const Point3* pVtx) const;
    std::vector<Point3*> flatAround(const Point3* pVtx, int numRings, size_t maxNum) const;
    FacePlane fitTo(std::vector<Point3*> vFitted, const Vector3& side) const;
    std::uint32_t bestOfNeighbours(const Point3* pVtx) const;

    const RMesh& mesh;
    std::vector<Vector3> vNormal;        // by vertex number; null where the vertex is not flat
    std::vector<std::uint32_t> vBentVtx; // numbers of the vertices that are not flat, ascending
    std::vector<std::uint32_t> vFlatVtx; // of the flat ones near them, ascending
    std::vector<FacePlane> vPlane;       // by place in vFlatVtx
    std::vector<std::uint32_t> vPlaneOf; // by vertex number: the place of its plane, or NONE
};

} // namespace TESK_ZAN
