// Subsystem: ground. Builds on: nothing. Used by: everything.
// The code kinds of the grid, their field masks, and the markers that stand for "no value".
#pragma once

#include <cstdint>

namespace TESK_ZAN
{

using u64 = std::uint64_t;

// All grid codes are one integer type, so the compiler does not notice a mix-up: a name says the kind.
using CCD = u64; // a cell, bit-interleaved (Morton), 3 bits a level: x at 3i+2, y at 3i+1, z at 3i
using RCD = u64; // a cell, packed: x in bits 42..62, y in bits 21..41, z in bits 0..20
using VCD = u64; // a vertex of a CMesh: the CCD of the cell that it stands for
using RCC = u64; // a lattice corner, packed like an RCD

static_assert(sizeof(CCD) == 8, "codes are 64 bits wide");

constexpr int MAXLEVELS = 21;                 // 3 * 21 = 63 bits: bit 63 is never used by a valid code
constexpr u64 FAILED_CODE = ~u64{0};          // marks a code that could not be formed
constexpr u64 MAX_COORD = (u64{1} << 21) - 1; // the largest cell coordinate on one axis

constexpr u64 RCD_X = 0x7ffffc0000000000; // field masks of a packed code
constexpr u64 RCD_Y = 0x3ffffe00000;
constexpr u64 RCD_Z = 0x1fffff;
constexpr u64 RCD_STEP_X = 0x40000000000; // one step on an axis of a packed code
constexpr u64 RCD_STEP_Y = 0x200000;
constexpr u64 RCD_STEP_Z = 1;

constexpr u64 CCD_X = 0x4924924924924924; // all bits of one axis of an interleaved code
constexpr u64 CCD_Y = 0x2492492492492492;
constexpr u64 CCD_Z = 0x1249249249249249;
constexpr u64 CCD_XY = 0x6db6db6db6db6db6;
constexpr u64 CCD_YZ = 0x36db6db6db6db6db;

constexpr u64 AXIS_X = 4; // axis tribits of an interleaved code
constexpr u64 AXIS_Y = 2;
constexpr u64 AXIS_Z = 1;

} // namespace TESK_ZAN
