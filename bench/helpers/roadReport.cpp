#include "roadReport.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <ostream>
#include <tuple>
#include <utility>

#include <sys/resource.h>

namespace
{

using Index = std::uint32_t;

// A side of a triangle: the corners of the edge, the lower one first.
struct Side {
    Index low;
    Index high;
    Index triangle;
    bool bUp; // the triangle runs from low to high
};

// Groups by union-find; the lowest member is the root.
class Groups
{
public:
    explicit Groups(std::size_t n) : vParent(n) { std::iota(vParent.begin(), vParent.end(), std::size_t{0}); }

    std::size_t rootOf(std::size_t i)
    {
        while (vParent[i] != i)
            i = vParent[i] = vParent[vParent[i]];
        return i;
    }

    void join(std::size_t i, std::size_t j)
    {
        const auto [low, high] = std::minmax({rootOf(i), rootOf(j)});
        vParent[high] = low;
    }

private:
    std::vector<std::size_t> vParent;
};

std::vector<Side> sortedSides(const std::vector<Index>& vIndices)
{
    std::vector<Side> vSides;
    vSides.reserve(vIndices.size());
    for (std::size_t i = 0; i < vIndices.size(); ++i) {
        const Index from = vIndices[i];
        const Index to = vIndices[i % 3 == 2 ? i - 2 : i + 1];
        vSides.push_back({std::min(from, to), std::max(from, to), static_cast<Index>(i / 3), from < to});
    }
    std::sort(vSides.begin(), vSides.end(), [](const Side& a, const Side& b) {
        return std::tie(a.low, a.high, a.triangle) < std::tie(b.low, b.high, b.triangle);
    });
    return vSides;
}

// The corner number, three a triangle, at which the triangle has the vertex.
std::size_t cornerAt(const std::vector<Index>& vIndices, Index triangle, Index vertex)
{
    const std::size_t first = 3 * std::size_t{triangle};
    for (std::size_t k = 0; k < 2; ++k)
        if (vIndices[first + k] == vertex)
            return first + k;
    return first + 2;
}

// Distinct roots of the marked elements.
std::size_t countGroups(Groups& groups, const std::vector<char>& vMarked)
{
    std::vector<char> vRoot(vMarked.size(), 0);
    for (std::size_t i = 0; i < vMarked.size(); ++i)
        if (vMarked[i] != 0)
            vRoot[groups.rootOf(i)] = 1;
    return static_cast<std::size_t>(std::count(vRoot.begin(), vRoot.end(), 1));
}

// Vertices with more than one fan: corners hang together over edges of degree 2.
std::size_t countBadVertices(std::size_t numPoints, const std::vector<Index>& vIndices, Groups& corners)
{
    std::vector<char> vNumFans(numPoints, 0);
    for (std::size_t i = 0; i < vIndices.size(); ++i)
        if (corners.rootOf(i) == i && vNumFans[vIndices[i]] < 2)
            ++vNumFans[vIndices[i]];
    return static_cast<std::size_t>(std::count(vNumFans.begin(), vNumFans.end(), 2));
}

} // namespace

MeshQuality qualityOf(std::size_t numPoints, const std::vector<Index>& vIndices)
{
    MeshQuality quality;
    const std::vector<Side> vSides = sortedSides(vIndices);
    std::vector<char> vUsed(numPoints, 0);
    std::vector<char> vAtBorder(numPoints, 0);
    Groups vertices(numPoints);
    Groups borderVertices(numPoints);
    Groups corners(vIndices.size());
    for (std::size_t begin = 0; begin < vSides.size();) {
        const Side& side = vSides[begin];
        std::size_t end = begin + 1;
        while (end < vSides.size() && vSides[end].low == side.low && vSides[end].high == side.high)
            ++end;
        const std::size_t degree = end - begin;
        vUsed[side.low] = vUsed[side.high] = 1;
        vertices.join(side.low, side.high);
        if (degree == 1) {
            vAtBorder[side.low] = vAtBorder[side.high] = 1;
            borderVertices.join(side.low, side.high);
        }
        if (degree == 2) {
            const Side& other = vSides[begin + 1];
            quality.numMisoriented += side.bUp == other.bUp ? 1 : 0;
            for (const Index vertex : {side.low, side.high})
                corners.join(cornerAt(vIndices, side.triangle, vertex),
                             cornerAt(vIndices, other.triangle, vertex));
        }
        const std::array<std::size_t*, 4> counts = {&quality.numDegree1, &quality.numDegree2,
                                                    &quality.numDegree3, &quality.numDegree4Up};
        ++*counts[std::min<std::size_t>(degree, 4) - 1];
        begin = end;
    }
    quality.numVertices = static_cast<std::size_t>(std::count(vUsed.begin(), vUsed.end(), 1));
    quality.numComponents = countGroups(vertices, vUsed);
    quality.numBorderLoops = countGroups(borderVertices, vAtBorder);
    quality.numBadVertices = countBadVertices(numPoints, vIndices, corners);
    return quality;
}

double peakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0; // Linux counts in units of 1024 bytes
}

Stopwatch::Stopwatch() : start(std::chrono::steady_clock::now()), cpuStart(std::clock()) {}

Costs Stopwatch::getCosts() const
{
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const double cpuSeconds = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
    return {seconds.count(), cpuSeconds, peakBytes()};
}

void printCosts(std::ostream& out, std::size_t numPoints, const Costs& costs)
{
    const auto num = static_cast<double>(numPoints);
    out << "\"seconds\": " << costs.seconds << ", \"cpu_seconds\": " << costs.cpuSeconds
        << ", \"points_per_second\": " << num / costs.seconds
        << ", \"peak_bytes\": " << static_cast<std::size_t>(costs.bytes)
        << ", \"peak_bytes_per_point\": " << costs.bytes / num;
}

void printQuality(std::ostream& out, const MeshQuality& quality)
{
    out << "\"quality\": {\"vertices\": " << quality.numVertices
        << ", \"edges_degree_1\": " << quality.numDegree1 << ", \"edges_degree_2\": " << quality.numDegree2
        << ", \"edges_degree_3\": " << quality.numDegree3
        << ", \"edges_degree_4_or_more\": " << quality.numDegree4Up
        << ", \"nonmanifold_vertices\": " << quality.numBadVertices
        << ", \"misoriented_edges\": " << quality.numMisoriented
        << ", \"components\": " << quality.numComponents << ", \"border_loops\": " << quality.numBorderLoops
        << "}";
}
