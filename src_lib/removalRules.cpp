#include "removalRules.h"

#include <initializer_list>

namespace TESK_ZAN
{

namespace
{

constexpr unsigned int bits(std::initializer_list<unsigned int> places)
{
    unsigned int mask = 0;
    for (const unsigned int place : places)
        mask |= 1u << place;
    return mask;
}

constexpr unsigned int inAllLayers(unsigned int layer)
{
    return layer | layer << 9 | layer << 18;
}

constexpr unsigned int FACES = bits({4, 10, 12, 14, 16, 22});
constexpr unsigned int EDGES = bits({1, 3, 5, 7, 9, 11, 15, 17, 19, 21, 23, 25});
constexpr unsigned int CORNERS = bits({0, 2, 6, 8, 18, 20, 24, 26});

// Cells with a neighbour below and above them on an axis. For z the shift itself drops the others.
constexpr unsigned int HAS_LOWER_X = inAllLayers(0b110110110);
constexpr unsigned int HAS_UPPER_X = inAllLayers(0b011011011);
constexpr unsigned int HAS_LOWER_Y = inAllLayers(0b111111000);
constexpr unsigned int HAS_UPPER_Y = inAllLayers(0b000111111);

// One face step in all directions at once.
unsigned int spread(unsigned int cells)
{
    return cells | (cells << 1 & HAS_LOWER_X) | (cells >> 1 & HAS_UPPER_X) | (cells << 3 & HAS_LOWER_Y) |
           (cells >> 3 & HAS_UPPER_Y) | cells << 9 | cells >> 9;
}

// What face steps reach from the start cells within the allowed ones.
unsigned int flood(unsigned int start, unsigned int allowed)
{
    unsigned int reached = start & allowed;
    for (;;) {
        const unsigned int next = spread(reached) & allowed;
        if (next == reached)
            return reached;
        reached = next;
    }
}

unsigned int absentCells(unsigned int configuration)
{
    return ~configuration & CONFIG27_ALL & ~CONFIG27_CENTRE;
}

// The inverse of the squeeze of an outer layer.
unsigned int widenOuter(unsigned int squeezed)
{
    return (squeezed & 1) << 1 | (squeezed & 0xe) << 2 | (squeezed & 0x10) << 3;
}

} // namespace

const RemovalRules& RemovalRules::get()
{
    static const RemovalRules rules;
    return rules;
}

RemovalRules::RemovalRules() : aAnswers{}
{
    for (unsigned int pattern = 0; pattern < NUM_PATTERNS; ++pattern) {
        const u64 answer = answerByWalks(patternToConfig(pattern));
        aAnswers[pattern >> 5] |= answer << 2 * (pattern & 31);
    }
}

// More absent corners can only open ways. So if the walk succeeds with all corners present it always does,
// and if it fails with all of them absent it always does.
RemovalRules::Answer RemovalRules::answerByWalks(unsigned int configuration)
{
    if (isGapByWalk(configuration))
        return GAP;
    if (reachesAllEdges(configuration | CORNERS))
        return BORDER;
    return reachesAllEdges(configuration & ~CORNERS) ? BY_CORNERS : INNER;
}

bool RemovalRules::isGapByWalk(unsigned int configuration)
{
    const unsigned int absent = absentCells(configuration);
    const unsigned int exposed = absent & FACES;
    const unsigned int firstExposed = exposed & (~exposed + 1);
    // Face steps between faces and edge cells lead from a face to the faces beside it and nowhere else.
    const unsigned int reached = flood(firstExposed, absent & (FACES | EDGES));
    return exposed == 0 || (reached & exposed) != exposed;
}

bool RemovalRules::reachesAllEdges(unsigned int configuration)
{
    const unsigned int absent = absentCells(configuration);
    const unsigned int absentEdges = absent & EDGES;
    unsigned int reached = absent & FACES;
    for (;;) {
        const unsigned int next = spread(reached) & absent;
        if ((next & absentEdges) == absentEdges)
            return true;
        if (next == reached)
            return false;
        reached = next;
    }
}

unsigned int RemovalRules::patternToConfig(unsigned int pattern)
{
    return widenOuter(pattern & 0x1f) | (pattern & 0x1e0) << 4 | (pattern & 0x1e00) << 5 |
           widenOuter(pattern >> 13) << 18;
}

} // namespace TESK_ZAN
