// Subsystem: volumes. Builds on: CornerStore, sortMT, startStop. Used by: Component.
// The growth of a signed field from the strips along a sheet's rims into the space round them.
#pragma once

#include "CornerStore.h"

#include <array>
#include <cstddef>
#include <queue>
#include <vector>

namespace TESK_ZAN
{

// The corners that may be created, both ends included.
struct CornerBox {
    std::array<int, 3> aMin;
    std::array<int, 3> aMax;
};

// Distances grow by the spacing with each step on the lattice, and keep the sign of the strip that they come
// from. Corners that emit nothing are walls.
class FieldInflation
{
public:
    FieldInflation(CornerStore& store, float spacing, int numGrowSteps, const CornerBox& box);

    // The corners of the strips are in the store with their values. Afterwards every corner within the grow
    // steps is there. O(n log n) in the corners that are created.
    void icn_inflateCtrlNew();

private:
    struct Entry {
        float absValue;
        std::size_t number;
        Corner* pCorner;

        // The smallest first, of equal ones the one that came first.
        bool operator<(const Entry& other) const
        {
            return absValue != other.absValue ? absValue > other.absValue : number > other.number;
        }
    };

    void push(Corner* pCorner);
    bool isInBox(u64 rcc) const;
    float stepAway(float value) const { return value < 0.0f ? value - spacing : value + spacing; }

    void icn_firstInflateStep(const std::vector<Corner*>& vFront);
    void queueRims();
    void icn_prioqInflate();
    void spread(const Corner& corner);
    void offer(Corner* pNeigCorner, float value);
    void lowPass();

    CornerStore& store;
    const float spacing;
    const float limit;
    const CornerBox box;
    std::priority_queue<Entry> queue;
    std::size_t numPushed = 0;
};

} // namespace TESK_ZAN
