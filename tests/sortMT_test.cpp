#include "sortMT.h"

#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace TESK_ZAN;

namespace
{

// Every test leaves the thread count and the pools as it found them.
class sortMT_threads : public ::testing::Test
{
protected:
    ~sortMT_threads() override
    {
        getTaskPool(true);
        setNumCPU(0);
    }
};
using parallelLoops = sortMT_threads;

const int THREAD_COUNTS[] = {1, 2, 3, 8, 17};

std::vector<std::uint64_t> makeInput(const std::string& pattern, size_t n)
{
    Random random(n);
    std::vector<std::uint64_t> v(n);
    for (size_t i = 0; i < n; ++i) {
        if (pattern == "random")
            v[i] = random.next();
        else if (pattern == "two values")
            v[i] = random.below(2);
        else if (pattern == "ascending")
            v[i] = i;
        else if (pattern == "descending")
            v[i] = n - i;
        else if (pattern == "organ pipe")
            v[i] = std::min(i, n - i);
        else
            v[i] = 7; // equal
    }
    return v;
}

} // namespace

TEST_F(sortMT_threads, sortsEveryPatternLikeTheStandardSort)
{
    for (int numThreads : THREAD_COUNTS) {
        setNumCPU(numThreads);
        for (const char* pattern : {"random", "two values", "ascending", "descending", "organ pipe", "equal"})
            for (size_t n : {0U, 1U, 2U, 999U, 1000U, 1001U, 1999U, 2000U, 30000U}) {
                std::vector<std::uint64_t> v = makeInput(pattern, n);
                std::vector<std::uint64_t> vExpected = v;
                std::sort(vExpected.begin(), vExpected.end());
                sortMT(v.begin(), v.end());
                EXPECT_EQ(vExpected, v) << pattern << ", " << n << " on " << numThreads;
                std::reverse(vExpected.begin(), vExpected.end());
                sortMT(v.begin(), v.end(), std::greater<std::uint64_t>());
                EXPECT_EQ(vExpected, v) << pattern << " backwards, " << n << " on " << numThreads;
            }
    }
}

TEST_F(sortMT_threads, aMillionEqualElementsEnd)
{
    for (int numThreads : {3, 8}) {
        setNumCPU(numThreads);
        std::vector<int> v(1000000, 5);
        sortMT(v.begin(), v.end());
        EXPECT_EQ(std::vector<int>(1000000, 5), v);
    }
}

TEST_F(sortMT_threads, smallRangesAndASingleThreadNeverLeaveTheCaller)
{
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<int> numElsewhere{0};
    const auto cmp = [&](std::uint64_t a, std::uint64_t b) {
        if (std::this_thread::get_id() != caller)
            ++numElsewhere;
        return a < b;
    };
    setNumCPU(8);
    std::vector<std::uint64_t> v = makeInput("random", 999);
    sortMT(v.begin(), v.end(), cmp);
    EXPECT_EQ(0, numElsewhere);
    v = makeInput("random", 1000);
    sortMT(v.begin(), v.end(), cmp);
    EXPECT_GT(numElsewhere, 0) << "1000 elements go to the pool";
    numElsewhere = 0;
    setNumCPU(1);
    v = makeInput("random", 50000);
    sortMT(v.begin(), v.end(), cmp);
    EXPECT_EQ(0, numElsewhere);
}

TEST_F(sortMT_threads, levelsDoubleAndKeepEmptyRanges)
{
    using Iter = std::vector<int>::iterator;
    setNumCPU(3);
    std::vector<int> v(4000, 1);
    std::vector<SortRange<Iter>> vRanges = {{v.begin(), v.end()}};
    vRanges = splitRanges(vRanges, std::less<int>());
    vRanges = splitRanges(vRanges, std::less<int>());
    ASSERT_EQ(4U, vRanges.size()) << "three threads make four ranges";
    EXPECT_TRUE(vRanges[0].first == vRanges[0].last);
    EXPECT_TRUE(vRanges[0].first == v.begin() && vRanges[3].last == v.end());
    for (size_t i = 0; i + 1 < 4; ++i)
        EXPECT_TRUE(vRanges[i].last == vRanges[i + 1].first);
}

TEST_F(sortMT_threads, thePivotIsTheMedianOfEvenSteps)
{
    const std::less<int> cmp;
    std::vector<int> v(2500);
    std::iota(v.begin(), v.end(), 0);
    EXPECT_EQ(1250, estimateMid2(v.begin(), v.end(), cmp)); // steps of 2
    EXPECT_EQ(999, estimateMid2(v.begin(), v.begin() + 1999, cmp));
    EXPECT_EQ(1, estimateMid2(v.begin(), v.begin() + 2, cmp));
    EXPECT_EQ(0, estimateMid2(v.begin(), v.begin() + 1, cmp));
    EXPECT_EQ(0, estimateMid2(v.begin(), v.begin(), cmp)) << "an empty range gives what stands at its start";
}

TEST_F(sortMT_threads, aThrowingComparatorSurfacesAndThePoolStaysUsable)
{
    setNumCPU(4);
    std::vector<int> v(5000);
    std::iota(v.rbegin(), v.rend(), 0);
    const auto cmp = [](int a, int b) {
        if (a == 4321 && b != a)
            throw std::domain_error("comparator");
        return a < b;
    };
    EXPECT_THROW(sortMT(v.begin(), v.end(), cmp), std::domain_error);
    EXPECT_EQ(5000U, v.size());
    sortMT(v.begin(), v.end());
    EXPECT_TRUE(std::is_sorted(v.begin(), v.end()));
}

TEST_F(parallelLoops, nestedCallsDoNotWaitForThemselves)
{
    setNumCPU(2);
    std::vector<std::vector<std::uint64_t>> vVectors;
    for (size_t i = 0; i < 1000; ++i) // one in fifty is large enough for the next layer's pool
        vVectors.push_back(makeInput("random", i % 50 == 0 ? 2000 : 3));
    forEachMT(vVectors, [](std::vector<std::uint64_t>& v) { sortMT(v.begin(), v.end()); });
    for (const auto& v : vVectors)
        EXPECT_TRUE(std::is_sorted(v.begin(), v.end()));
}

TEST_F(parallelLoops, anExceptionWaitsForTheSlowSiblings)
{
    setNumCPU(4);
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> numRunning{0};
        std::atomic<bool> bThrown{false};
        EXPECT_THROW(
            {
                std::vector<std::uint64_t> v(10000); // gone with the unwinding: a late sibling writes to it
                v[0] = 1;
                forEachMT(v, [&](std::uint64_t& value) {
                    if (value == 1) {
                        bThrown = true;
                        throw std::runtime_error("element 0");
                    }
                    ++numRunning;
                    while (!bThrown) // every sibling that starts early outlives the throw
                        std::this_thread::yield();
                    for (int i = 0; i < 20; ++i)
                        value = value * 3 + 1;
                    --numRunning;
                });
            },
            std::runtime_error);
        EXPECT_EQ(0, numRunning);
    }
}

TEST_F(parallelLoops, ofSeveralExceptionsTheOneOfTheLowestRangeComesOut)
{
    for (int numThreads : THREAD_COUNTS) {
        setNumCPU(numThreads);
        std::vector<int> v(5000);
        std::iota(v.begin(), v.end(), 0);
        try {
            forEachMT(v, [](int& value) {
                if (value >= 1234)
                    throw std::runtime_error(std::to_string(value));
            });
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ("1234", error.what());
        }
    }
}

TEST_F(parallelLoops, aFailedConditionOfAWorkerReachesTheCaller)
{
    setNumCPU(2);
    std::vector<int> v(2000);
    EXPECT_THROW(forEachMT(v, [](int&) { throw ZanBugException(); }), ZanBugException);
}

TEST_F(parallelLoops, whoeverThrowsWaitsForTheWorkBeside)
{
    for (int numThreads : THREAD_COUNTS) {
        setNumCPU(numThreads);
        std::atomic<bool> bDone{false};
        const auto slowly = [&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            bDone = true;
        };
        EXPECT_THROW(besideMT(slowly, [] { throw std::runtime_error("in front"); }), std::runtime_error);
        EXPECT_TRUE(bDone);
        EXPECT_THROW(besideMT([] { throw std::runtime_error("beside"); }, [] {}), std::runtime_error);
    }
}

TEST_F(parallelLoops, everyElementIsVisitedOnce)
{
    for (int numThreads : THREAD_COUNTS) {
        setNumCPU(numThreads);
        for (size_t n : {0U, 1U, 999U, 1000U, 1001U, 10007U}) {
            std::vector<int> v(n, 0);
            forEachMT(v, [](int& value) { ++value; });
            forRangeMT(n, [&](size_t begin, size_t end) {
                ASSERT_LT(begin, end);
                for (size_t i = begin; i < end; ++i)
                    ++v[i];
            });
            EXPECT_EQ(std::vector<int>(n, 2), v) << n << " on " << numThreads;
        }
    }
}

TEST_F(parallelLoops, transformsKeepTheOrderOfTheInput)
{
    for (int numThreads : THREAD_COUNTS) {
        setNumCPU(numThreads);
        for (size_t n : {0U, 1U, 1000U, 4999U}) {
            std::vector<int> vIn(n);
            std::iota(vIn.begin(), vIn.end(), 0);
            std::vector<long> vOut = {1, 2, 3};
            transformMT(vIn, vOut, [](int value) { return 10L * value; });
            ASSERT_EQ(n, vOut.size());
            for (size_t i = 0; i < n; ++i)
                ASSERT_EQ(10L * long(i), vOut[i]);

            std::vector<long> vAppended = {-1, -2};
            transformMT_N(
                vIn, vAppended,
                [](int value, long* p) {
                    for (int k = 0; k < 6; ++k)
                        p[k] = 6L * value + k;
                },
                6);
            ASSERT_EQ(2 + 6 * n, vAppended.size()) << "an empty input must leave the output as it was";
            EXPECT_EQ(-2, vAppended[1]);
            for (size_t i = 2; i < vAppended.size(); ++i)
                ASSERT_EQ(long(i) - 2, vAppended[i]);
        }
    }
}

TEST_F(parallelLoops, poolsMayBeDestroyedAndResizedWhileOthersWork)
{
    std::atomic<bool> bStop{false};
    std::thread meddler([&] {
        for (int i = 0; !bStop; ++i) {
            setNumCPU(2 + i % 4);
            if (i % 3 == 0)
                getTaskPool(true);
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> vHosts;
    for (std::uint64_t host = 0; host < 3; ++host)
        vHosts.emplace_back([host] {
            for (size_t round = 0; round < 15; ++round) {
                std::vector<std::uint64_t> v = makeInput("random", 3000 + 100 * host + round);
                sortMT(v.begin(), v.end());
                EXPECT_TRUE(std::is_sorted(v.begin(), v.end()));
            }
        });
    for (std::thread& host : vHosts)
        host.join();
    bStop = true;
    meddler.join();
}
