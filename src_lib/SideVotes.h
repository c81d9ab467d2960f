// Subsystem: volumes. Builds on: Facet, FlatMap. Used by: Component.
// Which side of a sheet a patch of facets belongs to, told from the facets near it whose side is known.
#pragma once

#include "Facet.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

// Patches come in pairs: what is numbered 2p and 2p + 1 lies on opposite sides of the sheet, where both
// exist. One pair is the main pair. Every other one is turned to it as a whole, or not, and becomes part of
// it: nearby facets of one side look the same way, those of opposite sides look apart.
class SideVotes
{
public:
    enum Verdict : signed char { OPEN = 0, SAME = 1, CROSSED = -1 };

    // vFacets with a componentIndex from 0 up, which names the patch; numPairs covers all of them. The facets
    // are read in the constructor alone.
    SideVotes(const std::vector<const Facet*>& vFacets, std::size_t numPairs, std::size_t mainPair);

    // For each pair: SAME if its even patch lies on the side of the main pair's even one, CROSSED if on the
    // other, OPEN if nothing was near enough to tell. Pairs within a few cells of what is already known come
    // first, then those within 20, 200 and 1000 cells; among those within reach the largest comes first.
    // Linear in the facets.
    const std::vector<Verdict>& solve();

private:
    struct Sum {
        Vector3 normals; // those of odd patches reversed
        double num = 0;
    };
    struct Entry {
        u64 block;
        std::size_t pair;
        Sum sum;
    };

    void collect(u64 blockSize);
    bool sweep();
    double voteOf(std::size_t pair) const;
    void join(std::size_t pair);

    const std::vector<const Facet*> vFacets;
    std::vector<std::size_t> vOrder; // open pairs, the largest first
    std::vector<Verdict> vVerdicts;
    std::vector<Entry> vEntries;          // of one level, by pair, then block
    std::vector<std::size_t> vFirstEntry; // where the entries of a pair begin; one more at the end
    TESK_TOOLS::FlatMap<u64, Sum, TESK_TOOLS::U64Hash> mMain; // the main pair by block
};

} // namespace TESK_ZAN
