#include "meshChecks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

using TESK_ZAN::Point3;

namespace zan_test
{

namespace
{

using Corners = std::array<int, 3>;

struct EdgeUse {
    int from; // the smaller index
    int to;
    int triangle;
    bool bForward; // the triangle runs from the smaller index to the larger one

    bool sameEdge(const EdgeUse& other) const { return from == other.from && to == other.to; }
    bool operator<(const EdgeUse& other) const
    {
        return std::tie(from, to, triangle) < std::tie(other.from, other.to, other.triangle);
    }
};

class UnionFind
{
public:
    explicit UnionFind(size_t n) : vParent(n) { std::iota(vParent.begin(), vParent.end(), size_t{0}); }

    size_t find(size_t i)
    {
        while (vParent[i] != i)
            i = vParent[i] = vParent[vParent[i]];
        return i;
    }
    void join(size_t i, size_t j) { vParent[find(i)] = find(j); }

private:
    std::vector<size_t> vParent;
};

std::vector<Corners> regularTriangles(const IndexedMesh& mesh, MeshReport& report)
{
    const int n = int(mesh.vPoints.size());
    std::vector<Corners> vRegular;
    std::set<Corners> sKnown;
    for (size_t t = 0; t < mesh.numT(); ++t) {
        const Corners c = {mesh.vTriangles[3 * t], mesh.vTriangles[3 * t + 1], mesh.vTriangles[3 * t + 2]};
        if (std::any_of(c.begin(), c.end(), [n](int i) { return i < 0 || i >= n; })) {
            ++report.numOutOfRange;
            continue;
        }
        if (c[0] == c[1] || c[1] == c[2] || c[2] == c[0]) {
            ++report.numDegenerate;
            continue;
        }
        Corners sorted = c;
        std::sort(sorted.begin(), sorted.end());
        if (!sKnown.insert(sorted).second)
            ++report.numDuplicates;
        vRegular.push_back(c);
    }
    report.numTriangles = vRegular.size();
    return vRegular;
}

std::vector<EdgeUse> sortedEdgeUses(const std::vector<Corners>& vTriangles)
{
    std::vector<EdgeUse> vUses;
    vUses.reserve(3 * vTriangles.size());
    for (size_t t = 0; t < vTriangles.size(); ++t)
        for (size_t ici = 0; ici < 3; ++ici) {
            const int a = vTriangles[t][ici];
            const int b = vTriangles[t][(ici + 1) % 3];
            vUses.push_back({std::min(a, b), std::max(a, b), int(t), a < b});
        }
    std::sort(vUses.begin(), vUses.end());
    return vUses;
}

void countEdges(const std::vector<EdgeUse>& vUses, MeshReport& report)
{
    for (size_t i = 0; i < vUses.size();) {
        size_t j = i;
        while (j < vUses.size() && vUses[j].sameEdge(vUses[i]))
            ++j;
        ++report.mDegree[int(j - i)];
        if (j - i == 2 && vUses[i].bForward == vUses[i + 1].bForward)
            ++report.numMisoriented;
        i = j;
    }
}

// A vertex is regular if the edges that lie opposite to it in its triangles are one path or one cycle.
void countBadFans(const IndexedMesh& mesh, const std::vector<Corners>& vTriangles, MeshReport& report)
{
    std::vector<std::vector<std::pair<int, int>>> vLinks(mesh.vPoints.size());
    for (const Corners& c : vTriangles)
        for (size_t ici = 0; ici < 3; ++ici)
            vLinks[size_t(c[ici])].emplace_back(c[(ici + 1) % 3], c[(ici + 2) % 3]);
    for (const auto& vLink : vLinks) {
        if (vLink.empty())
            continue;
        ++report.numVertices;
        std::map<int, int> mEnds; // neighbour -> how many of the edges end there
        for (const auto& [a, b] : vLink) {
            ++mEnds[a];
            ++mEnds[b];
        }
        std::map<int, size_t> mIndex;
        for (const auto& [neig, num] : mEnds)
            mIndex.emplace(neig, mIndex.size());
        UnionFind parts(mIndex.size());
        for (const auto& [a, b] : vLink)
            parts.join(mIndex[a], mIndex[b]);
        const bool bOnePart = std::all_of(mIndex.begin(), mIndex.end(), [&parts](const auto& entry) {
            return parts.find(entry.second) == parts.find(0);
        });
        const bool bNoBranch =
            std::all_of(mEnds.begin(), mEnds.end(), [](const auto& entry) { return entry.second <= 2; });
        if (!bOnePart || !bNoBranch)
            ++report.numBadFans;
    }
}

size_t countComponents(const IndexedMesh& mesh, const std::vector<Corners>& vTriangles)
{
    UnionFind parts(mesh.vPoints.size());
    for (const Corners& c : vTriangles) {
        parts.join(size_t(c[0]), size_t(c[1]));
        parts.join(size_t(c[0]), size_t(c[2]));
    }
    std::set<size_t> sRoots;
    for (const Corners& c : vTriangles)
        sRoots.insert(parts.find(size_t(c[0])));
    return sRoots.size();
}

// f(a, b, c) for the corner points of every triangle.
template <class F>
void forEachTriangle(const IndexedMesh& mesh, F f)
{
    for (size_t t = 0; t < mesh.numT(); ++t)
        f(mesh.vPoints[size_t(mesh.vTriangles[3 * t])], mesh.vPoints[size_t(mesh.vTriangles[3 * t + 1])],
          mesh.vPoints[size_t(mesh.vTriangles[3 * t + 2])]);
}

Point3 centreOf(const Point3& a, const Point3& b, const Point3& c)
{
    return {(a.x() + b.x() + c.x()) / 3.0, (a.y() + b.y() + c.y()) / 3.0, (a.z() + b.z() + c.z()) / 3.0};
}

// Twice the vector area.
std::array<double, 3> crossOf(const Point3& a, const Point3& b, const Point3& c)
{
    const double u[3] = {b.x() - a.x(), b.y() - a.y(), b.z() - a.z()};
    const double v[3] = {c.x() - a.x(), c.y() - a.y(), c.z() - a.z()};
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

double sqDistance(const Point3& p, const Point3& q)
{
    const double d[3] = {p.x() - q.x(), p.y() - q.y(), p.z() - q.z()};
    return d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
}

// Vertices in use and triangle centres, by x.
std::vector<Point3> markersOf(const IndexedMesh& mesh)
{
    std::vector<Point3> vMarkers;
    forEachTriangle(mesh, [&vMarkers](const Point3& a, const Point3& b, const Point3& c) {
        vMarkers.insert(vMarkers.end(), {a, b, c, centreOf(a, b, c)});
    });
    std::sort(vMarkers.begin(), vMarkers.end());
    return vMarkers;
}

} // namespace

IndexedMesh indexedMesh(const std::vector<Point3*>& vPoints, const std::vector<int>& vTriangles)
{
    IndexedMesh mesh;
    mesh.vTriangles = vTriangles;
    mesh.vPoints.reserve(vPoints.size());
    for (const Point3* pPoint : vPoints)
        mesh.vPoints.push_back(*pPoint);
    return mesh;
}

size_t MeshReport::numEdges(int degree) const
{
    const auto it = mDegree.find(degree);
    return it == mDegree.end() ? 0 : it->second;
}

size_t MeshReport::numEdges() const
{
    size_t sum = 0;
    for (const auto& [degree, num] : mDegree)
        sum += num;
    return sum;
}

bool MeshReport::isClosedManifold() const
{
    return isManifold() && numEdges(1) == 0;
}

bool MeshReport::isManifold() const
{
    return numOutOfRange == 0 && numDegenerate == 0 && numDuplicates == 0 && numBadFans == 0 &&
           numEdges(1) + numEdges(2) == numEdges();
}

MeshReport checkMesh(const IndexedMesh& mesh)
{
    MeshReport report;
    const std::vector<Corners> vRegular = regularTriangles(mesh, report);
    countEdges(sortedEdgeUses(vRegular), report);
    countBadFans(mesh, vRegular, report);
    report.numComponents = countComponents(mesh, vRegular);
    report.euler = long(report.numVertices) - long(report.numEdges()) + long(report.numTriangles);
    return report;
}

std::string toText(const MeshReport& report)
{
    std::ostringstream text;
    text << report.numVertices << " vertices, " << report.numTriangles << " triangles, edge degrees";
    for (const auto& [degree, num] : report.mDegree)
        text << ' ' << degree << ':' << num;
    text << ", out of range " << report.numOutOfRange << ", degenerate " << report.numDegenerate
         << ", duplicates " << report.numDuplicates << ", misoriented " << report.numMisoriented
         << ", bad fans " << report.numBadFans << ", components " << report.numComponents << ", Euler "
         << report.euler;
    return text.str();
}

double meshArea(const IndexedMesh& mesh)
{
    double sum = 0.0;
    forEachTriangle(mesh, [&sum](const Point3& a, const Point3& b, const Point3& c) {
        const auto n = crossOf(a, b, c);
        sum += 0.5 * std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    });
    return sum;
}

double meshVolume(const IndexedMesh& mesh)
{
    double sum = 0.0;
    forEachTriangle(mesh, [&sum](const Point3& a, const Point3& b, const Point3& c) {
        const auto n = crossOf(a, b, c);
        sum += (n[0] * a.x() + n[1] * a.y() + n[2] * a.z()) / 6.0;
    });
    return sum;
}

double maxDistance(const IndexedMesh& mesh, const std::function<double(const Point3&)>& f)
{
    double worst = 0.0;
    for (const Point3& p : markersOf(mesh))
        worst = std::max(worst, std::fabs(f(p)));
    return worst;
}

size_t numForeignVertices(const IndexedMesh& mesh, const std::vector<Point3>& vInput)
{
    std::vector<Point3> vSorted = vInput;
    std::sort(vSorted.begin(), vSorted.end());
    return size_t(std::count_if(mesh.vPoints.begin(), mesh.vPoints.end(), [&vSorted](const Point3& p) {
        return !std::binary_search(vSorted.begin(), vSorted.end(), p);
    }));
}

double maxGap(const IndexedMesh& mesh, const std::vector<Point3>& vInput)
{
    const std::vector<Point3> vMarkers = markersOf(mesh);
    double sqWorst = 0.0;
    for (const Point3& p : vInput) {
        // outwards from p on the x axis, as long as x alone leaves room for a nearer marker
        double sqBest = HUGE_VAL;
        const auto start = std::lower_bound(vMarkers.begin(), vMarkers.end(), p);
        const auto look = [&p, &sqBest](const Point3& q) {
            const double dx = p.x() - q.x();
            if (dx * dx >= sqBest)
                return false;
            sqBest = std::min(sqBest, sqDistance(p, q));
            return true;
        };
        for (auto it = start; it != vMarkers.end() && look(*it);)
            ++it;
        for (auto it = start; it != vMarkers.begin() && look(*(it - 1));)
            --it;
        sqWorst = std::max(sqWorst, sqBest);
    }
    return std::sqrt(sqWorst);
}

} // namespace zan_test
