// Subsystem: mesh on codes. Builds on: zanAssert. Used by: CMesh.
// Which sides of many triangles are one edge, without a look-up for each side.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

using CornerNumbers = std::array<std::uint32_t, 3>;

// The sides of a triangle in the order in which its edges are made: corners (0, 1), (1, 2), (0, 2).
constexpr std::size_t SIDE_ENDS[3][2] = {{0, 1}, {1, 2}, {0, 2}};

// Three numbers a triangle, one for each side. Sides with the same ends have the same number, and the numbers
// 0, 1, 2, ... come in this order: so each is that of the edge if edges are made one by one, where they are
// missing. Corners are below numVtx, those of a triangle differ, and there are fewer than 2^32 sides. Linear
// as long as the edges at each vertex are few.
std::vector<std::uint32_t> numberEdges(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx);

} // namespace TESK_ZAN
