// Subsystem: runtime. Builds on: tesk_tools/mixBits. Used by: everything that needs a random choice.
// The one deterministic generator: the same numbers on every platform, in every run, at every thread count.
#pragma once

#include "tesk_tools/mixBits.h"

#include <cstdint>

namespace TESK_ZAN
{

// A sequence of random numbers (SplitMix64) that is fixed by its seed. For one thread; a parallel loop takes
// randomAt instead, which does not depend on who comes first.
class Random
{
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t next()
    {
        state += TESK_TOOLS::GOLDEN_STEP;
        return TESK_TOOLS::mixBits(state);
    }

    // Evenly in [0, 1), in steps of 2^-53.
    double uniform() { return double(next() >> 11) * 0x1p-53; }

    // Evenly in 0 .. n-1; n must be above 0. The bias of at most n / 2^64 is of no account here.
    std::uint32_t below(std::uint32_t n)
    {
        const std::uint64_t bits = next();
        const std::uint64_t low = ((bits & 0xffffffff) * n) >> 32;
        return std::uint32_t(((bits >> 32) * n + low) >> 32); // the high word of the 96-bit product bits * n
    }

private:
    std::uint64_t state;
};

// Evenly in [0, 1), a pure function of its arguments: the random number of element index in a round of a
// sweep.
inline double randomAt(std::uint64_t seed, std::uint64_t round, std::uint64_t index)
{
    using TESK_TOOLS::GOLDEN_STEP;
    using TESK_TOOLS::mixBits;
    const std::uint64_t bits =
        mixBits(mixBits(mixBits(seed + GOLDEN_STEP) + round + GOLDEN_STEP) + index + GOLDEN_STEP);
    return double(bits >> 11) * 0x1p-53;
}

} // namespace TESK_ZAN
