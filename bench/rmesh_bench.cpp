// The real mesh: take-over from codes, look-up of edges and vertices, cleaning.
#include "Bundle.h"
#include "CMesh.h"
#include "Calc.h"
#include "Progress.h"
#include "RMesh.h"
#include "flipLoops.h"
#include "random.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <deque>
#include <map>
#include <memory>
#include <vector>

using namespace TESK_ZAN;

namespace
{

// A wavy sheet of numSide by numSide cells with two triangles a square, in the order that the code stages
// leave.
class Sheet
{
public:
    explicit Sheet(u64 numSide) : calc(0, 0, 0, 4096, 4096, 4096, 12)
    {
        Random random(1);
        std::vector<u64> vCCD;
        for (u64 x = 0; x < numSide; ++x)
            for (u64 y = 0; y < numSide; ++y)
                vCCD.push_back(addCell(x, y, random));
        std::vector<u64> vZeroCCD;
        pMesh = std::make_unique<CMesh>(nullptr, &calc, &mCCDBundle, vZeroCCD);
        pMesh->reserve(numSide * numSide);
        for (u64 x = 0; x + 1 < numSide; ++x)
            for (u64 y = 0; y + 1 < numSide; ++y) {
                const u64 a = x * numSide + y;
                pMesh->createT(vCCD[a], vCCD[a + numSide], vCCD[a + numSide + 1], 0, 0);
                pMesh->createT(vCCD[a], vCCD[a + numSide + 1], vCCD[a + 1], 0, 0);
            }
        pMesh->killDuplicateTriangles(); // sorts
    }

    CMesh* mesh() const { return pMesh.get(); }
    size_t numVtx() const { return mCCDBundle.size(); }

private:
    u64 addCell(u64 x, u64 y, Random& random)
    {
        const double z = 2048.0 + 30.0 * std::sin(0.02 * double(x)) * std::cos(0.03 * double(y));
        vPoints.emplace_back(double(x) + random.uniform(), double(y) + random.uniform(), z);
        const u64 ccd = calc.getCCD(&vPoints.back());
        vBundles.push_back(Bundle{&vPoints.back(), ccd});
        mCCDBundle.emplace(ccd, &vBundles.back());
        return ccd;
    }

    Calc calc;
    std::deque<Point3> vPoints;
    std::deque<Bundle> vBundles;
    std::map<u64, Bundle*> mCCDBundle;
    std::unique_ptr<CMesh> pMesh;
};

const Sheet& sheet()
{
    static const Sheet theSheet(1000);
    return theSheet;
}

// Pairs of vertices, in random order: half of them edges.
std::vector<std::pair<const Point3*, const Point3*>> pairsOf(const RMesh& mesh, size_t num)
{
    Random random(2);
    std::vector<std::pair<const Point3*, const Point3*>> vPairs;
    const auto& vRE = mesh.getAllRE();
    for (size_t i = 0; i < num; ++i) {
        const REdge* pRE = vRE[random.below(std::uint32_t(vRE.size()))];
        const REdge* pOther = vRE[random.below(std::uint32_t(vRE.size()))];
        vPairs.emplace_back(pRE->getVtx0(), i % 2 == 0 ? pRE->getVtx1() : pOther->getVtx1());
    }
    return vPairs;
}

void takeOver(benchmark::State& state)
{
    for (auto _ : state) {
        auto pMesh = std::make_unique<RMesh>(sheet().mesh());
        benchmark::DoNotOptimize(pMesh->getAllT().data());
        state.PauseTiming();
        pMesh.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(sheet().numVtx()));
}
BENCHMARK(takeOver)->Unit(benchmark::kMillisecond);

void edgeLookUp(benchmark::State& state)
{
    const RMesh mesh(sheet().mesh());
    const auto vPairs = pairsOf(mesh, 1 << 18);
    for (auto _ : state)
        for (const auto& [p0, p1] : vPairs)
            if (p0 != p1)
                benchmark::DoNotOptimize(mesh.getRE(p0, p1));
    state.SetItemsProcessed(state.iterations() * std::int64_t(vPairs.size()));
}
BENCHMARK(edgeLookUp)->Unit(benchmark::kMillisecond);

void vertexLookUp(benchmark::State& state)
{
    const RMesh mesh(sheet().mesh());
    std::vector<Point3> vQueries;
    for (const auto& [p0, p1] : pairsOf(mesh, 1 << 18)) {
        vQueries.push_back(*p0);
        vQueries.emplace_back(p0->x(), p1->y(), 0.0);
    }
    for (auto _ : state)
        for (const Point3& p : vQueries)
            benchmark::DoNotOptimize(mesh.hasVtx(p));
    state.SetItemsProcessed(state.iterations() * std::int64_t(vQueries.size()));
}
BENCHMARK(vertexLookUp)->Unit(benchmark::kMillisecond);

void clean(benchmark::State& state)
{
    getRootProgress()->setName("bench");
    RMesh mesh(sheet().mesh());
    for (auto _ : state) {
        mesh.killDuplicateTriangles();
        mesh.createPatchesOrient();
        mesh.killDegenerate();
    }
    getRootProgress()->clear();
    state.SetItemsProcessed(state.iterations() * std::int64_t(sheet().numVtx()));
}
BENCHMARK(clean)->Unit(benchmark::kMillisecond);

void flipThereAndBack(benchmark::State& state)
{
    RMesh mesh(sheet().mesh());
    Random random(3);
    const size_t numRE = mesh.getAllRE().size();
    std::int64_t numFlips = 0;
    for (auto _ : state) {
        REdge* pRE = mesh.getAllRE()[random.below(std::uint32_t(numRE))];
        if (REdge* pNewRE = pRE->tryFlipEdge(&mesh, nullptr, nullptr)) {
            pNewRE->tryFlipEdge(&mesh, nullptr, nullptr);
            numFlips += 2;
        }
    }
    state.SetItemsProcessed(numFlips);
}
BENCHMARK(flipThereAndBack);

// The two calls at the end of a reconstruction, on a copy each time.
void flipGreedily(benchmark::State& state)
{
    getRootProgress()->setName("bench");
    for (auto _ : state) {
        state.PauseTiming();
        auto pMesh = std::make_unique<RMesh>(sheet().mesh());
        state.ResumeTiming();
        for (int call = 0; call < 2; ++call) {
            greedyFlips(pMesh.get());
            pMesh->killDegenerate();
        }
        state.PauseTiming();
        pMesh.reset();
        state.ResumeTiming();
    }
    getRootProgress()->clear();
    state.SetItemsProcessed(state.iterations() * std::int64_t(sheet().numVtx()));
}
BENCHMARK(flipGreedily)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
