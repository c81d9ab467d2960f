#include "VertexTable.h"

#include "tesk_tools/mixBits.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t MIN_CAPACITY = 64;

// The eight cells of a 2x2x2 block get eight neighbouring slots, blocks lie anywhere.
std::size_t homeSlot(u64 ccd, std::size_t mask)
{
    return std::size_t(TESK_TOOLS::mixBits((ccd >> 3) + TESK_TOOLS::GOLDEN_STEP) << 3 | (ccd & 7)) & mask;
}

} // namespace

void VertexTable::setSorted(std::vector<CVertex> vVertices_srt)
{
    zanAssert(vVertices.empty());
    vVertices = std::move(vVertices_srt);
    for (const CVertex& vertex : vVertices)
        first.append(vertex.ccd);
    first.makeIndex();
}

void VertexTable::reserve(std::size_t n)
{
    if (n <= vVertices.size())
        return;
    vVertices.reserve(n);
    const std::size_t numLater = n - first.size();
    const std::size_t capacity = std::bit_ceil(std::max(numLater + numLater / 2, MIN_CAPACITY));
    if (capacity > vSlots.size())
        rehash(capacity);
}

// The slot of the code, or else the empty slot where it belongs. There must be a table.
std::size_t VertexTable::probe(u64 ccd) const
{
    const std::size_t mask = vSlots.size() - 1;
    std::size_t slot = homeSlot(ccd, mask);
    while (vSlots[slot] != NONE && vVertices[vSlots[slot]].ccd != ccd)
        slot = (slot + 1) & mask;
    return slot;
}

std::uint32_t VertexTable::find(u64 ccd) const
{
    const std::uint32_t number = first.find(ccd);
    return number != NONE || vSlots.empty() ? number : vSlots[probe(ccd)];
}

std::uint32_t VertexTable::findOrAdd(u64 ccd)
{
    const std::uint32_t number = first.find(ccd);
    if (number != NONE)
        return number;
    const std::size_t numLater = vVertices.size() - first.size();
    if (3 * (numLater + 1) > 2 * vSlots.size()) // at most two thirds full
        rehash(std::max(2 * vSlots.size(), MIN_CAPACITY));
    const std::size_t slot = probe(ccd);
    if (vSlots[slot] == NONE) {
        zanAssert(vVertices.size() < NONE);
        vSlots[slot] = std::uint32_t(vVertices.size());
        vVertices.push_back({ccd, nullptr, NONE, 0});
    }
    return vSlots[slot];
}

void VertexTable::rehash(std::size_t newCapacity)
{
    vSlots.assign(newCapacity, NONE);
    for (std::size_t i = first.size(); i < vVertices.size(); ++i)
        vSlots[probe(vVertices[i].ccd)] = std::uint32_t(i);
}

} // namespace TESK_ZAN
