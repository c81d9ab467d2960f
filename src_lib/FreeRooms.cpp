#include "FreeRooms.h"

#include "Calc.h"
#include "sortMT.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace TESK_ZAN
{

namespace
{

constexpr int BITS_Z = MAXLEVELS;

std::int64_t zOf(u64 rcd)
{
    return static_cast<std::int64_t>(rcd & RCD_Z);
}

} // namespace

FreeRooms::FreeRooms(std::vector<u64> vRCD) : vRCD_srt(std::move(vRCD)), vParent(vRCD_srt.size() + 1)
{
    std::iota(vParent.begin(), vParent.end(), Index(0));
    sortMT(vRCD_srt.begin(), vRCD_srt.end());
    findRows();
    // At the ends of the lattice a neighbour along y would be a row elsewhere; no mesh has cells there.
    std::array<std::size_t, 4> aNext{}; // a place that only ascends, for each of the neighbours
    for (const Row& row : vRows) {
        const u64 stepX = u64(1) << MAXLEVELS;
        const std::array<u64, 4> aXY{row.xy + 1, row.xy + stepX, row.xy - 1, row.xy - stepX};
        for (std::size_t i = 0; i < aXY.size(); ++i) {
            const bool bLower = i >= 2; // joined already, as that one's neighbour
            while (aNext[i] < vRows.size() && vRows[aNext[i]].xy < aXY[i])
                ++aNext[i];
            if (aNext[i] == vRows.size() || vRows[aNext[i]].xy != aXY[i])
                joinToOutside(row);
            else if (!bLower)
                joinOverlapping(row, vRows[aNext[i]]);
        }
    }
    for (Index& parent : vParent) // none is above its run, so it is a room already
        parent = vParent[parent];
}

void FreeRooms::findRows()
{
    for (Index i = 0; i < vRCD_srt.size(); ++i) {
        const u64 xy = vRCD_srt[i] >> BITS_Z;
        if (vRows.empty() || vRows.back().xy != xy)
            vRows.push_back({xy, i, i});
        vRows.back().end = i + 1;
    }
}

const FreeRooms::Row* FreeRooms::findRow(u64 xy) const
{
    const auto it = std::lower_bound(vRows.begin(), vRows.end(), xy,
                                     [](const Row& row, u64 wanted) { return row.xy < wanted; });
    return it != vRows.end() && it->xy == xy ? &*it : nullptr;
}

FreeRooms::Run FreeRooms::runBehind(const Row& row, std::int64_t place) const
{
    Run run{std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), OUTSIDE};
    const bool bBeforeAll = place < static_cast<std::int64_t>(row.first);
    const bool bBehindAll = place + 1 == static_cast<std::int64_t>(row.end);
    if (!bBeforeAll)
        run.low = zOf(vRCD_srt[static_cast<std::size_t>(place)]) + 1;
    if (!bBehindAll)
        run.high = zOf(vRCD_srt[static_cast<std::size_t>(place + 1)]) - 1;
    if (!bBeforeAll && !bBehindAll)
        run.number = static_cast<Index>(place + 1);
    return run;
}

void FreeRooms::joinOverlapping(const Row& a, const Row& b)
{
    std::int64_t placeA = std::int64_t(a.first) - 1, placeB = std::int64_t(b.first) - 1;
    while (placeA < std::int64_t(a.end) && placeB < std::int64_t(b.end)) {
        const Run runA = runBehind(a, placeA), runB = runBehind(b, placeB);
        if (std::max(runA.low, runB.low) <= std::min(runA.high, runB.high))
            join(runA.number, runB.number);
        if (runA.high <= runB.high)
            ++placeA;
        if (runB.high <= runA.high)
            ++placeB;
    }
}

void FreeRooms::joinToOutside(const Row& row)
{
    for (Index place = row.first; place + 1 < row.end; ++place)
        if (vRCD_srt[place + 1] - vRCD_srt[place] > 1)
            join(place + 1, OUTSIDE);
}

FreeRooms::Index FreeRooms::rootOf(Index number)
{
    while (vParent[number] != number)
        number = vParent[number] = vParent[vParent[number]];
    return number;
}

void FreeRooms::join(Index a, Index b)
{
    const Index rootA = rootOf(a), rootB = rootOf(b);
    vParent[std::max(rootA, rootB)] = std::min(rootA, rootB);
}

FreeRooms::Index FreeRooms::roomOf(u64 rcd) const
{
    const Row* pRow = findRow(rcd >> BITS_Z);
    if (pRow == nullptr)
        return OUTSIDE;
    const auto end = vRCD_srt.begin() + pRow->end;
    const auto next = std::lower_bound(vRCD_srt.begin() + pRow->first, end, rcd);
    if (next == end || next == vRCD_srt.begin() + pRow->first)
        return next != end && *next == rcd ? NO_ROOM : OUTSIDE;
    return *next == rcd ? NO_ROOM : vParent[static_cast<std::size_t>(next - vRCD_srt.begin())];
}

FreeRooms::FreeCell FreeRooms::findBeside(const std::array<u64, 3>& corners, bool bInFront) const
{
    std::array<std::array<int, 3>, 3> places;
    for (std::size_t i = 0; i < 3; ++i)
        rcdToXYZ(corners[i], places[i][0], places[i][1], places[i][2]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t next = (axis + 1) % 3, prev = (axis + 2) % 3;
        const int normal = (places[1][next] - places[0][next]) * (places[2][prev] - places[0][prev]) -
                           (places[1][prev] - places[0][prev]) * (places[2][next] - places[0][next]);
        if (normal == 0)
            continue;
        for (auto place : places) { // no mesh has cells at the ends of the lattice
            place[axis] += (normal > 0) == bInFront ? 1 : -1;
            const u64 rcd = xyzToRCD(u64(place[0]), u64(place[1]), u64(place[2]));
            if (const Index room = roomOf(rcd); room != NO_ROOM)
                return {rcd, room};
        }
    }
    return {};
}

} // namespace TESK_ZAN
