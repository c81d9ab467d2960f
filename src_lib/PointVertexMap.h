// Subsystem: real mesh. Builds on: RVertex, Point3Hash. Used by: RMesh.
// Looks a vertex up by its exact coordinates.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// An open-addressing set of vertices. The key of an entry is the present position of its vertex, read through
// the pointer, so key and vertex cannot differ and an entry takes 9 bytes. Price: erase a vertex before it
// moves, insert it afterwards. Positions compare as Point3 does: exactly, 0.0 equal to -0.0, colour ignored.
//
// Beside each slot stands a byte of the hash. A search walks along these bytes, which fit a cache that the
// slots do not fit, and looks at a vertex only where the byte says that it can be the right one.
class PointVertexMap
{
public:
    // Makes room for n entries in all.
    void reserve(size_t n);

    size_t size() const { return numEntries; }

    // The vertex at the position of p, null if there is none. p need not be a vertex.
    Point3* find(const Point3& p) const;

    // False, and no change, if a vertex stands there already.
    bool insert(Point3* pVtx);

    // Erases the entry of exactly this vertex. False if it has none.
    bool erase(const Point3* pVtx);

    // Calls f(Point3*) for each entry, in no promised order.
    template <class F>
    void forEach(F f) const
    {
        for (Point3* pVtx : vSlots)
            if (pVtx != nullptr)
                f(pVtx);
    }

private:
    static constexpr std::uint8_t FREE = 0; // as a tag; others have the high bit

    size_t homeSlot(const Point3& p) const;
    size_t findSlot(const Point3& p, std::uint64_t hash) const; // of the position, or free where it belongs
    void setSlot(size_t slot, Point3* pVtx, std::uint8_t tag);
    void rehash(size_t numSlots);

    std::vector<Point3*> vSlots;     // null: free. The size is a power of two or 0; at most 3/4 are taken
    std::vector<std::uint8_t> vTags; // parallel to vSlots
    size_t numEntries = 0;
};

} // namespace TESK_ZAN
