// Subsystem: real mesh. Builds on: sortMT. Used by: RMesh (reduction).
// The order in which a reduction looks at its candidates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace TESK_ZAN
{

// Collapses by penalty, the cheapest first, of equal ones the one that was inserted first: the order of a
// multimap. Entries mostly come by the thousand: each such batch is a sorted run, and runs of like size are
// merged, so that there are about as many as the number of entries has digits. Single entries go into a heap,
// which stays small. Runs are read straight ahead; a heap of millions would cost a cache miss per level.
class CollapseQueue
{
public:
    struct Entry {
        double penalty;         // no NaN
        std::uint32_t slot;     // whatever the owner means by it
        std::uint32_t sequence; // by insertion, given by the queue
    };

    // The sequence goes up to the given number; then all entries are numbered anew, which is linear.
    explicit CollapseQueue(std::uint32_t maxSequence_ = std::numeric_limits<std::uint32_t>::max())
        : maxSequence(maxSequence_)
    {
    }

    bool empty() const { return numEntries == 0; }
    size_t size() const { return numEntries; }

    // Of a queue that is not empty.
    const Entry& top() const;
    Entry pop();

    void push(double penalty, std::uint32_t slot);

    // Inserts the entries one after the other, whatever their sequence says now. O(n log n), in parallel, and
    // sooner or later log n times the length for the merges. At most maxSequence at once.
    void insert(std::vector<Entry> vNew);

private:
    // Never used up: then it goes.
    struct Run {
        const Entry& top() const { return vSorted[next]; }
        size_t size() const { return vSorted.size() - next; }

        std::vector<Entry> vSorted;
        size_t next;
    };

    const Run* firstRun() const;
    void mergeLastTwo();
    void renumber();

    const std::uint32_t maxSequence;
    std::vector<Run> vRuns;
    std::vector<Entry> vHeap; // the first entry in front
    size_t numEntries = 0;
    std::uint32_t numInserted = 0; // since the last numbering
};

} // namespace TESK_ZAN
