// Subsystem: grid. Builds on: Calc, sortMT. Used by: solidSheets, surplusStrips, Top.
// The rooms that a set of cells parts space into.
#pragma once

#include "definitions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// A room is a largest set of free cells that hang together over faces; the first one is what lies around all
// cells. Cells that a surface runs through are walls without a gap for such steps.
//
// Free cells are never visited one by one: between two cells of a row along z they are one run, and a row
// without cells lies outside. So this is linear in the given cells, but for their sort.
class FreeRooms
{
public:
    using Index = std::uint32_t;
    static constexpr Index OUTSIDE = 0;
    static constexpr Index NO_ROOM = UINT32_MAX;

    // vRCD: the cells that are not free, in any order; below 2^32 - 1 of them.
    explicit FreeRooms(std::vector<u64> vRCD);

    // Of a cell of the lattice; NO_ROOM if it is not free. Equal numbers tell equal rooms. O(log n).
    Index roomOf(u64 rcd) const;

    // A free cell right before a corner of the triangle between three cells, in front of it or behind; with
    // NO_ROOM if none of those is free.
    struct FreeCell {
        u64 rcd = 0;
        Index room = NO_ROOM;
    };
    FreeCell findBeside(const std::array<u64, 3>& corners, bool bInFront) const;

    // All numbers are below this.
    std::size_t size() const { return vParent.size(); }

private:
    // The cells at x and y: places in vRCD_srt.
    struct Row {
        u64 xy;
        Index first, end;
    };
    // The free cells of a row behind its cell at a place, up to the next one. Behind none, first - 1, is what
    // lies before the row's first cell.
    struct Run {
        std::int64_t low, high; // inclusive; empty if high is less
        Index number;
    };

    void findRows();
    const Row* findRow(u64 xy) const;
    Run runBehind(const Row& row, std::int64_t place) const;
    void joinOverlapping(const Row& a, const Row& b);
    void joinToOutside(const Row& row);
    Index rootOf(Index number);
    void join(Index a, Index b);

    std::vector<u64> vRCD_srt;
    std::vector<Row> vRows;     // ascending
    std::vector<Index> vParent; // by number of the run: its place + 1; at last the room
};

} // namespace TESK_ZAN
