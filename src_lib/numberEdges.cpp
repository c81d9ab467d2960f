#include "numberEdges.h"

#include "zanAssert.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace TESK_ZAN
{

namespace
{

// The edges that there are so far, at their lower ends.
class EdgeList
{
public:
    EdgeList(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx) : vFirst(numVtx + 1, 0)
    {
        for (const CornerNumbers& corners : vTriangles)
            for (const auto& [i, j] : SIDE_ENDS)
                ++vFirst[std::min(corners[i], corners[j]) + 1];
        std::partial_sum(vFirst.begin(), vFirst.end(), vFirst.begin());
        vNumAt.resize(numVtx, 0);
        vEdges.resize(3 * vTriangles.size()); // more than there are: room for each side
    }

    // The number of the edge, the next free one if it is new.
    std::uint32_t findOrAdd(std::uint32_t a, std::uint32_t b)
    {
        const auto [low, high] = std::minmax(a, b);
        Edge* pEdge = vEdges.data() + vFirst[low];
        for (const Edge* pEnd = pEdge + vNumAt[low]; pEdge != pEnd; ++pEdge)
            if (pEdge->high == high)
                return pEdge->number;
        ++vNumAt[low];
        *pEdge = {high, numEdges};
        return numEdges++;
    }

private:
    struct Edge {
        std::uint32_t high, number;
    };

    std::vector<std::uint32_t> vFirst; // by lower end, where its edges begin
    std::vector<std::uint32_t> vNumAt; // and how many there are
    std::vector<Edge> vEdges;
    std::uint32_t numEdges = 0;
};

} // namespace

std::vector<std::uint32_t> numberEdges(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx)
{
    zanAssert(vTriangles.size() <= std::numeric_limits<std::uint32_t>::max() / 3);
    EdgeList edges(vTriangles, numVtx);
    std::vector<std::uint32_t> vNumbers;
    vNumbers.reserve(3 * vTriangles.size());
    for (const CornerNumbers& corners : vTriangles)
        for (const auto& [i, j] : SIDE_ENDS)
            vNumbers.push_back(edges.findOrAdd(corners[i], corners[j]));
    return vNumbers;
}

} // namespace TESK_ZAN
