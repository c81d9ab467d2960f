// Subsystem: grid. Builds on: CellBlocks.
// Used by: FillPass.
// The priority queue of cells in the distance march and the pruning of a fill pass.
#pragma once

#include "CellBlocks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Gives (key, cell) pairs in ascending order of (key, RCD). The order is total, so it does not depend on how
// blocks are numbered. A cell may stand in the queue several times. Keys must not be NaN.
//
// Keys are split into buckets of equal width; only the lowest filled bucket is kept as a heap. Pushing is
// O(1) elsewhere, and the heap is small enough for the cache, which a heap of millions of cells is not.
// 12 bytes an entry; buckets give their memory back once they are passed.
class CellQueue
{
public:
    // Keys are expected between minKey and maxKey; others are fine, but share the outermost buckets.
    // The blocks are not owned.
    CellQueue(const CellBlocks& blocks_, float minKey_, float maxKey_)
        : blocks(blocks_), minKey(minKey_),
          bucketsPerKey(maxKey_ > minKey_ ? NUM_BUCKETS / (maxKey_ - minKey_) : 0.0f), vBuckets(NUM_BUCKETS)
    {
    }

    bool empty() const { return numEntries == 0; }

    void push(float key, CellPos pos)
    {
        const size_t bucket = bucketOf(key);
        std::vector<Entry>& vEntries = vBuckets[bucket];
        vEntries.push_back(
            {key, static_cast<std::uint32_t>(pos >> 9), static_cast<std::uint32_t>(pos & 511)});
        ++numEntries;
        if (bucket == active)
            std::push_heap(vEntries.begin(), vEntries.end(), Later{blocks});
        else if (bucket < active)
            activate(bucket);
    }

    // Takes the first entry. The queue must not be empty.
    std::pair<float, CellPos> pop()
    {
        while (vBuckets[active].empty()) {
            std::vector<Entry>().swap(vBuckets[active]);
            activate(active + 1);
        }
        std::vector<Entry>& vEntries = vBuckets[active];
        std::pop_heap(vEntries.begin(), vEntries.end(), Later{blocks});
        const Entry entry = vEntries.back();
        vEntries.pop_back();
        --numEntries;
        return {entry.key, entry.getPos()};
    }

private:
    static constexpr int NUM_BUCKETS = 1024;

    struct Entry {
        float key;
        std::uint32_t block;
        std::uint32_t cell;
        CellPos getPos() const { return CellPos{block} << 9 | cell; }
    };
    struct Later {
        const CellBlocks& blocks;
        bool operator()(const Entry& a, const Entry& b) const
        {
            if (a.key != b.key)
                return a.key > b.key;
            return blocks.getRCD(a.getPos()) > blocks.getRCD(b.getPos());
        }
    };

    // Monotonous in the key, so buckets are in order.
    size_t bucketOf(float key) const
    {
        const float scaled = (key - minKey) * bucketsPerKey;
        return static_cast<size_t>(std::clamp(scaled, 0.0f, static_cast<float>(NUM_BUCKETS - 1)));
    }

    void activate(size_t bucket)
    {
        active = bucket;
        std::make_heap(vBuckets[active].begin(), vBuckets[active].end(), Later{blocks});
    }

    const CellBlocks& blocks;
    float minKey;
    float bucketsPerKey;
    std::vector<std::vector<Entry>> vBuckets;
    size_t active = 0; // a heap; no bucket below it has entries
    size_t numEntries = 0;
};

} // namespace TESK_ZAN
