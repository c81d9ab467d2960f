// Subsystem: ground. Builds on: nothing. Used by: FlatMap, random, Point3Hash.
// The one bit mixer behind hashes and random numbers. Integer arithmetic only: the same on every platform.
#pragma once

#include <cstdint>

namespace TESK_TOOLS
{

// A bijection on 64 bits in which every input bit changes about half of the output bits (the finaliser of
// SplitMix64, variant 13 of D. Stafford). Note mixBits(0) == 0.
constexpr std::uint64_t mixBits(std::uint64_t bits) noexcept
{
    bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
    bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
    return bits ^ (bits >> 31);
}

// The step of a Weyl sequence that visits all 64-bit numbers evenly: 2^64 divided by the golden ratio.
constexpr std::uint64_t GOLDEN_STEP = 0x9e3779b97f4a7c15;

} // namespace TESK_TOOLS
