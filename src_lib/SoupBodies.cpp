#include "SoupBodies.h"

#include "Point3Hash.h"
#include "SideForest.h"
#include "Vector3.h"
#include "sortMT.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/KeyBuckets.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>
#include <utility>

namespace TESK_ZAN
{

namespace
{

using Index = std::uint32_t;
using Coords = std::array<double, 3>;

constexpr std::size_t NUM_AXES = 3;
constexpr Index NO_SHELL = UINT32_MAX;
constexpr Index OPEN = 0;                 // the shell of what ends somewhere
constexpr std::size_t SHELL_SAMPLES = 16; // corners that all have to lie within another shell
constexpr int INSIDE_FROM = 2;            // of three rays
constexpr std::size_t SLICE_SIZE = 4096;  // triangles
constexpr std::size_t CRACK_PART = 10;    // of the edges: with more odd ones it is no shell

Coords coordsOf(const Point3& p)
{
    return {p.x(), p.y(), p.z()};
}

// An edge of a triangle, by the numbers of its corners.
struct EdgeUse {
    Index low, high, triangle;
};

bool operator<(const EdgeUse& a, const EdgeUse& b)
{
    return std::tie(a.low, a.high, a.triangle) < std::tie(b.low, b.high, b.triangle);
}

bool isSameEdge(const EdgeUse& a, const EdgeUse& b)
{
    return a.low == b.low && a.high == b.high;
}

// Of the finite triangles, sorted.
std::vector<EdgeUse> edgesOf(const std::vector<Point3>& vCorners, const std::vector<Index>& vShellOfT)
{
    TESK_TOOLS::FlatMap<Point3, Index, Point3Hash> mNumber;
    std::vector<EdgeUse> vEdges;
    vEdges.reserve(vCorners.size());
    for (Index t = 0; t < vShellOfT.size(); ++t) {
        if (vShellOfT[t] == NO_SHELL)
            continue;
        std::array<Index, 3> aNumber;
        for (std::size_t i = 0; i < 3; ++i)
            aNumber[i] = *mNumber.tryEmplace(vCorners[3 * t + i], static_cast<Index>(mNumber.size())).first;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto [low, high] = std::minmax(aNumber[i], aNumber[(i + 1) % 3]);
            if (low != high)
                vEdges.push_back({low, high, t});
        }
    }
    sortMT(vEdges.begin(), vEdges.end());
    return vEdges;
}

// Makes one group of triangles that hang together. By root: OPEN if the group has too many cracks, else
// NO_SHELL.
std::vector<Index> joinOverEdges(const std::vector<EdgeUse>& vEdges, SideForest& forest)
{
    std::vector<std::pair<Index, bool>> vEdgeAt; // of each edge a triangle, and whether it has an odd number
    for (std::size_t first = 0, last = 0; first < vEdges.size(); first = last) {
        for (; last < vEdges.size() && isSameEdge(vEdges[last], vEdges[first]); ++last)
            forest.join(vEdges[first].triangle, vEdges[last].triangle);
        vEdgeAt.emplace_back(vEdges[first].triangle, (last - first) % 2 == 1);
    }
    const std::size_t numT = forest.size();
    std::vector<std::size_t> vNumEdges(numT, 0), vNumOdd(numT, 0);
    for (const auto& [t, bOdd] : vEdgeAt) {
        const Index root = forest.find(t).index;
        ++vNumEdges[root];
        vNumOdd[root] += bOdd ? 1 : 0;
    }
    std::vector<Index> vShellOfRoot(numT, NO_SHELL);
    for (Index root = 0; root < numT; ++root)
        if (CRACK_PART * vNumOdd[root] > vNumEdges[root])
            vShellOfRoot[root] = OPEN;
    return vShellOfRoot;
}

// A place as the rays along an axis see it.
struct Sight {
    double across, inRow, along;
};

// The rays along one axis, towards less. The plane of those with one coordinate on the next axis meets a
// triangle in a segment. Bands of such planes hold about as many rays each as there are bands, so that a
// triangle looks at few rays that it does not cross, however these are spread.
class AxisRays
{
public:
    AxisRays(const std::vector<Point3>& vPlaces, std::size_t axis_) : axis(axis_)
    {
        vRays.reserve(vPlaces.size());
        for (const Point3& place : vPlaces)
            vRays.push_back({sightOf(coordsOf(place)), static_cast<Index>(vRays.size())});
        sortBy<&Sight::across>(0, vRays.size());
        const auto bandSize =
            std::max<std::size_t>(1, static_cast<std::size_t>(std::sqrt(double(vRays.size()))));
        for (std::size_t begin = 0; begin < vRays.size(); begin += bandSize) {
            const std::size_t end = std::min(begin + bandSize, vRays.size());
            vBands.push_back({vRays[begin].start.across, vRays[end - 1].start.across, begin, end});
            sortBy<&Sight::inRow>(begin, end);
        }
    }

    // Calls f for each ray that the triangle crosses. Of neighbouring triangles exactly one gets the rays
    // through their edge: they compute the same ends of segments there.
    template <class F>
    void cross(std::array<Coords, 3> aCoords, F f) const
    {
        std::sort(aCoords.begin(), aCoords.end());
        const Corners corners{sightOf(aCoords[0]), sightOf(aCoords[1]), sightOf(aCoords[2])};
        const auto [low, high] = std::minmax({corners[0].across, corners[1].across, corners[2].across});
        auto band = std::lower_bound(vBands.begin(), vBands.end(), low,
                                     [](const Band& b, double place) { return b.last < place; });
        for (; band != vBands.end() && band->first < high; ++band) {
            const auto [least, greatest] = rangeIn(*band, corners);
            const auto last = vRays.begin() + std::ptrdiff_t(band->end);
            auto it = std::lower_bound(vRays.begin() + std::ptrdiff_t(band->begin), last, least,
                                       [](const Ray& ray, double place) { return ray.start.inRow < place; });
            for (; it != last && it->start.inRow <= greatest; ++it)
                if (low <= it->start.across && it->start.across < high && isCrossed(it->start, corners))
                    f(it->number);
        }
    }

private:
    struct Ray {
        Sight start;
        Index number;
    };
    struct Band {
        double first, last; // of its rays
        std::size_t begin, end;
    };
    struct End {
        double inRow, along;
    };
    using Corners = std::array<Sight, 3>;

    static constexpr std::pair<std::size_t, std::size_t> EDGES[3] = {{0, 1}, {0, 2}, {1, 2}};

    Sight sightOf(const Coords& coords) const
    {
        return {coords[(axis + 1) % NUM_AXES], coords[(axis + 2) % NUM_AXES], coords[axis]};
    }

    template <double Sight::*COORDINATE>
    void sortBy(std::size_t begin, std::size_t end)
    {
        sortMT(vRays.begin() + std::ptrdiff_t(begin), vRays.begin() + std::ptrdiff_t(end),
               [](const Ray& a, const Ray& b) {
                   return std::tie(a.start.*COORDINATE, a.number) < std::tie(b.start.*COORDINATE, b.number);
               });
    }

    // Where the plane meets an edge that is not parallel to it.
    static End endOn(const Sight& p, const Sight& q, double plane)
    {
        const double part = (plane - p.across) / (q.across - p.across);
        return {p.inRow + part * (q.inRow - p.inRow), p.along + part * (q.along - p.along)};
    }

    // All ends of segments in the planes of a band lie between these two: rounding does not change the order
    // along an edge.
    static std::pair<double, double> rangeIn(const Band& band, const Corners& corners)
    {
        double least = INFINITY, greatest = -INFINITY;
        for (const auto& [i, j] : EDGES) {
            const Sight &p = corners[i], &q = corners[j];
            const double first = std::max(band.first, std::min(p.across, q.across));
            const double last = std::min(band.last, std::max(p.across, q.across));
            if (p.across == q.across || first > last)
                continue;
            for (const double plane : {first, last}) {
                const double end = endOn(p, q, plane).inRow;
                least = std::min(least, end);
                greatest = std::max(greatest, end);
            }
        }
        return {least, greatest};
    }

    // The plane of the ray lies between the corners, so it meets two of the edges.
    static bool isCrossed(const Sight& start, const Corners& corners)
    {
        std::array<End, 2> aEnd{};
        std::size_t numEnds = 0;
        for (const auto& [i, j] : EDGES) {
            const Sight &p = corners[i], &q = corners[j];
            if ((p.across <= start.across) != (q.across <= start.across))
                aEnd[numEnds++] = endOn(p, q, start.across);
        }
        if (aEnd[1].inRow < aEnd[0].inRow)
            std::swap(aEnd[0], aEnd[1]);
        const auto& [from, to] = aEnd;
        if (start.inRow < from.inRow || !(start.inRow < to.inRow))
            return false;
        const double part = (start.inRow - from.inRow) / (to.inRow - from.inRow);
        return from.along + part * (to.along - from.along) < start.along;
    }

    std::size_t axis;
    std::vector<Ray> vRays;   // band by band, then by their place along the row
    std::vector<Band> vBands; // ascending
};

} // namespace

SoupBodies::SoupBodies(const std::vector<Point3>& vCorners_) : vCorners(vCorners_)
{
    findShells();
    findCavities();
}

void SoupBodies::findShells()
{
    vShellOfT.assign(vCorners.size() / 3, OPEN);
    for (std::size_t t = 0; t < vShellOfT.size(); ++t)
        for (std::size_t i = 0; i < 3; ++i)
            if (!vCorners[3 * t + i].isFinite())
                vShellOfT[t] = NO_SHELL;

    SideForest forest(vShellOfT.size());
    std::vector<Index> vShellOfRoot = joinOverEdges(edgesOf(vCorners, vShellOfT), forest);
    vShells.resize(1);
    for (Index t = 0; t < vShellOfT.size(); ++t) {
        if (vShellOfT[t] == NO_SHELL)
            continue;
        Index& shell = vShellOfRoot[forest.find(t).index];
        if (shell == NO_SHELL) {
            shell = static_cast<Index>(vShells.size());
            vShells.push_back({vCorners[3 * t]});
        }
        vShellOfT[t] = shell;
        const Point3& origin = vShells[shell].origin;
        const Vector3 a = vCorners[3 * t] - origin, b = vCorners[3 * t + 1] - origin;
        vShells[shell].volume += crossProd(a, b) * (vCorners[3 * t + 2] - origin) / 6.0;
    }
}

// Some corners of each shell, spread over its triangles.
std::vector<Point3> SoupBodies::samplesOf(std::vector<Index>& vShellOfSample) const
{
    std::vector<std::size_t> vSize(vShells.size(), 0), vSeen(vShells.size(), 0);
    for (const Index shell : vShellOfT)
        if (shell != NO_SHELL)
            ++vSize[shell];
    std::vector<Point3> vSamples;
    for (std::size_t t = 0; t < vShellOfT.size(); ++t) {
        const Index shell = vShellOfT[t];
        if (shell == NO_SHELL || shell == OPEN || vSeen[shell]++ % (1 + vSize[shell] / SHELL_SAMPLES) != 0)
            continue;
        vSamples.push_back(vCorners[3 * t]);
        vShellOfSample.push_back(shell);
    }
    return vSamples;
}

void SoupBodies::findCavities()
{
    const auto facesInward = [](const auto& shell) { return shell.volume < 0.0; };
    const auto closed = vShells.begin() + 1;
    if (std::none_of(closed, vShells.end(), facesInward) || std::all_of(closed, vShells.end(), facesInward))
        return;
    std::vector<Index> vShellOfSample;
    const std::vector<Point3> vSamples = samplesOf(vShellOfSample);
    std::vector<std::tuple<Index, Index, Index>> vWithin; // sample, other shell; once for each odd ray
    std::vector<Crossing> vCrossings;
    for (std::size_t axis = 0; axis < NUM_AXES; ++axis) {
        getCrossings(vSamples, axis, vCrossings);
        for (const Crossing& crossing : vCrossings)
            if (crossing.shell != OPEN && crossing.shell != vShellOfSample[crossing.ray])
                vWithin.emplace_back(vShellOfSample[crossing.ray], crossing.shell, crossing.ray);
    }
    std::sort(vWithin.begin(), vWithin.end());
    std::vector<std::size_t> vNumSamples(vShells.size(), 0);
    for (const Index shell : vShellOfSample)
        ++vNumSamples[shell];

    std::vector<Index> vOuter(vShells.size(), NO_SHELL); // the largest one that has all of it within
    for (std::size_t first = 0, last = 0; first < vWithin.size(); first = last) {
        const auto [shell, other, sample] = vWithin[first];
        std::size_t numInside = 0;
        for (std::size_t i = first; last < vWithin.size() && std::get<0>(vWithin[last]) == shell &&
                                    std::get<1>(vWithin[last]) == other;
             i = last) {
            while (last < vWithin.size() && vWithin[last] == vWithin[i])
                ++last;
            numInside += last - i >= INSIDE_FROM ? 1 : 0;
        }
        const double size = std::fabs(vShells[other].volume);
        if (numInside == vNumSamples[shell] && size > std::fabs(vShells[shell].volume) &&
            (vOuter[shell] == NO_SHELL || size > std::fabs(vShells[vOuter[shell]].volume)))
            vOuter[shell] = other;
    }
    for (Index shell = 1; shell < vShells.size(); ++shell)
        vShells[shell].bCavity =
            vOuter[shell] != NO_SHELL && facesInward(vShells[shell]) != facesInward(vShells[vOuter[shell]]);
}

// One for each ray and shell that it crosses an odd number of times, by ray and shell.
void SoupBodies::getCrossings(const std::vector<Point3>& vPlaces, std::size_t axis,
                              std::vector<Crossing>& vCrossings) const
{
    const AxisRays rays(vPlaces, axis);
    const auto vvFound = collectMT<Crossing>(
        vShellOfT.size(), SLICE_SIZE, [&](std::size_t begin, std::size_t end, std::vector<Crossing>& vFound) {
            for (std::size_t t = begin; t < end; ++t)
                if (vShellOfT[t] != NO_SHELL)
                    rays.cross({coordsOf(vCorners[3 * t]), coordsOf(vCorners[3 * t + 1]),
                                coordsOf(vCorners[3 * t + 2])},
                               [&](Index ray) {
                                   vFound.push_back({ray, vShellOfT[t]});
                               });
        });
    TESK_TOOLS::KeyBuckets<Index> shells(vPlaces.size()); // by ray
    for (const auto& vFound : vvFound)
        for (const Crossing& crossing : vFound)
            shells.announce(crossing.ray);
    shells.makeRoom();
    for (const auto& vFound : vvFound)
        for (const Crossing& crossing : vFound)
            shells.add(crossing.ray, crossing.shell);

    vCrossings.clear();
    for (Index ray = 0; ray < vPlaces.size(); ++ray) {
        const std::span<Index> found = shells.get(ray);
        std::sort(found.begin(), found.end());
        for (auto first = found.begin(), last = first; first != found.end(); first = last) {
            last = std::upper_bound(first, found.end(), *first);
            if ((last - first) % 2 == 1)
                vCrossings.push_back({ray, *first});
        }
    }
}

std::vector<char> SoupBodies::findInside(const std::vector<Point3>& vPlaces) const
{
    std::vector<char> vVotes(vPlaces.size(), 0);
    std::vector<Crossing> vCrossings;
    std::vector<int> vDepth(vPlaces.size());
    std::vector<char> vTurned(vPlaces.size());
    for (std::size_t axis = 0; axis < NUM_AXES; ++axis) {
        getCrossings(vPlaces, axis, vCrossings);
        std::fill(vDepth.begin(), vDepth.end(), 0);
        std::fill(vTurned.begin(), vTurned.end(), 0);
        for (const Crossing& crossing : vCrossings)
            if (crossing.shell == OPEN)
                vTurned[crossing.ray] = 1;
            else
                vDepth[crossing.ray] += vShells[crossing.shell].bCavity ? -1 : 1;
        for (std::size_t i = 0; i < vVotes.size(); ++i)
            vVotes[i] = static_cast<char>(vVotes[i] + ((vDepth[i] > 0) != (vTurned[i] != 0) ? 1 : 0));
    }
    for (char& vote : vVotes)
        vote = vote >= INSIDE_FROM ? 1 : 0;
    return vVotes;
}

} // namespace TESK_ZAN
