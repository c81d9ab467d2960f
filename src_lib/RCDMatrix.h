// Subsystem: grid. Builds on: definitions. Used by: RCDStore.
// One cube of 64x64x64 cells of an RCDStore: its occupancy and the links to the 26 cubes round it.
#pragma once

#include "definitions.h"

#include <array>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// What to add to an RCD for the cell of each bit of a configuration: x fastest, entry 13 is 0. No range
// check.
constexpr std::array<u64, 27> RCD_OFFSETS_27 = [] {
    std::array<u64, 27> offsets{};
    for (u64 i = 0; i < 27; ++i)
        offsets[i] = (i % 3 - 1) * RCD_STEP_X + (i / 3 % 3 - 1) * RCD_STEP_Y + (i / 9 - 1) * RCD_STEP_Z;
    return offsets;
}();

// The occupancy is held in blocks of 8x8x8 cells (64 bytes, one cache line) that exist from the first cell
// set in them on, so a lone cell costs 1.4 KB in place of 33 KB and a sheet about one byte a cell. The
// neighbourhood of a cell is read as three 8x8 layers, most often from one block.
//
// A cell's address in its matrix is x + 64·y + 4096·z of the low 6 bits of its coordinates.
// Queries allocate nothing. Not safe for writing by several threads, nor for reading while one writes.
class RCDMatrix
{
public:
    // The bits of an RCD that name the cell in its matrix; the other bits are the matrix's upper part.
    static constexpr u64 LOWER_MASK = 0xfc0007e0003f;
    static constexpr u64 NUM_ADDRESSES = 64 * 64 * 64;

    explicit RCDMatrix(u64 upperPart);

    RCDMatrix(const RCDMatrix&) = delete; // the matrices round it hold its address
    RCDMatrix& operator=(const RCDMatrix&) = delete;

    static u64 upperOf(u64 rcd) { return rcd & ~LOWER_MASK; }
    static u64 addressOf(u64 rcd) { return (rcd >> 42 & 63) | (rcd >> 15 & 63 << 6) | (rcd & 63) << 12; }

    u64 getUpperPart() const { return upper; }

    bool isSet(u64 address) const
    {
        return (vBlocks[aBlockIndex[blockPlace(address)]].layer[address >> 12 & 7] >> bitPlace(address) &
                1) != 0;
    }
    void set(u64 address);
    void unset(u64 address);

    // Bit i of configuration: cell i of the 27 round the address exists, in the order of
    // Calc::completeArray27_RCD; bit 13 is the cell itself. Returns the number of set bits.
    int getConfiguration(u64 address, unsigned int& configuration) const;

    // The same without the count, for the hot paths.
    unsigned int gather(u64 address) const;

    // Appends the existing neighbours; the 6 in the order of Calc::getNeigs6_RCD (returns their number), the
    // 26 in the order of the configuration's bits.
    int getNeigs6(u64 address, std::vector<u64>* pvRCD) const;
    void getNeigRCD26(u64 address, std::vector<u64>& vRCD) const;

    // Links the matrix that lies at the offset (each -1, 0 or 1). A link can be set once.
    void setNeigMtx(int offx, int offy, int offz, RCDMatrix* pMatrix);

    // Condition "checkAddr==orgAddress" for an address of more than 18 bits.
    static void addressToXYZ(u64 address, u64& x, u64& y, u64& z);

    u64 addressToRCD(u64 address) const
    {
        return upper | (address & 63) << 42 | (address >> 6 & 63) << 21 | address >> 12;
    }

private:
    struct alignas(64) Block {
        u64 layer[8]; // by z; bit x + 8·y of the low 3 bits of the coordinates
    };

    static constexpr std::uint16_t EMPTY = 0; // block 0 of each matrix is the one without cells

    static u64 blockPlace(u64 address)
    {
        return (address >> 3 & 7) | (address >> 6 & 7 << 3) | (address >> 9 & 7 << 6);
    }
    static u64 bitPlace(u64 address) { return (address & 7) | (address >> 3 & 7 << 3); }

    const u64* layersAt(int bx, int by, int bz) const;
    unsigned int gatherAcross(u64 address) const;

    std::array<std::uint16_t, 512> aBlockIndex; // by block place: x fastest
    RCDMatrix* aNeigMtx[3][3][3]; // by offset + 1 on x, y, z; the centre is this; null: no cells there
    std::vector<Block> vBlocks;
    u64 upper;
};

} // namespace TESK_ZAN
