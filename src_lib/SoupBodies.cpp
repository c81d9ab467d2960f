#include "SoupBodies.h"

#include "Point3Hash.h"
#include "SideForest.h"
#include "Vector3.h"
#include "sortMT.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace TESK_ZAN
{

namespace
{

using Index = std::uint32_t;
using Coords = std::array<double, 3>;

constexpr Index NO_SHELL = UINT32_MAX;
constexpr Index OPEN = 0;                 // the shell of what ends somewhere
constexpr std::size_t SHELL_SAMPLES = 16; // corners that all have to lie within another shell
constexpr int INSIDE_FROM = 2;            // of three votes
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
        for (; last < vEdges.size() && isSameEdge(vEdges[last], vEdges[first]); ++last) {
            const Index a = forest.find(vEdges[first].triangle).index;
            const Index b = forest.find(vEdges[last].triangle).index;
            if (a != b)
                forest.attach(std::max(a, b), std::min(a, b), false);
        }
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

// The rays along one axis, towards less. Those from one coordinate of the next axis are a row, whose plane a
// triangle meets in a segment.
class AxisRays
{
public:
    AxisRays(const std::vector<Point3>& vPlaces, std::size_t axis)
        : along(axis), across((axis + 1) % 3), inRow((axis + 2) % 3)
    {
        transformMT(vPlaces, vStarts, coordsOf);
        vOrder.resize(vStarts.size());
        for (Index i = 0; i < vOrder.size(); ++i)
            vOrder[i] = i;
        sortMT(vOrder.begin(), vOrder.end(), [this](Index a, Index b) {
            const Coords &p = vStarts[a], &q = vStarts[b];
            return std::tie(p[across], p[inRow], a) < std::tie(q[across], q[inRow], b);
        });
        for (Index i = 0; i < vOrder.size(); ++i) {
            const double place = vStarts[vOrder[i]][across];
            if (vRows.empty() || place != vRows.back().place)
                vRows.push_back({place, i, i});
            vRows.back().end = i + 1;
        }
    }

    // Calls f for each ray that the triangle crosses. Of neighbouring triangles exactly one gets the rays
    // through their edge: they compute the same ends of segments there.
    template <class F>
    void cross(std::array<Coords, 3> aCorner, F f) const
    {
        std::sort(aCorner.begin(), aCorner.end());
        const auto [low, high] = std::minmax({aCorner[0][across], aCorner[1][across], aCorner[2][across]});
        auto row = std::lower_bound(vRows.begin(), vRows.end(), low,
                                    [](const Row& r, double place) { return r.place < place; });
        for (; row != vRows.end() && row->place < high; ++row)
            crossRow(aCorner, *row, f);
    }

private:
    struct Row {
        double place;
        Index first, end; // in vOrder
    };
    struct End {
        double inRow, along;
    };

    // The plane of a row that lies between the corners meets two of the edges.
    std::array<End, 2> segmentIn(const Row& row, const std::array<Coords, 3>& aCorner) const
    {
        std::array<End, 2> aEnd{};
        std::size_t numEnds = 0;
        for (const auto& [i, j] : {std::pair(0U, 1U), std::pair(0U, 2U), std::pair(1U, 2U)}) {
            const Coords &p = aCorner[i], &q = aCorner[j];
            if ((p[across] <= row.place) == (q[across] <= row.place))
                continue;
            const double part = (row.place - p[across]) / (q[across] - p[across]);
            aEnd[numEnds++] = {p[inRow] + part * (q[inRow] - p[inRow]),
                               p[along] + part * (q[along] - p[along])};
        }
        if (aEnd[1].inRow < aEnd[0].inRow)
            std::swap(aEnd[0], aEnd[1]);
        return aEnd;
    }

    template <class F>
    void crossRow(const std::array<Coords, 3>& aCorner, const Row& row, F f) const
    {
        const auto [from, to] = segmentIn(row, aCorner);
        const auto last = vOrder.begin() + row.end;
        auto it = std::lower_bound(vOrder.begin() + row.first, last, from.inRow,
                                   [this](Index i, double place) { return vStarts[i][inRow] < place; });
        for (; it != last && vStarts[*it][inRow] < to.inRow; ++it) {
            const double part = (vStarts[*it][inRow] - from.inRow) / (to.inRow - from.inRow);
            if (from.along + part * (to.along - from.along) < vStarts[*it][along])
                f(*it);
        }
    }

    std::size_t along, across, inRow;
    std::vector<Coords> vStarts;
    std::vector<Index> vOrder; // of the starts, by row and then along it
    std::vector<Row> vRows;    // ascending
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
    vCrossings.clear();
    const AxisRays rays(vPlaces, axis);
    for (std::size_t t = 0; t < vShellOfT.size(); ++t) {
        if (vShellOfT[t] == NO_SHELL)
            continue;
        const std::array<Coords, 3> aCorner{coordsOf(vCorners[3 * t]), coordsOf(vCorners[3 * t + 1]),
                                            coordsOf(vCorners[3 * t + 2])};
        rays.cross(aCorner, [&](Index ray) { vCrossings.push_back({ray, vShellOfT[t]}); });
    }
    std::sort(vCrossings.begin(), vCrossings.end(), [](const Crossing& a, const Crossing& b) {
        return std::tie(a.ray, a.shell) < std::tie(b.ray, b.shell);
    });
    std::size_t numKept = 0;
    for (std::size_t first = 0, last = 0; first < vCrossings.size(); first = last) {
        while (last < vCrossings.size() && vCrossings[last].ray == vCrossings[first].ray &&
               vCrossings[last].shell == vCrossings[first].shell)
            ++last;
        if ((last - first) % 2 == 1)
            vCrossings[numKept++] = vCrossings[first];
    }
    vCrossings.resize(numKept);
}

std::vector<char> SoupBodies::countInsideVotes(const std::vector<Point3>& vPlaces) const
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
    return vVotes;
}

} // namespace TESK_ZAN
