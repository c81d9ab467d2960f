// Subsystem: mesh on codes. Builds on: CornerSlices, zanAssert. Used by: CMesh.
// Which sides of many triangles are one edge, without a look-up for each side.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class CornerSlices;

using CornerNumbers = std::array<std::uint32_t, 3>;

// The sides of a triangle in the order in which its edges are made: corners (0, 1), (1, 2), (0, 2).
constexpr std::size_t SIDE_ENDS[3][2] = {{0, 1}, {1, 2}, {0, 2}};

struct EdgeNumbers {
    std::vector<std::uint32_t> vOfSides;    // three a triangle
    std::vector<std::uint32_t> vFirstSides; // by edge, its first side
};

// Sides with the same ends have the same number, and the numbers 0, 1, 2, ... come in the order of the sides:
// so each is that of the edge if edges are made one by one, where they are missing. Corners are below numVtx,
// those of a triangle differ, and there are fewer than 2^32 sides. slices: of the same triangles. Linear as
// long as the edges at each vertex are few. On all threads.
EdgeNumbers numberEdges(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx,
                        const CornerSlices& slices);

} // namespace TESK_ZAN
