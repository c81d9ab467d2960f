// Subsystem: mesh on codes. Builds on: Bearing, CMesh, FreeRooms, SideForest. Used by: Top.
// Finds the sheets that bound bodies among all that an extraction draws.
#pragma once

#include <functional>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;
class Point3;

// For each place 1 if it is inside a body, else 0.
using InsideTest = std::function<std::vector<char>(const std::vector<Point3>&)>;

// Appends the triangles without which the mesh bounds the bodies that findInside tells of: those with the
// same kind of space, inside or outside, on both sides. An even number is left at each edge then, so the
// surface is closed. Wide sheets with outside on both sides, and some that stand free, stay: they are walls
// thinner than a cell.
//
// The triangles of an extraction cross nowhere, so they part space into regions: two sides that face each
// other round an edge are in one region. Each region is inside or outside as a whole. Most hold free cells,
// which tell. One that does not lies within the layer of cells, and places just beside its triangles tell;
// where these disagree, it is finer than the cells. A large one that both kinds of space meet gets the kind
// then that keeps more of the surface, any other one the kind that keeps less. So does a flat one amid one
// kind of space.
//
// False, with nothing appended, if the answers contradict each other, as with a soup that is not closed, or
// if much of what stays is thin walls. The mesh must be as extracted but for the diagonals of squares. O(n)
// in triangles, n log n in cells. Extension of 1.17.
bool getSurplusOfSolids(const CMesh& mesh, const InsideTest& findInside, std::vector<CTriangle*>& vSurplus);

} // namespace TESK_ZAN
