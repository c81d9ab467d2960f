#include "Pixel.h"

#include "Calc.h"
#include "Progress.h"
#include "messages.h"
#include "numberText.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace TESK_ZAN
{

namespace
{

// About a hundred million cells: some ten gigabytes as a cloud, a hundred as a mesh.
constexpr double MAX_SAMPLES = 4e8;

constexpr std::uint32_t NO_GROUP = std::numeric_limits<std::uint32_t>::max();

} // namespace

Pixel::Pixel(const std::vector<Point3*>& vTriangleCorners, const Calc* pCalc_)
    : pCalc(pCalc_), spacingAbs(pCalc_->getCellSize())
{
    zanAssertText(!vTriangleCorners.empty(), "!vTriangleCorners.empty()");
    zanAssertText(vTriangleCorners.size() % 3 == 0, "vTriangleCorners.size()%3==0");
    zanAssertText(spacingAbs > 0, "spacingAbs>0");
    linkEdge2T(vTriangleCorners);
    if (vTri.empty()) {
        ZAN_WARNING("No non-degenerate triangles");
        return;
    }
    bfsSort();
}

void Pixel::createPixels(std::vector<Point3>& vPixels, CellPairs& vFeatures, CellPairs& vBorders,
                         double featureAngle)
{
    if (vTri.empty() || !isAffordable())
        return;
    std::vector<RasterEntry> vEdges;
    pixelAllEdges(featureAngle, vEdges, vFeatures, vBorders); // each cell once, and in sUsedRCD
    vEdge2Tri = {};
    std::vector<RasterEntry> vAreas = rasterizeAllTriangles(); // no cell of an edge
    keepLeastPoints(vAreas);                                   // each cell once, ascending
    vPixels.reserve(vPixels.size() + vEdges.size() + vAreas.size());
    appendPixels("mandiffe", vEdges, vPixels);
    appendPixels("mandiffa", vAreas, vPixels);
}

void Pixel::linkEdge2T(const std::vector<Point3*>& vTriangleCorners)
{
    const StageTimer stage("PX_link");
    const size_t numTriples = vTriangleCorners.size() / 3;
    zanAssert(vTriangleCorners.size() < NO_GROUP);
    vTriStore.reserve(numTriples);
    vTri.reserve(numTriples);
    vEdge2Tri.reserve(3 * numTriples);
    for (size_t i = 0; i < vTriangleCorners.size(); i += 3) {
        Point3* corners[3] = {vTriangleCorners[i], vTriangleCorners[i + 1], vTriangleCorners[i + 2]};
        std::sort(corners, corners + 3);
        if (corners[0] != corners[1] && corners[1] != corners[2])
            addTriangle(corners);
    }
    const size_t numDegenerate = numTriples - vTri.size();
    if (numDegenerate > 0)
        ZAN_WARNING("Skipped " + std::to_string(numDegenerate) + " degenerate triangles");
    sortMT(vEdge2Tri.begin(), vEdge2Tri.end());
}

// Takes ascending corners; a triangle without area is not added.
void Pixel::addTriangle(Point3* const corners[3])
{
    const Tri tri(corners[0], corners[1], corners[2]);
    if (tri.isDegenerate())
        return;
    vTriStore.push_back(tri);
    Tri* pTri = &vTriStore.back();
    vTri.push_back(pTri);
    vEdge2Tri.push_back({{tri.pVtx0, tri.pVtx1}, pTri});
    vEdge2Tri.push_back({{tri.pVtx1, tri.pVtx2}, pTri});
    vEdge2Tri.push_back({{tri.pVtx0, tri.pVtx2}, pTri});
}

// Breadth-first from the last triangle, over and over until all are there: neighbours on the surface come to
// lie near each other, which the raster's look-ups live on. The sorted vector is the queue at the same time.
void Pixel::bfsSort()
{
    const StageTimer stage("PX_bfs");
    const std::vector<std::uint32_t> vGroups = edgeGroups();
    std::vector<char> vUsed(vTriStore.size(), 0);
    std::vector<char> vExpanded(vEdge2Tri.size(), 0); // by the first entry of an edge, which may have many
    std::vector<Tri*> vSorted;
    vSorted.reserve(vTri.size());
    const auto enqueue = [&](Tri* pTri) {
        char& used = vUsed[static_cast<size_t>(pTri - vTriStore.data())];
        if (used == 0)
            vSorted.push_back(pTri);
        used = 1;
    };
    const auto enqueueAround = [&](std::uint32_t group) {
        zanAssertText(group != NO_GROUP, "it!=vEdge2Tri.end()");
        if (vExpanded[group] != 0)
            return;
        vExpanded[group] = 1;
        const auto edge = vEdge2Tri[group].first;
        for (size_t i = group; i < vEdge2Tri.size() && vEdge2Tri[i].first == edge; ++i)
            enqueue(vEdge2Tri[i].second);
    };
    size_t numExpanded = 0;
    for (auto seed = vTri.rbegin(); seed != vTri.rend(); ++seed) {
        enqueue(*seed);
        for (; numExpanded < vSorted.size(); ++numExpanded) {
            const size_t slot = 3 * static_cast<size_t>(vSorted[numExpanded] - vTriStore.data());
            for (size_t i = slot; i < slot + 3; ++i)
                enqueueAround(vGroups[i]);
        }
    }
    zanAssertText(vSorted.size() == vTri.size(), "vTri.size()==triSiz");
    vTri = std::move(vSorted);
}

// For the three edges of each triangle in vTriStore: where the entries of the edge begin.
std::vector<std::uint32_t> Pixel::edgeGroups() const
{
    std::vector<std::uint32_t> vGroups(3 * vTriStore.size(), NO_GROUP);
    size_t first = 0;
    for (size_t i = 0; i < vEdge2Tri.size(); ++i) {
        const auto& [edge, pTri] = vEdge2Tri[i];
        if (edge != vEdge2Tri[first].first)
            first = i;
        const size_t slot = edge.first != pTri->pVtx0 ? 0 : edge.second != pTri->pVtx1 ? 1 : 2;
        vGroups[3 * static_cast<size_t>(pTri - vTriStore.data()) + slot] = static_cast<std::uint32_t>(first);
    }
    return vGroups;
}

bool Pixel::isAffordable() const
{
    double num = 0.0;
    for (const Tri& tri : vTriStore)
        num += numFaceSamples(tri) + numEdgeCells(tri);
    if (num <= MAX_SAMPLES)
        return true;
    ZAN_WARNING("refused: a spacing of " + numberToText(spacingAbs) + " takes about " + numberToText(num) +
                " samples of the triangles; use a spacing of at least " +
                numberToText(1.01 * spacingAbs * std::sqrt(num / MAX_SAMPLES)));
    return false;
}

double Pixel::numFaceSamples(const Tri& tri) const
{
    const double step = SAMPLE_DISTANCE * spacingAbs;
    return 0.5 * crossProd((*tri.pVtx1 - *tri.pVtx0) / step, (*tri.pVtx2 - *tri.pVtx0) / step).length();
}

double Pixel::numEdgeCells(const Tri& tri) const
{
    double num = 0.0;
    for (const Vector3& side : {*tri.pVtx1 - *tri.pVtx0, *tri.pVtx2 - *tri.pVtx0, *tri.pVtx2 - *tri.pVtx1})
        num += (std::fabs(side.x()) + std::fabs(side.y()) + std::fabs(side.z())) / spacingAbs;
    return num;
}

// Stages mandiffe and mandiffa. Frees the raster.
void Pixel::appendPixels(const char* nameStage, std::vector<RasterEntry>& vRaster,
                         std::vector<Point3>& vPixels)
{
    const StageTimer stage(nameStage);
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo(nameStage, vRaster.size());
    for (const RasterEntry& entry : vRaster) {
        vPixels.push_back(entry.second);
        pProgress->tick();
    }
    vRaster = {};
    pProgress->finish(true);
}

} // namespace TESK_ZAN
