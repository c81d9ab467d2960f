// Files of 500,000 vertices and 1,000,000 triangles (a bumpy grid): points per second for ASCII, time for
// binary PLY. Files go to the system's folder for temporary files; what is measured is the library and the
// page cache.
#include "RMesh.h"
#include "meshWriters.h"
#include "messages.h"
#include "plyPoints.h"
#include "pointFiles.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using namespace TESK_ZAN;

namespace
{

constexpr int NUM_X = 1000;
constexpr int NUM_Y = 501; // 1000 * 500 quads, two triangles each

struct Files {
    Files() : folder(std::filesystem::temp_directory_path() / "zan_files_bench")
    {
        redirectMessages(nullptr);
        std::filesystem::create_directories(folder);
    }
    ~Files() { std::filesystem::remove_all(folder); }

    std::string name(const char* file) const { return (folder / file).string(); }

    std::filesystem::path folder;
};

Files& files()
{
    static Files theFiles;
    return theFiles;
}

Point3 gridPoint(int x, int y)
{
    Point3 point(x * 0.1 + 1e-3 * std::sin(y), y * 0.1 + 1e-3 * std::cos(x),
                 std::sin(x * 0.01) * std::cos(y * 0.013));
    point.setColor(std::uint8_t(x), std::uint8_t(y), 128, 255);
    return point;
}

const std::vector<Point3>& gridPoints()
{
    static const std::vector<Point3> vPoints = [] {
        std::vector<Point3> v;
        for (int y = 0; y < NUM_Y; ++y)
            for (int x = 0; x <= NUM_X; ++x)
                v.push_back(gridPoint(x, y));
        return v;
    }();
    return vPoints;
}

RMesh& gridMesh()
{
    static const std::unique_ptr<RMesh> pMesh = [] {
        auto p = std::make_unique<RMesh>(0.1);
        std::vector<Point3*> vVtx;
        for (const Point3& point : gridPoints())
            vVtx.push_back(p->createVtx(point, true));
        const auto at = [&](int x, int y) { return vVtx[size_t(y) * (NUM_X + 1) + size_t(x)]; };
        for (int y = 0; y + 1 < NUM_Y; ++y)
            for (int x = 0; x < NUM_X; ++x) {
                p->createT(at(x, y), at(x + 1, y), at(x, y + 1));
                p->createT(at(x + 1, y), at(x + 1, y + 1), at(x, y + 1));
            }
        return p;
    }();
    return *pMesh;
}

void countPoints(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * std::int64_t(gridPoints().size()));
}

void writeAscii(benchmark::State& state)
{
    const std::string name = files().name("a.xyz");
    for (auto _ : state)
        if (!writePoints_ASCII(name.c_str(), gridPoints()))
            state.SkipWithError("not written");
    countPoints(state);
}

void readAscii(benchmark::State& state)
{
    const std::string name = files().name("a.xyz");
    writePoints_ASCII(name.c_str(), gridPoints());
    for (auto _ : state) {
        std::vector<Point3> vPoints;
        if (!readPoints_ASCII(name.c_str(), vPoints) || vPoints.size() != gridPoints().size())
            state.SkipWithError("not read");
    }
    countPoints(state);
}

void writePlyMesh(benchmark::State& state)
{
    const std::string name = files().name("m.ply");
    const bool bAscii = state.range(0) != 0;
    RMesh& mesh = gridMesh();
    for (auto _ : state)
        if (!PLY::writePly(&mesh, name, bAscii))
            state.SkipWithError("not written");
    countPoints(state);
}

// Arguments: text form, points only (else the triangle soup of three million points).
void readPlyMesh(benchmark::State& state)
{
    const std::string name = files().name("m.ply");
    PLY::writePly(&gridMesh(), name, state.range(0) != 0);
    for (auto _ : state) {
        std::vector<Point3> vPoints;
        if (!readPly(name.c_str(), state.range(1) != 0, vPoints))
            state.SkipWithError("not read");
    }
    countPoints(state);
}

BENCHMARK(writeAscii)->Unit(benchmark::kMillisecond);
BENCHMARK(readAscii)->Unit(benchmark::kMillisecond);
BENCHMARK(writePlyMesh)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(readPlyMesh)->Args({0, 1})->Args({0, 0})->Args({1, 1})->Args({1, 0})->Unit(benchmark::kMillisecond);

} // namespace
