// The library as a host meets it: the public headers and the shared library, nothing else.
#include "helpers/tempDir.h"

#include <zan/zan_api_functions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <sstream>

using namespace TESK_ZAN;
using zan_test::TempDir;

namespace
{

// A unit sphere of even points whose colour tells the half: red above, blue below.
std::vector<Point3> colouredSphere(int numPoints)
{
    std::vector<Point3> vPoints;
    for (int i = 0; i < numPoints; ++i) {
        const double z = 1.0 - (2.0 * i + 1.0) / numPoints;
        const double angle = i * std::numbers::pi * (3.0 - std::sqrt(5.0));
        const double ring = std::sqrt(1.0 - z * z);
        Point3 point(ring * std::cos(angle), ring * std::sin(angle), z);
        point.setColor(z > 0.0 ? 200 : 0, 0, z > 0.0 ? 0 : 200, 255);
        vPoints.push_back(point);
    }
    return vPoints;
}

class Listener : public ProgressBase
{
public:
    void progressChanged(const std::string& treeName, double fraction) override
    {
        names.insert(treeName);
        last = fraction;
        if (++numCalls == throwAtCall)
            throw std::runtime_error("the host has had enough");
    }

    int throwAtCall = 0; // never
    int numCalls = 0;
    double last = 0.0;
    std::set<std::string> names;
};

class Host : public testing::Test
{
protected:
    Host() { setMessageStream(&messages); }
    ~Host() override { setMessageStream(nullptr); }

    std::ostringstream messages;
    std::vector<Point3> vSphere = colouredSphere(3000);
};

} // namespace

TEST_F(Host, VersionIsTheOneTheBuildIsNamedAfter)
{
    int major = 0;
    int minor = 0;
    getVersion(major, minor);
    EXPECT_EQ(std::to_string(major) + "." + std::to_string(minor), ZAN_VERSION);
}

TEST_F(Host, MeshOfACloudHasItsPointsWithTheirColours)
{
    const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vSphere, 1.0, 2);
    ASSERT_NE(pMesh, nullptr);
    EXPECT_GT(pMesh->getNumT(), 3000U);

    std::vector<Point3*> vVertices;
    pMesh->getPoints(vVertices);
    ASSERT_FALSE(vVertices.empty());
    std::sort(vSphere.begin(), vSphere.end());
    for (const Point3* pVertex : vVertices) {
        EXPECT_TRUE(pVertex->hasColor());
        unsigned char r = 0, g = 0, b = 0, a = 0;
        pVertex->getColor_255(r, g, b, a);
        if (std::binary_search(vSphere.begin(), vSphere.end(), *pVertex)) {
            EXPECT_EQ(r > b, pVertex->z() > 0.0);
        }
    }
}

TEST_F(Host, IndexedFormAgreesWithTheTriangles)
{
    const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vSphere, 1.0, 2);
    ASSERT_NE(pMesh, nullptr);
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    std::vector<Point3*> vCorners;
    pMesh->getVertexIndexData(vVertices, vIndices);
    pMesh->getTriangles(vCorners);
    ASSERT_EQ(vIndices.size(), vCorners.size());
    for (std::size_t i = 0; i < vIndices.size(); ++i)
        ASSERT_EQ(vVertices[std::size_t(vIndices[i])], vCorners[i]);
}

TEST_F(Host, AHoleIsClosedColouredAndHeardOfWhenItIsSmallEnough)
{
    std::erase_if(vSphere, [](const Point3& p) { return p.z() > 0.97; });
    const auto pMesh = reconstruct_auto(vSphere, 1.0, 0);
    ASSERT_NE(pMesh, nullptr);
    const size_t numBefore = pMesh->getNumT();
    Listener listener;
    subscribe(&listener);
    EXPECT_EQ(closeHoles(pMesh, 5), 0);
    EXPECT_EQ(pMesh->getNumT(), numBefore);
    EXPECT_EQ(closeHoles(pMesh, 0), 1);
    EXPECT_GT(pMesh->getNumT(), numBefore);
    EXPECT_EQ(listener.names, std::set<std::string>{"CloseHoles"});
    EXPECT_EQ(listener.last, 1.0);
    std::vector<Point3*> vPoints;
    pMesh->getPoints(vPoints);
    EXPECT_TRUE(std::all_of(vPoints.begin(), vPoints.end(), [](const Point3* p) { return p->hasColor(); }));
    EXPECT_EQ(closeHoles(nullptr, 0), 0);
}

TEST_F(Host, SharpEdgesComeBackColouredAndHeardOf)
{
    std::vector<Point3> vCube; // no point is on an edge
    for (int i = 0; i < 20; ++i)
        for (int k = 0; k < 20; ++k)
            for (const double side : {0.0, 20.0}) {
                vCube.emplace_back(side, i + 0.5, k + 0.5, 9, 9, 9, 255);
                vCube.emplace_back(i + 0.5, side, k + 0.5, 9, 9, 9, 255);
                vCube.emplace_back(i + 0.5, k + 0.5, side, 9, 9, 9, 255);
            }
    const auto pMesh = reconstruct_abs(vCube, 1.0, 0);
    ASSERT_NE(pMesh, nullptr);
    Listener listener;
    subscribe(&listener);
    EXPECT_EQ(sharpenEdges(pMesh, 9.0), 0);
    EXPECT_EQ(sharpenEdges(pMesh, std::nan("")), 0);
    EXPECT_GT(sharpenEdges(pMesh, 40.0), 12 * 19);
    EXPECT_EQ(listener.names, std::set<std::string>{"SharpenEdges"});
    EXPECT_EQ(listener.last, 1.0);
    std::vector<Point3*> vPoints;
    pMesh->getPoints(vPoints);
    EXPECT_TRUE(std::all_of(vPoints.begin(), vPoints.end(), [](const Point3* p) { return p->hasColor(); }));
    const auto bCorner = [](const Point3* p) {
        const auto bEnd = [](double x) { return std::abs(x - 10.0) > 10.0 - 1e-9; };
        return bEnd(p->x()) && bEnd(p->y()) && bEnd(p->z());
    };
    EXPECT_EQ(std::count_if(vPoints.begin(), vPoints.end(), bCorner), 8);
    EXPECT_EQ(sharpenEdges(nullptr, 40.0), 0);
}

TEST_F(Host, ShapesAreMendedAfterSmoothingAndVerticesStayWhereTheyAre)
{
    std::vector<Point3> vRough = colouredSphere(5000);
    for (size_t i = 0; i < vRough.size(); ++i) {
        const double factor = 1.0 + 0.02 * std::sin(12.9898 * double(i));
        vRough[i].set(factor * vRough[i].x(), factor * vRough[i].y(), factor * vRough[i].z());
    }
    const auto pMesh = reconstruct_auto(vRough, 1.0, 3);
    ASSERT_NE(pMesh, nullptr);
    laplacianSmoothing(pMesh, 1);
    std::vector<Point3*> vPoints;
    pMesh->getPoints(vPoints);
    std::set<Point3> sBefore;
    for (const Point3* p : vPoints)
        sBefore.insert(*p);
    Listener listener;
    subscribe(&listener);
    EXPECT_GT(repairShapes(pMesh), 10);
    EXPECT_EQ(listener.names, std::set<std::string>{"RepairShapes"});
    EXPECT_EQ(listener.last, 1.0);
    vPoints.clear();
    pMesh->getPoints(vPoints);
    EXPECT_GT(vPoints.size(), sBefore.size() * 95 / 100);
    EXPECT_TRUE(
        std::all_of(vPoints.begin(), vPoints.end(), [&](const Point3* p) { return sBefore.count(*p) > 0; }));
    EXPECT_EQ(repairShapes(pMesh), 0);
    EXPECT_EQ(repairShapes(nullptr), 0);
}

TEST_F(Host, TrianglesBecomeAMeshThatCanBeImproved)
{
    Listener listener;
    subscribe(&listener);
    std::vector<Point3> vCorners;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            for (const int k : {0, 1, 3, 0, 3, 2})
                vCorners.emplace_back(i + k / 2, j + k % 2, 0.0);
    const auto pMesh = meshFromTriangles(vCorners);
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(listener.names, std::set<std::string>{"MeshFromTriangles"});
    EXPECT_EQ(listener.last, 1.0);
    EXPECT_EQ(pMesh->getNumT(), 128U);
    EXPECT_EQ(pMesh->getCellSize(), pMesh->getAverageEdgeLength());
    EXPECT_GT(reduce(pMesh, 100.0, 1.0), 100);
}

TEST_F(Host, AMeshIsMadeAgainOfItsVerticesAndIndices)
{
    const auto pMesh = reconstruct_auto(vSphere, 1.0, 2);
    const auto dataOf = [](const std::shared_ptr<Mesh>& p) {
        std::pair<std::vector<Point3>, std::vector<int>> data;
        std::vector<Point3*> vVertices;
        p->getVertexIndexData(vVertices, data.second);
        for (const Point3* pVertex : vVertices)
            data.first.push_back(*pVertex);
        return data;
    };
    const auto data = dataOf(pMesh);
    const auto pAgain = meshFromIndexed(data.first, data.second, pMesh->getCellSize());
    ASSERT_NE(pAgain, nullptr);
    EXPECT_EQ(dataOf(pAgain), data);
    EXPECT_EQ(pAgain->getCellSize(), pMesh->getCellSize());
    EXPECT_EQ(meshFromIndexed(data.first, {0, 1, int(data.first.size())}, 0.0), nullptr);
    EXPECT_EQ(meshFromIndexed(data.first, {0, 1, -1}, 0.0), nullptr);

    // Without use: dropped. No cell size: the mean edge.
    const auto pOne = meshFromIndexed({{9, 9, 9}, {0, 0, 3}, {4, 0, 0}, {0, 0, 0}}, {3, 2, 1}, -1.0);
    ASSERT_NE(pOne, nullptr);
    EXPECT_EQ(dataOf(pOne).first, (std::vector<Point3>{{0, 0, 3}, {4, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(dataOf(pOne).second, (std::vector<int>{2, 1, 0}));
    EXPECT_EQ(pOne->getCellSize(), 4.0);
}

TEST_F(Host, SubscriberHearsTheRunToItsEnd)
{
    Listener listener;
    subscribe(&listener);
    ASSERT_NE(reconstruct_auto(vSphere, 1.0, 2), nullptr);
    EXPECT_EQ(listener.names, std::set<std::string>{"Reconstruct"});
    EXPECT_EQ(listener.last, 1.0);
}

TEST_F(Host, ThrowingFromTheSubscriberCancelsAndTheNextRunWorks)
{
    {
        Listener impatient;
        impatient.throwAtCall = 3;
        subscribe(&impatient);
        EXPECT_THROW(reconstruct_auto(vSphere, 1.0, 2), std::runtime_error);
        EXPECT_EQ(impatient.numCalls, 3);
    }
    EXPECT_NE(reconstruct_auto(vSphere, 1.0, 2), nullptr);
}

TEST_F(Host, TheLibrarysExceptionCanBeCaughtByItsTypeOutsideOfIt)
{
    EXPECT_THROW(reconstruct_abs(vSphere, 0.0, 2), ZanBugException);
    EXPECT_NE(messages.str().find("usedSpacing>0"), std::string::npos) << messages.str();
}

TEST_F(Host, EmptyCloudIsAWarningAndAnEmptyPointer)
{
    std::vector<Point3> vNone;
    EXPECT_EQ(reconstruct_auto(vNone, 1.0, 2), nullptr);
    EXPECT_NE(messages.str().find("Nothing to do for cloud "), std::string::npos) << messages.str();
}

TEST_F(Host, PointsSurviveATripThroughAFile)
{
    const TempDir dir;
    std::string name = dir.file("points.bin");
    ASSERT_TRUE(writePoints_auto(name, vSphere, false));
    std::vector<Point3> vBack;
    ASSERT_TRUE(readPoints_auto(name, vBack));
    EXPECT_EQ(vBack, vSphere);
}

TEST_F(Host, RunsBeforeAndAfterTheWorkersWereShutDown)
{
    ASSERT_NE(reconstruct_auto(vSphere, 1.0, 2), nullptr);
    destroySingletons();
    EXPECT_NE(reconstruct_auto(vSphere, 1.0, 2), nullptr);
}

TEST_F(Host, FillGapsAddsPointsBehindThoseOfTheCloud)
{
    Listener listener;
    std::vector<Point3> vSoup;
    for (const double x : {0.0, 25.0}) // two rectangles, 5 apart
        for (const auto& [u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}})
            vSoup.emplace_back(x + 20 * u, 0.3 * x + 6 * u, 20 * v);
    std::vector<Point3> vCloud, vResult;
    toCloud(vSoup, 1.0, 30.0, vCloud);
    subscribe(&listener);
    fillGaps(vSoup, 1.0, 30.0, 6, vResult);
    EXPECT_GT(vResult.size(), vCloud.size() + 60);
    EXPECT_TRUE(std::equal(vCloud.begin(), vCloud.end(), vResult.begin()));
    EXPECT_EQ(listener.names, std::set<std::string>{"FillGaps"});
    EXPECT_EQ(listener.last, 1.0);
    EXPECT_THROW(fillGaps(vSoup, 1.0, 30.0, 0, vResult), ZanBugException);
}

TEST_F(Host, CloudOfASoupComesBehindWhatIsThereAndKeepsTheCorners)
{
    Listener listener;
    subscribe(&listener);
    const std::vector<Point3> vCorners = {{0, 0, 0}, {7, 0, 1}, {0, 7, 2}, {7, 7, -1}};
    std::vector<Point3> vSoup = {vCorners[0], vCorners[1], vCorners[2],
                                 vCorners[1], vCorners[2], vCorners[3]};
    const std::vector<Point3> vBefore = {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}};
    std::vector<Point3> vResult = vBefore;
    toCloud(vSoup, 1.0, 30.0, vResult);
    EXPECT_GT(vResult.size(), 50U);
    EXPECT_EQ(std::vector<Point3>(vResult.begin(), vResult.begin() + 3), vBefore);
    for (const Point3& corner : vCorners)
        EXPECT_EQ(std::count(vResult.begin() + 3, vResult.end(), corner), 1);
    EXPECT_EQ(listener.names, std::set<std::string>{"ToCloud"});
    EXPECT_EQ(listener.last, 1.0);

    std::vector<Point3> vNone;
    vResult = vBefore;
    toCloud(vNone, 1.0, 30.0, vResult);
    EXPECT_EQ(vResult, vBefore);
    EXPECT_NE(messages.str().find("toCloud: Nothing to do"), std::string::npos) << messages.str();
    vSoup.pop_back();
    EXPECT_THROW(toCloud(vSoup, 1.0, 30.0, vResult), ZanBugException);
    EXPECT_EQ(vResult, vBefore);
}
