// Subsystem: volumes. Builds on: definitions. Used by: CornerStore, Component, FieldInflation.
// One lattice corner with its value in the signed field of a master component.
#pragma once

#include "definitions.h"

#include <array>
#include <limits>

namespace TESK_ZAN
{

enum CornerState : int {
    ST_LOWER_BORDER = 1,    // of the lower strip, and of a facet without a side
    ST_UPPER_BORDER = 2,    // of the upper strip, likewise
    ST_GROWN = 3,           // created by inflation
    ST_DUAL_NO_EMITTER = 4, // of both strips; the value is 0
    ST_LOWER_AREA = 5,      // of the lower strip only
    ST_UPPER_AREA = 6,      // of the upper strip only
    ST_AREA_NO_EMITTER = 7  // of a facet outside both strips; the value is 0
};

enum GrowState : int {
    GRS_NONE = 0,
    GRS_KNOWN = 1,   // in the queue
    GRS_ACCEPTED = 2 // has its value
};

struct Corner {
    static constexpr int NO_NEIG = -1;
    static constexpr float START_VALUE = std::numeric_limits<float>::max();

    explicit Corner(u64 rcc_) : rcc(rcc_) { aNeigs.fill(NO_NEIG); }

    CornerState getState() const { return state; }
    bool isNoEmitter() const { return state == ST_DUAL_NO_EMITTER || state == ST_AREA_NO_EMITTER; }
    bool isFront() const { return state == ST_LOWER_AREA || state == ST_UPPER_AREA; }
    bool isBorder() const { return state == ST_LOWER_BORDER || state == ST_UPPER_BORDER; }

    u64 rcc;
    std::array<int, 6> aNeigs; // indices in the store, in the order of Calc::getNeigs6_RCD
    float val = START_VALUE;   // signed distance: below 0 on the lower side
    CornerState state = ST_GROWN;
    GrowState growState = GRS_NONE;
};

} // namespace TESK_ZAN
