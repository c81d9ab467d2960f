// Subsystem: ground. Builds on: nothing. Used by: CMesh.
// Sorts many small records by a number below a known limit, in linear time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

namespace TESK_TOOLS
{

// Two passes over the same records: each is announced, then each is added. In between makeRoom. The records
// of a key stand in order of arrival.
template <class Record>
class KeyBuckets
{
public:
    explicit KeyBuckets(std::size_t numKeys) : vEnds(numKeys + 1, 0) {}

    void announce(std::uint32_t key) { ++vEnds[std::size_t{key} + 1]; }

    void makeRoom()
    {
        std::partial_sum(vEnds.begin(), vEnds.end(), vEnds.begin());
        vRecords.resize(vEnds.back());
    }

    void add(std::uint32_t key, const Record& record) { vRecords[vEnds[key]++] = record; }

    // Once all are there.
    std::span<Record> get(std::uint32_t key)
    {
        const std::size_t first = key == 0 ? 0 : vEnds[key - 1];
        return {vRecords.data() + first, vEnds[key] - first};
    }

    std::size_t getNumKeys() const { return vEnds.size() - 1; }

private:
    std::vector<std::size_t> vEnds; // of the records of a key; while they come, where the next one goes
    std::vector<Record> vRecords;
};

} // namespace TESK_TOOLS
