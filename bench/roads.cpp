// Runs a whole road on a cloud and prints what it cost as one line of JSON.
//
//   roads N [options]             on a generated cloud
//   roads --cloud FILE [options]  on a cloud of points from a file
//
//   --fill CELLS     the largest gap to bridge, 2 if not given
//   --threads T      worker threads, all that the hardware has if not given
//   --out FILE       writes the mesh
//   --quality 1      adds how the triangles hang together
//   --save FILE      writes the cloud and does nothing else
//
// The generated cloud is a closed bumpy surface of N points, even up to a little noise, the same for equal N.
// The seconds of the stages lie inside each other where stages do.
#include "random.h"
#include "roadReport.h"
#include "stageTrace.h"
#include "zan_api_functions.h"

#include <algorithm>
#include <chrono>
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

struct Options {
    std::size_t numPoints = 0; // 0: from the file
    std::string cloud;
    std::string out;
    std::string save;
    int fill = 2;
    int numThreads = 0;
    bool bQuality = false;
};

void setOption(Options& options, const std::string& name, const std::string& value)
{
    if (name == "--cloud")
        options.cloud = value;
    else if (name == "--out")
        options.out = value;
    else if (name == "--save")
        options.save = value;
    else if (name == "--fill")
        options.fill = std::stoi(value);
    else if (name == "--threads")
        options.numThreads = std::stoi(value);
    else if (name == "--quality")
        options.bQuality = std::stoi(value) != 0;
    else
        throw std::invalid_argument("unknown option " + name);
}

Options parse(int argc, char** argv)
{
    Options options;
    int first = 1;
    if (argc > 1 && argv[1][0] != '-') {
        const double num = std::stod(argv[1]); // 1e6 is welcome
        if (!(num >= 1.0 && num <= 1e9))
            throw std::invalid_argument("the number of points must be from 1 to 1e9");
        options.numPoints = static_cast<std::size_t>(num);
        first = 2;
    }
    for (int i = first; i < argc; i += 2) {
        if (i + 1 == argc)
            throw std::invalid_argument(std::string("no value for ") + argv[i]);
        setOption(options, argv[i], argv[i + 1]);
    }
    if ((options.numPoints == 0) == options.cloud.empty())
        throw std::invalid_argument("either a number of points or a cloud");
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

MeshQuality meshQuality(const Mesh& mesh)
{
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    mesh.getVertexIndexData(vVertices, vIndices);
    return qualityOf(vVertices.size(), std::vector<std::uint32_t>(vIndices.begin(), vIndices.end()));
}

void printJson(const Options& options, std::size_t numPoints, const Mesh& mesh,
               const std::vector<StageRecord>& vStages, double seconds)
{
    const double bytes = peakBytes(); // before the quality asks for more
    std::cout << "{\"points\": " << numPoints << ", \"triangles\": " << mesh.getNumT()
              << ", \"fill\": " << options.fill << ", \"threads\": " << options.numThreads
              << ", \"stages\": {";
    for (std::size_t i = 0; i < vStages.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << '"' << vStages[i].name << "\": " << vStages[i].seconds;
    std::cout << "}, ";
    printCosts(std::cout, numPoints, seconds, bytes);
    if (options.bQuality) {
        std::cout << ", ";
        printQuality(std::cout, meshQuality(mesh));
    }
    std::cout << "}" << std::endl;
}

int run(const Options& options)
{
    setMessageStream(nullptr);
    setGlobalNumCPU(options.numThreads);
    std::vector<Point3> vPoints = makeCloud(options);
    if (!options.save.empty()) {
        std::string name = options.save;
        return writePoints_auto(name, vPoints, false) ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    std::vector<StageRecord> vStages;
    recordStages(&vStages);
    const std::size_t numPoints = vPoints.size();
    const auto start = std::chrono::steady_clock::now();
    const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vPoints, 1.0, options.fill);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    recordStages(nullptr);
    if (pMesh == nullptr)
        throw std::runtime_error("nothing came out");

    printJson(options, numPoints, *pMesh, sumByName(vStages), seconds.count());
    if (!options.out.empty() && !writeMesh_auto(options.out, pMesh, false))
        throw std::runtime_error("cannot write " + options.out);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "roads: " << error.what()
                  << "\nusage: roads N|--cloud FILE [--fill CELLS] [--threads T] [--out FILE] [--quality 1] "
                     "[--save FILE]\n";
        return EXIT_FAILURE;
    }
}
