// Subsystem: mesh on codes. Builds on: SideForest. Used by: surplusStrips.
// Tells inside from outside by clues.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// That two sides, by their numbers, see the same kind of space, or different kinds.
struct SideClue {
    std::uint32_t a, b; // a <= b
    std::size_t weight; // of no weight: a guess where nothing else tells
    bool bDiffer;

    // A guess that two sides are alike still has a vote.
    std::size_t votes() const { return bDiffer ? weight : std::max<std::size_t>(weight, 1); }
};

// Replaces the clues of the same two sides, which must agree in bDiffer, by one of their common weight.
// Sorted by sides then. n log n.
void countEqualClues(std::vector<SideClue>& vClues);

// The kind, 0 or 1, of each of the sides; comparable for those that clues connect. The strongest clues are
// followed first, equally strong ones in the order given, and those that contradict them are not. As in small
// pieces that makes a single clue decide, a side most of whose votes are then against it changes its kind, as
// long as there is one; each change leaves fewer votes that disagree. n log n.
std::vector<char> decideKinds(std::size_t numSides, const std::vector<SideClue>& vClues);

} // namespace TESK_ZAN
