// The road from a triangle soup to a mesh, as a host drives it.
#include "zan_api_functions.h"

#include "Progress.h"
#include "helpers/captured.h"
#include "helpers/meshChecks.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

constexpr double LIMIT = 30.0;

using Soup = std::vector<Point3>;

void addRectangle(Soup& soup, const Point3& p, const Vector3& a, const Vector3& b)
{
    const Point3 pA = p + a, pB = p + b, pAB = p + a + b;
    soup.insert(soup.end(), {p, pA, pAB, p, pAB, pB});
}

// A box from low, its edges turned by some degrees about z.
Soup box(const Point3& low, const Vector3& size, double degrees = 0.0)
{
    const double c = std::cos(degrees / 57.29578), s = std::sin(degrees / 57.29578);
    const Vector3 x(size.x() * c, size.x() * s, 0), y(-size.y() * s, size.y() * c, 0), z(0, 0, size.z());
    Soup soup;
    for (const auto& [a, b, c3] : {std::array{x, y, z}, std::array{y, z, x}, std::array{z, x, y}}) {
        addRectangle(soup, low, b, a);
        addRectangle(soup, low + c3, a, b);
    }
    return soup;
}

// About the z axis, from -height to height.
Soup prism(double radius, double height, int numSides)
{
    Soup soup;
    const auto at = [&](int i, double z) {
        const double angle = 6.283185307179586 * i / numSides;
        return Point3(radius * std::cos(angle), radius * std::sin(angle), z);
    };
    for (int i = 0; i < numSides; ++i) {
        const Point3 a = at(i, -height), b = at(i + 1, -height), c = at(i + 1, height), d = at(i, height);
        soup.insert(soup.end(), {a, b, c, a, c, d, Point3(0, 0, height), d, c, Point3(0, 0, -height), b, a});
    }
    return soup;
}

Soup together(const Soup& a, const Soup& b)
{
    Soup soup = a;
    soup.insert(soup.end(), b.begin(), b.end());
    return soup;
}

class MeltTest : public ::testing::Test
{
protected:
    ~MeltTest() override { EXPECT_EQ("empty", getRootProgress()->getName()); }

    static IndexedMesh melted(Soup soup, double spacing, double limit = LIMIT)
    {
        const std::shared_ptr<Mesh> pMesh = melt(soup, spacing, limit);
        if (pMesh == nullptr)
            return {};
        std::vector<Point3*> vVertices;
        std::vector<int> vIndices;
        pMesh->getVertexIndexData(vVertices, vIndices);
        return indexedMesh(vVertices, vIndices);
    }

    // Whether the call ends in a failed condition with this text.
    bool failsBy(Soup soup, double spacing, const std::string& condition)
    {
        messages.clear();
        try {
            melt(soup, spacing, LIMIT);
        } catch (const ZanBugException&) {
            return messages.has(condition);
        }
        return false;
    }

    CapturedMessages messages;
};

} // namespace

TEST_F(MeltTest, cubeKeepsItsCornersAndEdgesExactlyAndFacesOutward)
{
    const IndexedMesh mesh = melted(box(Point3(1, 2, 3), Vector3(10, 10, 10)), 1.0);
    const MeshReport report = checkMesh(mesh);
    EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << toText(report);
    EXPECT_EQ(2, report.euler);
    EXPECT_NEAR(1000.0, meshVolume(mesh), 1e-9);

    size_t numCorners = 0;
    std::map<int, std::vector<double>> mAlong; // edge of the cube -> places of the vertices on it
    for (const Point3& p : mesh.vPoints) {
        const double c[3] = {p.x() - 1, p.y() - 2, p.z() - 3};
        int code = 0, numOn = 0, free = 0;
        for (int axis = 0; axis < 3; ++axis) {
            const bool bOn = c[axis] == 0.0 || c[axis] == 10.0;
            numOn += bOn ? 1 : 0;
            free = bOn ? free : axis;
            code = 3 * code + (c[axis] == 0.0 ? 0 : c[axis] == 10.0 ? 1 : 2);
        }
        EXPECT_GE(numOn, 1) << p.x() << ' ' << p.y() << ' ' << p.z();
        numCorners += numOn == 3 ? 1 : 0;
        if (numOn == 2)
            mAlong[code].push_back(c[free]);
    }
    EXPECT_EQ(8u, numCorners);
    EXPECT_EQ(12u, mAlong.size());
    for (auto& [code, vPlaces] : mAlong) {
        std::sort(vPlaces.begin(), vPlaces.end());
        for (size_t i = 1; i < vPlaces.size(); ++i)
            EXPECT_LT(vPlaces[i] - vPlaces[i - 1], 2.0) << "a gap along an edge of the cube";
    }
}

TEST_F(MeltTest, bodiesThatRunThroughEachOtherComeOutClosed)
{
    for (const double degrees : {0.0, 17.0, 45.0}) {
        const IndexedMesh mesh = melted(together(box(Point3(0, 0, 0), Vector3(30, 30, 30)),
                                                 box(Point3(20, 11, 12), Vector3(30, 30, 30), degrees)),
                                        1.0);
        const MeshReport report = checkMesh(mesh);
        EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << degrees << ' ' << toText(report);
    }
}

TEST_F(MeltTest, threeBodiesThatRunThroughEachOtherBecomeOne)
{
    Soup bar = box(Point3(-0.2, -1, -0.4), Vector3(0.4, 2, 0.8));
    std::reverse(bar.begin(), bar.end());
    const Soup plate = box(Point3(-1, -0.6, -0.15), Vector3(2, 1.2, 0.3));
    const Soup bodies = together(together(plate, bar), prism(0.3, 0.9, 40));
    for (const double spacing : {0.019, 0.035, 0.039, 0.04, 0.044, 0.093}) {
        const IndexedMesh mesh = melted(bodies, spacing);
        EXPECT_TRUE(checkMesh(mesh).isClosedManifold()) << spacing;
        EXPECT_NEAR(1.528, meshVolume(mesh), 0.02) << spacing;
    }
}

TEST_F(MeltTest, wallBetweenBodiesThatTouchGoesAndACavityStays)
{
    Soup cavity = box(Point3(5, 5, 5), Vector3(8, 8, 8), 20.0);
    std::reverse(cavity.begin(), cavity.end());
    const Soup touching =
        together(box(Point3(0, 0, 0), Vector3(30, 20, 20)), box(Point3(30, 4, 4), Vector3(10, 10, 10)));
    const IndexedMesh solid = melted(touching, 1.0);
    EXPECT_TRUE(checkMesh(solid).isClosedManifold()) << toText(checkMesh(solid));
    EXPECT_EQ(1u, checkMesh(solid).numComponents);
    EXPECT_NEAR(13000.0, meshVolume(solid), 20.0);
    const MeshReport hollow = checkMesh(melted(together(touching, cavity), 1.0));
    EXPECT_TRUE(hollow.isClosedManifold() && hollow.isOriented()) << toText(hollow);
    EXPECT_EQ(2u, hollow.numComponents) << toText(hollow);
}

TEST_F(MeltTest, wallsThinnerThanACellComeOutClosed)
{
    // A plate; and a channel so near to the edge of a block that only a sheet is left between.
    const Soup plate = box(Point3(0.3, 0.2, 0.1), Vector3(20, 20, 0.6), 10.0);
    Soup channel = box(Point3(0, 0, 0), Vector3(20, 20, 20));
    for (Soup hollow = box(Point3(0.8, 0.8, -5), Vector3(5, 5, 15)); const Point3& p : hollow)
        channel.push_back(p);
    for (const Soup& soup : {plate, channel}) {
        const MeshReport report = checkMesh(melted(soup, 1.0));
        EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << toText(report);
    }
}

TEST_F(MeltTest, openSheetsKeepTheirBordersAndWalls)
{
    Soup soup;
    addRectangle(soup, Point3(0, 0, 0), Vector3(20, 0, 0), Vector3(0, 20, 0));
    addRectangle(soup, Point3(10, 0, 0), Vector3(0, 20, 0), Vector3(0, 0, 15));
    for (const double spacing : {1.0, 1.1, 1.3, 1.7, 2.3}) {
        const IndexedMesh mesh = melted(soup, spacing);
        const MeshReport report = checkMesh(mesh);
        EXPECT_TRUE(report.isManifold() && report.isOriented()) << spacing << ' ' << toText(report);
        EXPECT_NEAR(700.0, meshArea(mesh), 40.0 * spacing) << spacing;
        EXPECT_EQ(mesh.vTriangles, melted(soup, spacing).vTriangles) << spacing;
    }
}

TEST_F(MeltTest, windingDuplicatesAndCracksDoNotMatter)
{
    const Soup clean = box(Point3(0, 0, 0), Vector3(10, 10, 10), 20.0);
    Soup dirty = clean;
    std::swap(dirty[1], dirty[2]);                                    // turned
    dirty.insert(dirty.end(), clean.begin() + 6, clean.begin() + 12); // twice
    dirty.insert(dirty.end(), {clean[0], clean[0], clean[1]});        // flat
    dirty.insert(dirty.end(), {clean[0], clean[1], clean[0] + Vector3(1e-170, 0, 0)});
    const MeshReport report = checkMesh(melted(dirty, 0.7));
    EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << toText(report);
    EXPECT_EQ(2, report.euler);
}

TEST_F(MeltTest, nothingToDoIsAWarningAndNoMesh)
{
    EXPECT_EQ(0u, melted({}, 1.0).numT());
    EXPECT_TRUE(messages.has("MELT: Nothing to do"));
    const Point3 p(1, 2, 3), q(2, 2, 3);
    EXPECT_EQ(0u, melted({p, p, q, p, q, q}, 1.0).numT());
    EXPECT_TRUE(messages.has("Skipped 2 degenerate triangles"));
    EXPECT_TRUE(messages.has("No non-degenerate triangles"));
    EXPECT_EQ(0u, melted({p, q, Point3(1.1, 2.1, 3)}, 100.0).numT()) << "all in one cell";
}

TEST_F(MeltTest, triangleWithACornerThatIsNotFiniteIsLeftOut)
{
    const Soup clean = box(Point3(0, 0, 0), Vector3(10, 10, 10));
    Soup soup = clean;
    soup.insert(soup.begin(), {Point3(std::numeric_limits<double>::quiet_NaN(), 0, 0), clean[0], clean[1]});
    EXPECT_EQ(melted(clean, 1.0).vTriangles, melted(soup, 1.0).vTriangles);
}

TEST_F(MeltTest, badArgumentsAreTheNamedConditionsAndTheNextCallWorks)
{
    const Soup cube = box(Point3(0, 0, 0), Vector3(10, 10, 10));
    Soup cut = cube;
    cut.pop_back();
    EXPECT_TRUE(failsBy(cut, 1.0, ""));
    for (const double spacing : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TRUE(failsBy(cube, spacing, "usedSpacing>0")) << spacing;
    EXPECT_TRUE(failsBy(cube, 1e-6, "numCReal>=numReqC"));
    EXPECT_GT(melted(cube, 1.0).numT(), 0u);
}

TEST_F(MeltTest, sameBytesForAnyNumberOfThreads)
{
    const Soup soup = together(box(Point3(0, 0, 0), Vector3(30, 30, 30)),
                               box(Point3(20, 11, 12), Vector3(30, 30, 30), 23.0));
    setGlobalNumCPU(1);
    const IndexedMesh one = melted(soup, 0.6);
    for (const int num : {3, 8}) {
        setGlobalNumCPU(num);
        const IndexedMesh other = melted(soup, 0.6);
        EXPECT_EQ(one.vTriangles, other.vTriangles) << num;
        EXPECT_TRUE(one.vPoints == other.vPoints) << num;
    }
    setGlobalNumCPU(0);
}
