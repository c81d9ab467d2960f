// What demanding hosts do: all calls at once from several threads, over and over in one process.
#include "zan_api_functions.h"

#include "RMesh.h"
#include "helpers/captured.h"
#include "helpers/recorder.h"
#include "helpers/shapes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include <malloc.h>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

std::vector<Point3> cornersOf(const std::shared_ptr<Mesh>& pMesh)
{
    std::vector<Point3> vCorners;
    pMesh->getRMesh()->getCornerPoints(vCorners);
    return vCorners;
}

class Hosts : public testing::Test
{
protected:
    Hosts()
    {
        Shape shape = sphere(500);
        std::erase_if(shape.vPoints, [](const Point3& p) { return p.z() > 0.8; }); // a hole to close
        colour(shape);
        vCloud = shape.vPoints;
        vSoup = cornersOf(reconstruct_auto(vCloud, 1.0, 1));
        for (size_t i = 0; i < NUM_CALLS; ++i)
            vExpected.push_back(call(i));
    }
    ~Hosts() override
    {
        setGlobalNumCPU(0);
        destroySingletons();
    }

    static constexpr size_t NUM_CALLS = 7;

    // One of the exported calls, from input to result.
    std::vector<Point3> call(size_t index) const
    {
        std::vector<Point3> vPoints = vCloud, vTriangles = vSoup, vResult;
        switch (index) {
        case 0:
            return cornersOf(reconstruct_auto(vPoints, 1.0, 2));
        case 1:
            return cornersOf(melt(vTriangles, 0.15, 30.0));
        case 2:
            toCloud(vTriangles, 0.1, 30.0, vResult);
            return vResult;
        case 3:
            fillGaps(vTriangles, 0.1, 30.0, 3, vResult);
            return vResult;
        case 4:
            return improved([](const std::shared_ptr<Mesh>& pMesh) {
                closeHoles(pMesh, 0);
                laplacianSmoothing(pMesh, 2);
            });
        case 5:
            return improved([](const std::shared_ptr<Mesh>& pMesh) { edgeFlips(pMesh); });
        default:
            return improved([](const std::shared_ptr<Mesh>& pMesh) { reduce(pMesh, 10.0, 15.0); });
        }
    }

    CapturedMessages messages;
    std::vector<Point3> vCloud;
    std::vector<Point3> vSoup;
    std::vector<std::vector<Point3>> vExpected; // the result of each call

private:
    template <class F>
    std::vector<Point3> improved(F work) const
    {
        std::vector<Point3> vTriangles = vSoup;
        const std::shared_ptr<Mesh> pMesh = meshFromTriangles(vTriangles);
        work(pMesh);
        return cornersOf(pMesh);
    }
};

// Runs in one process: a few, or as many as the environment asks for by ZAN_HOST_RUNS.
int numRuns(int usual)
{
    const char* pWanted = std::getenv("ZAN_HOST_RUNS");
    return pWanted == nullptr ? usual : std::max(usual, std::atoi(pWanted));
}

} // namespace

// Each host thread makes all calls, each with a subscriber of its own, and cancels some; all the while
// another one changes the number of workers and takes them away.
TEST_F(Hosts, AllCallsAtOnceGiveWhatEachGivesAlone)
{
    constexpr size_t NUM_HOSTS = 4;
    redirectMessages(nullptr); // the tests' stream takes one thread at a time
    std::atomic<size_t> numWrong = 0, numUnheard = 0, numHosts = NUM_HOSTS;
    const auto host = [&](size_t first) {
        for (size_t i = 0; i < NUM_CALLS; ++i) {
            const size_t index = (first + i) % NUM_CALLS;
            try {
                Recorder impatient{int(i)};
                subscribe(&impatient);
                call(index);
                ++numWrong;
            } catch (const Cancelled&) {
            }
            Recorder patient;
            subscribe(&patient);
            numWrong += call(index) != vExpected[index];
            numUnheard += patient.vCalls.empty() || patient.vCalls.back().second != 1.0;
        }
        --numHosts;
    };
    std::vector<std::thread> vHosts;
    for (size_t i = 0; i < NUM_HOSTS; ++i)
        vHosts.emplace_back(host, 2 * i);
    for (int num = 1; numHosts > 0; num = num % 8 + 1) {
        setGlobalNumCPU(num);
        if (num % 3 == 0)
            destroySingletons();
        std::this_thread::yield();
    }
    for (std::thread& thread : vHosts)
        thread.join();
    EXPECT_EQ(numWrong, 0U);
    EXPECT_EQ(numUnheard, 0U);
}

// Memory in use, not memory of the process: the allocator keeps what it likes. Cancelled calls count too.
TEST_F(Hosts, RunsOneAfterTheOtherKeepNoMemory)
{
    constexpr size_t TOLERANCE = 20'000; // buffers of streams and the like; a point cloud here is 13,000
    const int num = numRuns(12);
    size_t inUse = 0;
    for (int run = 0; run < num; ++run) {
        for (size_t i = 0; i < NUM_CALLS; ++i) {
            if (run % 3 == 1) {
                Recorder impatient(run % 10);
                subscribe(&impatient);
                EXPECT_THROW(call(i), Cancelled);
            }
            ASSERT_TRUE(call(i) == vExpected[i]) << "run " << run << ", call " << i;
        }
        if (run % 4 == 3) {
            setGlobalNumCPU(1 + run % 3);
            destroySingletons();
        }
        messages.clear();
        if (run == 3) // warm by then
            inUse = mallinfo2().uordblks;
    }
    EXPECT_LE(mallinfo2().uordblks, inUse + TOLERANCE);
}
