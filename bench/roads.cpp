// Runs a whole road and prints what it cost as one line of JSON.
//
//   roads N [options]                        reconstructs a generated cloud
//   roads --cloud FILE [options]             reconstructs a cloud of points from a file
//   roads melt N [options]                   melts a generated soup of N / 10 triangles that touches about N
//   cells roads melt --soup FILE --cell S [options]  melts a soup from a file, .ply or text .stl roads cloud
//   ...                          as melt, and makes the points only
//
//   --fill CELLS     the largest gap to bridge, 2 if not given
//   --threads T      worker threads, all that the hardware has if not given
//   --out FILE       writes the mesh
//   --quality 1      adds how the triangles hang together
//   --runs R         runs the road R times and tells of the last run, 1 if not given: from the second on, the
//                    process has its memory already, and what the system charges for new pages (up to 3 s/GB
//                    on virtual machines that give freed memory back to their host) is not in the figures
//   --save FILE      writes the cloud and does nothing else
//
// A soup with --quality also tells how far its sharp edges are from the mesh. The generated cloud is a closed
// bumpy surface of N points, even up to a little noise, the same for equal N. The seconds of the stages lie
// inside each other where stages do.
#include "keepFreedMemory.h"
#include "random.h"
#include "roadReport.h"
#include "soups.h"
#include "stageTrace.h"
#include "zan_api_functions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

using namespace TESK_ZAN;

namespace
{

enum class Road { Reconstruct, Melt, Cloud };

struct Options {
    Road road = Road::Reconstruct;
    std::size_t numPoints = 0; // of a cloud, or cells of a soup; 0: from the file
    std::string cloud;
    std::string soup;
    double cell = 0.0;
    std::string out;
    std::string save;
    int fill = 2;
    int numThreads = 0;
    int numRuns = 1;
    bool bQuality = false;
};

void setOption(Options& options, const std::string& name, const std::string& value)
{
    if (name == "--cloud")
        options.cloud = value;
    else if (name == "--soup")
        options.soup = value;
    else if (name == "--cell")
        options.cell = std::stod(value);
    else if (name == "--out")
        options.out = value;
    else if (name == "--save")
        options.save = value;
    else if (name == "--fill")
        options.fill = std::stoi(value);
    else if (name == "--threads")
        options.numThreads = std::stoi(value);
    else if (name == "--runs")
        options.numRuns = std::max(1, std::stoi(value));
    else if (name == "--quality")
        options.bQuality = std::stoi(value) != 0;
    else
        throw std::invalid_argument("unknown option " + name);
}

Options parse(int argc, char** argv)
{
    Options options;
    int first = 1;
    if (argc > 1 && (std::string(argv[1]) == "melt" || std::string(argv[1]) == "cloud"))
        options.road = std::string(argv[first++]) == "melt" ? Road::Melt : Road::Cloud;
    if (argc > first && argv[first][0] != '-') {
        const double num = std::stod(argv[first++]); // 1e6 is welcome
        if (!(num >= 1.0 && num <= 1e9))
            throw std::invalid_argument("the number of points must be from 1 to 1e9");
        options.numPoints = static_cast<std::size_t>(num);
    }
    for (int i = first; i < argc; i += 2) {
        if (i + 1 == argc)
            throw std::invalid_argument(std::string("no value for ") + argv[i]);
        setOption(options, argv[i], argv[i + 1]);
    }
    const bool bSoup = options.road != Road::Reconstruct;
    if ((options.numPoints == 0) == (bSoup ? options.soup : options.cloud).empty())
        throw std::invalid_argument("either a number or a file");
    if (!options.soup.empty() && !(options.cell > 0.0))
        throw std::invalid_argument("a soup needs --cell");
    return options;
}

// Points on a spiral around a unit sphere, each at its own equal share of the area; then three waves of bumps
// along the radius, and noise of up to a fifth of a spacing.
std::vector<Point3> bumpySurface(std::size_t numPoints)
{
    const double goldenAngle = std::numbers::pi * (3.0 - std::sqrt(5.0));
    const double num = static_cast<double>(numPoints);
    const double noise = 0.2 * std::sqrt(4.0 * std::numbers::pi / num);
    Random random(1);

    std::vector<Point3> vPoints;
    vPoints.reserve(numPoints);
    for (std::size_t i = 0; i < numPoints; ++i) {
        const double z = 1.0 - (2.0 * static_cast<double>(i) + 1.0) / num;
        const double angle = std::fmod(goldenAngle * static_cast<double>(i), 2.0 * std::numbers::pi);
        const double ring = std::sqrt(1.0 - z * z);
        const double x = ring * std::cos(angle);
        const double y = ring * std::sin(angle);
        const double bumps = 0.05 * (std::sin(7.0 * x) + std::sin(9.0 * y) + std::sin(11.0 * z));
        const double radius = 1.0 + bumps + noise * (random.uniform() - 0.5);
        vPoints.emplace_back(radius * x, radius * y, radius * z);
    }
    return vPoints;
}

std::vector<Point3> makeCloud(const Options& options)
{
    if (options.cloud.empty())
        return bumpySurface(options.numPoints);
    std::string name = options.cloud;
    std::vector<Point3> vPoints;
    if (!readPoints_auto(name, vPoints))
        throw std::runtime_error("cannot read " + name);
    return vPoints;
}

// One record a name, in the order in which the names first came: a stage may run more than once.
std::vector<StageRecord> sumByName(const std::vector<StageRecord>& vStages)
{
    std::vector<StageRecord> vSums;
    for (const StageRecord& stage : vStages) {
        const auto sum = std::find_if(vSums.begin(), vSums.end(),
                                      [&](const StageRecord& other) { return other.name == stage.name; });
        if (sum == vSums.end())
            vSums.push_back(stage);
        else
            sum->seconds += stage.seconds;
    }
    return vSums;
}

void printStages(const std::vector<StageRecord>& vStages)
{
    std::cout << "\"stages\": {";
    for (std::size_t i = 0; i < vStages.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << '"' << vStages[i].name << "\": " << vStages[i].seconds;
    std::cout << "}, ";
}

// pCorners: of the soup that the mesh was made of, or null.
void printMeshQuality(const Mesh& mesh, const std::vector<Point3>* pCorners)
{
    std::vector<Point3*> vVertices;
    std::vector<int> vCorners;
    mesh.getVertexIndexData(vVertices, vCorners);
    const std::vector<std::uint32_t> vIndices(vCorners.begin(), vCorners.end());
    std::cout << ", ";
    printQuality(std::cout, qualityOf(vVertices.size(), vIndices));
    if (pCorners == nullptr)
        return;
    std::vector<Point3> vPoints;
    for (const Point3* pVtx : vVertices)
        vPoints.push_back(*pVtx);
    std::cout << ", ";
    printEdgeDistances(std::cout, sharpEdgeDistances(*pCorners, vPoints, vIndices, mesh.getCellSize()));
}

// The road runs in the constructor, as often as asked for; what is kept is of the last run.
template <class F>
struct Timed {
    Timed(int numRuns, F f)
    {
        for (int i = 0; i < numRuns; ++i)
            runOnce(f);
        vStages = sumByName(vStages);
    }

    void runOnce(F& f)
    {
        vStages.clear();
        recordStages(&vStages);
        const Stopwatch watch;
        f();
        costs = watch.getCosts();
        recordStages(nullptr);
    }

    std::vector<StageRecord> vStages;
    Costs costs;
};

void finish(const Options& options, const std::shared_ptr<Mesh>& pMesh, const std::vector<Point3>* pCorners)
{
    if (options.bQuality)
        printMeshQuality(*pMesh, pCorners);
    std::cout << "}" << std::endl;
    if (!options.out.empty() && !writeMesh_auto(options.out, pMesh, true))
        throw std::runtime_error("cannot write " + options.out);
}

int runReconstruct(const Options& options)
{
    std::vector<Point3> vPoints = makeCloud(options);
    if (!options.save.empty()) {
        std::string name = options.save;
        return writePoints_auto(name, vPoints, false) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    std::shared_ptr<Mesh> pMesh;
    const Timed timed(options.numRuns, [&] {
        pMesh.reset();
        pMesh = reconstruct_auto(vPoints, 1.0, options.fill);
    });
    if (pMesh == nullptr)
        throw std::runtime_error("nothing came out");
    std::cout << "{\"points\": " << vPoints.size() << ", \"triangles\": " << pMesh->getNumT()
              << ", \"fill\": " << options.fill << ", \"threads\": " << options.numThreads << ", ";
    printStages(timed.vStages);
    printCosts(std::cout, vPoints.size(), timed.costs);
    finish(options, pMesh, nullptr);
    return EXIT_SUCCESS;
}

// Both roads tell costs by the number of points that come out, which is that of the touched cells.
int runSoup(const Options& options)
{
    constexpr std::size_t CELLS_PER_TRIANGLE = 10;
    constexpr double TOUCHED_CELLS = 1.307; // by a surface of the area of a cell's face, over all directions
    std::vector<Point3> vCorners =
        options.soup.empty() ? generatedSoup(options.numPoints / CELLS_PER_TRIANGLE) : readSoup(options.soup);
    const double cell =
        options.cell > 0.0
            ? options.cell
            : std::sqrt(TOUCHED_CELLS * areaOf(vCorners) / static_cast<double>(options.numPoints));
    constexpr double FEATURE_ANGLE = 30.0;
    std::shared_ptr<Mesh> pMesh;
    std::vector<Point3> vPoints;
    const Timed timed(options.numRuns, [&] {
        pMesh.reset();
        vPoints.clear();
        if (options.road == Road::Melt)
            pMesh = melt(vCorners, cell, FEATURE_ANGLE);
        else
            toCloud(vCorners, cell, FEATURE_ANGLE, vPoints);
    });
    if (pMesh == nullptr && vPoints.empty())
        throw std::runtime_error("nothing came out");
    std::cout << "{\"input_triangles\": " << vCorners.size() / 3 << ", \"cell\": " << cell
              << ", \"threads\": " << options.numThreads << ", ";
    printStages(timed.vStages);
    if (pMesh == nullptr) {
        printCosts(std::cout, vPoints.size(), timed.costs);
        std::cout << "}" << std::endl;
        std::string name = options.out;
        return name.empty() || writePoints_auto(name, vPoints, false) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    std::cout << "\"triangles\": " << pMesh->getNumT() << ", ";
    std::vector<Point3*> vVertices;
    pMesh->getPoints(vVertices);
    printCosts(std::cout, vVertices.size(), timed.costs);
    finish(options, pMesh, &vCorners);
    return EXIT_SUCCESS;
}

int run(const Options& options)
{
    setMessageStream(nullptr);
    setGlobalNumCPU(options.numThreads);
    return options.road == Road::Reconstruct ? runReconstruct(options) : runSoup(options);
}

} // namespace

int main(int argc, char** argv)
{
    keepFreedMemory();
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "roads: " << error.what()
                  << "\nusage: roads N|--cloud FILE [--fill CELLS] [--threads T] [--out FILE] [--quality 1] "
                     "[--runs R] [--save FILE]\n       roads melt|cloud N|--soup FILE --cell S [--threads T] "
                     "[--out FILE] [--quality 1] [--runs R]\n";
        return EXIT_FAILURE;
    }
}
