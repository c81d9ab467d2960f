#include "Membrane.h"

#include "PlaneNet.h"
#include "helpers/meshChecks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

// A gear: round but for deep notches, about one unit from corner to corner.
std::vector<PlanePoint> gear(std::size_t n)
{
    std::vector<PlanePoint> vPolygon;
    for (std::size_t i = 0; i < n; ++i) {
        const double angle = 2 * std::numbers::pi * double(i) / double(n);
        const double radius = double(n) / 6.3 * (i / 6 % 2 == 0 ? 1.0 : 0.6);
        vPolygon.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return vPolygon;
}

double areaOf(const std::vector<PlanePoint>& vPolygon)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < vPolygon.size(); ++i) {
        const PlanePoint &p = vPolygon[i], &q = vPolygon[(i + 1) % vPolygon.size()];
        sum += (p.x * q.y - p.y * q.x) / 2;
    }
    return sum;
}

IndexedMesh toMesh(const std::vector<Point3>& vPoints, const PlaneNet& net)
{
    IndexedMesh mesh;
    mesh.vPoints = vPoints;
    for (std::size_t i = 0; i < net.getNumTriangles(); ++i)
        for (const std::size_t corner : net.getTriangle(i))
            mesh.vTriangles.push_back(int(corner));
    return mesh;
}

IndexedMesh toMesh(const PlaneNet& net)
{
    std::vector<Point3> vPoints;
    for (const PlanePoint& p : net.getPoints())
        vPoints.emplace_back(p.x, p.y, 0.0);
    return toMesh(vPoints, net);
}

// The sheet over a loop, the loop's corners first; without triangles if there is none.
IndexedMesh sheetOver(const std::vector<Point3>& vLoop)
{
    std::vector<const Point3*> vpLoop;
    for (const Point3& p : vLoop)
        vpLoop.push_back(&p);
    Membrane membrane(vpLoop);
    if (!membrane.run([](std::size_t, std::size_t) { return false; }))
        return {};
    std::vector<Point3> vPoints = vLoop;
    vPoints.insert(vPoints.end(), membrane.getInnerPoints().begin(), membrane.getInnerPoints().end());
    return toMesh(vPoints, membrane.getNet());
}

template <class F>
std::vector<Point3> loopOf(std::size_t n, F f)
{
    std::vector<Point3> vLoop;
    for (std::size_t i = 0; i < n; ++i)
        vLoop.push_back(f(2 * std::numbers::pi * double(i) / double(n), i));
    return vLoop;
}

} // namespace

TEST(PlaneNet, fillsANotchedPolygonWithEvenTrianglesThatAllFaceUp)
{
    const std::vector<PlanePoint> vPolygon = gear(120);
    PlaneNet net(vPolygon);
    ASSERT_TRUE(net.triangulate());
    EXPECT_EQ(net.getNumTriangles(), 118u);
    net.refine(1.0, 100000);
    const IndexedMesh mesh = toMesh(net);
    const MeshReport report = checkMesh(mesh);
    EXPECT_TRUE(report.isManifold() && report.isOriented());
    EXPECT_EQ(report.numEdges(1), 120u);
    EXPECT_EQ(report.euler, 1);
    double sum = 0.0;
    std::size_t numLarge = 0; // along the long sides of the notches
    for (std::size_t i = 0; i < mesh.vTriangles.size(); i += 3) {
        const auto at = [&](std::size_t k) { return net.getPoints()[std::size_t(mesh.vTriangles[i + k])]; };
        const double area = areaOf({at(0), at(1), at(2)});
        EXPECT_GT(area, 0.0);
        numLarge += area > 1.0 ? 1 : 0;
        sum += area;
    }
    EXPECT_NEAR(sum, areaOf(vPolygon), 1e-9 * sum);
    EXPECT_LT(20 * numLarge, mesh.numT());
}

TEST(PlaneNet, splitsTheChordsThatAreTakenAndNoOthers)
{
    PlaneNet net({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    ASSERT_TRUE(net.triangulate());
    net.splitChords([](std::size_t, std::size_t) { return false; });
    EXPECT_EQ(net.getNumTriangles(), 2u);
    net.splitChords([](std::size_t, std::size_t) { return true; });
    EXPECT_EQ(net.getNumTriangles(), 4u);
    EXPECT_EQ(net.getPoints().size(), 5u);
    EXPECT_TRUE(checkMesh(toMesh(net)).isManifold() && checkMesh(toMesh(net)).isOriented());
}

TEST(PlaneNet, refusesWhatIsNoSimplePolygon)
{
    EXPECT_FALSE(PlaneNet({{0, 0}, {1, 1}, {1, 0}, {0, 1}}).triangulate());         // crosses
    EXPECT_FALSE(PlaneNet({{0, 0}, {2, 0}, {1, 0}, {1, 1}}).triangulate());         // runs back
    EXPECT_FALSE(PlaneNet({{0, 0}, {2, 0}, {2, 2}, {1, 0}, {0, 2}}).triangulate()); // touches a side
    EXPECT_FALSE(PlaneNet({{0, 0}, {1, 0}, {0, 0}, {0, 1}}).triangulate());         // a corner twice
    EXPECT_FALSE(PlaneNet({{0, 0}, {0, 1}, {1, 1}, {1, 0}}).triangulate()) << "clockwise";
}

TEST(Membrane, hangsInARoundSaddleAsTheHarmonicHeightDoes)
{
    const auto height = [](double x, double y) { return (x * x - y * y) / 100; };
    const std::vector<Point3> vLoop = loopOf(150, [&](double angle, std::size_t) {
        const double x = 24 * std::cos(angle), y = 24 * std::sin(angle);
        return Point3(x, y, height(x, y));
    });
    const IndexedMesh mesh = sheetOver(vLoop);
    ASSERT_GT(mesh.numT(), 1000u);
    EXPECT_EQ(checkMesh(mesh).numEdges(1), 150u);
    EXPECT_LT(maxDistance(mesh, [&](const Point3& p) { return std::fabs(p.z() - height(p.x(), p.y())); }),
              0.5);
}

TEST(Membrane, teethOfAFewEdgesAreNoTroubleAndHugeTinyAndFlatLoopsAreToldApart)
{
    const auto toothed = [](double scale) {
        return loopOf(200, [scale](double angle, std::size_t i) {
            const double a = angle + (i % 3 == 0 ? 0.05 : 0.0); // the loop runs back here and there
            return Point3(scale * std::cos(a), scale * std::sin(a), scale * 0.02 * double(i % 4));
        });
    };
    for (const double scale : {1e-100, 1.0, 1e100}) {
        const IndexedMesh mesh = sheetOver(toothed(scale));
        EXPECT_GT(mesh.numT(), 500u) << scale;
        EXPECT_EQ(checkMesh(mesh).numEdges(1), 200u) << scale;
    }
    EXPECT_EQ(sheetOver(toothed(0.0)).numT(), 0u);
    EXPECT_EQ(sheetOver(loopOf(40, [](double a, std::size_t) { return Point3(std::cos(a), 0, 0); })).numT(),
              0u);
    EXPECT_EQ(
        sheetOver(loopOf(40, [](double a, std::size_t) { return Point3(std::sin(a), std::sin(2 * a), 0); }))
            .numT(),
        0u)
        << "an eight";
}
