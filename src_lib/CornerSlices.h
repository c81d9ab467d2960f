// Subsystem: mesh on codes. Builds on: sortMT. Used by: CMesh, numberEdges.
// Which of many triangles may have a corner in a range of vertices.
#pragma once

#include "sortMT.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace TESK_ZAN
{

// For work that belongs to a vertex and must see its triangles in their order: each thread takes a range of
// vertices and passes over the triangles that come near it. Those of an extraction come nearly in the order
// of their corners, so of slices that know their least and their greatest corner nearly all are skipped.
class CornerSlices
{
public:
    // getCorners(i) gives the corners of a triangle, as a range of numbers.
    template <class F>
    CornerSlices(std::size_t numTrianglesGiven, F getCorners)
        : numTriangles(numTrianglesGiven), vSlices((numTriangles + SIZE - 1) / SIZE)
    {
        forRangeMT(vSlices.size(), [&](std::size_t firstSlice, std::size_t endSlice) {
            for (std::size_t slice = firstSlice; slice < endSlice; ++slice)
                for (std::size_t i = slice * SIZE; i < std::min((slice + 1) * SIZE, numTriangles); ++i)
                    for (const std::uint32_t corner : getCorners(i))
                        vSlices[slice].include(corner);
        });
    }

    // f(i), i ascending, for all triangles with a corner in firstVtx .. endVtx - 1, and for some others.
    template <class F>
    void forEachNear(std::size_t firstVtx, std::size_t endVtx, F f) const
    {
        for (std::size_t slice = 0; slice < vSlices.size(); ++slice) {
            if (vSlices[slice].greatest < firstVtx || vSlices[slice].least >= endVtx)
                continue;
            for (std::size_t i = slice * SIZE; i < std::min((slice + 1) * SIZE, numTriangles); ++i)
                f(i);
        }
    }

private:
    static constexpr std::size_t SIZE = 256;

    struct Slice {
        std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
        std::uint32_t greatest = 0;

        void include(std::uint32_t corner)
        {
            least = std::min(least, corner);
            greatest = std::max(greatest, corner);
        }
    };

    std::size_t numTriangles;
    std::vector<Slice> vSlices;
};

} // namespace TESK_ZAN
