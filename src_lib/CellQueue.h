// Subsystem: grid. Builds on: CellBlocks.
// Used by: FillPass.
// The priority queue of cells in the distance march and the pruning of a fill pass.
#pragma once

#include "CellBlocks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Gives (key, cell) pairs in ascending order of (key, RCD). The order is total, so it does not depend on how
// blocks are numbered. A cell may stand in the queue several times. Keys must not be NaN.
//
// Keys are split into buckets of equal width. A bucket becomes a heap when it is the lowest with entries;
// until then pushing is O(1), and a heap is small enough for the cache, which one of millions of cells is
// not. Keys below those already taken are welcome: what is a heap stays one while lower buckets are emptied.
// 12 bytes an entry; large buckets give their memory back when they are empty.
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
        const size_t index = bucketOf(key);
        vBuckets[index].vEntries.push_back(
            {key, static_cast<std::uint32_t>(pos >> 9), static_cast<std::uint32_t>(pos & 511)});
        aFilled[index / 64] |= u64{1} << (index % 64);
        ++numEntries;
    }

    // Takes the first entry. The queue must not be empty.
    std::pair<float, CellPos> pop()
    {
        const size_t index = getLowestFilled();
        Bucket& bucket = vBuckets[index];
        makeHeap(bucket);
        std::pop_heap(bucket.vEntries.begin(), bucket.vEntries.end(), Later{blocks});
        const Entry entry = bucket.vEntries.back();
        bucket.vEntries.pop_back();
        --bucket.numHeap;
        --numEntries;
        if (bucket.vEntries.empty()) {
            aFilled[index / 64] &= ~(u64{1} << (index % 64));
            if (bucket.vEntries.capacity() > MAX_IDLE_ENTRIES)
                std::vector<Entry>().swap(bucket.vEntries);
        }
        return {entry.key, entry.getPos()};
    }

private:
    static constexpr int NUM_BUCKETS = 1024;
    static constexpr size_t MAX_IDLE_ENTRIES = 256;

    struct Entry {
        float key;
        std::uint32_t block;
        std::uint32_t cell;
        CellPos getPos() const { return CellPos{block} << 9 | cell; }
    };
    struct Bucket {
        std::vector<Entry> vEntries;
        size_t numHeap = 0; // so many entries, from the first, are a heap
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

    size_t getLowestFilled() const
    {
        size_t i = 0;
        while (aFilled[i] == 0)
            ++i;
        return 64 * i + static_cast<size_t>(std::countr_zero(aFilled[i]));
    }

    // Takes the entries behind the heap into it.
    void makeHeap(Bucket& bucket)
    {
        const auto begin = bucket.vEntries.begin();
        const size_t num = bucket.vEntries.size();
        if (bucket.numHeap == 0) {
            std::make_heap(begin, bucket.vEntries.end(), Later{blocks});
            bucket.numHeap = num;
        }
        while (bucket.numHeap < num)
            std::push_heap(begin, begin + static_cast<std::ptrdiff_t>(++bucket.numHeap), Later{blocks});
    }

    const CellBlocks& blocks;
    float minKey;
    float bucketsPerKey;
    std::vector<Bucket> vBuckets;
    std::array<u64, NUM_BUCKETS / 64> aFilled{}; // a bit for each bucket with entries
    size_t numEntries = 0;
};

} // namespace TESK_ZAN
