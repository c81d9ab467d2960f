// Hot pieces of the grid: conversion of codes, reading of neighbourhoods, the removal decision and the ways
// to make it that were weighed against each other, thinning, growth and components of sets. Times are per
// item; the argument is the edge length in cells of a noisy sheet where there is one.
#include "Calc.h"
#include "RCDStore.h"
#include "RemoveDeciderFast.h"
#include "gridComponents.h"
#include "gridSets.h"
#include "random.h"
#include "removalRules.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

using namespace TESK_ZAN;

namespace
{

const Calc& unitCalc()
{
    static const Calc calc(0, 0, 0, 1 << 21, 1 << 21, 1 << 21, 21); // cell edge 1
    return calc;
}

void countItems(benchmark::State& state, size_t numItems)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(numItems));
}

// The cells of a wavy sheet of edge x edge columns with noise of about a cell, sorted: 1.5 cells a column.
std::vector<u64> noisySheet(u64 edge)
{
    Random random(1);
    std::vector<u64> vRCD;
    for (u64 x = 0; x < edge; ++x)
        for (u64 y = 0; y < edge; ++y) {
            const double wave =
                8 * std::sin(static_cast<double>(x) / 40) + 8 * std::cos(static_cast<double>(y) / 50);
            const u64 z = static_cast<u64>(100000 + wave + random.uniform());
            vRCD.push_back(xyzToRCD(100000 + x, 100000 + y, z));
            if (random.uniform() < 0.5)
                vRCD.push_back(xyzToRCD(100000 + x, 100000 + y, z + 1));
        }
    return vRCD;
}

std::vector<Point3> pointsIn(const std::vector<u64>& vRCD)
{
    Random random(2);
    std::vector<Point3> vPoints;
    for (const u64 rcd : vRCD) {
        const Point3 mid = unitCalc().getCellMid_RCD(rcd);
        vPoints.emplace_back(mid.x() + 0.9 * (random.uniform() - 0.5),
                             mid.y() + 0.9 * (random.uniform() - 0.5),
                             mid.z() + 0.9 * (random.uniform() - 0.5));
    }
    return vPoints;
}

std::vector<u64> shuffled(std::vector<u64> v)
{
    Random random(3);
    for (size_t i = v.size(); i > 1; --i)
        std::swap(v[i - 1], v[random.below(static_cast<std::uint32_t>(i))]);
    return v;
}

// ---- codes ------------------------------------------------------------------------------------------------

std::vector<Point3> scatteredPoints()
{
    Random random(4);
    std::vector<Point3> vPoints;
    for (int i = 0; i < 4096; ++i)
        vPoints.emplace_back(random.uniform() * 2e6, random.uniform() * 2e6, random.uniform() * 2e6);
    return vPoints;
}

template <class F>
void overPoints(benchmark::State& state, F f)
{
    const std::vector<Point3> vPoints = scatteredPoints();
    for (auto _ : state)
        for (const Point3& p : vPoints)
            benchmark::DoNotOptimize(f(p));
    countItems(state, vPoints.size());
}

void pointToRCD(benchmark::State& state)
{
    overPoints(state, [](const Point3& p) { return unitCalc().getRCD(&p); });
}
BENCHMARK(pointToRCD);

void pointToCCD(benchmark::State& state)
{
    overPoints(state, [](const Point3& p) { return unitCalc().getCCD(&p); });
}
BENCHMARK(pointToCCD);

// 4 bits at a time with a table of 16: what getCCD was weighed against.
u64 spreadByNibbles(u64 v)
{
    static constexpr u64 SPREAD[16] = {0, 1, 8, 9, 64, 65, 72, 73, 512, 513, 520, 521, 576, 577, 584, 585};
    u64 spread = 0;
    for (unsigned int shift = 0; v != 0; shift += 12, v >>= 4)
        spread |= SPREAD[v & 15] << shift;
    return spread;
}

void pointToCCDByNibbles(benchmark::State& state)
{
    overPoints(state, [](const Point3& p) {
        u64 x, y, z;
        rcdToXYZ(unitCalc().getRCD(&p), x, y, z);
        return spreadByNibbles(x) << 2 | spreadByNibbles(y) << 1 | spreadByNibbles(z);
    });
}
BENCHMARK(pointToCCDByNibbles);

void rcdToCcdAndBack(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(64);
    for (auto _ : state)
        for (const u64 rcd : vRCD)
            benchmark::DoNotOptimize(Calc::ccdToRCD(Calc::rcdToCCD(rcd)));
    countItems(state, vRCD.size());
}
BENCHMARK(rcdToCcdAndBack);

void cubeKeys(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(64);
    u64 aKeys[8];
    for (auto _ : state)
        for (const u64 rcd : vRCD) {
            aKeys[0] = rcd;
            unitCalc().completeCubeKeys8(aKeys);
            benchmark::DoNotOptimize(aKeys);
        }
    countItems(state, vRCD.size());
}
BENCHMARK(cubeKeys);

// ---- the removal decision
// -----------------------------------------------------------------------------------

enum Source { RANDOM, SHEET };

std::vector<unsigned int> configurations(Source source)
{
    std::vector<unsigned int> vConfigurations;
    if (source == RANDOM) {
        Random random(5);
        for (int i = 0; i < 1 << 16; ++i)
            vConfigurations.push_back(static_cast<unsigned int>(random.next() & CONFIG27_ALL) |
                                      CONFIG27_CENTRE);
        return vConfigurations;
    }
    const std::vector<u64> vRCD = noisySheet(200);
    const RCDStore store(nullptr, vRCD);
    for (const u64 rcd : shuffled(vRCD))
        vConfigurations.push_back(store.getConfiguration(rcd));
    return vConfigurations;
}

template <class F>
void overConfigurations(benchmark::State& state, F f)
{
    const std::vector<unsigned int> vConfigurations = configurations(static_cast<Source>(state.range(0)));
    for (auto _ : state)
        for (const unsigned int configuration : vConfigurations)
            benchmark::DoNotOptimize(f(configuration));
    countItems(state, vConfigurations.size());
}

// As the library does it: 64 KB of answers by faces and edges, a walk where corners decide.
void decideByPatterns(benchmark::State& state)
{
    const RemovalRules& rules = RemovalRules::get();
    overConfigurations(state, [&rules](unsigned int configuration) { return rules.isInner(configuration); });
}
BENCHMARK(decideByPatterns)->Arg(RANDOM)->Arg(SHEET);

void decideGapByPatterns(benchmark::State& state)
{
    const RemovalRules& rules = RemovalRules::get();
    overConfigurations(state, [&rules](unsigned int configuration) { return rules.isGap(configuration); });
}
BENCHMARK(decideGapByPatterns)->Arg(RANDOM)->Arg(SHEET);

void decideByWalks(benchmark::State& state)
{
    overConfigurations(state, [](unsigned int configuration) {
        return !RemovalRules::isGapByWalk(configuration) && !RemovalRules::reachesAllEdges(configuration);
    });
}
BENCHMARK(decideByWalks)->Arg(RANDOM)->Arg(SHEET);

// One bit for each of the 2^26 neighbourhoods, 8 MB a table.
void decideByFullTables(benchmark::State& state)
{
    static std::vector<u64> vGap, vBorder;
    if (vGap.empty()) {
        vGap.resize(1 << 20);
        vBorder.resize(1 << 20);
        for (unsigned int index = 0; index < 1u << 26; ++index) {
            const unsigned int configuration = index26ToConfig(index);
            vGap[index / 64] |= u64{RemovalRules::get().isGap(configuration)} << index % 64;
            vBorder[index / 64] |= u64{RemovalRules::get().isBorder(configuration)} << index % 64;
        }
    }
    overConfigurations(state, [](unsigned int configuration) {
        const unsigned int index = configToIndex26(configuration);
        return (vGap[index / 64] >> index % 64 & 1) == 0 && (vBorder[index / 64] >> index % 64 & 1) == 0;
    });
}
BENCHMARK(decideByFullTables)->Arg(RANDOM)->Arg(SHEET);

// ---- cell stores
// ----------------------------------------------------------------------------------------------

void buildStore(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(static_cast<u64>(state.range(0)));
    for (auto _ : state) {
        const RCDStore store(nullptr, vRCD);
        benchmark::DoNotOptimize(&store);
    }
    countItems(state, vRCD.size());
}
BENCHMARK(buildStore)->Arg(200)->Arg(1000);

void gather(benchmark::State& state, bool bShuffled)
{
    const std::vector<u64> vSheet = noisySheet(static_cast<u64>(state.range(0)));
    const RCDStore store(nullptr, vSheet);
    const std::vector<u64> vRCD = bShuffled ? shuffled(vSheet) : vSheet;
    for (auto _ : state)
        for (const u64 rcd : vRCD)
            benchmark::DoNotOptimize(store.getConfiguration(rcd));
    countItems(state, vRCD.size());
}
void gatherSorted(benchmark::State& state)
{
    gather(state, false);
}
void gatherShuffled(benchmark::State& state)
{
    gather(state, true);
}
BENCHMARK(gatherSorted)->Arg(200)->Arg(2000);
BENCHMARK(gatherShuffled)->Arg(200)->Arg(2000);

// 27 questions for one cell each: what the gather replaces.
void gatherBitByBit(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(static_cast<u64>(state.range(0)));
    const RCDStore store(nullptr, vRCD);
    for (auto _ : state)
        for (const u64 rcd : vRCD) {
            unsigned int configuration = 0;
            for (size_t i = 0; i < 27; ++i)
                configuration |= unsigned{store.isSet(rcd + RCD_OFFSETS_27[i])} << i;
            benchmark::DoNotOptimize(configuration);
        }
    countItems(state, vRCD.size());
}
BENCHMARK(gatherBitByBit)->Arg(200);

// ---- thinning, growth, components
// -----------------------------------------------------------------------------

void prune(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(static_cast<u64>(state.range(0)));
    std::vector<Point3> vPoints = pointsIn(vRCD);
    RCDPoints vRCDPoint;
    for (size_t i = 0; i < vRCD.size(); ++i)
        vRCDPoint.emplace_back(vRCD[i], &vPoints[i]);
    std::vector<u64> vKept, vDoomed;
    for (auto _ : state) {
        RemoveDeciderFast decider(vRCD, &unitCalc());
        decider.prune(vRCDPoint, vRCD, vKept, vDoomed, false, false);
    }
    countItems(state, vRCD.size());
    state.counters["kept"] = static_cast<double>(vKept.size()) / static_cast<double>(vRCD.size());
}
BENCHMARK(prune)->Arg(200)->Arg(800)->Arg(2600)->Unit(benchmark::kMillisecond)->UseRealTime();

void pruneByDist(benchmark::State& state)
{
    const std::vector<u64> vSheet = noisySheet(static_cast<u64>(state.range(0)));
    std::vector<u64> vThick, vNew;
    growRCDs(vSheet, 3, true, vThick);
    growRCDs(vSheet, 3, false, vNew);
    Random random(6);
    std::vector<std::pair<float, u64>> vDist2RCD;
    for (const u64 rcd : vNew)
        vDist2RCD.emplace_back(static_cast<float>(random.uniform()), rcd);
    std::vector<u64> vKept, vDoomed;
    for (auto _ : state) {
        RemoveDeciderFast decider(vThick, &unitCalc());
        decider.pruneByDist(true, vDist2RCD, vKept, vDoomed);
    }
    countItems(state, vNew.size());
}
BENCHMARK(pruneByDist)->Arg(200)->Arg(800)->Unit(benchmark::kMillisecond)->UseRealTime();

void detectBorders(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(static_cast<u64>(state.range(0)));
    const RemoveDeciderFast decider(vRCD, &unitCalc());
    for (auto _ : state) {
        std::vector<u64> vArea, vBorder;
        decider.detectBorders(vArea, vBorder);
    }
    countItems(state, vRCD.size());
}
BENCHMARK(detectBorders)->Arg(800)->UseRealTime();

void grow(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(300);
    std::vector<u64> vGrown;
    for (auto _ : state)
        growRCDs(vRCD, static_cast<int>(state.range(0)), true, vGrown);
    countItems(state, vGrown.size());
}
BENCHMARK(grow)->Arg(2)->Arg(8)->Arg(20)->Unit(benchmark::kMillisecond)->UseRealTime();

// By lists of neighbours that are sorted: what the growth by runs replaces.
void growBySorting(benchmark::State& state)
{
    const std::vector<u64> vRCD = noisySheet(300);
    std::vector<u64> vGrown;
    for (auto _ : state) {
        vGrown = vRCD;
        std::vector<u64> vFront = vRCD, vNext, vNew;
        for (int ring = 0; ring < state.range(0); ++ring) {
            vNext.clear();
            getAll6Neigs(vFront, true, vNext);
            vNew.clear();
            std::set_difference(vNext.begin(), vNext.end(), vGrown.begin(), vGrown.end(),
                                std::back_inserter(vNew));
            vNext.clear();
            std::merge(vGrown.begin(), vGrown.end(), vNew.begin(), vNew.end(), std::back_inserter(vNext));
            vGrown.swap(vNext);
            vFront.swap(vNew);
        }
    }
    countItems(state, vGrown.size());
}
BENCHMARK(growBySorting)->Arg(2)->Arg(8)->Arg(20)->Unit(benchmark::kMillisecond)->UseRealTime();

void components(benchmark::State& state,
                void (*createComponents)(const std::vector<u64>&, std::vector<std::vector<u64>>&))
{
    const std::vector<u64> vRCD = noisySheet(static_cast<u64>(state.range(0)));
    std::vector<std::vector<u64>> vvCC;
    for (auto _ : state)
        createComponents(vRCD, vvCC);
    countItems(state, vRCD.size());
    state.counters["components"] = static_cast<double>(vvCC.size());
}
BENCHMARK_CAPTURE(components, by_corners, createCC_RCD)->Arg(800);
BENCHMARK_CAPTURE(components, by_faces, createCC6_RCD)->Arg(800);

} // namespace
