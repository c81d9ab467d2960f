// The parallel sort against the standard one, on what the stages sort: codes, and codes with a payload.
#include "TaskPool.h"
#include "definitions.h"
#include "random.h"
#include "sortMT.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <utility>
#include <vector>

using namespace TESK_ZAN;

namespace
{

std::vector<std::pair<u64, u64>> randomPairs(size_t num)
{
    Random random(1);
    std::vector<std::pair<u64, u64>> vPairs(num);
    for (size_t i = 0; i < num; ++i)
        vPairs[i] = {random.next() >> 1, i};
    return vPairs;
}

void sortStandard(benchmark::State& state)
{
    const auto vPairs = randomPairs(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto vCopy = vPairs;
        state.ResumeTiming();
        std::sort(vCopy.begin(), vCopy.end());
        benchmark::DoNotOptimize(vCopy.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Arguments: number of elements, number of threads.
void sortParallel(benchmark::State& state)
{
    const auto vPairs = randomPairs(static_cast<size_t>(state.range(0)));
    setNumCPU(static_cast<int>(state.range(1)));
    for (auto _ : state) {
        state.PauseTiming();
        auto vCopy = vPairs;
        state.ResumeTiming();
        sortMT(vCopy.begin(), vCopy.end());
        benchmark::DoNotOptimize(vCopy.data());
    }
    setNumCPU(0);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(sortStandard)->RangeMultiplier(10)->Range(1000, 10000000)->UseRealTime();
BENCHMARK(sortParallel)->ArgsProduct({{1000, 100000, 1000000, 10000000}, {1, 2, 4}})->UseRealTime();

} // namespace
