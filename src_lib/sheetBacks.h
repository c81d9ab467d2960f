// Subsystem: real mesh. Builds on: RMesh. Used by: Hal.
// Gives thin walls their second side.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <functional>

namespace TESK_ZAN
{

class RMesh;

// Where a wall is thinner than a cell its two sides are one sheet of a melt, which ends where the wall ends.
// Each such component becomes a closed slab, a tenth of a cell thick: the sheet as it is, a copy behind it,
// and a seam round the rim. Returns how many. It must face one way as a whole or be narrow, or else it is
// rather a body with a hole, unless bBodiesClosed tells that there are none; and isMeant must not be true of
// half of its border vertices. The mesh must be two-manifold and oriented, and is so afterwards. Patches are
// invalid then. Linear; a closed mesh costs a look at its edges. Extension of 1.17.
size_t closeThinSheets(RMesh& mesh, bool bBodiesClosed, const std::function<bool(const Point3&)>& isMeant);

} // namespace TESK_ZAN
