// FlatMap and SmallVector against their twins of the standard library; the generator.
#include "Point3Hash.h"
#include "random.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/SmallVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

using TESK_TOOLS::FlatMap;
using TESK_TOOLS::SmallVector;
using TESK_ZAN::Random;
using u64 = std::uint64_t;

namespace
{

// Sends all keys to few homes, so that long probe runs wrap around the end of the table.
struct BadHash {
    u64 operator()(u64 key) const { return (key % 3) * 0x8000000000000005 + 13; }
};

template <class Hash>
void expectSameContent(FlatMap<u64, int, Hash>& map, const std::unordered_map<u64, int>& twin)
{
    ASSERT_EQ(map.size(), twin.size());
    for (const auto& [key, value] : twin) {
        const int* pValue = map.find(key);
        ASSERT_NE(pValue, nullptr) << "lost key " << key;
        ASSERT_EQ(*pValue, value);
    }
    std::size_t numVisited = 0;
    map.forEach([&](const u64& key, int& value) {
        ++numVisited;
        EXPECT_EQ(twin.at(key), value);
    });
    EXPECT_EQ(numVisited, twin.size());
}

// Few keys, so that each is inserted and erased again many times.
template <class Hash>
void runAgainstTwin(u64 seed, std::uint32_t numKeys, int numSteps)
{
    Random random(seed);
    FlatMap<u64, int, Hash> map;
    std::unordered_map<u64, int> twin;
    for (int step = 0; step < numSteps; ++step) {
        const u64 key = random.below(numKeys);
        const std::uint32_t choice = random.below(100);
        if (choice < 50) {
            const auto [pValue, bNew] = map.tryEmplace(key, step);
            const auto [it, bTwinNew] = twin.try_emplace(key, step);
            ASSERT_EQ(bNew, bTwinNew);
            ASSERT_EQ(*pValue, it->second);
        } else if (choice < 90) {
            ASSERT_EQ(map.erase(key), twin.erase(key) == 1);
        } else if (choice < 99) {
            ASSERT_EQ(map.find(key) != nullptr, twin.count(key) == 1);
        } else if (random.below(20) == 0) {
            map.clear();
            twin.clear();
        } else {
            map.reserve(twin.size() + random.below(100));
        }
        if (step % 64 == 0)
            expectSameContent(map, twin);
    }
    expectSameContent(map, twin);
}

} // namespace

TEST(FlatMap, BehavesLikeItsTwinUnderRandomOperations)
{
    runAgainstTwin<TESK_TOOLS::U64Hash>(1, 200, 20000);
    runAgainstTwin<TESK_TOOLS::U64Hash>(2, 5, 2000);
    runAgainstTwin<TESK_TOOLS::U64Hash>(3, 100000, 20000);
}

TEST(FlatMap, ErasingInLongProbeRunsLosesNobody)
{
    runAgainstTwin<BadHash>(4, 40, 20000);
    runAgainstTwin<BadHash>(5, 12, 20000);
}

TEST(FlatMap, EmptyMapAnswers)
{
    FlatMap<u64, int, TESK_TOOLS::U64Hash> map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_FALSE(map.erase(1));
    map.clear();
    map.reserve(0);
    EXPECT_EQ(std::as_const(map).find(1), nullptr);
}

TEST(FlatMap, ReserveKeepsValuesInPlaceUpToTheGivenNumber)
{
    for (std::size_t num : {1u, 12u, 13u, 100u, 767u, 768u, 769u}) {
        FlatMap<u64, int, TESK_TOOLS::U64Hash> map;
        map.reserve(num);
        const int* pFirst = map.tryEmplace(0, 0).first;
        for (u64 key = 1; key < num; ++key)
            map.tryEmplace(key, int(key));
        EXPECT_EQ(map.find(0), pFirst) << num;
    }
}

TEST(FlatMap, ArgumentsMayLieInTheTableThatGrows)
{
    FlatMap<u64, std::vector<int>, TESK_TOOLS::U64Hash> map;
    map.tryEmplace(0, std::vector<int>(100, 7));
    for (u64 key = 1; key < 1000; ++key)
        map.tryEmplace(key, *map.find(key - 1));
    EXPECT_EQ(*map.find(999), std::vector<int>(100, 7));
}

TEST(FlatMap, ErasedAndClearedValuesReleaseWhatTheyOwn)
{
    const auto pShared = std::make_shared<int>(1);
    FlatMap<u64, std::shared_ptr<int>, TESK_TOOLS::U64Hash> map;
    for (u64 key = 0; key < 100; ++key)
        map.tryEmplace(key, pShared);
    EXPECT_EQ(pShared.use_count(), 101);
    for (u64 key = 0; key < 50; ++key)
        map.erase(key);
    EXPECT_EQ(pShared.use_count(), 51);
    map.clear();
    EXPECT_EQ(pShared.use_count(), 1);
}

TEST(FlatMap, MovedFromMapIsEmptyAndUsable)
{
    FlatMap<u64, int, TESK_TOOLS::U64Hash> map;
    map.tryEmplace(1, 10);
    FlatMap<u64, int, TESK_TOOLS::U64Hash> other = std::move(map);
    EXPECT_EQ(*other.find(1), 10);
    EXPECT_TRUE(map.empty()); // NOLINT(bugprone-use-after-move): the state is promised
    map.tryEmplace(2, 20);
    other = std::move(map);
    EXPECT_EQ(other.find(1), nullptr);
    EXPECT_EQ(*other.find(2), 20);
}

TEST(FlatMap, PairsAndPointsAreKeys)
{
    FlatMap<std::pair<u64, u64>, int, TESK_TOOLS::U64PairHash> edges;
    for (u64 a = 0; a < 50; ++a)
        for (u64 b = 0; b < 50; ++b)
            EXPECT_TRUE(edges.tryEmplace({a, b}, int(a * 50 + b)).second);
    EXPECT_EQ(*edges.find({3, 4}), 154);
    EXPECT_EQ(*edges.find({4, 3}), 203);

    FlatMap<TESK_ZAN::Point3, int, TESK_ZAN::Point3Hash> points;
    points.tryEmplace(TESK_ZAN::Point3(0.0, 1, 2), 1);
    EXPECT_FALSE(points.tryEmplace(TESK_ZAN::Point3(-0.0, 1, 2), 2).second);
}

TEST(FlatMap, HashesOfOrderlyKeysSpreadOverLowBitsAndTags)
{
    constexpr int NUM = 1 << 16;
    std::array<int, 256> aLow{}, aHigh{}, aPairLow{};
    for (u64 i = 0; i < NUM; ++i) {
        const u64 hash = TESK_TOOLS::U64Hash()(i << 42); // cells in a row
        ++aLow[hash & 255];
        ++aHigh[hash >> 56];
        ++aPairLow[TESK_TOOLS::U64PairHash()({i, i + 1}) & 255];
    }
    for (const auto& aCounts : {aLow, aHigh, aPairLow})
        for (int count : aCounts)
            EXPECT_NEAR(count, 256, 110);
}

TEST(SmallVector, PointerListWithTwoInlineTakes24Bytes)
{
    EXPECT_EQ(sizeof(SmallVector<int*, 2>), 24u);
}

TEST(SmallVector, BehavesLikeItsTwinUnderRandomOperations)
{
    Random random(6);
    std::array<SmallVector<int, 2>, 4> aLists;
    std::array<std::vector<int>, 4> aTwins;
    for (int step = 0; step < 50000; ++step) {
        const std::size_t which = random.below(4), other = random.below(4);
        auto& list = aLists[which];
        auto& twin = aTwins[which];
        const std::uint32_t choice = random.below(100);
        if (choice < 45) {
            list.push_back(step);
            twin.push_back(step);
        } else if (choice < 60 && !twin.empty()) {
            list.pop_back();
            twin.pop_back();
        } else if (choice < 75 && !twin.empty()) {
            const std::size_t i = random.below(std::uint32_t(twin.size()));
            list.shiftErase(i);
            twin.erase(twin.begin() + std::ptrdiff_t(i));
        } else if (choice < 90 && !twin.empty()) {
            const std::size_t i = random.below(std::uint32_t(twin.size()));
            list.swapErase(i);
            twin[i] = twin.back();
            twin.pop_back();
        } else if (choice < 94) {
            aLists[other] = list;
            aTwins[other] = twin;
        } else if (choice < 97 && which != other) {
            aLists[other] = std::move(list);
            aTwins[other] = std::move(twin);
            twin.clear();
        } else if (choice < 98) {
            list.clear();
            twin.clear();
        } else {
            SmallVector<int, 2> copy(list);
            SmallVector<int, 2> moved(std::move(copy));
            ASSERT_TRUE(copy.empty()); // NOLINT(bugprone-use-after-move): the state is promised
            list = moved;
        }
        ASSERT_EQ(list.size(), twin.size());
        ASSERT_EQ(list.empty(), twin.empty());
        ASSERT_TRUE(std::equal(list.begin(), list.end(), twin.begin(), twin.end())) << "step " << step;
    }
}

TEST(SmallVector, OwnElementsMayBePushed)
{
    SmallVector<int, 1> list;
    list.push_back(5);
    for (int i = 0; i < 100; ++i)
        list.push_back(list[0]);
    EXPECT_EQ(std::count(list.begin(), list.end(), 5), 101);
    EXPECT_EQ(list.back(), 5);
}

TEST(Random, NumbersAreTheSameOnEveryPlatform)
{
    Random random(0); // the published first outputs of SplitMix64 for the seed 0
    EXPECT_EQ(random.next(), 0xe220a8397b1dcdafu);
    EXPECT_EQ(random.next(), 0x6e789e6aa1b965f4u);
    EXPECT_EQ(random.next(), 0x06c45d188009454fu);
}

TEST(Random, DrawsAreInRangeAndEven)
{
    Random random(7);
    std::array<int, 10> aDrawn{}, aUniform{}, aIndexed{};
    for (u64 i = 0; i < 100000; ++i) {
        const std::uint32_t drawn = random.below(10);
        ASSERT_LT(drawn, 10u);
        ++aDrawn[drawn];
        const double uniform = random.uniform();
        ASSERT_TRUE(uniform >= 0.0 && uniform < 1.0);
        ++aUniform[std::size_t(uniform * 10)];
        const double indexed = TESK_ZAN::randomAt(7, 3, i);
        ASSERT_TRUE(indexed >= 0.0 && indexed < 1.0);
        ++aIndexed[std::size_t(indexed * 10)];
    }
    for (const auto& aCounts : {aDrawn, aUniform, aIndexed})
        for (int count : aCounts)
            EXPECT_NEAR(count, 10000, 600);
    EXPECT_EQ(Random(1).below(1), 0u);
}

TEST(Random, IndexedNumbersDependOnEachArgument)
{
    const double value = TESK_ZAN::randomAt(1, 2, 3);
    EXPECT_EQ(value, TESK_ZAN::randomAt(1, 2, 3));
    EXPECT_NE(value, TESK_ZAN::randomAt(2, 2, 3));
    EXPECT_NE(value, TESK_ZAN::randomAt(1, 3, 3));
    EXPECT_NE(value, TESK_ZAN::randomAt(1, 3, 2)); // no sum of round and index
}
