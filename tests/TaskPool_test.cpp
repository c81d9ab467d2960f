#include "TaskPool.h"

#include "helpers/captured.h"
#include "sortMT.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

class TaskPools : public ::testing::Test
{
protected:
    ~TaskPools() override
    {
        getTaskPool(true);
        setNumCPU(0);
    }
};

} // namespace

TEST_F(TaskPools, threadCountIsReadSetAndReset)
{
    const int numHardware = setNumCPU(0);
    EXPECT_GE(numHardware, 1);
    EXPECT_EQ(5, setNumCPU(5));
    EXPECT_EQ(5, setNumCPU(-1));
    EXPECT_EQ(5, getNumCPU());
    EXPECT_EQ(numHardware, setNumCPU(0));
}

TEST_F(TaskPools, anAbsurdThreadCountIsCappedWithAWarning)
{
    CapturedMessages messages;
    EXPECT_EQ(MAX_NUM_CPU, setNumCPU(100000));
    EXPECT_TRUE(messages.has(", WARNING: numCPU=100000 is too large")) << messages.text();
    std::vector<int> v(20000);
    forEachMT(v, [](int& value) { value = 1; });
    EXPECT_EQ(20000, std::count(v.begin(), v.end(), 1));
}

TEST_F(TaskPools, aFutureCarriesResultOrException)
{
    TaskPool pool(0, 3);
    std::future<int> id = pool.push([](int idWorker) { return idWorker; });
    std::future<void> failing = pool.push([](int) { throw std::range_error("task"); });
    const int idWorker = id.get();
    EXPECT_TRUE(idWorker >= 0 && idWorker < 3);
    EXPECT_THROW(failing.get(), std::range_error);
    EXPECT_EQ(7, pool.push([](int) { return 7; }).get()) << "the worker must survive the exception";
}

TEST_F(TaskPools, theThreadCountTakesEffectOnTheNextCall)
{
    for (int numThreads : {2, 5, 3, 1, 4}) {
        setNumCPU(numThreads);
        EXPECT_EQ(numThreads, getTaskPool(false)->size());
    }
}

TEST_F(TaskPools, resizingLosesNoTask)
{
    TaskPool pool(0, 4);
    std::atomic<int> numRun{0};
    std::vector<std::future<void>> vFutures;
    for (int i = 0; i < 200; ++i) {
        vFutures.push_back(pool.push([&numRun](int) { ++numRun; }));
        if (i % 10 == 0)
            pool.resize(1 + (i / 10 * 7) % 6);
    }
    for (std::future<void>& future : vFutures)
        future.get();
    EXPECT_EQ(200, numRun);
    pool.resize(-3);
    EXPECT_EQ(1, pool.size());
}

TEST_F(TaskPools, stoppingEitherDrainsOrDropsTheQueue)
{
    for (bool isWait : {true, false}) {
        TaskPool pool(0, 1);
        std::promise<void> started;
        std::promise<void> gate;
        std::future<void> first = pool.push([&](int) {
            started.set_value();
            gate.get_future().wait();
        });
        started.get_future().wait();
        std::future<int> second = pool.push([](int) { return 2; });
        std::thread opener([&] { gate.set_value(); });
        if (isWait) {
            pool.stop(true);
            EXPECT_EQ(2, second.get());
        } else {
            // the worker may go on to the second task before the stop drops it
            pool.stop(false);
            try {
                EXPECT_EQ(2, second.get());
            } catch (const std::future_error& error) {
                EXPECT_EQ(std::future_errc::broken_promise, error.code());
            }
        }
        opener.join();
        first.get();
        EXPECT_EQ(0, pool.size());
        EXPECT_EQ(3, pool.push([](int) { return 3; }).get()) << "nobody would ever take it from the queue";
        pool.resize(2);
        EXPECT_EQ(0, pool.size());
    }
}

TEST_F(TaskPools, workersSeeThePoolOfTheNextLayer)
{
    setNumCPU(2);
    TaskPool* pOuter = getTaskPool(false);
    EXPECT_EQ(pOuter, getTaskPool(false));
    const auto [pInner, pInnermost] =
        pOuter
            ->push([](int) {
                TaskPool* p = getTaskPool(false);
                return std::pair{p, p->push([](int) { return getTaskPool(false); }).get()};
            })
            .get();
    EXPECT_NE(pOuter, pInner);
    EXPECT_NE(pInner, pInnermost);
    EXPECT_NE(pOuter, pInnermost);
}

TEST_F(TaskPools, destroyedPoolsLiveOnForThoseWhoUseThem)
{
    setNumCPU(2);
    std::shared_ptr<TaskPool> pHeld = shareTaskPool();
    EXPECT_EQ(nullptr, getTaskPool(true));
    EXPECT_EQ(nullptr, getTaskPool(true));
    EXPECT_EQ(4, pHeld->push([](int) { return 4; }).get());
    EXPECT_NE(pHeld.get(), getTaskPool(false)) << "the next call makes a new pool";
}

TEST_F(TaskPools, waitingWorkersAreCounted)
{
    TaskPool pool(0, 2);
    while (pool.getNumWaiting() < 2)
        std::this_thread::yield();
    std::promise<void> gate;
    std::promise<void> started;
    std::future<void> done = pool.push([&](int) {
        started.set_value();
        gate.get_future().wait();
    });
    started.get_future().wait();
    EXPECT_EQ(1, pool.getNumWaiting());
    gate.set_value();
    done.get();
}
