#include "Cloud.h"

#include "Calc.h"
#include "CloudMgr.h"
#include "Progress.h"
#include "helpers/captured.h"
#include "helpers/shapes.h"
#include "helpers/tempDir.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

// A stage opens its phase on the thread's progress root, which must have a name for that.
class CloudTest : public ::testing::Test
{
protected:
    CloudTest() { getRootProgress()->setName("test"); }
    ~CloudTest() override { getRootProgress()->clear(); }

    static Cloud& prepared(Cloud& cloud, const std::vector<Point3>& vPoints)
    {
        cloud.setPoints(vPoints);
        cloud.prepareScanPoints(nullptr);
        return cloud;
    }

    static double detected(const std::vector<Point3>& vPoints)
    {
        Cloud cloud("test", -1.0, 1.0, false, 0);
        return prepared(cloud, vPoints).getDetectedSpacing();
    }

    static size_t numBundles(const Cloud& cloud)
    {
        std::vector<std::pair<u64, Bundle*>> vBundles;
        std::vector<u64> vZero;
        cloud.getBundles(vBundles, vZero);
        return vBundles.size();
    }

    CapturedMessages messages;
};

} // namespace

// Values of an independent model of the estimate.
TEST_F(CloudTest, spacingOfSquareGridsEqualsTheModel)
{
    EXPECT_NEAR(detected(planeGrid(10, 10, 1.0).vPoints), 1.4651961620970748, 1e-12);
    EXPECT_NEAR(detected(planeGrid(65, 65, 1.0).vPoints), 1.1354226669242289, 1e-12);
    EXPECT_NEAR(detected(planeGrid(100, 100, 1.0).vPoints), 1.1080545975859128, 1e-12);
    EXPECT_NEAR(detected(planeGrid(200, 200, 1.0).vPoints), 1.096777335458661, 1e-12);
}

TEST_F(CloudTest, spacingIsThatOfTheSurfaceWhateverShapeScaleAndPlace)
{
    for (const double scale : {1e-9, 1.0, 1e9}) {
        Shape shape = torus(20000);
        for (Point3& p : shape.vPoints)
            p.set(p.x() * scale + 5 * scale, p.y() * scale - 7 * scale, p.z() * scale);
        EXPECT_GT(detected(shape.vPoints) / scale, 0.85 * shape.spacing);
        EXPECT_LT(detected(shape.vPoints) / scale, 1.5 * shape.spacing);
    }
}

TEST_F(CloudTest, factorScalesTheCellSizeAndAbsoluteSpacingSkipsTheEstimate)
{
    const std::vector<Point3> vPoints = planeGrid(50, 50, 1.0).vPoints;
    Cloud once("test", -1.0, 1.0, false, 0);
    Cloud twice("test", -1.0, 2.0, false, 0);
    EXPECT_DOUBLE_EQ(2.0 * prepared(once, vPoints).getCalc()->getCellSize(),
                     prepared(twice, vPoints).getCalc()->getCellSize());
    Cloud absolute("test", 0.7, -1.0, false, 0);
    EXPECT_DOUBLE_EQ(0.7, prepared(absolute, vPoints).getCalc()->getCellSize());
    EXPECT_EQ(-1.0, absolute.getDetectedSpacing());
}

TEST_F(CloudTest, gridIsACubeWithFiveThousandCellsOfRoom)
{
    struct Case {
        double extent;
        int numLevels;
    };
    for (const Case& c :
         {Case{100, 14}, Case{6384, 15}, Case{6385, 15}, Case{2000000, 21}, Case{2087152, 21}}) {
        const std::vector<Point3> vPoints = {{0, 0, 0}, {c.extent, 1, 0.5}};
        Cloud cloud("test", 1.0, -1.0, false, 0);
        const Calc* pCalc = prepared(cloud, vPoints).getCalc();
        ASSERT_NE(nullptr, pCalc);
        EXPECT_EQ(c.numLevels, pCalc->getNumLevels()) << c.extent;
        u64 x = 0;
        u64 y = 0;
        u64 z = 0;
        pCalc->ccdToXYZ(pCalc->getCCD(&vPoints[0]), x, y, z);
        EXPECT_EQ(5000u, x);
        EXPECT_EQ(5000u, y);
        EXPECT_EQ(5000u, z);
    }
}

TEST_F(CloudTest, tooFineSpacingFailsWithTheSpacingThatWouldFit)
{
    const std::vector<Point3> vPoints = {{0, 0, 0}, {2087153, 0, 0}};
    Cloud tooFine("test", 1.0, -1.0, false, 0);
    EXPECT_THROW(prepared(tooFine, vPoints), ZanBugException);
    EXPECT_TRUE(messages.has("BaseLevel out of range: 22"));
    EXPECT_TRUE(messages.has("Condition [ numCReal>=numReqC failed ]"));
    EXPECT_TRUE(messages.has("use a spacing of at least 1.001"));
    Cloud fits("test", 1.001, -1.0, false, 0);
    EXPECT_EQ(2u, numBundles(prepared(fits, vPoints)));
    Cloud tiny("test", 1e-300, -1.0, false, 0); // the quotient overflows
    EXPECT_THROW(prepared(tiny, vPoints), ZanBugException);
}

TEST_F(CloudTest, spacingThatIsNotPositiveFails)
{
    const std::vector<Point3> vPoints = planeGrid(10, 10, 1.0).vPoints;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double factor : {0.0, -1.0, nan}) {
        Cloud cloud("test", -1.0, factor, false, 0);
        EXPECT_THROW(prepared(cloud, vPoints), ZanBugException);
        EXPECT_TRUE(messages.has("Condition [ usedSpacing>0 failed ]"));
        messages.clear();
    }
}

TEST_F(CloudTest, cloudWithoutExtentIsAWarningNotAFailure)
{
    for (const size_t num : {0u, 1u, 2u, 1000u}) {
        Cloud cloud("nothing.xyz", -1.0, 1.0, false, 0);
        EXPECT_EQ(0u, numBundles(prepared(cloud, std::vector<Point3>(num, Point3(1, 2, 3)))));
        EXPECT_EQ(nullptr, cloud.getCalc());
        EXPECT_TRUE(messages.has("Nothing to do for cloud nothing.xyz")) << num;
        messages.clear();
    }
}

TEST_F(CloudTest, gridsThatDoublesCannotCarryAreAWarning)
{
    const std::vector<Point3> vSmall = {{0, 0, 0}, {1, 1, 1}, {2, 0, 1}};
    for (const double spacing : {1e300, 1e305, std::numeric_limits<double>::infinity()}) {
        Cloud cloud("test", spacing, -1.0, false, 0);
        EXPECT_EQ(0u, numBundles(prepared(cloud, vSmall))) << spacing;
    }
    std::vector<Point3> vFar = vSmall;
    for (Point3& p : vFar)
        p.set(p.x() + 1e16, p.y(), p.z());
    Cloud far("test", 0.5, -1.0, false, 0);
    EXPECT_EQ(0u, numBundles(prepared(far, vFar)));
    EXPECT_TRUE(messages.has("autoOffset"));
    Cloud huge("test", -1.0, 1.0, false, 0);
    EXPECT_EQ(0u, numBundles(prepared(huge, {{-1e200, 0, 0}, {1e200, 0, 0}, {0, 1e200, 0}})));
    Cloud overflow("test", -1.0, 1.0, false, 0);
    EXPECT_EQ(0u, numBundles(prepared(overflow, {{-1.7e308, 0, 0}, {1.7e308, 0, 0}})));
}

TEST_F(CloudTest, pointsThatAreNotFiniteAreLeftOutAndCounted)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<Point3> vGood = sphere(1000).vPoints;
    std::vector<Point3> vMixed = vGood;
    for (int i = 0; i < 10; ++i)
        vMixed.insert(vMixed.begin() + 97 * i, i % 2 == 0 ? Point3(nan, 0, 0) : Point3(0, 0, -inf));
    EXPECT_EQ(detected(vGood), detected(vMixed));
    EXPECT_TRUE(messages.has("10 of 1010 points left out"));
    Cloud all("test", -1.0, 1.0, false, 0);
    EXPECT_EQ(0u, numBundles(prepared(all, {{nan, 0, 0}, {0, inf, 0}})));
}

TEST_F(CloudTest, farOutliersAreSaidToSpoilTheEstimate)
{
    std::vector<Point3> vPoints = sphere(20000).vPoints;
    detected(vPoints);
    EXPECT_FALSE(messages.has("WARNING"));
    vPoints.emplace_back(1e6, 0, 0);
    detected(vPoints);
    EXPECT_TRUE(messages.has("outliers"));
}

TEST_F(CloudTest, givenGridIsSharedInPlaceOfAnOwnOne)
{
    const Calc calc(-6000, -6000, -6000, 16384, 16384, 16384, 14);
    Cloud cloud("test", -1.0, 1.0, false, 0);
    cloud.setPoints(planeGrid(10, 10, 1.0).vPoints);
    cloud.prepareScanPoints(&calc);
    EXPECT_EQ(100u, numBundles(cloud));
    EXPECT_NE(&calc, cloud.getCalc());
    EXPECT_EQ(1.0, cloud.getCalc()->getCellSize());
    EXPECT_EQ(-1.0, cloud.getDetectedSpacing());
}

TEST_F(CloudTest, readingTellsWhatIsWrong)
{
    TempDir dir;
    std::vector<Point3> vRead;
    Cloud cloud("test", 1.0, -1.0, false, 0);
    EXPECT_FALSE(cloud.readPoints(dir.file("missing.xyz"), vRead));
    EXPECT_TRUE(messages.has("void Cloud::readPoints(), Error reading file: " + dir.file("missing.xyz")));
    EXPECT_FALSE(cloud.readPoints(dir.write("empty.xyz", ""), vRead));
    EXPECT_TRUE(messages.has("void Cloud::readPoints(), Empty file: " + dir.file("empty.xyz")));
    EXPECT_FALSE(cloud.readPoints(dir.write("points.dat", "1 2 3\n"), vRead));
    EXPECT_TRUE(messages.has("Unknown file format"));
    EXPECT_THROW(cloud.readPoints(dir.file("part.stl"), vRead), ZanBugException);
    EXPECT_TRUE(messages.has("\n Input file is of type STL, use --fmelt (-m) instead"));
    Cloud soup("test", -1.0, 1.0, true, 0);
    EXPECT_THROW(soup.readPoints(dir.file("part.stl"), vRead), ZanBugException);
    EXPECT_TRUE(messages.has("\nFor an STL provide also the -a option please"));
    EXPECT_TRUE(vRead.empty());
    EXPECT_TRUE(cloud.readPoints(dir.write("two.xyz", "1 2 3\n4 5 6\n"), vRead));
    EXPECT_EQ(2u, vRead.size());
    EXPECT_TRUE(cloud.readPoints("artificial123.xyz", vRead));
    EXPECT_GT(vRead.size(), 50000u);
}

TEST_F(CloudTest, managerTakesOneFileAndHandsOutSortedBundles)
{
    TempDir dir;
    const std::string name = dir.write("grid.xyz", "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0.9 0.9 0\n");
    CloudMgr one;
    one.readFiles({name}, 1.0, -1.0, false, 0);
    std::vector<Bundle*> vBundles;
    std::vector<u64> vZero;
    Calc* pCalc = nullptr;
    one.getBundles(vBundles, pCalc, vZero);
    ASSERT_EQ(4u, vBundles.size());
    for (size_t i = 0; i < vBundles.size(); ++i) {
        EXPECT_EQ(vBundles[i]->ccd, pCalc->getCCD(vBundles[i]->pVtx));
        EXPECT_TRUE(i == 0 || vBundles[i - 1]->ccd < vBundles[i]->ccd);
    }
    CloudMgr two;
    EXPECT_THROW(two.readFiles({name, name}, 1.0, -1.0, false, 0), ZanBugException);
    EXPECT_TRUE(messages.has("allows only one input file."));
    CloudMgr none;
    EXPECT_THROW(none.getBundles(vBundles, pCalc, vZero), ZanBugException);
}

// ---- triangles

TEST_F(CloudTest, equalCornersOfASoupAreOneVertexWhateverTheSignOfZero)
{
    // A closed tetrahedron: a corner that is not merged shows as a border.
    const Point3 a(0, 0, -0.0), b(9, 0, 0), c(0, 9, 0), d(0, -0.0, 9), a2(-0.0, 0, 0), d2(0, 0, 9);
    CloudMgr manager;
    manager.inputPointsViaMemory({a, b, c, a2, c, d2, a, b, d, b, c, d}, 1.0, -1.0, true, 30.0, nullptr, -1);
    CellPairs vFeatures, vBorders;
    manager.getFeatures(vFeatures);
    manager.getBorders(vBorders);
    EXPECT_FALSE(vFeatures.empty());
    EXPECT_TRUE(vBorders.empty());
    std::vector<Bundle*> vBundles;
    std::vector<u64> vZero;
    Calc* pCalc = nullptr;
    manager.getBundles(vBundles, pCalc, vZero);
    EXPECT_GT(vBundles.size(), 100u);
    for (size_t i = 0; i < vBundles.size(); ++i) {
        EXPECT_EQ(vBundles[i]->ccd, pCalc->getCCD(vBundles[i]->pVtx));
        EXPECT_TRUE(i == 0 || vBundles[i - 1]->ccd < vBundles[i]->ccd);
    }
}

TEST_F(CloudTest, soupThatIsNoneEndsInAWarningOrTheNamedCondition)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<Point3> vTriangle = {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}};
    const auto numOf = [](const std::vector<Point3>& vCorners, double spacing) {
        Cloud cloud("soup", spacing, -1.0, true, -1);
        cloud.setPoints(vCorners);
        cloud.preparePixelsAndFeatures(30.0);
        return numBundles(cloud);
    };
    const size_t numGood = numOf(vTriangle, 1.0);
    EXPECT_GT(numGood, 40u);
    std::vector<Point3> vMixed = {{0, 0, 0}, {nan, 0, 0}, {0, 9, 9}, {0, inf, 0}, {9, 9, 9}, {9, 0, 9}};
    vMixed.insert(vMixed.end(), vTriangle.begin(), vTriangle.end());
    EXPECT_EQ(numOf(vMixed, 1.0), numGood);
    EXPECT_TRUE(messages.has("2 of 3 triangles left out"));
    EXPECT_EQ(numOf({}, 1.0), 0u);
    EXPECT_TRUE(messages.has("Nothing to do for cloud soup"));
    EXPECT_EQ(numOf({{0, 0, 0}, {0.1, 0, 0}, {0, 0.1, 0}}, 1.0), 1u) << "inside of a cell";
    EXPECT_EQ(numOf({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, 1.0), 0u);

    for (const double spacing : {0.0, -1.0, nan})
        EXPECT_THROW(numOf(vTriangle, spacing), ZanBugException);
    EXPECT_TRUE(messages.has("usedSpacing>0"));
    EXPECT_THROW(numOf({{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {9, 9, 9}}, 1.0), ZanBugException);
    EXPECT_TRUE(messages.has("vTriangleCorners.size()%3==0"));
    EXPECT_THROW(numOf(vTriangle, 1e-6), ZanBugException);
    EXPECT_TRUE(messages.has("numCReal>=numReqC"));
    EXPECT_TRUE(messages.has("use a spacing of at least 4.3"));
    EXPECT_EQ(numOf(vTriangle, 4.32e-6), 0u); // what was said to do for the grid is refused as too many cells
    EXPECT_TRUE(messages.has("refused"));
}

TEST_F(CloudTest, managerTakesTheFacesOfAFileWhenItMelts)
{
    TempDir dir;
    const std::string name =
        dir.write("soup.ply", "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
                              "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                              "end_header\n0 0 0\n9 0 0\n0 9 0\n50 50 50\n3 0 1 2\n");
    CloudMgr manager;
    manager.readFiles({name}, 1.0, -1.0, true, -1);
    std::vector<Bundle*> vBundles;
    std::vector<u64> vZero;
    Calc* pCalc = nullptr;
    manager.getBundles(vBundles, pCalc, vZero);
    EXPECT_GT(vBundles.size(), 40u);
    for (const Bundle* pBundle : vBundles)
        EXPECT_LT(pBundle->pVtx->x(), 10.0) << "a vertex of no face";
}
