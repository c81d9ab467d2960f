// Subsystem: real mesh. Builds on: LocalChange, sortMT. Used by: Hal, zan_api_functions.
// Takes needles, caps and folds out of a finished mesh.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

struct ShapeReport {
    size_t numBad = 0; // triangles with an angle below 10 degrees or beside a fold, at the start
    size_t numFlips = 0;
    size_t numCollapses = 0; // a vertex less each
};

// Mends triangles with an angle below 10 degrees and folds (the surface turns by more than 150 degrees across
// an edge): flips an edge of the triangle or collapses one onto an endpoint, whichever leaves the better
// triangles, the worst triangle first. As LocalChanger allows it: vertices stay where they are, borders,
// components and holes stay. First the surface may move by a tenth of a cell, then, for what is left, by
// more, up to maxShiftCells and half a cell: in noise it is known no better. What cannot be mended so stays,
// and so do places where the mesh is not two-manifold or not oriented. Its patches are invalid then.
//
// One parallel pass over all triangles, then n log n in the number of bad ones. Extension of 1.17.
//
// The flips before leave these: their energy sees the angles in a flip's result but not those it would
// remove, and weighs lengths in units of the input against fixed penalties, so that in small units a fold
// costs less than a flat angle.
ShapeReport repairShapes(RMesh& mesh, double maxShiftCells = 0.5);

} // namespace TESK_ZAN
