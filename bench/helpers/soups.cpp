#include "soups.h"

#include "Point3Hash.h"
#include "fileTypes.h"
#include "tesk_tools/FlatMap.h"
#include "zan_api_functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <ostream>
#include <stdexcept>

using namespace TESK_ZAN;

namespace
{

using Index = std::uint32_t;

double dot(const Vector3& a, const Vector3& b)
{
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

Vector3 cross(const Vector3& a, const Vector3& b)
{
    return Vector3(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                   a.x() * b.y() - a.y() * b.x());
}

// --- generated soups

void appendTriangle(std::vector<Point3>& vCorners, const Point3& a, const Point3& b, const Point3& c)
{
    vCorners.insert(vCorners.end(), {a, b, c});
}

Point3 onBumps(double x, double y, double z)
{
    const double length = std::sqrt(x * x + y * y + z * z);
    x /= length;
    y /= length;
    z /= length;
    const double radius = 1.0 + 0.05 * (std::sin(7.0 * x) + std::sin(9.0 * y) + std::sin(11.0 * z));
    return Point3(radius * x, radius * y, radius * z);
}

// Each face of an octahedron in n * n triangles.
void appendBall(std::vector<Point3>& vCorners, int n)
{
    for (int octant = 0; octant < 8; ++octant) {
        const double sx = octant & 1 ? -1.0 : 1.0, sy = octant & 2 ? -1.0 : 1.0, sz = octant & 4 ? -1.0 : 1.0;
        const bool bTurn = sx * sy * sz < 0.0;
        const auto at = [=](int i, int j) { return onBumps(sx * i, sy * j, sz * (n - i - j)); };
        const auto append = [&](const Point3& a, const Point3& b, const Point3& c) {
            appendTriangle(vCorners, a, bTurn ? c : b, bTurn ? b : c);
        };
        for (int i = 0; i < n; ++i)
            for (int j = 0; i + j < n; ++j) {
                append(at(i, j), at(i + 1, j), at(i, j + 1));
                if (i + j + 1 < n)
                    append(at(i + 1, j), at(i + 1, j + 1), at(i, j + 1));
            }
    }
}

void appendWheel(std::vector<Point3>& vCorners)
{
    constexpr int NUM_CORNERS = 48; // two a tooth
    constexpr double TIP = 1.5, ROOT = 1.3, HALF_WIDTH = 0.21;
    const auto at = [](int i, double z) {
        const double angle = 2.0 * std::numbers::pi * (i % NUM_CORNERS) / NUM_CORNERS + 0.1;
        const double radius = i % 2 == 0 ? TIP : ROOT;
        return Point3(radius * std::cos(angle), radius * std::sin(angle), z);
    };
    for (int i = 0; i < NUM_CORNERS; ++i) {
        appendTriangle(vCorners, at(i, -HALF_WIDTH), at(i + 1, -HALF_WIDTH), at(i + 1, HALF_WIDTH));
        appendTriangle(vCorners, at(i, -HALF_WIDTH), at(i + 1, HALF_WIDTH), at(i, HALF_WIDTH));
        appendTriangle(vCorners, Point3(0.0, 0.0, HALF_WIDTH), at(i, HALF_WIDTH), at(i + 1, HALF_WIDTH));
        appendTriangle(vCorners, Point3(0.0, 0.0, -HALF_WIDTH), at(i + 1, -HALF_WIDTH), at(i, -HALF_WIDTH));
    }
}

// --- sharp edges

// A triangle side by the numbers of its places, the lower one first.
struct Side {
    Index low;
    Index high;
    std::size_t triangle;
    bool operator<(const Side& other) const
    {
        return low != other.low     ? low < other.low
               : high != other.high ? high < other.high
                                    : triangle < other.triangle;
    }
};

// Sides by their places, which are added to vPlaces.
std::vector<Side> sortedSides(const std::vector<Point3>& vCorners, std::vector<Point3>& vPlaces)
{
    TESK_TOOLS::FlatMap<Point3, Index, Point3Hash> mNumber;
    std::vector<Index> vNumber;
    for (const Point3& corner : vCorners) {
        const auto [pNumber, bNew] = mNumber.tryEmplace(corner, static_cast<Index>(vPlaces.size()));
        if (bNew)
            vPlaces.push_back(corner);
        vNumber.push_back(*pNumber);
    }
    std::vector<Side> vSides;
    for (std::size_t i = 0; i < vNumber.size(); ++i) {
        const auto [low, high] = std::minmax(vNumber[i], vNumber[i % 3 == 2 ? i - 2 : i + 1]);
        if (low != high)
            vSides.push_back({low, high, i / 3});
    }
    std::sort(vSides.begin(), vSides.end());
    return vSides;
}

Vector3 normalOf(const std::vector<Point3>& vCorners, std::size_t triangle)
{
    const Point3* p = vCorners.data() + 3 * triangle;
    return cross(p[1] - p[0], p[2] - p[0]);
}

// The turn between two triangles that run through their edge in opposite directions or not.
bool isSharp(const std::vector<Point3>& vCorners, const Side& side0, const Side& side1)
{
    constexpr double MIN_TURN = 30.0;
    const Vector3 n0 = normalOf(vCorners, side0.triangle), n1 = normalOf(vCorners, side1.triangle);
    const double lengths = n0.length() * n1.length();
    return lengths > 0.0 && dot(n0, n1) < std::cos(MIN_TURN / 180.0 * std::numbers::pi) * lengths;
}

std::vector<Point3> sampleSharpEdges(const std::vector<Point3>& vCorners, double step)
{
    std::vector<Point3> vPlaces, vSamples;
    const std::vector<Side> vSides = sortedSides(vCorners, vPlaces);
    for (std::size_t first = 0, last = 0; first < vSides.size(); first = last) {
        while (last < vSides.size() && vSides[last].low == vSides[first].low &&
               vSides[last].high == vSides[first].high)
            ++last;
        if (last - first != 2 || !isSharp(vCorners, vSides[first], vSides[first + 1]))
            continue;
        const Point3 a = vPlaces[vSides[first].low];
        const Vector3 run = vPlaces[vSides[first].high] - a;
        const auto num = static_cast<std::size_t>(run.length() / step) + 1;
        for (std::size_t i = 0; i < num; ++i)
            vSamples.push_back(a + ((static_cast<double>(i) + 0.5) / static_cast<double>(num)) * run);
    }
    return vSamples;
}

// --- distances

double distanceToSegment(const Point3& p, const Point3& a, const Point3& b)
{
    const Vector3 run = b - a;
    const double square = dot(run, run);
    const double share = square > 0.0 ? std::clamp(dot(p - a, run) / square, 0.0, 1.0) : 0.0;
    return (p - (a + share * run)).length();
}

double distanceToTriangle(const Point3& p, const Point3& a, const Point3& b, const Point3& c)
{
    const Vector3 n = cross(b - a, c - a);
    const bool bAbove = dot(cross(b - a, n), p - a) <= 0.0 && dot(cross(c - b, n), p - b) <= 0.0 &&
                        dot(cross(a - c, n), p - c) <= 0.0;
    if (bAbove && n.length() > 0.0)
        return std::fabs(dot(n, p - a)) / n.length();
    return std::min({distanceToSegment(p, a, b), distanceToSegment(p, b, c), distanceToSegment(p, c, a)});
}

// Finds the nearest triangle through the boxes of a grid that the triangles' own boxes meet.
class TriangleGrid
{
public:
    TriangleGrid(const std::vector<Point3>& vPoints_, const std::vector<Index>& vIndices_, double side_)
        : vPoints(vPoints_), vIndices(vIndices_), side(side_)
    {
        std::vector<std::array<std::int32_t, 4>> vEntries; // box, triangle
        for (std::size_t t = 0; t < vIndices.size() / 3; ++t)
            forEachBox(t, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
                vEntries.push_back({x, y, z, static_cast<std::int32_t>(t)});
            });
        std::sort(vEntries.begin(), vEntries.end());
        for (const auto& [x, y, z, triangle] : vEntries) {
            if (vBoxes.empty() || vBoxes.back().x != x || vBoxes.back().y != y || vBoxes.back().z != z)
                vBoxes.push_back({x, y, z, vTriangles.size()});
            vTriangles.push_back(static_cast<Index>(triangle));
        }
        vBoxes.push_back({std::numeric_limits<std::int32_t>::max(), 0, 0, vTriangles.size()});
    }

    double distance(const Point3& p) const
    {
        constexpr int MAX_RINGS = 64;
        double nearest = std::numeric_limits<double>::infinity();
        for (int ring = 0; ring < MAX_RINGS && nearest > (ring - 1) * side; ++ring)
            lookAtRing(p, ring, nearest);
        return nearest;
    }

private:
    struct Box {
        std::int32_t x, y, z;
        std::size_t first;
        bool operator<(const Box& b) const { return x != b.x ? x < b.x : y != b.y ? y < b.y : z < b.z; }
    };

    std::int32_t boxOf(double coordinate) const
    {
        return static_cast<std::int32_t>(std::floor(coordinate / side));
    }

    template <class F>
    void forEachBox(std::size_t t, F f) const
    {
        const Point3 &a = vPoints[vIndices[3 * t]], &b = vPoints[vIndices[3 * t + 1]],
                     &c = vPoints[vIndices[3 * t + 2]];
        const auto [xLow, xHigh] = std::minmax({a.x(), b.x(), c.x()});
        const auto [yLow, yHigh] = std::minmax({a.y(), b.y(), c.y()});
        const auto [zLow, zHigh] = std::minmax({a.z(), b.z(), c.z()});
        for (std::int32_t x = boxOf(xLow); x <= boxOf(xHigh); ++x)
            for (std::int32_t y = boxOf(yLow); y <= boxOf(yHigh); ++y)
                for (std::int32_t z = boxOf(zLow); z <= boxOf(zHigh); ++z)
                    f(x, y, z);
    }

    void lookAtRing(const Point3& p, int ring, double& nearest) const
    {
        for (int dx = -ring; dx <= ring; ++dx)
            for (int dy = -ring; dy <= ring; ++dy)
                for (int dz = -ring; dz <= ring; ++dz)
                    if (std::max({std::abs(dx), std::abs(dy), std::abs(dz)}) == ring)
                        lookInBox({boxOf(p.x()) + dx, boxOf(p.y()) + dy, boxOf(p.z()) + dz, 0}, p, nearest);
    }

    void lookInBox(const Box& box, const Point3& p, double& nearest) const
    {
        const auto it = std::lower_bound(vBoxes.begin(), vBoxes.end() - 1, box);
        if (it == vBoxes.end() - 1 || box < *it)
            return;
        for (std::size_t i = it->first; i < (it + 1)->first; ++i) {
            const Index* corner = vIndices.data() + 3 * std::size_t{vTriangles[i]};
            nearest = std::min(
                nearest, distanceToTriangle(p, vPoints[corner[0]], vPoints[corner[1]], vPoints[corner[2]]));
        }
    }

    const std::vector<Point3>& vPoints;
    const std::vector<Index>& vIndices;
    double side;
    std::vector<Box> vBoxes;       // by place, with the start of their triangles; one behind the last
    std::vector<Index> vTriangles; // box by box
};

} // namespace

std::vector<Point3> readSoup(const std::string& name)
{
    std::vector<Point3> vCorners;
    const bool bRead = getFileType(name) == FT_STL ? readSTL_ASCII(name.c_str(), vCorners)
                                                   : readPly(name.c_str(), false, vCorners);
    if (!bRead || vCorners.empty())
        throw std::runtime_error("cannot read triangles from " + name);
    return vCorners;
}

std::vector<Point3> generatedSoup(std::size_t numTriangles)
{
    std::vector<Point3> vCorners;
    appendBall(vCorners, std::max(1, static_cast<int>(std::sqrt(static_cast<double>(numTriangles) / 8.0))));
    appendWheel(vCorners);
    return vCorners;
}

double areaOf(const std::vector<Point3>& vCorners)
{
    double area = 0.0;
    for (std::size_t t = 0; t < vCorners.size() / 3; ++t)
        area += 0.5 * normalOf(vCorners, t).length();
    return area;
}

double diagonalOf(const std::vector<Point3>& vCorners)
{
    std::array<double, 3> low, high;
    low.fill(std::numeric_limits<double>::max());
    high.fill(std::numeric_limits<double>::lowest());
    for (const Point3& p : vCorners) {
        const std::array<double, 3> xyz = {p.x(), p.y(), p.z()};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], xyz[axis]);
            high[axis] = std::max(high[axis], xyz[axis]);
        }
    }
    return std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

EdgeDistances sharpEdgeDistances(const std::vector<Point3>& vCorners, const std::vector<Point3>& vPoints,
                                 const std::vector<Index>& vIndices, double cell)
{
    const std::vector<Point3> vSamples = sampleSharpEdges(vCorners, 0.5 * cell);
    const TriangleGrid grid(vPoints, vIndices, 2.0 * cell);
    std::vector<double> vDistances;
    for (const Point3& p : vSamples)
        vDistances.push_back(grid.distance(p) / cell);
    std::sort(vDistances.begin(), vDistances.end());
    EdgeDistances distances;
    distances.numSamples = vDistances.size();
    if (vDistances.empty())
        return distances;
    for (const double distance : vDistances)
        distances.mean += distance / static_cast<double>(vDistances.size());
    distances.percentile95 = vDistances[vDistances.size() * 95 / 100];
    distances.max = vDistances.back();
    return distances;
}

void printEdgeDistances(std::ostream& out, const EdgeDistances& distances)
{
    out << "\"sharp_edges\": {\"samples\": " << distances.numSamples << ", \"mean\": " << distances.mean
        << ", \"percentile95\": " << distances.percentile95 << ", \"max\": " << distances.max << "}";
}
