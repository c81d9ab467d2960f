// The pool allocator.
#include "Point3.h"
#include "helpers/captured.h"
#include "tesk_tools/SimplePool.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <new>
#include <vector>

using TESK_TOOLS::SimplePool;
using zan_test::CapturedMessages;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool SANITIZED = true;
#elif defined(__has_feature)
constexpr bool SANITIZED = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool SANITIZED = false;
#endif

template <std::size_t NumBytes>
struct Record {
    unsigned char bytes[NumBytes];
};

template <class T>
std::vector<int> blocksAfter(int firstSize, int increase, int numObjects)
{
    SimplePool<T> pool(firstSize, increase);
    for (int i = 0; i < numObjects; ++i)
        pool.newObject();
    return pool.getBlockSizes();
}

} // namespace

TEST(SimplePool, BlocksGrowByTheAutomaticRule)
{
    EXPECT_EQ(blocksAfter<Record<48>>(100, -1, 2000), (std::vector{100, 50, 100, 200, 400, 800, 1600}));
    EXPECT_EQ(blocksAfter<Record<32>>(3, -1, 100), (std::vector{3, 1, 2, 4, 8, 16, 32, 64}));
    EXPECT_EQ(blocksAfter<Record<8>>(1, -1, 9), (std::vector{1, 1, 2, 4, 8}));
}

TEST(SimplePool, AutomaticBlocksStayNearAHundredMegabytes)
{
    EXPECT_EQ(blocksAfter<Record<10'000'000>>(4, -1, 40), (std::vector{4, 2, 4, 8, 10, 10, 10}));
}

TEST(SimplePool, GivenSizesAreTakenAsTheyAre)
{
    EXPECT_EQ(blocksAfter<Record<32>>(10, 100, 350), (std::vector{10, 100, 100, 100, 100}));
    EXPECT_EQ(blocksAfter<Record<8>>(0, 10, 12), (std::vector{1, 10, 10}));
    EXPECT_EQ(blocksAfter<Record<8>>(-5, 10, 1), (std::vector{1}));
}

TEST(SimplePool, IncreaseOfZeroStillGivesMemory)
{
    SimplePool<std::uint64_t> pool(1, 0);
    std::uint64_t* pFirst = new (pool.newObject()) std::uint64_t{1};
    std::uint64_t* pSecond = new (pool.newObject()) std::uint64_t{2};
    EXPECT_EQ(*pFirst + *pSecond, 3u);
    EXPECT_EQ(pool.getBlockSizes(), (std::vector{1, 1}));
}

TEST(SimplePool, AddressesStayValidAndDistinctWhenThePoolGrows)
{
    SimplePool<int> pool(1, -1);
    std::vector<int*> vSlots;
    for (int i = 0; i < 10000; ++i)
        vSlots.push_back(new (pool.newObject()) int(i));
    for (int i = 0; i < 10000; ++i)
        ASSERT_EQ(*vSlots[std::size_t(i)], i);
}

TEST(SimplePool, SlotsOfOneBlockAscendInCreationOrder)
{
    SimplePool<TESK_ZAN::Point3> pool(100, -1);
    const TESK_ZAN::Point3* pBefore = pool.newObject();
    for (int i = 1; i < 100; ++i) {
        const TESK_ZAN::Point3* p = pool.newObject();
        ASSERT_EQ(p, pBefore + 1);
        pBefore = p;
    }
}

TEST(SimplePool, RestartHandsTheFirstBlockOutAgainAndGrowsAsAtFirst)
{
    SimplePool<Record<48>> pool(100, -1);
    const Record<48>* pFirst = pool.newObject();
    for (int i = 1; i < 400; ++i)
        pool.newObject();
    pool.restart();
    EXPECT_EQ(pool.getBlockSizes(), (std::vector{100}));
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(pool.newObject(), pFirst + i);
    pool.newObject();
    EXPECT_EQ(pool.getBlockSizes(), (std::vector{100, 50}));
}

TEST(SimplePool, OverAlignedRecordsAreAligned)
{
    struct alignas(128) Line {
        unsigned char bytes[128];
    };
    SimplePool<Line> pool(1, 3);
    for (int i = 0; i < 20; ++i) {
        Line* p = pool.newObject();
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(p) % 128, 0u);
        std::memset(p->bytes, i, sizeof p->bytes);
    }
}

TEST(SimplePool, RecordAboveTheLimitIsToldAndGrowsByOne)
{
    CapturedMessages messages;
    SimplePool<Record<100'000'001>> pool(1, -1);
    EXPECT_EQ(messages.text(), "TeskPool::init(..), Warning: increaseLimit=1\n");
    pool.newObject();
    pool.newObject();
    pool.newObject();
    EXPECT_EQ(pool.getBlockSizes(), (std::vector{1, 1, 1}));
}

TEST(SimplePool, UninitializedPoolFailsAndCanBeInitializedAfterwards)
{
    CapturedMessages messages;
    SimplePool<int> pool;
    EXPECT_FALSE(pool.isInitialized());
    EXPECT_THROW(pool.newObject(), TESK_ZAN::ZanBugException);
    EXPECT_THROW(pool.newObject(), TESK_ZAN::ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ initialized failed ]"));
    pool.init(2, 2);
    EXPECT_TRUE(pool.isInitialized());
    *pool.newObject() = 1;
}

TEST(SimplePool, ManyBlocksAreToldAtTheEnd)
{
    CapturedMessages messages;
    {
        SimplePool<int> pool(1, 1);
        for (int i = 0; i < 500; ++i)
            pool.newObject();
    }
    EXPECT_EQ(messages.text(), "");
    {
        SimplePool<int> pool(1, 1);
        for (int i = 0; i < 501; ++i)
            pool.newObject();
    }
    EXPECT_EQ(messages.text(), "SimplePool::~SimplePool: Number of containers to release: 501\n");
}

TEST(SimplePoolDeathTest, SecondInitEndsTheProcessWithCode1)
{
    EXPECT_EXIT(
        {
            TESK_ZAN::redirectMessages(&std::cerr);
            SimplePool<int> pool(1, 1);
            pool.init(1, 1);
        },
        testing::ExitedWithCode(1), "SimplePool::init\\(..\\), ERROR: This pool is already initialized");
}

TEST(SimplePoolDeathTest, ExhaustedMemoryEndsTheProcessWithCode1)
{
    if (SANITIZED)
        GTEST_SKIP() << "a sanitizer stops the process itself on such a request";
    EXPECT_EXIT(
        {
            TESK_ZAN::redirectMessages(&std::cerr);
            SimplePool<Record<(std::size_t{1} << 40)>> pool(2'000'000, 1); // 2^61 bytes
        },
        testing::ExitedWithCode(1), "SimplePool::alloc\\(..\\), ERROR: Out of memory, sorry");
}
