// Subsystem: mesh on codes. Builds on: CMesh, CPatch, FreeRooms, sideClues. Used by: Top.
// Tells the sheets that bound a body from strips that only lie across a region of space.
#pragma once

#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;
class FreeRooms;

// Appends the triangles of narrow patches of the mesh's last division that have the same kind of space,
// inside or outside, on either side. Where bodies interpenetrate or the layer of cells is thick, strips of
// them lie between the sheets that cross. Without them an even number of triangles is left at each edge where
// the sheets meet.
//
// Round an edge where several patches meet, two sides that face each other see the same region: a clue for
// each edge. The sides that look into one of the rooms between the cells see the same region too: these clues
// reach across all of it, while at the edges a few wrong ones could set whole bodies against each other. A
// room into which both sides of the same patches look has a leak, and does not count. The two sides of a wide
// patch see different kinds of space: a clue as strong as the patch is large. The strongest clues are
// followed first, and those that contradict them are not, so that a hole in a sheet does not make outside of
// inside. Then a triangle of a narrow patch is surplus if both its sides came out alike.
//
// rooms: those that the cells of the mesh leave free. Turns triangles so that each patch is consistent in
// itself. O(n) in triangles, n log n in the edges where patches meet and in the triangles of narrow patches.
// Extension of 1.17.
void getSurplusTriangles(CMesh* pMesh, const FreeRooms& rooms, std::vector<CTriangle*>& vSurplus);

} // namespace TESK_ZAN
