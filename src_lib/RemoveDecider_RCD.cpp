#include "RemoveDecider_RCD.h"

#include "Calc.h"
#include "messages.h"
#include "removalRules.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int NUM_CELLS = 27;
constexpr int CENTRE = 13;
constexpr std::array<int, 6> FACES = {12, 14, 4, 22, 10, 16};

using Occupancy = std::array<bool, NUM_CELLS>; // x fastest, z slowest, as Calc::completeArray27_RCD

bool areOpposite(int faceA, int faceB)
{
    return faceA + faceB == 2 * CENTRE;
}

// The cells of the block one face step away; the coordinate tests keep the step within its row.
std::vector<int> neigs6InBlock(int index)
{
    std::vector<int> vNeigs;
    const std::array<int, 3> coords = {index % 3, index / 3 % 3, index / 9};
    int step = 1;
    for (const int coord : coords) {
        if (coord > 0)
            vNeigs.push_back(index - step);
        if (coord < 2)
            vNeigs.push_back(index + step);
        step *= 3;
    }
    return vNeigs;
}

bool isEdgeCell(int index)
{
    const int numOff = (index % 3 != 1) + (index / 3 % 3 != 1) + (index / 9 != 1);
    return numOff == 2;
}

std::vector<int> exposedFaces(const Occupancy& occupied)
{
    std::vector<int> vExposed;
    for (const int face : FACES)
        if (!occupied[size_t(face)])
            vExposed.push_back(face);
    return vExposed;
}

bool wouldOpenGap(const Occupancy& occupied)
{
    const std::vector<int> vExposed = exposedFaces(occupied);
    if (vExposed.empty())
        return true;
    std::vector<int> vReached = {vExposed.front()};
    for (size_t i = 0; i < vReached.size(); ++i) {
        const int face = vReached[i];
        for (const int other : vExposed) {
            if (other == face || areOpposite(face, other) || occupied[size_t(face + other - CENTRE)])
                continue;
            if (std::find(vReached.begin(), vReached.end(), other) == vReached.end())
                vReached.push_back(other);
        }
    }
    return vReached.size() < vExposed.size();
}

bool emptySpaceIsOneRegion(const Occupancy& occupied)
{
    std::vector<int> vReached = exposedFaces(occupied);
    std::array<bool, NUM_CELLS> bReached{};
    for (const int face : vReached)
        bReached[size_t(face)] = true;
    for (size_t i = 0; i < vReached.size(); ++i) {
        for (const int neig : neigs6InBlock(vReached[i])) {
            if (neig == CENTRE || occupied[size_t(neig)] || bReached[size_t(neig)])
                continue;
            bReached[size_t(neig)] = true;
            vReached.push_back(neig);
        }
    }
    for (int index = 0; index < NUM_CELLS; ++index)
        if (isEdgeCell(index) && !occupied[size_t(index)] && !bReached[size_t(index)])
            return false;
    return true;
}

RemovalClass classifyOccupancy(const Occupancy& occupied)
{
    const bool bGap = wouldOpenGap(occupied);
    return {bGap, !bGap && emptySpaceIsOneRegion(occupied)};
}

struct Tables {
    std::vector<u64> vBorder;
    std::vector<u64> vGap;
};

Tables makeTables(u64 numWords)
{
    constexpr u64 NUM_CONFIGURATIONS = RemoveDecider_RCD::NUM_ENTRIES - 1; // the last entry stays clear
    Tables tables = {std::vector<u64>(numWords), std::vector<u64>(numWords)};
    u64 numRemovable = 0, numBorder = 0, numGap = 0;
    for (u64 i = 0; i < std::min(numWords * 64, NUM_CONFIGURATIONS); ++i) {
        const RemovalClass kind = RemoveDecider_RCD::classifyIndex(static_cast<unsigned int>(i));
        tables.vBorder[i / 64] |= u64{kind.bBorder} << i % 64;
        tables.vGap[i / 64] |= u64{kind.bGap} << i % 64;
        numBorder += kind.bBorder;
        numGap += kind.bGap;
        numRemovable += !kind.bBorder && !kind.bGap;
    }
    messageStream() << "numRemovable, not border, not gap: " << numRemovable << '\n'
                    << "num border=" << numBorder << '\n'
                    << "num numGap=" << numGap << '\n';
    return tables;
}

void writeArray(std::ostream& out, const char* name, const std::vector<u64>& vWords)
{
    constexpr size_t NUM_IN_LINE = 4;
    out << "const unsigned long long " << name << "[" << vWords.size() << "] = {" << std::hex;
    for (size_t i = 0; i < vWords.size(); ++i)
        out << (i % NUM_IN_LINE == 0 ? "\n    " : " ") << "0x" << vWords[i] << "ULL,";
    out << std::dec << "\n};\n";
}

} // namespace

RemoveDecider_RCD::RemoveDecider_RCD(const std::vector<u64>& vRCD) : vSortedRCD(vRCD)
{
    TESK_TOOLS::sortUnique(vSortedRCD);
    vAlive.assign(vSortedRCD.size(), 1);
}

bool RemoveDecider_RCD::exists(u64 rcd) const
{
    const auto it = std::lower_bound(vSortedRCD.begin(), vSortedRCD.end(), rcd);
    return it != vSortedRCD.end() && *it == rcd && vAlive[static_cast<size_t>(it - vSortedRCD.begin())] != 0;
}

RemovalClass RemoveDecider_RCD::classify(u64 rcd) const
{
    u64 array[NUM_CELLS];
    Calc::completeArray27_RCD(rcd, array);
    Occupancy occupied;
    for (size_t i = 0; i < NUM_CELLS; ++i)
        occupied[i] = exists(array[i]);
    return classifyOccupancy(occupied);
}

bool RemoveDecider_RCD::mayRemove(u64 rcd) const
{
    if (!exists(rcd))
        return false;
    const RemovalClass kind = classify(rcd);
    return !kind.bGap && !kind.bBorder;
}

bool RemoveDecider_RCD::getOppState(u64 rcd, int side, int maxCells, OppState& opp) const
{
    zanAssert(side >= 0 && side < 6);
    for (int numCells = 1; numCells <= maxCells && exists(rcd); ++numCells) {
        u64 array[6];
        Calc::getNeigs6_RCD(rcd, array);
        const u64 next = array[side ^ 1];
        if (!exists(next)) {
            opp = {rcd, side ^ 1, numCells};
            return true;
        }
        rcd = next;
    }
    return false;
}

void RemoveDecider_RCD::remove(u64 rcd)
{
    const auto it = std::lower_bound(vSortedRCD.begin(), vSortedRCD.end(), rcd);
    if (it != vSortedRCD.end() && *it == rcd)
        vAlive[static_cast<size_t>(it - vSortedRCD.begin())] = 0;
}

RemovalClass RemoveDecider_RCD::classifyIndex(unsigned int index)
{
    const unsigned int configuration = index26ToConfig(index);
    Occupancy occupied;
    for (size_t i = 0; i < NUM_CELLS; ++i)
        occupied[i] = (configuration >> i & 1) != 0;
    return classifyOccupancy(occupied);
}

bool RemoveDecider_RCD::createList(const std::string& path, u64 numWords)
{
    std::ofstream out(path, std::ios::binary);
    if (!out)
        return false;
    const Tables tables = makeTables(std::min(numWords, NUM_WORDS));
    out << "#include \"LUT.h\"\n\n";
    writeArray(out, "array_border", tables.vBorder);
    out << '\n';
    writeArray(out, "array_gap", tables.vGap);
    out.close();
    return !out.fail();
}

} // namespace TESK_ZAN
