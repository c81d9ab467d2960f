#include "meshFigures.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

using TESK_ZAN::Point3;

namespace
{

using Triangle = std::array<std::size_t, 3>; // of vertex numbers

// Numbers the places, equal ones alike; a triangle with a corner that is nowhere is left out.
std::vector<Triangle> weld(const std::vector<Point3>& vCorners, std::vector<Point3>& vPlaces,
                           MeshFigures& figures)
{
    vPlaces.reserve(vCorners.size());
    std::copy_if(vCorners.begin(), vCorners.end(), std::back_inserter(vPlaces),
                 [](const Point3& p) { return p.isFinite(); });
    std::sort(vPlaces.begin(), vPlaces.end());
    vPlaces.erase(std::unique(vPlaces.begin(), vPlaces.end()), vPlaces.end());
    figures.numVertices = vPlaces.size();

    std::vector<Triangle> vTriangles;
    vTriangles.reserve(vCorners.size() / 3);
    for (std::size_t first = 0; first + 2 < vCorners.size(); first += 3) {
        ++figures.numTriangles;
        Triangle triangle{};
        bool bProper = true;
        for (std::size_t k = 0; k < 3; ++k) {
            const Point3& corner = vCorners[first + k];
            bProper = bProper && corner.isFinite();
            const auto place = std::lower_bound(vPlaces.begin(), vPlaces.end(), corner);
            triangle[k] = static_cast<std::size_t>(place - vPlaces.begin());
        }
        if (bProper && triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0])
            vTriangles.push_back(triangle);
        else
            ++figures.numDegenerate;
    }
    return vTriangles;
}

// Calls f(lower vertex, higher vertex, number of triangles) for each edge.
template <class F>
void forEachEdge(const std::vector<Triangle>& vTriangles, F f)
{
    std::vector<std::pair<std::size_t, std::size_t>> vSides; // lower vertex first, once per triangle
    vSides.reserve(3 * vTriangles.size());
    for (const Triangle& t : vTriangles) {
        for (std::size_t k = 0; k < 3; ++k)
            vSides.push_back(std::minmax({t[k], t[(k + 1) % 3]}));
    }
    std::sort(vSides.begin(), vSides.end());
    for (auto side = vSides.begin(); side != vSides.end();) {
        const auto next = std::find_if(side, vSides.end(), [&](const auto& other) { return other != *side; });
        f(side->first, side->second, static_cast<std::size_t>(next - side));
        side = next;
    }
}

void countEdges(const std::vector<Triangle>& vTriangles, MeshFigures& figures)
{
    forEachEdge(vTriangles, [&](std::size_t, std::size_t, std::size_t degree) {
        ++figures.numEdges;
        figures.numBorder += degree == 1 ? 1 : 0;
        figures.numNonManifold += degree > 2 ? 1 : 0;
    });
}

// Union-find over the vertices; path halving keeps the chains short.
void countComponents(const std::vector<Triangle>& vTriangles, MeshFigures& figures)
{
    std::vector<std::size_t> vParent(figures.numVertices);
    std::iota(vParent.begin(), vParent.end(), std::size_t{0});
    const auto rootOf = [&vParent](std::size_t v) {
        while (vParent[v] != v)
            v = vParent[v] = vParent[vParent[v]];
        return v;
    };

    for (const Triangle& t : vTriangles) {
        for (std::size_t k = 1; k < 3; ++k) {
            const auto [low, high] = std::minmax({rootOf(t[0]), rootOf(t[k])});
            vParent[high] = low;
        }
    }
    // The lowest vertex of a component is its root; a vertex that no proper triangle uses is none.
    std::vector<char> vUsed(figures.numVertices, 0);
    for (const Triangle& t : vTriangles)
        vUsed[rootOf(t[0])] = 1;
    figures.numComponents = static_cast<std::size_t>(std::count(vUsed.begin(), vUsed.end(), 1));
}

} // namespace

MeshFigures figuresOf(const std::vector<Point3>& vCorners)
{
    MeshFigures figures;
    std::vector<Point3> vPlaces;
    const std::vector<Triangle> vTriangles = weld(vCorners, vPlaces, figures);
    countEdges(vTriangles, figures);
    countComponents(vTriangles, figures);
    return figures;
}

std::vector<MeshEdge> edgesOf(const std::vector<Point3>& vCorners, bool bRegularToo)
{
    MeshFigures figures;
    std::vector<Point3> vPlaces;
    std::vector<MeshEdge> vEdges;
    forEachEdge(weld(vCorners, vPlaces, figures), [&](std::size_t from, std::size_t to, std::size_t degree) {
        if (bRegularToo || degree != 2)
            vEdges.push_back({vPlaces[from], vPlaces[to], degree});
    });
    return vEdges;
}
