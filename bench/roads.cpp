// Runs a whole road on a generated cloud and prints what it cost as one line of JSON.
//
//   roads N [--fill CELLS] [--threads T]
//
// The cloud is a closed bumpy surface of N points, even up to a little noise, the same for equal N. The
// seconds of the stages lie inside each other where stages do.
#include "random.h"
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

#include <sys/resource.h>

using namespace TESK_ZAN;

namespace
{

struct Options {
    std::size_t numPoints = 0;
    int fill = 2;
    int numThreads = 0; // all that the hardware has
};

Options parse(int argc, char** argv)
{
    Options options;
    if (argc < 2)
        throw std::invalid_argument("no number of points");
    const double num = std::stod(argv[1]); // 1e6 is welcome
    if (!(num >= 1.0 && num <= 1e9))
        throw std::invalid_argument("the number of points must be from 1 to 1e9");
    options.numPoints = static_cast<std::size_t>(num);
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name != "--fill" && name != "--threads")
            throw std::invalid_argument("unknown option " + name);
        (name == "--fill" ? options.fill : options.numThreads) = std::stoi(argv[i + 1]);
    }
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

double peakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0; // Linux counts in units of 1024 bytes
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

void printJson(const Options& options, const Mesh& mesh, const std::vector<StageRecord>& vStages,
               double seconds)
{
    const double num = static_cast<double>(options.numPoints);
    const double bytes = peakBytes();
    std::cout << "{\"points\": " << options.numPoints << ", \"triangles\": " << mesh.getNumT()
              << ", \"fill\": " << options.fill << ", \"threads\": " << options.numThreads
              << ", \"stages\": {";
    for (std::size_t i = 0; i < vStages.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << '"' << vStages[i].name << "\": " << vStages[i].seconds;
    std::cout << "}, \"seconds\": " << seconds << ", \"points_per_second\": " << num / seconds
              << ", \"peak_bytes\": " << static_cast<std::size_t>(bytes)
              << ", \"peak_bytes_per_point\": " << bytes / num << "}" << std::endl;
}

int run(const Options& options)
{
    setMessageStream(nullptr);
    setGlobalNumCPU(options.numThreads);
    std::vector<Point3> vPoints = bumpySurface(options.numPoints);

    std::vector<StageRecord> vStages;
    recordStages(&vStages);
    const auto start = std::chrono::steady_clock::now();
    const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vPoints, 1.0, options.fill);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    recordStages(nullptr);
    if (pMesh == nullptr)
        throw std::runtime_error("nothing came out");

    printJson(options, *pMesh, sumByName(vStages), seconds.count());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "roads: " << error.what() << "\nusage: roads N [--fill CELLS] [--threads T]\n";
        return EXIT_FAILURE;
    }
}
