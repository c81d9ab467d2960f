#include "PointVertexMap.h"

#include "Point3Hash.h"

#include <bit>

namespace TESK_ZAN
{

namespace
{
constexpr size_t MIN_SLOTS = 16;
}

void PointVertexMap::reserve(size_t n)
{
    if (2 * n > vSlots.size())
        rehash(std::bit_ceil(std::max(2 * n, MIN_SLOTS)));
}

Point3* PointVertexMap::find(const Point3& p) const
{
    return vSlots.empty() ? nullptr : vSlots[findSlot(p)];
}

bool PointVertexMap::insert(Point3* pVtx)
{
    if (2 * (numEntries + 1) > vSlots.size())
        rehash(std::max(2 * vSlots.size(), MIN_SLOTS));
    Point3*& pEntry = vSlots[findSlot(*pVtx)];
    if (pEntry != nullptr)
        return false;
    pEntry = pVtx;
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
        vSlots[gap] = vSlots[slot];
        gap = slot;
    }
    vSlots[gap] = nullptr;
    --numEntries;
    return true;
}

size_t PointVertexMap::homeSlot(const Point3& p) const
{
    return static_cast<size_t>(Point3Hash()(p)) & (vSlots.size() - 1);
}

size_t PointVertexMap::findSlot(const Point3& p) const
{
    size_t slot = homeSlot(p);
    while (vSlots[slot] != nullptr && *vSlots[slot] != p)
        slot = (slot + 1) & (vSlots.size() - 1);
    return slot;
}

void PointVertexMap::rehash(size_t numSlots)
{
    std::vector<Point3*> vOld(numSlots, nullptr);
    vOld.swap(vSlots);
    for (Point3* pVtx : vOld) // positions are different: the free slot is the right one
        if (pVtx != nullptr)
            vSlots[findSlot(*pVtx)] = pVtx;
}

} // namespace TESK_ZAN
