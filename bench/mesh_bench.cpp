// Hot pieces of the meshes. Run: build/bench/mesh_bench --benchmark_filter=...
#include "CMesh.h"
#include "Casx.h"
#include "Progress.h"
#include "Voro.h"
#include "random.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <malloc.h>
#include <memory>

using namespace TESK_ZAN;

namespace
{

// The cells of a sphere of about numCells cells, one cell thick, with their bundles: what a scan comes to.
struct SphereCells {
    explicit SphereCells(size_t numCells) : calc(0, 0, 0, SIZE, SIZE, SIZE, LEVELS)
    {
        const double radius = std::sqrt(double(numCells) / (4.0 * M_PI));
        const int reach = int(radius) + 2;
        for (int x = -reach; x <= reach; ++x)
            for (int y = -reach; y <= reach; ++y) {
                const double sqRest = (radius + 1) * (radius + 1) - x * x - y * y;
                if (sqRest < 0)
                    continue;
                const int top = int(std::sqrt(sqRest)) + 1;
                for (int z = -top; z <= top; ++z)
                    if (std::floor(std::sqrt(double(x * x + y * y + z * z)) - radius + 0.5) == 0.0)
                        vCCD.push_back(Calc::rcdToCCD(xyzToRCD(u64(MID + x), u64(MID + y), u64(MID + z))));
            }
        std::sort(vCCD.begin(), vCCD.end());
        vPoints.reserve(vCCD.size());
        vBundles.reserve(vCCD.size());
        for (const u64 ccd : vCCD) {
            vPoints.push_back(calc.getCellMid(ccd));
            vBundles.push_back({&vPoints.back(), ccd});
            mCCDBundle.emplace_hint(mCCDBundle.end(), ccd, &vBundles.back());
        }
    }

    static constexpr int LEVELS = 14;
    static constexpr int MID = 1 << (LEVELS - 1);
    static constexpr double SIZE = 1 << LEVELS;

    Calc calc;
    std::vector<u64> vCCD;
    std::vector<Point3> vPoints;
    std::vector<Bundle> vBundles;
    std::map<u64, Bundle*> mCCDBundle;
    std::vector<u64> vZeroCCD;
};

struct NamedRoot {
    NamedRoot() { getRootProgress()->setName("bench"); }
    ~NamedRoot() { getRootProgress()->clear(); }
};

std::unique_ptr<CMesh> extract(SphereCells& cells)
{
    const NamedRoot root;
    Voro voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT);
    voro.fatExtractTriangles();
    return std::unique_ptr<CMesh>(voro.getCMesh());
}

size_t bytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// ---- case table ------------------------------------------------------------------------------------------

void BM_casxQuery(benchmark::State& state)
{
    const Casx casx(TM_FAT, false);
    u64 corners[8];
    for (u64 i = 0; i < 8; ++i)
        corners[i] = i;
    Random random(1);
    std::vector<int> vConfigs(1 << 16);
    for (int& config : vConfigs)
        config = int(random.below(256));
    std::vector<u64> vTriCCD;
    for (auto _ : state)
        for (const int config : vConfigs) {
            vTriCCD.clear();
            casx.getTriangles(config, corners, vTriCCD, TUT);
            benchmark::DoNotOptimize(vTriCCD.data());
        }
    state.SetItemsProcessed(state.iterations() * int64_t(vConfigs.size()));
}
BENCHMARK(BM_casxQuery);

// ---- extraction ------------------------------------------------------------------------------------------

// Cells to triangles, the making and the sorting of the mesh included, its removal not.
void BM_extraction(benchmark::State& state)
{
    SphereCells cells{size_t(state.range(0))};
    size_t bytes = 0;
    for (auto _ : state) {
        const size_t bytesBefore = bytesInUse();
        std::unique_ptr<CMesh> pMesh = extract(cells);
        state.PauseTiming();
        bytes = bytesInUse() - bytesBefore;
        pMesh.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(cells.vCCD.size()));
    state.counters["bytesPerVertex"] = double(bytes) / double(cells.vCCD.size());
}
BENCHMARK(BM_extraction)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// ---- look-up in CMesh ------------------------------------------------------------------------------------

// A mesh and a shuffled list of its edges.
struct LookUp {
    explicit LookUp(size_t numCells) : cells(numCells), pMesh(extract(cells))
    {
        pMesh->getEdges(vCE);
        Random random(2);
        for (size_t i = vCE.size(); i > 1; --i)
            std::swap(vCE[i - 1], vCE[random.below(std::uint32_t(i))]);
    }

    SphereCells cells;
    std::unique_ptr<CMesh> pMesh;
    std::vector<CEdge*> vCE;
};

LookUp& lookUpMesh()
{
    static LookUp lookUp(1'000'000);
    return lookUp;
}

void BM_CMesh_getEdge_random(benchmark::State& state)
{
    const LookUp& lookUp = lookUpMesh();
    size_t i = 0;
    for (auto _ : state) {
        const CEdge* pCE = lookUp.vCE[i];
        benchmark::DoNotOptimize(lookUp.pMesh->getEdge(pCE->getV0(), pCE->getV1()));
        i = i + 1 == lookUp.vCE.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_CMesh_getEdge_random);

void BM_CMesh_getVtx_random(benchmark::State& state)
{
    const LookUp& lookUp = lookUpMesh();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookUp.pMesh->getVtx(lookUp.vCE[i]->getV0()));
        i = i + 1 == lookUp.vCE.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_CMesh_getVtx_random);

void BM_CMesh_getIncidentT_inOrder(benchmark::State& state)
{
    const LookUp& lookUp = lookUpMesh();
    std::vector<CTriangle*> vCT;
    size_t i = 0;
    for (auto _ : state) {
        vCT.clear();
        lookUp.pMesh->getIncidentT(lookUp.cells.vCCD[i], vCT);
        benchmark::DoNotOptimize(vCT.data());
        i = i + 1 == lookUp.cells.vCCD.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_CMesh_getIncidentT_inOrder);

} // namespace
