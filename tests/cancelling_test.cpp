// Cancelling every exported call that reports progress, at each of its notifications.
#include "Progress.h"
#include "RMesh.h"
#include "helpers/captured.h"
#include "helpers/impatient.h"
#include "helpers/shapes.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;
using zan_test::HadEnough;
using zan_test::Impatient;

namespace
{

// Open at the top, so that there is a hole to close.
std::vector<Point3> openSphere()
{
    std::vector<Point3> vPoints = zan_test::sphere(400).vPoints;
    std::erase_if(vPoints, [](const Point3& p) { return p.z() > 0.9; });
    return vPoints;
}

std::vector<Point3> cornersOf(const Mesh& mesh)
{
    std::vector<Point3> vCorners;
    mesh.getRMesh()->getCornerPoints(vCorners);
    return vCorners;
}

// A call, from its input to all that it gives. pMesh: the mesh that it changes, for a look after it was
// cancelled; stays null for calls that change none.
using Call = std::function<std::vector<Point3>(std::shared_ptr<Mesh>& pMesh)>;

class Cancelling : public testing::Test
{
protected:
    Cancelling() : vPoints(openSphere()), vCorners(cornersOf(*reconstruct_auto(vPoints, 1.0, 2))) {}

    Call changing(std::function<void(std::shared_ptr<Mesh>)> work)
    {
        return [this, work](std::shared_ptr<Mesh>& pMesh) {
            pMesh = meshFromTriangles(vCorners); // heard of too, and cancelled
            work(pMesh);
            return cornersOf(*pMesh);
        };
    }

    static Call making(std::function<std::shared_ptr<Mesh>()> work)
    {
        return [work](std::shared_ptr<Mesh>&) { return cornersOf(*work()); };
    }

    // At every notification, but for calls with very many at some of them.
    static void cancelEverywhere(const Call& call)
    {
        constexpr int MAX_CANCELS = 60;
        CapturedMessages messages;
        std::shared_ptr<Mesh> pMesh;
        Impatient patient(0);
        const std::vector<Point3> vExpected = call(pMesh);
        const int numCalls = patient.numCalls;
        ASSERT_GT(numCalls, 1);
        const int step = std::max(1, numCalls / MAX_CANCELS);
        for (int k = 1; k <= numCalls; k = k < 4 || k > numCalls - 4 ? k + 1 : k + step) {
            pMesh = nullptr;
            {
                Impatient impatient(k);
                EXPECT_THROW(call(pMesh), HadEnough) << k << " of " << numCalls;
                EXPECT_EQ(impatient.numCalls, k) << "went on after it was cancelled";
            }
            EXPECT_EQ(getRootProgress()->getName(), "empty");
            EXPECT_TRUE(pMesh == nullptr || pMesh->getRMesh()->checkDataStructures("cancelled")) << k;
        }
        EXPECT_TRUE(call(pMesh) == vExpected) << "cancelled calls left something behind";
    }

    std::vector<Point3> vPoints;
    std::vector<Point3> vCorners;
};

} // namespace

TEST_F(Cancelling, CallsThatMakeMeshes)
{
    cancelEverywhere(making([&] { return reconstruct_auto(vPoints, 1.0, 3); }));
    cancelEverywhere(making([&] { return reconstruct_abs(vPoints, 0.2, 0); }));
    cancelEverywhere(making([&] { return melt(vCorners, 0.2, 30.0); }));
    cancelEverywhere(making([&] { return meshFromTriangles(vCorners); }));
}

TEST_F(Cancelling, CallsThatMakePointsAndTheyAppendNone)
{
    std::vector<Point3> vResult;
    const auto appending = [&](auto work) {
        return [&vResult, work](std::shared_ptr<Mesh>&) {
            EXPECT_TRUE(vResult.empty());
            work();
            return std::exchange(vResult, {});
        };
    };
    cancelEverywhere(appending([&] { toCloud(vCorners, 0.2, 30.0, vResult); }));
    cancelEverywhere(appending([&] { fillGaps(vCorners, 0.2, 30.0, 3, vResult); }));
    cancelEverywhere([&](std::shared_ptr<Mesh>&) {
        return std::vector<Point3>{Point3(estimateAvgSpacing(vPoints), 0, 0)};
    });
}

TEST_F(Cancelling, CallsThatChangeAMesh)
{
    cancelEverywhere(changing([](auto pMesh) { edgeFlips(pMesh); }));
    cancelEverywhere(changing([](auto pMesh) { edgeFlipsSimA(pMesh); }));
    cancelEverywhere(changing([](auto pMesh) { reduce(pMesh, 1.0, 20.0); }));
    cancelEverywhere(changing([](auto pMesh) { laplacianSmoothing(pMesh, 4); }));
    cancelEverywhere(changing([](auto pMesh) { repairShapes(pMesh); }));
    cancelEverywhere(changing([](auto pMesh) { closeHoles(pMesh, 0); }));
    cancelEverywhere(changing([](auto pMesh) { sharpenEdges(pMesh, 40.0); }));
}
