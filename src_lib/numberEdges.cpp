#include "numberEdges.h"

#include "tesk_tools/KeyBuckets.h"
#include "zanAssert.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace TESK_ZAN
{

namespace
{

// f(side, lower end, higher end) for all sides in order.
template <class F>
void forEachSide(const std::vector<CornerNumbers>& vTriangles, F f)
{
    std::uint32_t side = 0;
    for (const CornerNumbers& corners : vTriangles)
        for (const auto& [i, j] : SIDE_ENDS) {
            const auto [low, high] = std::minmax({corners[i], corners[j]});
            f(side++, low, high);
        }
}

// For each side the first one with the same ends.
std::vector<std::uint32_t> findFirstSides(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx)
{
    // The sides at their lower end, each as its higher end and, in the lower half, its place.
    TESK_TOOLS::KeyBuckets<std::uint64_t> buckets(numVtx);
    forEachSide(vTriangles, [&](std::uint32_t, std::uint32_t low, std::uint32_t) { buckets.announce(low); });
    buckets.makeRoom();
    forEachSide(vTriangles, [&](std::uint32_t side, std::uint32_t low, std::uint32_t high) {
        buckets.add(low, std::uint64_t{high} << 32 | side);
    });

    std::vector<std::uint32_t> vFirst(3 * vTriangles.size());
    for (std::size_t vtx = 0; vtx < numVtx; ++vtx) {
        const auto sides = buckets.get(std::uint32_t(vtx));
        std::sort(sides.begin(), sides.end());
        std::uint64_t first = 0;
        for (const std::uint64_t side : sides) {
            if (side >> 32 != first >> 32 || side == sides.front())
                first = side;
            vFirst[std::uint32_t(side)] = std::uint32_t(first);
        }
    }
    return vFirst;
}

} // namespace

std::vector<std::uint32_t> numberEdges(const std::vector<CornerNumbers>& vTriangles, std::size_t numVtx)
{
    zanAssert(vTriangles.size() <= std::numeric_limits<std::uint32_t>::max() / 3);
    std::vector<std::uint32_t> vNumbers = findFirstSides(vTriangles, numVtx);
    std::uint32_t numEdges = 0;
    for (std::uint32_t side = 0; side < vNumbers.size(); ++side) // in place: the first side comes first
        vNumbers[side] = vNumbers[side] == side ? numEdges++ : vNumbers[vNumbers[side]];
    return vNumbers;
}

} // namespace TESK_ZAN
