// Subsystem: geometry values. Builds on: Point3, tesk_tools/mixBits. Used by: look-ups of points by position.
// The hash functor that goes with the exact equality of Point3.
#pragma once

#include "Point3.h"
#include "tesk_tools/mixBits.h"

#include <bit>
#include <cstdint>

namespace TESK_ZAN
{

// Of the coordinates only: equal points hash equally whatever their colour, and -0.0 counts as 0.0, as for
// ==.
struct Point3Hash {
    std::uint64_t operator()(const Point3& p) const noexcept
    {
        using TESK_TOOLS::mixBits;
        return mixBits(mixBits(mixBits(bitsOf(p.x()) + TESK_TOOLS::GOLDEN_STEP) + bitsOf(p.y())) +
                       bitsOf(p.z()));
    }

private:
    // The sum turns -0.0 into 0.0 and leaves every other number as it is.
    static std::uint64_t bitsOf(double coordinate) { return std::bit_cast<std::uint64_t>(coordinate + 0.0); }
};

} // namespace TESK_ZAN
