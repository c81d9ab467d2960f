// The road from a triangle soup with gaps to a cloud without: the filler on cells, and the call of the host.
#include "zan_api_functions.h"

#include "Calc.h"
#include "CloudMgr.h"
#include "Filler.h"
#include "Progress.h"
#include "freeFunctions.h"
#include "helpers/captured.h"
#include "helpers/meshChecks.h"
#include "progressTrees.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

using Soup = std::vector<Point3>;

// The same turn for all, so that no sheet lies along the grid.
Point3 turned(const Point3& p)
{
    const Vector3 x(0.7997, 0.5616, -0.2126), y(-0.4937, 0.8121, 0.3111), z(0.3474, -0.1438, 0.9266);
    return Point3(0, 0, 0) + x * p.x() + y * p.y() + z * p.z();
}

// A net of n x n patches over [u0, u1] x [v0, v1], turned.
void addNet(Soup& soup, int n, double u0, double u1, double v0, double v1,
            const std::function<Point3(double, double)>& f)
{
    const auto at = [&](int i, int j) { return turned(f(u0 + (u1 - u0) * i / n, v0 + (v1 - v0) * j / n)); };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            soup.insert(soup.end(),
                        {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j), at(i + 1, j + 1), at(i, j + 1)});
}

Point3 flat(double u, double v)
{
    return Point3(u, v, 0);
}

Soup coplanarSheets(double gap)
{
    Soup soup;
    addNet(soup, 1, 0, 25, 0, 20, flat);
    addNet(soup, 1, 26 + gap, 50 + gap, 0, 20, flat);
    return soup;
}

constexpr double RADIUS = 20.0;

// Two caps, and the zone between them in three parts.
Soup sphereShards(double gap)
{
    const double half = gap / RADIUS / 2, third = 2 * M_PI / 3;
    const auto f = [](double u, double v) {
        return Point3(RADIUS * std::cos(u) * std::cos(v), RADIUS * std::sin(u) * std::cos(v),
                      RADIUS * std::sin(v));
    };
    Soup soup;
    for (int i = 0; i < 3; ++i) {
        addNet(soup, 16, i * third + half, (i + 1) * third - half, -0.6 + half, 0.6 - half, f);
        for (const double sign : {-1.0, 1.0})
            addNet(soup, 16, i * third, (i + 1) * third, sign * (0.6 + half), sign * M_PI / 2, f);
    }
    return soup;
}

// Round a cylinder: parts whose upper sides look in and out by turns.
Soup cylinderParts(int num, double gap)
{
    Soup soup;
    const double part = 2 * M_PI / num, half = gap / RADIUS / 2;
    for (int i = 0; i < num; ++i)
        addNet(soup, 12, i * part + half, (i + 1) * part - half, 0, 30,
               [](double u, double v) { return Point3(RADIUS * std::cos(u), v, RADIUS * std::sin(u)); });
    return soup;
}

double distanceTo(const std::vector<Point3>& vPoints, const Point3& p)
{
    double sqDist = std::numeric_limits<double>::max();
    for (const Point3& other : vPoints)
        sqDist = std::min(sqDist, sqDistance(other, p));
    return std::sqrt(sqDist);
}

class FillGapsTest : public ::testing::Test
{
protected:
    ~FillGapsTest() override { EXPECT_EQ("empty", getRootProgress()->getName()); }

    // The points that a call adds to those of toCloud.
    static std::vector<Point3> added(Soup soup, int growSteps)
    {
        std::vector<Point3> vCloud, vAll;
        toCloud(soup, 1.0, 30.0, vCloud);
        fillGaps(soup, 1.0, 30.0, growSteps, vAll);
        EXPECT_GE(vAll.size(), vCloud.size());
        EXPECT_TRUE(std::equal(vCloud.begin(), vCloud.end(), vAll.begin()));
        return {vAll.begin() + static_cast<std::ptrdiff_t>(vCloud.size()), vAll.end()};
    }

    static MeshReport reconstructed(Soup soup, int growSteps)
    {
        std::vector<Point3> vAll;
        fillGaps(soup, 1.0, 30.0, growSteps, vAll);
        const std::shared_ptr<Mesh> pMesh = reconstruct_abs(vAll, 1.0, 2);
        std::vector<Point3*> vVertices;
        std::vector<int> vIndices;
        pMesh->getVertexIndexData(vVertices, vIndices);
        return checkMesh(indexedMesh(vVertices, vIndices));
    }

    CapturedMessages messages;
};

} // namespace

TEST_F(FillGapsTest, sheetsInOnePlaneAreJoinedInTheGapAndNowhereElse)
{
    for (const int gap : {3, 6, 10}) {
        Soup soup = coplanarSheets(gap);
        const std::vector<Point3> vAdded = added(soup, gap);
        std::vector<Point3> vCloud;
        toCloud(soup, 1.0, 30.0, vCloud);
        EXPECT_GT(vAdded.size(), 15u * static_cast<size_t>(gap));
        const Vector3 x = turned(Point3(1, 0, 0)) - Point3(), y = turned(Point3(0, 1, 0)) - Point3(),
                      z = turned(Point3(0, 0, 1)) - Point3();
        for (const Point3& p : vAdded) {
            const Vector3 v = p - Point3();
            EXPECT_TRUE(v * x > 22.0 && v * x < 29.0 + gap) << v * x;
            EXPECT_TRUE(v * y > -0.5 * gap && v * y < 20.0 + 0.5 * gap) << v * y;
            EXPECT_LT(std::fabs(v * z), 0.8);
            EXPECT_LE(distanceTo(vCloud, p), gap) << "farther than the grow steps";
        }
        const MeshReport report = reconstructed(soup, gap);
        EXPECT_EQ(1u, report.numComponents) << gap;
        EXPECT_TRUE(report.isManifold()) << toText(report);
        EXPECT_EQ(1, report.euler) << "no hole is left";
    }
}

TEST_F(FillGapsTest, nothingIsAddedWhereNothingFacesARim)
{
    Soup single;
    addNet(single, 1, 0, 25, 0, 20, flat);
    EXPECT_TRUE(added(single, 8).empty());
    EXPECT_TRUE(added(coplanarSheets(14), 8).empty()) << "rims farther apart than the radius";
    for (const double gap : {4.0, 6.0, 9.0}) {
        Soup parallel = single;
        addNet(parallel, 1, 0, 25, 0, 20, [gap](double u, double v) { return Point3(u, v, gap); });
        EXPECT_TRUE(added(parallel, 8).empty()) << "sheets side by side, " << gap;
        if (gap > 5.0) { // nearer ones are joined by the fill
            EXPECT_EQ(2u, reconstructed(parallel, 8).numComponents);
        }
    }
}

TEST_F(FillGapsTest, shardsOfASphereBecomeTheSphere)
{
    const Soup soup = sphereShards(5.0);
    for (const Point3& p : added(soup, 5))
        EXPECT_NEAR(RADIUS, (p - Point3()).length(), 0.5);
    const MeshReport report = reconstructed(soup, 5);
    EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << toText(report);
    EXPECT_EQ(1u, report.numComponents);
    EXPECT_EQ(2, report.euler);
}

TEST_F(FillGapsTest, relatedComponentsAgreeOnTheirSidesAllRound)
{
    const ProgressTree tree("Test", {}); // for the phases of the stages
    CloudMgr cldMgr;
    cldMgr.inputPointsViaMemory(cylinderParts(7, 4.0), 1.0, -1.0, true, 30.0, nullptr, -1);
    std::vector<Bundle*> vBundles;
    std::vector<u64> vZeroCCD, vBorderRCD, vAreaRCD;
    CellPairs vBorders;
    Calc* pCalc = nullptr;
    cldMgr.getBundles(vBundles, pCalc, vZeroCCD);
    cldMgr.getBorders(vBorders);
    for (const auto& [ccd0, ccd1] : vBorders)
        vBorderRCD.insert(vBorderRCD.end(), {Calc::ccdToRCD(ccd0), Calc::ccdToRCD(ccd1)});
    std::sort(vBorderRCD.begin(), vBorderRCD.end());
    CellPoints vCells;
    for (const Bundle* pBundle : vBundles) {
        vCells.emplace_back(Calc::ccdToRCD(pBundle->ccd), *pBundle->pVtx);
        if (!std::binary_search(vBorderRCD.begin(), vBorderRCD.end(), vCells.back().first))
            vAreaRCD.push_back(vCells.back().first);
    }
    std::sort(vCells.begin(), vCells.end());
    Filler filler(6, vBorderRCD, vAreaRCD, vCells, pCalc);
    filler.createComponents();
    ASSERT_EQ(7u, filler.getComponents().size());
    std::vector<Filler::AffiPair> vPairs;
    filler.determineAffiliation(Filler::affiliationRadius(6), vPairs);
    for (const auto& [pFirst, pSecond] : vPairs) {
        EXPECT_NE(pFirst->pComponent, pSecond->pComponent);
        EXPECT_LE(std::max(pFirst->minDist, pSecond->minDist), 9.0f);
    }
    filler.orient(vPairs);
    EXPECT_EQ(7u, filler.getConnections().size());
    for (const ConnectionStruct& connection : filler.getConnections())
        EXPECT_GT(connection.score, 0.0);
    filler.createMasters();
    ASSERT_EQ(1u, filler.getMasters().size());
    EXPECT_EQ("mstc_7", filler.getMasters()[0]->getName());

    // Of the facets that look away from the axis and lie far from rims, all are on one side.
    std::map<int, int> mOutside;
    for (const Facet& facet : filler.getMasters()[0]->getVisibleFacets()) {
        const Vector3 v = pCalc->getCellMid_RCD(facet.rcd) - Point3();
        const Vector3 y = turned(Point3(0, 1, 0)) - Point3();
        const Vector3 radial = normalize(v - y * (v * y));
        if (facet.componentIndex >= 0 && radial * Facet::normalOf(facet.side) > 0.6)
            ++mOutside[facet.componentIndex];
    }
    EXPECT_EQ(1u, mOutside.size()) << mOutside[0] << " and " << mOutside[1];
}

TEST_F(FillGapsTest, badArgumentsAreNamedConditionsAndAnEmptySoupIsAWarning)
{
    Soup soup = coplanarSheets(4), none;
    std::vector<Point3> vResult;
    for (const int steps : {0, -3}) {
        messages.clear();
        EXPECT_THROW(fillGaps(soup, 1.0, 30.0, steps, vResult), ZanBugException);
        EXPECT_TRUE(messages.has("numGrowSteps>0"));
    }
    EXPECT_TRUE(added(soup, std::numeric_limits<int>::max()).empty());
    EXPECT_TRUE(messages.has("use at most"));
    messages.clear();
    fillGaps(none, 1.0, 30.0, 4, vResult);
    EXPECT_TRUE(vResult.empty());
    EXPECT_TRUE(messages.has("Nothing to do"));

    const Calc calc(0, 0, 0, 64, 64, 64, 6);
    std::vector<u64> vBorder = {xyzToRCD(9, 9, 9)};
    const CellPoints vNoPoints;
    EXPECT_THROW(Filler(3, vBorder, {}, vNoPoints, &calc), ZanBugException);
}

TEST_F(FillGapsTest, sameBytesForAnyNumberOfThreads)
{
    const Soup soup = sphereShards(5.0);
    std::vector<std::vector<Point3>> vvAdded;
    for (const int num : {1, 2, 8}) {
        setGlobalNumCPU(num);
        vvAdded.push_back(added(soup, 5));
    }
    setGlobalNumCPU(0);
    EXPECT_TRUE(vvAdded[0] == vvAdded[1] && vvAdded[0] == vvAdded[2]);
}
