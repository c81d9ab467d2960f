// Subsystem: bit stores. Builds on: definitions, zanAssert. Used by: IsoStore.
// The cells of one block of 32 x 32 x 32 as bits.
#pragma once

#include "definitions.h"

#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// A block is the cells whose codes agree above their 15 lowest bits, 5 of each axis. The cell with the local
// coordinates (x, y, z) is bit x of word y * 32 + z. Words are made as far as they are needed: what lies
// behind the last one is not set.
class Iso
{
public:
    static constexpr int SIDE = 32;
    static constexpr int NUM_LEVELS = 5; // 2^5 is SIDE
    static constexpr u64 LOWER_MASK = (u64{1} << 3 * NUM_LEVELS) - 1;

    // upper: the code of a cell of the block; its lower part does not matter.
    explicit Iso(u64 upper_) : upper(upper_ & ~LOWER_MASK) {}

    // The code of the block's lowest cell.
    u64 getUpper() const { return upper; }

    // Conditions "x>-1 && y>-1 && z>-1" and "x<32 && y<32 && z<32".
    void set(int x, int y, int z, bool bValue);

    // Conditions "x<32 && y<32 && z<32" and "address<1024"; a negative coordinate breaks one of the two.
    bool get(int x, int y, int z) const;

    // Appends the codes of the cells that are set, in order of y, then z, then x.
    void getCCDs(std::vector<u64>& vCCD) const;

private:
    std::vector<std::uint32_t> vWords;
    u64 upper;
};

} // namespace TESK_ZAN
