// Subsystem: real mesh. Builds on: SharpEdgePlan, LocalChange, Progress. Used by: zan_api_functions.
// Gives the sharp edges of a surface back that a mesh has cut off.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

// A cell has one vertex, which hardly ever lies on a sharp edge that passes through it, so the edge comes out
// as a chamfer. Here each edge of the mesh that crosses a chamfer, from one smooth face to another, gets a
// new vertex where the planes of the two meet, and a triangle between three faces one in their corner
// (SharpEdgePlan); so a chain of mesh edges runs along the sharp edge. New vertices that are crowded are
// joined, and those go again that would leave a fold or an angle below 10 degrees. What is there stays where
// it is; new vertices have no colour. Returns how many were added.
//   featureAngle  in degrees: faces that turn by less stay as they are.
// The mesh must be two-manifold and oriented, and is so afterwards. Patches are invalid then. Linear in the
// mesh. Phase "SH_edges". Extension of 1.17.
//
// After Attene, Falcidieno, Rossignac and Spagnuolo, Edge-Sharpener (2003), but for the faces: those are
// told by the planes that vertices lie in, not by the turns at single edges.
size_t sharpenEdges(RMesh& mesh, double featureAngle);

} // namespace TESK_ZAN
