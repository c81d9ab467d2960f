// The rasteriser of soups and its chains of features. Numbers of cells and points are those of an independent
// model.
#include "Pixel.h"

#include "Calc.h"
#include "CellBitSet.h"
#include "Progress.h"
#include "helpers/captured.h"
#include "random.h"
#include "sortMT.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

constexpr int NUM_LEVELS = 14;
constexpr double HALF_MARGIN = 5000.0; // cells between the origin of the grid and the lowest point

Calc gridAt(const Point3& low, double spacing)
{
    const double side = spacing * (1 << NUM_LEVELS);
    const double margin = spacing * HALF_MARGIN;
    return Calc(low.x() - margin, low.y() - margin, low.z() - margin, side, side, side, NUM_LEVELS);
}

u64 cell(u64 x, u64 y, u64 z)
{
    return xyzToRCD(5000 + x, 5000 + y, 5000 + z);
}

std::set<u64> cellsOf(const std::vector<RasterEntry>& vRaster)
{
    std::set<u64> sCells;
    for (const RasterEntry& entry : vRaster)
        sCells.insert(entry.first);
    return sCells;
}

double cellSteps(u64 rcdA, u64 rcdB) // the largest over the axes
{
    u64 a[3], b[3];
    rcdToXYZ(rcdA, a[0], a[1], a[2]);
    rcdToXYZ(rcdB, b[0], b[1], b[2]);
    double steps = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        steps = std::max(steps, std::fabs(double(a[axis]) - double(b[axis])));
    return steps;
}

// Corners by number in vVertices, three a triangle.
struct Soup {
    std::vector<Point3> vVertices;
    std::vector<size_t> vCorners;
};

// What createPixels makes of a soup, and the pieces to compare it with.
struct Rastered {
    Rastered(Soup soup_, double spacing, double featureAngle)
        : soup(std::move(soup_)), calc(gridAt(Point3(), spacing)), pix(cornersOf(soup), &calc)
    {
        getRootProgress()->setName("test");
        pix.createPixels(vPixels, vFeatures, vBorders, featureAngle);
        getRootProgress()->clear();
        for (const Point3& p : vPixels)
            mCellPoint.emplace(calc.getRCD(&p), p);
    }

    static std::vector<Point3*> cornersOf(Soup& soup)
    {
        std::vector<Point3*> vCorners;
        for (const size_t i : soup.vCorners)
            vCorners.push_back(&soup.vVertices[i]);
        return vCorners;
    }

    bool hasPoint(const Point3& p) const { return std::count(vPixels.begin(), vPixels.end(), p) == 1; }

    CapturedMessages messages;
    Soup soup;
    Calc calc;
    Pixel pix;
    std::vector<Point3> vPixels;
    CellPairs vFeatures;
    CellPairs vBorders;
    std::map<u64, Point3> mCellPoint;
};

Soup cubeSoup(double edge)
{
    Soup soup;
    for (int i = 0; i < 8; ++i)
        soup.vVertices.emplace_back((i & 4 ? edge : 0.0), (i & 2 ? edge : 0.0), (i & 1 ? edge : 0.0));
    soup.vCorners = {0, 1, 3, 0, 3, 2, 4, 6, 7, 4, 7, 5, 0, 4, 5, 0, 5, 1,
                     2, 3, 7, 2, 7, 6, 0, 2, 6, 0, 6, 4, 1, 5, 7, 1, 7, 3};
    return soup;
}

Soup randomSoup(u64 seed, size_t numTriangles, double extent)
{
    Random random(seed);
    Soup soup;
    for (size_t i = 0; i < numTriangles; ++i)
        soup.vVertices.emplace_back(extent * random.uniform(), extent * random.uniform(),
                                    extent * random.uniform());
    for (size_t i = 0; i < 3 * numTriangles; ++i)
        soup.vCorners.push_back(random.below(static_cast<std::uint32_t>(numTriangles)));
    return soup;
}

// A quad of two triangles, the second folded up by so many degrees. bTurned: that one is wound the other way.
// bMixed: the corners stand in another order in memory.
Soup fold(double degrees, bool bTurned = false, bool bMixed = false)
{
    const double angle = degrees * 3.14159265358979 / 180.0;
    const Point3 ends[2] = {{0, 0, 0}, {0, 9, 0}};
    const Point3 tips[2] = {{9, 4, 0}, {-9 * std::cos(angle), 4, 9 * std::sin(angle)}};
    Soup soup;
    if (bMixed)
        soup = {{ends[0], tips[0], ends[1], tips[1]}, {0, 2, 1, 0, 2, 3}};
    else
        soup = {{ends[0], ends[1], tips[0], tips[1]}, {0, 1, 2, 0, 1, 3}};
    if (bTurned)
        std::swap(soup.vCorners[3], soup.vCorners[4]);
    return soup;
}

// Records between the given points, in the given order.
std::vector<FeatureRecord> records(std::vector<Point3>& vPoints,
                                   const std::vector<std::pair<double, std::pair<int, int>>>& vEdges)
{
    std::vector<FeatureRecord> v;
    for (const auto& [angle, ends] : vEdges)
        v.push_back({angle, {&vPoints[size_t(ends.first)], &vPoints[size_t(ends.second)]}});
    return v;
}

std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> chained(std::vector<Point3>& vPoints,
                                                               const FeatureMgr& mgr)
{
    std::vector<FeatureRecord> vOut;
    mgr.getOrderedPairs(vOut);
    std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> v;
    for (const auto& [angle, ends] : vOut)
        v.emplace_back(ends.first - vPoints.data(), ends.second - vPoints.data());
    return v;
}

using Ends = std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>;

} // namespace

// ---- chains

TEST(FeatureMgr, RingIsOneChainInRunningOrder)
{
    std::vector<Point3> vPoints;
    for (int i = 0; i < 12; ++i)
        vPoints.emplace_back(std::cos(i * 0.5235987756), std::sin(i * 0.5235987756), 0.0);
    std::vector<std::pair<double, std::pair<int, int>>> vEdges;
    for (const int i :
         {7, 2, 11, 4, 0, 9, 5, 1, 10, 3, 8, 6}) // each edge's lower number first, as by address
        vEdges.push_back({40.0, {std::min(i, (i + 1) % 12), std::max(i, (i + 1) % 12)}});
    const FeatureMgr mgr(records(vPoints, vEdges));
    EXPECT_EQ(mgr.getNumChains(), 1u);
    const Ends vEnds = chained(vPoints, mgr);
    ASSERT_EQ(vEnds.size(), 12u);
    for (size_t i = 0; i < 12; ++i)
        EXPECT_EQ(vEnds[i].second, vEnds[(i + 1) % 12].first);
}

TEST(FeatureMgr, StraightestGoesOnUpToSixtyDegreesAndBordersStayAmongThemselves)
{
    const double rad = 3.14159265358979 / 180.0;
    std::vector<Point3> vPoints = {{-1, 0, 0},
                                   {0, 0, 0},
                                   {std::cos(59.9 * rad), std::sin(59.9 * rad), 0},
                                   {std::cos(60.1 * rad), -std::sin(60.1 * rad), 0},
                                   {1, 0.1, 0}};
    EXPECT_EQ(FeatureMgr(records(vPoints, {{40, {0, 1}}, {40, {1, 2}}})).getNumChains(), 1u);
    EXPECT_EQ(FeatureMgr(records(vPoints, {{40, {0, 1}}, {40, {1, 3}}})).getNumChains(), 2u);
    EXPECT_EQ(FeatureMgr(records(vPoints, {{40, {0, 1}}, {BORDER_ANGLE, {1, 4}}})).getNumChains(), 2u);
    EXPECT_EQ(FeatureMgr({}).getNumChains(), 0u);
    // Of three edges at one point the straightest pair, 0-1-2, is a chain; the third, flatter, comes first.
    const FeatureMgr mgr(
        records(vPoints, {{50, {1, 2}}, {40, {4, 1}}, {42, {1, 0}}, {BORDER_ANGLE, {2, 3}}}));
    EXPECT_EQ(chained(vPoints, mgr), (Ends{{4, 1}, {0, 1}, {1, 2}, {2, 3}}));
}

// ---- the pieces

TEST(Pixel, EdgeWalkGivesTheModelsCellsAndMiddles)
{
    const Point3 p0(0.1, 0.2, 0.3), p1(5.3, 3.1, 1.7);
    const Calc calc = gridAt(p0, 1.0);
    Rastered any(cubeSoup(9.0), 1.0, 30.0);
    const Pixel pix(Rastered::cornersOf(any.soup), &calc);
    std::vector<RasterEntry> vRaster;
    pix.rasterizeEdge(p0, p1, vRaster);
    const std::vector<RasterEntry> vModel = {
        {cell(0, 0, 0), p0},
        {cell(1, 0, 0), {1.4965517241379498, 0.9788461538461644, 0.6759946949602172}},
        {cell(1, 1, 0), {1.9965517241379498, 1.2576923076923183, 0.8106100795756019}},
        {cell(2, 1, 0), {2.600000000000364, 1.5942307692309723, 0.9730769230770209}},
        {cell(3, 1, 0), {3.393103448275881, 2.036538461538472, 1.186604774535814}},
        {cell(3, 2, 0), {3.7502463054188944, 2.2357142857143835, 1.2827586206897021}},
        {cell(3, 2, 1), {3.957142857143377, 2.351098901099191, 1.3384615384616783}},
        {cell(4, 2, 1), {4.600000000000364, 2.7096153846155873, 1.5115384615385592}},
        {cell(5, 2, 1), p1}};
    ASSERT_EQ(vRaster.size(), vModel.size());
    for (size_t i = 0; i < vModel.size(); ++i) {
        EXPECT_EQ(vRaster[i].first, vModel[i].first);
        EXPECT_NEAR((vRaster[i].second - vModel[i].second).length(), 0.0, 1e-12);
    }
    vRaster.clear();
    pix.rasterizeEdge(p0, Point3(0.9, 0.9, 0.9), vRaster);
    EXPECT_TRUE(vRaster.empty()) << "both ends in one cell";
}

// Ends on walls, edges along walls and along axes, far from the origin: no gap, no cell twice, points in
// their cells, and the same number of cells as a count of the walls between the ends.
TEST(Pixel, EdgeWalkMissesNoCell)
{
    Random random(3);
    for (int i = 0; i < 600; ++i) {
        const double spacing = std::pow(10.0, -3.0 * random.uniform());
        const double offset = i % 3 == 0 ? 1e6 : 0.0;
        const Point3 low(offset, 2.0 * offset, -offset);
        const Calc calc = gridAt(low, spacing);
        const auto coord = [&] {
            const double u = 60.0 * random.uniform();
            return spacing * (i % 2 == 0 ? u : std::floor(u));
        };
        Point3 p0 = low + Vector3(coord(), coord(), coord());
        Point3 p1 = low + Vector3(coord(), i % 5 == 0 ? p0.y() - low.y() : coord(), coord());
        Point3 p2 = p0 + Vector3(spacing, 0.0, 0.0);
        Point3 p3 = p0 + Vector3(0.0, spacing, 0.0);
        const Pixel pix({&p0, &p2, &p3}, &calc);
        std::vector<RasterEntry> vRaster;
        pix.rasterizeEdge(p0, p1, vRaster);
        if (vRaster.empty()) {
            EXPECT_EQ(calc.getRCD(&p0), calc.getRCD(&p1));
            continue;
        }
        EXPECT_EQ(vRaster.front().second, p0);
        EXPECT_EQ(vRaster.back().second, p1);
        EXPECT_EQ(cellsOf(vRaster).size(), vRaster.size());
        EXPECT_GE(vRaster.size(), 1.0 + cellSteps(calc.getRCD(&p0), calc.getRCD(&p1)));
        for (size_t k = 0; k < vRaster.size(); ++k) {
            EXPECT_EQ(calc.getRCD(&vRaster[k].second), vRaster[k].first);
            if (k > 0) {
                EXPECT_EQ(cellSteps(vRaster[k - 1].first, vRaster[k].first), 1.0);
            }
        }
    }
}

TEST(Pixel, EdgeWalkEndsWhereAStepVanishesInTheCoordinates)
{
    const Point3 p0(1e17, 1e17, 0.0), p1(1e17 + 4096, 1e17, 0.0);
    const Calc calc = gridAt(p0, 1.0);
    Rastered any(cubeSoup(9.0), 1.0, 30.0);
    std::vector<RasterEntry> vRaster;
    Pixel(Rastered::cornersOf(any.soup), &calc).rasterizeEdge(p0, p1, vRaster);
    EXPECT_EQ(vRaster.back().second, p1);
}

TEST(Pixel, RowsOfATriangleGiveTheModelsCells)
{
    const auto rowsOf = [](const Point3& p0, const Point3& p1, const Point3& p2, double spacing) {
        const Calc calc = gridAt(p0, spacing);
        Soup soup = cubeSoup(9.0);
        std::vector<RasterEntry> vRaster;
        Pixel(Rastered::cornersOf(soup), &calc).rasterizeTriangle(p0, p1, p2, vRaster);
        return vRaster;
    };
    const Point3 skew[3] = {{0.1, 0.2, 0.3}, {5.3, 1.1, 0.7}, {2.2, 4.6, 3.3}};
    const std::vector<RasterEntry> vSkew = rowsOf(skew[0], skew[1], skew[2], 1.0);
    ASSERT_EQ(vSkew.size(), 22u);
    EXPECT_EQ(vSkew[0].first, cell(0, 1, 0));
    const Point3 model(0.6159322927990245, 1.4498291045655298, 1.1557647083447422);
    EXPECT_NEAR((vSkew[0].second - model).length(), 0.0, 1e-12);
    EXPECT_EQ(rowsOf(skew[0], skew[1], skew[2], 0.25).size(), 372u);
    EXPECT_EQ(rowsOf({0, 0, 0}, {10, 0, 0}, {5, 0.01, 0}, 1.0).size(), 10u);
    EXPECT_EQ(rowsOf({0, 0, 0}, {10, 0, 0}, {5, 5e-7, 0}, 1.0).size(), 0u) << "too thin for rows";
}

TEST(Pixel, PlaneCutsACellInTheMiddleOfItsCuts)
{
    Rastered cube(cubeSoup(3.0), 1.0, 30.0);
    const u64 rcd = cell(2, 0, 0);
    bool bOK = false;
    int numCuts = 0;
    const Vector3 diagonal = normalize(Vector3(1, 1, 1));
    const Point3 corner = cube.pix.getMidOfCutPlane(rcd, Plane(Point3(2.3, 0, 0), diagonal), bOK, numCuts);
    EXPECT_TRUE(bOK);
    EXPECT_NEAR((corner - Point3(2.1, 0.1, 0.1)).length(), 0.0, 1e-12);
    const Point3 none = cube.pix.getMidOfCutPlane(rcd, Plane(Point3(9, 0, 0), diagonal), bOK, numCuts);
    EXPECT_FALSE(bOK);
    EXPECT_EQ(numCuts, 0);
    EXPECT_EQ(none, Point3());
}

// ---- whole soups

// Triangles from far below a cell up to ones that are cut into blocks by their rows, crossing each other.
TEST(Pixel, FaceCellsAreThoseOfAllSamplesEachWithItsLeastPoint)
{
    for (const double extent : {3.0, 40.0, 400.0}) {
        const Rastered soup(randomSoup(5, 6, extent), 1.0, 30.0);
        std::map<u64, Point3> mLeast;
        std::set<u64> sEdgeCells;
        for (const Tri* pTri : soup.pix.getTriangles()) {
            std::vector<RasterEntry> vAreas, vEdges;
            soup.pix.rasterizeTriangle(*pTri->pVtx0, *pTri->pVtx1, *pTri->pVtx2, vAreas);
            soup.pix.rasterizeEdge(*pTri->pVtx0, *pTri->pVtx1, vEdges);
            soup.pix.rasterizeEdge(*pTri->pVtx0, *pTri->pVtx2, vEdges);
            soup.pix.rasterizeEdge(*pTri->pVtx1, *pTri->pVtx2, vEdges);
            for (const Point3* p : {pTri->pVtx0, pTri->pVtx1, pTri->pVtx2})
                sEdgeCells.insert(soup.calc.getRCD(p));
            sEdgeCells.merge(cellsOf(vEdges));
            for (const auto& [rcd, point] : vAreas) {
                const auto it = mLeast.emplace(rcd, point).first;
                it->second = std::min(it->second, point);
            }
        }
        EXPECT_EQ(soup.mCellPoint.size(), soup.vPixels.size()) << "one point a cell";
        size_t numFaceCells = 0;
        for (const auto& [rcd, point] : mLeast) {
            if (sEdgeCells.count(rcd) != 0)
                continue;
            ++numFaceCells;
            ASSERT_EQ(soup.mCellPoint.at(rcd), point);
        }
        EXPECT_EQ(soup.vPixels.size(), sEdgeCells.size() + numFaceCells);
    }
}

TEST(Pixel, PointsAreTheSameBytesForEveryNumberOfThreads)
{
    std::vector<std::vector<Point3>> vResults;
    for (const int numThreads : {1, 2, 3, 8}) {
        setNumCPU(numThreads);
        vResults.push_back(Rastered(randomSoup(7, 20, 150.0), 1.0, 30.0).vPixels);
    }
    setNumCPU(0);
    for (const std::vector<Point3>& vPixels : vResults)
        EXPECT_EQ(vPixels, vResults.front());
}

TEST(Pixel, LoneTriangleIsAllBorderAndKeepsItsCorners)
{
    const Rastered lone({{{0.1, 0.2, 0.3}, {5.3, 1.1, 0.7}, {2.2, 4.6, 3.3}}, {0, 1, 2}}, 1.0, 361.0);
    for (const Point3& corner : lone.soup.vVertices)
        EXPECT_TRUE(lone.hasPoint(corner));
    EXPECT_FALSE(lone.vBorders.empty());
    EXPECT_EQ(lone.vBorders, lone.vFeatures);
    for (const auto& [low, high] : lone.vBorders)
        EXPECT_LT(low, high);
}

TEST(Pixel, CubeKeepsCornersAndEdgesExactlyAndFacesInTheirPlanes)
{
    const Rastered cube(cubeSoup(10.0), 1.0, 30.0);
    for (const Point3& corner : cube.soup.vVertices)
        EXPECT_TRUE(cube.hasPoint(corner));
    EXPECT_EQ(cube.vPixels.size(), 11u * 11 * 11 - 9 * 9 * 9);
    EXPECT_TRUE(cube.vBorders.empty());
    size_t numOnEdges = 0;
    for (const Point3& p : cube.vPixels) {
        int numPlanes = 0;
        for (const double c : {p.x(), p.y(), p.z()})
            numPlanes += c == 0.0 || c == 10.0 ? 1 : 0;
        EXPECT_GE(numPlanes, 1);
        numOnEdges += numPlanes >= 2 ? 1u : 0u;
    }
    EXPECT_EQ(numOnEdges, 8u + 12 * 9);
}

TEST(Pixel, EdgeIsSharpStrictlyAboveTheLimitWhateverTheWinding)
{
    for (const int order : {0, 1, 2, 3}) {
        const auto isSharp = [order](double degrees, double limit) {
            const Rastered rastered(fold(degrees, (order & 1) != 0, (order & 2) != 0), 1.0, limit);
            return rastered.vFeatures.size() > rastered.vBorders.size();
        };
        EXPECT_FALSE(isSharp(0.0, 0.0));
        EXPECT_TRUE(isSharp(0.0, -1.0));
        EXPECT_FALSE(isSharp(90.0, 90.1));
        EXPECT_TRUE(isSharp(90.0, 89.9));
        EXPECT_FALSE(isSharp(90.0, std::nan("")));
    }
    Soup twice = fold(0.0);
    twice.vCorners = {0, 1, 2, 2, 1, 0};
    const Rastered folded(twice, 1.0, 179.9);
    EXPECT_TRUE(folded.vBorders.empty()) << "the edges of a triangle that is there twice have two triangles";
    EXPECT_FALSE(folded.vFeatures.empty()) << "and turn by 180 degrees";
    EXPECT_TRUE(Rastered(twice, 1.0, 180.0).vFeatures.empty());
}

TEST(Pixel, TrianglesWithoutAreaAreDroppedAndCounted)
{
    Soup soup = fold(0.0);
    const size_t numGood = soup.vCorners.size() / 3;
    soup.vVertices.insert(soup.vVertices.end(),
                          {{0, 4.5, 0}, {1e-170, 0, 0}, {0, 1e-170, 0}, {1e-162, 0, 0}, {0, 9, 1e-300}});
    soup.vCorners.insert(soup.vCorners.end(),
                         {0, 0, 2, 0, 4, 1, 0, 5, 6, 0, 7, 1, 1, 8, 2}); // twice, on a line, below all digits
    const Rastered mixed(soup, 1.0, 30.0);
    EXPECT_EQ(mixed.pix.getTriangles().size(), numGood);
    EXPECT_TRUE(mixed.messages.has("Skipped 5 degenerate triangles"));
    soup.vCorners.erase(soup.vCorners.begin(), soup.vCorners.begin() + 6);
    const Rastered none(soup, 1.0, 30.0);
    EXPECT_TRUE(none.messages.has("No non-degenerate triangles"));
    EXPECT_TRUE(none.vPixels.empty());
    const Calc calc = gridAt(Point3(), 1.0);
    soup.vCorners.pop_back();
    EXPECT_THROW(Pixel(Rastered::cornersOf(soup), &calc), ZanBugException);
    EXPECT_TRUE(none.messages.has("vTriangleCorners.size()%3==0"));
}

TEST(Pixel, TrianglesComeNeighbourByNeighbour)
{
    const Rastered cube(cubeSoup(4.0), 1.0, 30.0);
    const std::vector<Tri*>& vTri = cube.pix.getTriangles();
    ASSERT_EQ(vTri.size(), 12u);
    std::set<std::pair<Point3*, Point3*>> sReached;
    for (size_t i = 0; i < vTri.size(); ++i) {
        bool bNeighbour = false;
        std::pair<Point3*, Point3*> edges[3];
        for (int k = 0; k < 3; ++k) {
            vTri[i]->getEdgePoints(k, edges[k].first, edges[k].second);
            bNeighbour = bNeighbour || sReached.count(edges[k]) != 0;
        }
        EXPECT_TRUE(bNeighbour || i == 0);
        sReached.insert(edges, edges + 3);
    }
}

TEST(Pixel, SoupThatNoMemoryHoldsIsRefusedBeforeAnyIsTaken)
{
    Soup soup;
    soup.vVertices = {{0, 0, 0}, {1e6, 0, 0}, {0, 1e6, 1e6}};
    soup.vCorners = {0, 1, 2};
    const Calc calc(-6000, -6000, -6000, 1 << 21, 1 << 21, 1 << 21, 21);
    const CapturedMessages messages;
    std::vector<Point3> vPixels;
    CellPairs vFeatures, vBorders;
    Pixel(Rastered::cornersOf(soup), &calc).createPixels(vPixels, vFeatures, vBorders, 30.0);
    EXPECT_TRUE(vPixels.empty());
    EXPECT_TRUE(messages.has("use a spacing of at least 73"));
}
