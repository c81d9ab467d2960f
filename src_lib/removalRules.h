// Subsystem: grid. Builds on: nothing. Used by: RemoveDeciderFast, RemoveDecider, RemoveDecider_RCD.
// Whether a cell of a layer may be removed, decided from which of its 26 neighbours exist.
//
// A neighbourhood is a 27-bit configuration in the order of Calc::completeArray27_RCD (x fastest, bit 13 the
// cell itself). Absent face neighbours are the exposed faces of the cell.
// - gap: removing the cell would open a gap. No face is exposed, or the exposed faces are not all joined, two
//   faces being joined when they are not opposite and the edge cell between them is absent too.
// - border: not gap, and a walk by face steps through the absent cells of the block, from all exposed faces,
//   reaches every absent one of the 12 edge cells. The empty space touches the cell as one region, as at the
//   rim of a sheet and on the outside of a thick layer. Corner cells count only as a way to edge cells.
//
// Gap depends on the 6 faces and 12 edge cells alone, and so does border for three quarters of their 2^18
// patterns: these answers stand in a table of two bits a pattern (64 KB, made on first use in about 10 ms).
// For the rest the walk is made on a bit mask.
#pragma once

#include "definitions.h"

#include <array>

namespace TESK_ZAN
{

constexpr unsigned int CONFIG27_ALL = (1u << 27) - 1;
constexpr unsigned int CONFIG27_CENTRE = 1u << 13;
constexpr unsigned int CONFIG27_FACES = 1u << 4 | 1u << 10 | 1u << 12 | 1u << 14 | 1u << 16 | 1u << 22;

// Squeezes bit 13 out, and back in as 1: between configurations and indices of the tables of 2^26 entries.
constexpr unsigned int configToIndex26(unsigned int configuration)
{
    return ((configuration & ~0x3fffu) >> 1) | (configuration & 0x1fff);
}
constexpr unsigned int index26ToConfig(unsigned int index)
{
    return (index & ~0x1fffu) << 1 | CONFIG27_CENTRE | (index & 0x1fff);
}

// The answers for the face and edge patterns. Immutable; shared by all threads.
class RemovalRules
{
public:
    // The one table of the process, made on the first call from whichever thread.
    static const RemovalRules& get();

    // All take the configuration of a cell; bit 13 is ignored.
    bool isGap(unsigned int configuration) const { return answerOf(configuration) == GAP; }
    bool isBorder(unsigned int configuration) const
    {
        const Answer answer = answerOf(configuration);
        return answer == BORDER || (answer == BY_CORNERS && reachesAllEdges(configuration));
    }
    // Neither gap nor border.
    bool isInner(unsigned int configuration) const
    {
        const Answer answer = answerOf(configuration);
        return answer == INNER || (answer == BY_CORNERS && !reachesAllEdges(configuration));
    }

    // The walk of the border rule, without the table.
    static bool reachesAllEdges(unsigned int configuration);
    // The walk of the gap rule, without the table.
    static bool isGapByWalk(unsigned int configuration);

    // True if two opposite faces of the cell are exposed.
    static bool isThin(unsigned int configuration)
    {
        const unsigned int absent = ~configuration;
        return (absent >> 12 & absent >> 14 & 1) != 0 || (absent >> 10 & absent >> 16 & 1) != 0 ||
               (absent >> 4 & absent >> 22 & 1) != 0;
    }

private:
    enum Answer : unsigned int { GAP, BORDER, INNER, BY_CORNERS };

    static constexpr unsigned int NUM_PATTERNS = 1u << 18;

    RemovalRules();

    static Answer answerByWalks(unsigned int configuration);

    // The face and edge bits of one outer layer of 9 cells, in a row: bits 1, 3, 4, 5, 7.
    static constexpr unsigned int squeezeOuter(unsigned int layer)
    {
        return (layer >> 1 & 1) | (layer >> 2 & 0xe) | (layer >> 3 & 0x10);
    }
    // The pattern of a configuration: 5 bits of the layer below, 8 of the cell's own layer, 5 of the one
    // above.
    static constexpr unsigned int patternOf(unsigned int configuration)
    {
        return squeezeOuter(configuration) | (configuration >> 4 & 0x1e0) | (configuration >> 5 & 0x1e00) |
               squeezeOuter(configuration >> 18) << 13;
    }
    static unsigned int patternToConfig(unsigned int pattern);

    Answer answerOf(unsigned int configuration) const
    {
        const unsigned int pattern = patternOf(configuration);
        return static_cast<Answer>(aAnswers[pattern >> 5] >> 2 * (pattern & 31) & 3);
    }

    std::array<u64, NUM_PATTERNS / 32> aAnswers; // two bits a pattern
};

} // namespace TESK_ZAN
