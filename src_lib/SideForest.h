// Subsystem: mesh on codes. Builds on: the standard library. Used by: sideClues, SheetChoice, solidSheets,
// RMesh, SeamSheets, orientOutward, twistLines, SoupBodies, Filler.
// Groups of things with two sides, that grow by joining.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace TESK_ZAN
{

// A forest of parents (union-find) in which each element also knows whether it is turned against the root of
// its group. Elements are 0 to n - 1, each alone at first. A find shortens its way: O(log n) on the average.
class SideForest
{
public:
    using Index = std::uint32_t;
    struct Root {
        Index index;
        bool bTurned; // the element, against this root
    };

    explicit SideForest(size_t n = 0) : vParent(n), vTurned(n, 0)
    {
        std::iota(vParent.begin(), vParent.end(), Index(0));
    }

    std::size_t size() const { return vParent.size(); } // elements

    Root find(Index element)
    {
        bool bTurned = false;
        while (vParent[element] != element) {
            const Index parent = vParent[element];
            vTurned[element] = vTurned[element] != vTurned[parent] ? 1 : 0; // 0 of a root
            vParent[element] = vParent[parent];
            bTurned = bTurned != (vTurned[element] != 0);
            element = vParent[element];
        }
        return {element, bTurned};
    }

    // The same, and leaves the way as it is: for several threads.
    Root look(Index element) const
    {
        bool bTurned = false;
        for (; vParent[element] != element; element = vParent[element])
            bTurned = bTurned != (vTurned[element] != 0);
        return {element, bTurned};
    }

    // Puts the group of rootGone under rootKept; bTurned: one root against the other. Both must be roots, and
    // differ.
    void attach(Index rootGone, Index rootKept, bool bTurned)
    {
        vParent[rootGone] = rootKept;
        vTurned[rootGone] = bTurned ? 1 : 0;
    }

    // Makes one group of those of two elements, whose roots face the same way then. The lower root is kept.
    void join(Index a, Index b)
    {
        const Index rootA = find(a).index, rootB = find(b).index;
        if (rootA != rootB)
            attach(std::max(rootA, rootB), std::min(rootA, rootB), false);
    }

private:
    std::vector<Index> vParent;
    std::vector<char> vTurned; // against the parent
};

} // namespace TESK_ZAN
