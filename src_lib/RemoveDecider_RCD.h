// Subsystem: grid. Builds on: Calc, removalRules (numbering only), messages. Used by: Component, tests,
// benchmarks.
// The removal rule by explicit search, cell by cell: slow, close to the wording of the rule, and independent
// of the bit masks of removalRules, which it serves to check. Also writes the answers for all neighbourhoods.
#pragma once

#include "definitions.h"

#include <string>
#include <vector>

namespace TESK_ZAN
{

// What the rule says of a cell; see removalRules.h for the terms.
struct RemovalClass {
    bool bGap;
    bool bBorder;
};

// A face of a cell on the far side of a sheet, and how many cells lie between the two faces.
struct OppState {
    u64 rcd;
    int side; // 0 to 5 for -x, +x, -y, +y, -z, +z
    int numCells;
};

// A set of cells, held as a sorted list with a flag for each cell. A question costs 26 binary searches and
// two walks. Used on one thread.
class RemoveDecider_RCD
{
public:
    // The cells in any order; repeated ones count once.
    explicit RemoveDecider_RCD(const std::vector<u64>& vRCD);

    bool exists(u64 rcd) const;

    // For a cell that exists or not, as if it did.
    RemovalClass classify(u64 rcd) const;

    // True if the cell exists and is neither gap nor border.
    bool mayRemove(u64 rcd) const;

    // Follows the straight row of cells from a face of a cell to the opposite face of the last one. False,
    // with opp untouched, if the cell does not exist or the row has more than maxCells cells. O(log n) a
    // cell.
    bool getOppState(u64 rcd, int side, int maxCells, OppState& opp) const;

    // Removes the cell whatever the rule says; nothing happens if it is not there.
    void remove(u64 rcd);

    // The rule for a neighbourhood, by its index: the 27-bit configuration without bit 13.
    static RemovalClass classifyIndex(unsigned int index);

    // All neighbourhoods as words of 64 entries, entry i in bit i % 64 of word i / 64; one entry more than
    // there are neighbourhoods.
    static constexpr u64 NUM_ENTRIES = (u64{1} << 26) + 1;
    static constexpr u64 NUM_WORDS = (NUM_ENTRIES + 63) / 64;

    // Walks over the neighbourhoods with the slow search, writes how many there are of each kind to the
    // message stream, and writes a C++ source file with the two tables as arrays of words, `array_border` and
    // `array_gap`. numWords below NUM_WORDS makes a beginning of the tables only; the whole takes minutes and
    // 40 MB. False if the file could not be written.
    static bool createList(const std::string& path, u64 numWords = NUM_WORDS);

private:
    std::vector<u64> vSortedRCD;
    std::vector<unsigned char> vAlive; // parallel to vSortedRCD
};

} // namespace TESK_ZAN
