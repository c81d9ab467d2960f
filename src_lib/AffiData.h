// Subsystem: volumes. Builds on: definitions. Used by: Filler.
// One border cell in the search for neighbouring components.
#pragma once

#include "definitions.h"

#include <limits>

namespace TESK_ZAN
{

class Component;

// Those of a run stand in one vector in the order of their creation: addresses ascend with components.
struct AffiData {
    u64 rcd = 0;
    Component* pComponent = nullptr;                   // that the cell belongs to
    float minDist = std::numeric_limits<float>::max(); // to another component as far as found, in cells
};

} // namespace TESK_ZAN
