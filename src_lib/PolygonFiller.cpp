#include "PolygonFiller.h"

#include "CMesh.h"
#include "freeFunctions.h"
#include "loopCorners.h"

#include <algorithm>
#include <utility>

namespace TESK_ZAN
{

namespace
{

// Of a triangle: its area by the square of its longest side. Below, its normal is worth nothing.
constexpr double MIN_FLATNESS = 1e-4;

} // namespace

PolygonFiller::PolygonFiller(CMesh* pMesh_, const std::vector<CEdge*>& vLoopCE) : pMesh(pMesh_)
{
    bUsable = vLoopCE.size() <= MAX_EDGES && getLoopCorners(*pMesh, vLoopCE, vVCD);
    if (bUsable)
        takeNormals();
}

// The normals stay null where a triangle has none.
void PolygonFiller::takeNormals()
{
    for (std::size_t i = 0; i < vVCD.size(); ++i) {
        bool bOK = false;
        Vector3 nnv;
        pMesh->getEdge(vVCD[i], vVCD[(i + 1) % vVCD.size()])->getCTs()[0]->getNNV(pMesh, nnv, bOK);
        vRimNNV.push_back(nnv);
    }
}

bool PolygonFiller::run()
{
    if (!bUsable)
        return false;
    const std::size_t n = vVCD.size();
    vBest.assign(n * n, Best());
    for (std::size_t i = 0; i + 1 < n; ++i)
        best(i, i + 1) = {0.0, 0.0, 0, vRimNNV[i]};
    for (std::size_t width = 2; width < n; ++width)
        for (std::size_t first = 0; first + width < n; ++first)
            if (isFree(first, first + width))
                findBest(first, first + width);
    if (best(0, n - 1).apex == 0)
        return false;
    createTriangles();
    return true;
}

// The last edge of all is the loop's own.
bool PolygonFiller::isFree(std::size_t first, std::size_t last) const
{
    if (vVCD[first] == vVCD[last])
        return false;
    return (first == 0 && last + 1 == vVCD.size()) || !pMesh->hasEdge(vVCD[first], vVCD[last]);
}

bool PolygonFiller::isNeedle(std::size_t i, std::size_t j, std::size_t k) const
{
    const Point3 &a = *pMesh->getVtx(vVCD[i]), &b = *pMesh->getVtx(vVCD[j]), &c = *pMesh->getVtx(vVCD[k]);
    const double sqLongest = std::max({sqDistance(a, b), sqDistance(b, c), sqDistance(c, a)});
    return getArea(a, b, c) < MIN_FLATNESS * sqLongest;
}

void PolygonFiller::findBest(std::size_t first, std::size_t last)
{
    const auto turn = [](const Vector3& a, const Vector3& b) {
        return a.isDegenerate() || b.isDegenerate() ? 0.0 : getAngleDegree(a, b);
    };
    Best& found = best(first, last);
    const bool bWhole = last - first + 1 == vVCD.size();
    for (std::size_t apex = first + 1; apex < last; ++apex) {
        const Best &left = best(first, apex), &right = best(apex, last);
        const bool bLeft = left.apex != 0 || apex == first + 1, bRight = right.apex != 0 || last == apex + 1;
        if (!bLeft || !bRight || left.turnDeg > found.turnDeg || right.turnDeg > found.turnDeg)
            continue;
        bool bOK = false;
        Best next;
        next.apex = apex;
        next.nnv = getNormalVector(pMesh, vVCD[first], vVCD[apex], vVCD[last], bOK);
        if (!bOK || isNeedle(first, apex, last))
            continue;
        next.turnDeg =
            std::max({left.turnDeg, right.turnDeg, turn(next.nnv, left.nnv), turn(next.nnv, right.nnv)});
        if (bWhole)
            next.turnDeg = std::max(next.turnDeg, turn(next.nnv, vRimNNV.back()));
        next.area =
            left.area + right.area +
            getArea(*pMesh->getVtx(vVCD[first]), *pMesh->getVtx(vVCD[apex]), *pMesh->getVtx(vVCD[last]));
        if (std::pair(next.turnDeg, next.area) < std::pair(found.turnDeg, found.area))
            found = next;
    }
}

void PolygonFiller::createTriangles()
{
    std::vector<std::pair<std::size_t, std::size_t>> vRanges = {{0, vVCD.size() - 1}};
    while (!vRanges.empty()) {
        const auto [first, last] = vRanges.back();
        vRanges.pop_back();
        if (last - first < 2)
            continue;
        const std::size_t apex = best(first, last).apex;
        pMesh->createT(vVCD[first], vVCD[apex], vVCD[last], 0, 0);
        vRanges.emplace_back(first, apex);
        vRanges.emplace_back(apex, last);
    }
}

} // namespace TESK_ZAN
