#include "PointVertexMap.h"

#include "Point3Hash.h"

#include <algorithm>
#include <bit>

namespace TESK_ZAN
{

namespace
{

constexpr size_t MIN_SLOTS = 16;

// Of the bits that the home slot has no use for.
std::uint8_t tagOf(std::uint64_t hash)
{
    return static_cast<std::uint8_t>(0x80 | hash >> 57);
}

} // namespace

void PointVertexMap::reserve(size_t n)
{
    if (4 * n > 3 * vSlots.size())
        rehash(std::bit_ceil(std::max(n + n / 3 + 1, MIN_SLOTS)));
}

Point3* PointVertexMap::find(const Point3& p) const
{
    return vSlots.empty() ? nullptr : vSlots[findSlot(p, Point3Hash()(p))];
}

bool PointVertexMap::insert(Point3* pVtx)
{
    if (4 * (numEntries + 1) > 3 * vSlots.size())
        rehash(std::max(2 * vSlots.size(), MIN_SLOTS));
    const std::uint64_t hash = Point3Hash()(*pVtx);
    const size_t slot = findSlot(*pVtx, hash);
    if (vTags[slot] != FREE)
        return false;
    setSlot(slot, pVtx, tagOf(hash));
    ++numEntries;
    return true;
}

bool PointVertexMap::erase(const Point3* pVtx)
{
    if (vSlots.empty())
        return false;
    const size_t mask = vSlots.size() - 1;
    size_t gap = homeSlot(*pVtx);
    while (vSlots[gap] != nullptr && vSlots[gap] != pVtx)
        gap = (gap + 1) & mask;
    if (vSlots[gap] == nullptr)
        return false;

    // Closes the gap, so that no mark is needed: a follower may move back unless its home lies behind the
    // gap.
    for (size_t slot = (gap + 1) & mask; vSlots[slot] != nullptr; slot = (slot + 1) & mask) {
        const size_t fromHome = (slot - homeSlot(*vSlots[slot])) & mask;
        if (fromHome < ((slot - gap) & mask))
            continue;
        setSlot(gap, vSlots[slot], vTags[slot]);
        gap = slot;
    }
    setSlot(gap, nullptr, FREE);
    --numEntries;
    return true;
}

size_t PointVertexMap::homeSlot(const Point3& p) const
{
    return static_cast<size_t>(Point3Hash()(p)) & (vSlots.size() - 1);
}

size_t PointVertexMap::findSlot(const Point3& p, std::uint64_t hash) const
{
    const size_t mask = vSlots.size() - 1;
    const std::uint8_t tag = tagOf(hash);
    size_t slot = static_cast<size_t>(hash) & mask;
    while (vTags[slot] != FREE && (vTags[slot] != tag || *vSlots[slot] != p))
        slot = (slot + 1) & mask;
    return slot;
}

void PointVertexMap::setSlot(size_t slot, Point3* pVtx, std::uint8_t tag)
{
    vSlots[slot] = pVtx;
    vTags[slot] = tag;
}

void PointVertexMap::rehash(size_t numSlots)
{
    std::vector<Point3*> vOld(numSlots, nullptr);
    vOld.swap(vSlots);
    vTags.assign(numSlots, FREE);
    for (Point3* pVtx : vOld) {
        if (pVtx == nullptr)
            continue;
        const std::uint64_t hash = Point3Hash()(*pVtx);
        setSlot(findSlot(*pVtx, hash), pVtx, tagOf(hash)); // positions are different: the slot is free
    }
}

} // namespace TESK_ZAN
