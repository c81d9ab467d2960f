// Rooms against a flood of all free cells.
#include "Calc.h"
#include "FreeRooms.h"
#include "random.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

using namespace TESK_ZAN;

namespace
{

constexpr u64 LOW = 100, EDGE = 7; // the cells of the box from LOW on; a layer of free ones lies around it

// The cells of the box and of the layer, each with the number of its component; free ones only.
std::map<u64, int> floodedRooms(const std::set<u64>& sWalls)
{
    std::map<u64, int> mRoom;
    int numRooms = 0;
    const auto isInReach = [](u64 rcd) {
        u64 aXYZ[3];
        rcdToXYZ(rcd, aXYZ[0], aXYZ[1], aXYZ[2]);
        for (const u64 c : aXYZ)
            if (c < LOW - 1 || c > LOW + EDGE)
                return false;
        return true;
    };
    for (u64 x = LOW - 1; x <= LOW + EDGE; ++x)
        for (u64 y = LOW - 1; y <= LOW + EDGE; ++y)
            for (u64 z = LOW - 1; z <= LOW + EDGE; ++z) {
                std::vector<u64> vStack = {xyzToRCD(x, y, z)};
                for (++numRooms; !vStack.empty();) {
                    const u64 rcd = vStack.back();
                    vStack.pop_back();
                    if (!isInReach(rcd) || sWalls.count(rcd) != 0 || !mRoom.emplace(rcd, numRooms).second)
                        continue;
                    u64 array[6];
                    Calc::getNeigs6_RCD(rcd, array);
                    vStack.insert(vStack.end(), array, array + 6);
                }
            }
    return mRoom;
}

} // namespace

TEST(FreeRooms, areTheComponentsOfTheFreeCellsAndTheFirstOneIsOutside)
{
    for (u64 round = 0; round < 60; ++round) {
        std::set<u64> sWalls;
        const double density = 0.3 + 0.01 * double(round); // from a few holes to a few rooms
        for (u64 i = 0; i < EDGE * EDGE * EDGE; ++i)
            if (randomAt(7, round, i) < density)
                sWalls.insert(xyzToRCD(LOW + i / (EDGE * EDGE), LOW + i / EDGE % EDGE, LOW + i % EDGE));
        const FreeRooms rooms(std::vector<u64>(sWalls.rbegin(), sWalls.rend()));
        const std::map<u64, int> mRoom = floodedRooms(sWalls);
        std::map<int, std::set<FreeRooms::Index>> mFound;
        std::set<FreeRooms::Index> sFound;
        for (const auto& [rcd, room] : mRoom) {
            mFound[room].insert(rooms.roomOf(rcd));
            sFound.insert(rooms.roomOf(rcd));
        }
        for (const auto& [room, sIndices] : mFound)
            EXPECT_EQ(1u, sIndices.size()) << "round " << round;
        EXPECT_EQ(mFound.size(), sFound.size()) << "round " << round;
        EXPECT_EQ(FreeRooms::OUTSIDE, rooms.roomOf(xyzToRCD(LOW - 1, LOW - 1, LOW - 1)));
        for (const u64 rcd : sWalls)
            EXPECT_EQ(FreeRooms::NO_ROOM, rooms.roomOf(rcd));
    }
}
