// Measures the working cells alone: thinning and fill passes on a generated cloud. One line of JSON.
//
//   prepare_bench N [--fill CELLS] [--threads T] [--noise SPACINGS] [--holes COUNT]
//
// The cloud is a sphere of N points on a spiral, scattered along the radius by up to the given number of
// spacings, with round holes of up to ten spacings in radius. Noise makes border cells all over the
// surface, which is what a fill pass pays for.
#include "Calc.h"
#include "Prepare.h"
#include "Progress.h"
#include "random.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/resource.h>

using namespace TESK_ZAN;

namespace
{

constexpr double MARGIN = 5000.0;      // cells of room around the cloud, as in a run
constexpr double HOLE_RADIUS = 10.0;   // spacings
constexpr double CELL_FACTOR = 1.2408; // cell size by spacing: what the estimate of a run gives on a sphere

struct Options {
    std::size_t numPoints = 0;
    double fill = 2.0;
    double threads = 0.0; // all that the hardware has
    double noise = 0.2;
    double holes = 100.0;
};

Options parse(int argc, char** argv)
{
    Options options;
    if (argc < 2)
        throw std::invalid_argument("no number of points");
    const double num = std::stod(argv[1]); // 1e6 is welcome
    if (!(num >= 100.0 && num <= 1e9))
        throw std::invalid_argument("the number of points must be from 100 to 1e9");
    options.numPoints = static_cast<std::size_t>(num);
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        double* pValue = name == "--fill"      ? &options.fill
                         : name == "--threads" ? &options.threads
                         : name == "--noise"   ? &options.noise
                         : name == "--holes"   ? &options.holes
                                               : nullptr;
        if (!pValue)
            throw std::invalid_argument("unknown option " + name);
        *pValue = std::stod(argv[i + 1]);
    }
    return options;
}

// On the unit sphere, except for the noise.
std::vector<Point3> makeCloud(const Options& options, double spacing)
{
    const double goldenAngle = std::numbers::pi * (3.0 - std::sqrt(5.0));
    const double num = static_cast<double>(options.numPoints);
    const auto spiral = [&](double index) {
        const double z = 1.0 - 2.0 * (index + 0.5) / num;
        const double r = std::sqrt(1.0 - z * z);
        return Vector3(r * std::cos(goldenAngle * index), r * std::sin(goldenAngle * index), z);
    };
    Random random(1);
    std::vector<Vector3> vHoles;
    for (int i = 0; i < static_cast<int>(options.holes); ++i)
        vHoles.push_back(spiral(random.uniform() * num));
    std::vector<Point3> vPoints;
    for (std::size_t i = 0; i < options.numPoints; ++i) {
        const Vector3 v = spiral(static_cast<double>(i));
        const double scale = 1.0 + options.noise * spacing * (2.0 * random.uniform() - 1.0);
        double radius = 0.0; // of this hole: they get larger one by one
        const bool bInHole = std::any_of(vHoles.begin(), vHoles.end(), [&](const Vector3& hole) {
            radius += HOLE_RADIUS * spacing / options.holes;
            const double dx = v.x() - hole.x(), dy = v.y() - hole.y(), dz = v.z() - hole.z();
            return dx * dx + dy * dy + dz * dz < radius * radius;
        });
        if (!bInHole)
            vPoints.emplace_back(scale * v.x(), scale * v.y(), scale * v.z());
    }
    return vPoints;
}

double getPeakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

void run(const Options& options)
{
    const double spacing = std::sqrt(4.0 * std::numbers::pi / static_cast<double>(options.numPoints));
    const double cellSize = CELL_FACTOR * spacing;
    std::vector<Point3> vPoints = makeCloud(options, spacing);
    const double low = -1.1 - MARGIN * cellSize;
    const double numCells = 2.2 / cellSize + 2.0 * MARGIN;
    const int numLevels = static_cast<int>(std::ceil(std::log2(numCells)));
    const double size = std::ldexp(cellSize, numLevels);
    const Calc calc(low, low, low, size, size, size, numLevels);
    const double bytesBefore = getPeakBytes();

    std::vector<StageRecord> vStages;
    std::vector<std::pair<u64, Point3>> vResult;
    std::vector<u64> vZeroCCD;
    getRootProgress()->setName("prepare_bench");
    recordStages(&vStages);
    {
        const StageTimer stage("all");
        Prepare prepare(&vPoints, static_cast<int>(options.fill), &calc);
        prepare.run(vResult, vZeroCCD);
    }
    recordStages(nullptr);

    std::cout << "{\"points\": " << vPoints.size() << ", \"fill\": " << options.fill
              << ", \"noise\": " << options.noise << ", \"cells\": " << vResult.size()
              << ", \"added\": " << vZeroCCD.size() << ", \"peak_bytes_per_point\": "
              << (getPeakBytes() - bytesBefore) / static_cast<double>(vPoints.size()) << ", \"stages\": [";
    const char* separator = "";
    for (const StageRecord& stage : vStages) {
        std::cout << separator << "{\"" << stage.name << "\": " << stage.seconds << "}";
        separator = ", ";
    }
    std::cout << "]}\n";
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Options options = parse(argc, argv);
        if (options.threads > 0.0)
            setNumCPU(static_cast<int>(options.threads));
        run(options);
    } catch (const std::exception& e) {
        std::cerr
            << "prepare_bench: " << e.what()
            << "\nusage: prepare_bench N [--fill CELLS] [--threads T] [--noise SPACINGS] [--holes COUNT]\n";
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
