#include "numberEdges.h"

#include "CornerSlices.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace TESK_ZAN
{

namespace
{

// The edges with the lower end in a range of vertices.
class EdgeList
{
public:
    EdgeList(std::size_t firstVtx_, std::size_t endVtx)
        : firstVtx(firstVtx_), vFirst(endVtx - firstVtx_ + 1, 0)
    {
    }

    bool isMine(std::uint32_t low) const { return low >= firstVtx && low - firstVtx < vFirst.size() - 1; }

    // First of all each side is announced, then makeRoom.
    void announce(std::uint32_t low) { ++vFirst[low - firstVtx + 1]; }

    void makeRoom()
    {
        std::partial_sum(vFirst.begin(), vFirst.end(), vFirst.begin());
        vNumAt.resize(vFirst.size() - 1, 0);
        vEdges.resize(vFirst.back()); // more than there are: room for each side
    }

    // The first side with these ends, which is this one if there is none yet.
    std::uint32_t findOrAdd(std::uint32_t low, std::uint32_t high, std::uint32_t side)
    {
        Edge* pEdge = vEdges.data() + vFirst[low - firstVtx];
        std::uint32_t& numAt = vNumAt[low - firstVtx];
        for (const Edge* pEnd = pEdge + numAt; pEdge != pEnd; ++pEdge)
            if (pEdge->high == high)
                return pEdge->firstSide;
        ++numAt;
        *pEdge = {high, side};
        return side;
    }

private:
    struct Edge {
        std::uint32_t high, firstSide;
    };

    std::size_t firstVtx;
    std::vector<std::uint32_t> vFirst; // by lower end, where its edges begin
    std::vector<std::uint32_t> vNumAt; // and how many there are
    std::vector<Edge> vEdges;
};

// By side, the first one with the same ends.
std::vector<std::uint32_t> findFirstSides(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx,
                                          const CornerSlices& slices)
{
    std::vector<std::uint32_t> vFirstSides(3 * vTriangles.size());
    forRangeMT(numVtx, [&](std::size_t firstVtx, std::size_t endVtx) {
        EdgeList edges(firstVtx, endVtx);
        const auto forEachSide = [&](auto f) {
            slices.forEachNear(firstVtx, endVtx, [&](std::size_t i) {
                for (std::size_t side = 0; side < 3; ++side) {
                    const std::uint32_t a = vTriangles[i][SIDE_ENDS[side][0]];
                    const std::uint32_t b = vTriangles[i][SIDE_ENDS[side][1]];
                    if (edges.isMine(std::min(a, b)))
                        f(std::min(a, b), std::max(a, b), 3 * i + side);
                }
            });
        };
        forEachSide([&](std::uint32_t low, std::uint32_t, std::size_t) { edges.announce(low); });
        edges.makeRoom();
        forEachSide([&](std::uint32_t low, std::uint32_t high, std::size_t side) {
            vFirstSides[side] = edges.findOrAdd(low, high, std::uint32_t(side));
        });
    });
    return vFirstSides;
}

} // namespace

EdgeNumbers numberEdges(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx,
                        const CornerSlices& slices)
{
    zanAssert(vTriangles.size() <= std::numeric_limits<std::uint32_t>::max() / 3);
    EdgeNumbers numbers;
    numbers.vOfSides = findFirstSides(vTriangles, numVtx, slices);
    numbers.vFirstSides.reserve(vTriangles.size() * 3 / 2);
    for (std::uint32_t side = 0; side < numbers.vOfSides.size(); ++side) {
        std::uint32_t& number = numbers.vOfSides[side];
        if (number == side) {
            number = std::uint32_t(numbers.vFirstSides.size());
            numbers.vFirstSides.push_back(side);
        } else {
            number = numbers.vOfSides[number]; // comes before and has its number
        }
    }
    return numbers;
}

} // namespace TESK_ZAN
