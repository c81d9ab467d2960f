// The search structures: building an index of points, and radius and nearest queries on it. The points lie on
// a wavy sheet, as items of a rim or a layer do; build times are per point, query times per query.
#include "random.h"
#include "tesk_locate3/PointIndex3.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

using namespace TESK_ZAN;

namespace
{

constexpr size_t NUM_QUERIES = 100000;

// About one point for each unit of area.
std::vector<Point3> sheet(size_t num)
{
    Random random(1);
    const double edge = std::sqrt(static_cast<double>(num));
    std::vector<Point3> v;
    for (size_t i = 0; i < num; ++i) {
        const double x = random.uniform() * edge, y = random.uniform() * edge;
        v.emplace_back(x, y, 20.0 * std::sin(x / 50.0) + random.uniform());
    }
    return v;
}

PointIndex3<std::uint32_t> indexOf(const std::vector<Point3>& vPoints)
{
    PointIndex3<std::uint32_t> index;
    index.reserve(vPoints.size());
    for (std::uint32_t i = 0; i < vPoints.size(); ++i)
        index.add(vPoints[i], i);
    index.build();
    return index;
}

void buildIndex(benchmark::State& state)
{
    const std::vector<Point3> vPoints = sheet(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(indexOf(vPoints).size());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(buildIndex)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();

void radiusQueries(benchmark::State& state)
{
    const std::vector<Point3> vPoints = sheet(1000000);
    const PointIndex3<std::uint32_t> index = indexOf(vPoints);
    std::vector<std::pair<double, std::uint32_t>> vHits;
    size_t numHits = 0;
    for (auto _ : state)
        for (size_t i = 0; i < NUM_QUERIES; ++i) {
            index.getInRadius(vPoints[i * 7 % vPoints.size()], static_cast<double>(state.range(0)), vHits);
            numHits += vHits.size();
        }
    state.counters["hits"] = static_cast<double>(numHits) /
                             static_cast<double>(state.iterations() * static_cast<std::int64_t>(NUM_QUERIES));
}
BENCHMARK(radiusQueries)->Arg(1)->Arg(3)->Arg(9)->Unit(benchmark::kMillisecond);

void nearestQueries(benchmark::State& state)
{
    const PointIndex3<std::uint32_t> index = indexOf(sheet(1000000));
    const std::vector<Point3> vCentres = sheet(NUM_QUERIES);
    const auto any = [](double, std::uint32_t) { return true; };
    for (auto _ : state)
        for (const Point3& centre : vCentres) {
            std::pair<double, std::uint32_t> nearest;
            benchmark::DoNotOptimize(index.getNearestOther(centre, 1e9, Octree::NO_LABEL, any, nearest));
        }
}
BENCHMARK(nearestQueries)->Unit(benchmark::kMillisecond);

} // namespace
