#include "gridSets.h"

#include "Calc.h"
#include "sortMT.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <mutex>
#include <utility>

namespace TESK_ZAN
{

namespace
{

// 64 cells along z: the key is an RCD without its low 6 bits, bit i the cell with z & 63 == i. Sets of cells
// are lists of runs in ascending order of the keys, no key twice and no run empty; the cells of such a list
// ascend.
struct Run {
    u64 key;
    u64 cells;
};
using Runs = std::vector<Run>;

constexpr u64 NO_KEY = ~u64{0}; // larger than every key

constexpr u64 KEY_Z = RCD_Z >> 6; // fields of a key, each with all its bits
constexpr u64 KEY_Y = RCD_Y >> 6;
constexpr u64 KEY_X = RCD_X >> 6;
constexpr u64 KEY_STEP_Z = 1;
constexpr u64 KEY_STEP_Y = RCD_STEP_Y >> 6;
constexpr u64 KEY_STEP_X = RCD_STEP_X >> 6;

Runs toRuns(const std::vector<u64>& vSortedRCD)
{
    Runs vRuns;
    for (const u64 rcd : vSortedRCD) {
        if (vRuns.empty() || vRuns.back().key != rcd >> 6)
            vRuns.push_back({rcd >> 6, 0});
        vRuns.back().cells |= u64{1} << (rcd & 63);
    }
    return vRuns;
}

Runs::const_iterator firstRunFrom(const Runs& vRuns, u64 key)
{
    return std::lower_bound(vRuns.begin(), vRuns.end(), key,
                            [](const Run& run, u64 wanted) { return run.key < wanted; });
}

// How the cells of a run enter the growth: moved by a number of keys, and what of them arrives there.
enum class Arrival { SAME_CELLS, SPREAD_ALONG_Z, TOP_TO_BOTTOM, BOTTOM_TO_TOP };

struct Step {
    u64 keyStep;   // added to the key
    u64 axisField; // the step leaves the lattice from a key whose field is endValue
    u64 endValue;
    Arrival arrival;
};

// The set of the face neighbours of a run and the run itself; the keys of a list stay in order under each
// step.
constexpr std::array<Step, 7> STEPS = {{
    {u64{0} - KEY_STEP_X, KEY_X, 0, Arrival::SAME_CELLS},
    {u64{0} - KEY_STEP_Y, KEY_Y, 0, Arrival::SAME_CELLS},
    {u64{0} - KEY_STEP_Z, KEY_Z, 0, Arrival::BOTTOM_TO_TOP},
    {0, 0, 1, Arrival::SPREAD_ALONG_Z}, // never leaves
    {KEY_STEP_Z, KEY_Z, KEY_Z, Arrival::TOP_TO_BOTTOM},
    {KEY_STEP_Y, KEY_Y, KEY_Y, Arrival::SAME_CELLS},
    {KEY_STEP_X, KEY_X, KEY_X, Arrival::SAME_CELLS},
}};

u64 arrive(u64 cells, Arrival arrival)
{
    switch (arrival) {
    case Arrival::SPREAD_ALONG_Z:
        return cells | cells << 1 | cells >> 1;
    case Arrival::TOP_TO_BOTTOM:
        return cells >> 63;
    case Arrival::BOTTOM_TO_TOP:
        return cells << 63;
    default:
        return cells;
    }
}

// Reads a list of runs as moved by one step, in ascending order, without those that come out empty.
class MovedRuns
{
public:
    // Begins at the first run that arrives at firstKey or behind.
    MovedRuns(const Runs& vRuns, const Step& step_, u64 firstKey)
        : step(step_), pEnd(vRuns.data() + vRuns.size())
    {
        const auto from = static_cast<std::int64_t>(firstKey) - static_cast<std::int64_t>(step.keyStep);
        const auto it = firstRunFrom(vRuns, static_cast<u64>(std::max<std::int64_t>(from, 0)));
        pNext = vRuns.data() + (it - vRuns.begin());
        settle();
    }

    u64 getKey() const { return arrived.key; }
    u64 getCells() const { return arrived.cells; }

    void advance()
    {
        ++pNext;
        settle();
    }

private:
    void settle()
    {
        for (; pNext != pEnd; ++pNext) {
            const bool bLeaves = (pNext->key & step.axisField) == step.endValue;
            arrived = {pNext->key + step.keyStep, arrive(pNext->cells, step.arrival)};
            if (arrived.cells != 0 && !bLeaves)
                return;
        }
        arrived = {NO_KEY, 0};
    }

    const Step& step;
    const Run* pNext;
    const Run* pEnd;
    Run arrived; // the run at pNext where the step takes it; NO_KEY at the end
};

// Walks a list of runs along with ascending keys, for the cells that it has there.
class CellsAt
{
public:
    CellsAt(const Runs& vRuns, u64 firstKey) : it(firstRunFrom(vRuns, firstKey)), end(vRuns.end()) {}

    u64 operator()(u64 key)
    {
        while (it != end && it->key < key)
            ++it;
        return it != end && it->key == key ? it->cells : 0;
    }

private:
    Runs::const_iterator it, end;
};

// What lies one step round the front and is not in vAll, for the keys from firstKey to before endKey.
Runs expandPart(const Runs& vFront, const Runs& vAll, u64 firstKey, u64 endKey)
{
    std::array<MovedRuns, STEPS.size()> aMoved = [&]<size_t... I>(std::index_sequence<I...>)
    {
        return std::array<MovedRuns, STEPS.size()>{MovedRuns(vFront, STEPS[I], firstKey)...};
    }
    (std::make_index_sequence<STEPS.size()>());
    CellsAt knownAt(vAll, firstKey);
    Runs vNew;
    for (;;) {
        u64 key = aMoved[0].getKey();
        for (const MovedRuns& moved : aMoved)
            key = std::min(key, moved.getKey());
        if (key >= endKey)
            return vNew;
        u64 cells = 0;
        for (MovedRuns& moved : aMoved) {
            if (moved.getKey() != key)
                continue;
            cells |= moved.getCells();
            moved.advance();
        }
        cells &= ~knownAt(key);
        if (cells != 0)
            vNew.push_back({key, cells});
    }
}

// The cells at one step from the front that are not in vAll: the next front, if vAll holds all earlier ones.
Runs expandFront(const Runs& vFront, const Runs& vAll)
{
    struct Part {
        size_t begin;
        Runs vRuns;
    };
    std::vector<Part> vParts;
    std::mutex lock; // taken once a part
    forRangeMT(vFront.size(), [&](size_t begin, size_t end) {
        const u64 firstKey = begin == 0 ? 0 : vFront[begin].key;
        const u64 endKey = end == vFront.size() ? NO_KEY : vFront[end].key;
        Runs vRuns = expandPart(vFront, vAll, firstKey, endKey);
        const std::lock_guard guard(lock);
        vParts.push_back({begin, std::move(vRuns)});
    });
    std::sort(vParts.begin(), vParts.end(), [](const Part& a, const Part& b) { return a.begin < b.begin; });
    Runs vNew;
    for (const Part& part : vParts)
        vNew.insert(vNew.end(), part.vRuns.begin(), part.vRuns.end());
    return vNew;
}

Runs unite(const Runs& vA, const Runs& vB)
{
    Runs vUnion;
    vUnion.reserve(vA.size() + vB.size());
    for (auto itA = vA.begin(), itB = vB.begin(); itA != vA.end() || itB != vB.end();) {
        const u64 keyA = itA != vA.end() ? itA->key : NO_KEY;
        const u64 keyB = itB != vB.end() ? itB->key : NO_KEY;
        vUnion.push_back({std::min(keyA, keyB), 0});
        if (keyA <= keyB)
            vUnion.back().cells |= (itA++)->cells;
        if (keyB <= keyA)
            vUnion.back().cells |= (itB++)->cells;
    }
    return vUnion;
}

// The cells of the runs without those of vExcept, appended in ascending order.
void appendCells(const Runs& vRuns, const Runs& vExcept, std::vector<u64>& vRCD)
{
    CellsAt exceptAt(vExcept, 0);
    for (const Run& run : vRuns)
        for (u64 rest = run.cells & ~exceptAt(run.key); rest != 0; rest &= rest - 1)
            vRCD.push_back(run.key << 6 | static_cast<u64>(std::countr_zero(rest)));
}

} // namespace

void getAll6Neigs(const std::vector<u64>& vIn, bool bSort, std::vector<u64>& vOut)
{
    transformMT_N(
        vIn, vOut, [](u64 rcd, u64* pNeigs) { Calc::getNeigs6_RCD(rcd, pNeigs); }, 6);
    if (bSort)
        sortUniqueMT(vOut);
}

void getAll8Corners(const std::vector<u64>& vIn, bool bSort, std::vector<u64>& vOut)
{
    const auto writeCorners = [](u64 rcd, u64* pCorners) {
        pCorners[0] = rcd;
        Calc::completeCellCorners8(pCorners);
    };
    transformMT_N(vIn, vOut, writeCorners, 8);
    if (bSort)
        sortUniqueMT(vOut);
}

void growRCDs(const std::vector<u64>& vIn, int numRings, bool bKeepSeeds, std::vector<u64>& vOut)
{
    std::vector<u64> vSortedRCD = vIn;
    if (!std::is_sorted(vSortedRCD.begin(), vSortedRCD.end()))
        sortMT(vSortedRCD.begin(), vSortedRCD.end());
    const Runs vSeeds = toRuns(vSortedRCD);
    Runs vFront = vSeeds;
    Runs vAll = vSeeds;
    for (int ring = 0; ring < numRings && !vFront.empty(); ++ring) {
        vFront = expandFront(vFront, vAll);
        vAll = unite(vAll, vFront);
    }
    vOut.clear();
    appendCells(vAll, bKeepSeeds ? Runs() : vSeeds, vOut);
}

} // namespace TESK_ZAN
