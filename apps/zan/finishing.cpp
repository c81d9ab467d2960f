#include "finishing.h"

#include "Job.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <cmath>
#include <limits>
#include <sstream>

using namespace TESK_ZAN;

namespace
{

constexpr const char* GROUP = "Work on the mesh, in this order";

std::string isCut(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && value >= 0.0 && value < 0.5 ? ""
                                                  : "must be a number from 0 to below 0.5, is '" + text + "'";
}

std::string isSharpenAngle(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && value >= 10.0 && value <= 90.0
               ? ""
               : "must be a number from 10 to 90, or left out behind the file names, is '" + text + "'";
}

struct ReduceLimits {
    Length length{std::numeric_limits<double>::infinity(), false};
    double angle = DEFAULT_REDUCE_ANGLE;
};

// Empty if no reduction is asked for. The single options go before the double one.
std::optional<ReduceLimits> reduceLimits(const FinishingOptions& options)
{
    if (options.vReduce.empty() && !options.oReduceLength && !options.oReduceAngle)
        return std::nullopt;
    ReduceLimits limits;
    if (!options.vReduce.empty()) {
        std::istringstream(options.vReduce[0]) >> limits.length;
        CLI::detail::lexical_cast(options.vReduce[1], limits.angle);
    }
    limits.length = options.oReduceLength.value_or(limits.length);
    limits.angle = options.oReduceAngle.value_or(limits.angle);
    return limits;
}

} // namespace

void addReduceLimits(CLI::App& command, FinishingOptions& options)
{
    command
        .add_option("--reduce-length", options.oReduceLength,
                    "Collapse edges up to this length: units of the input, or cells with a suffix c, as in "
                    "2c; any length if only the angle is given")
        ->type_name("L")
        ->check(isLength)
        ->group(GROUP);
    command
        .add_option("--reduce-angle", options.oReduceAngle,
                    "Collapse edges where no triangle turns by more degrees; " +
                        std::to_string(int(DEFAULT_REDUCE_ANGLE)) + " if only the length is given")
        ->type_name("A")
        ->check(isNotNegative)
        ->group(GROUP);
}

void addFinishingOptions(CLI::App& command, FinishingOptions& options)
{
    constexpr int MAX_ROUNDS = 100000, MAX_EDGES = 1'000'000'000;
    command
        .add_option("--close-holes", options.oMaxEdges,
                    "Close holes with at most N edges round them (0: of any size); outer rims stay open")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_EDGES))
        ->group(GROUP);
    command
        .add_flag("--anneal", options.bAnneal,
                  "Straighten edges by simulated annealing; takes longer than the rest")
        ->group(GROUP);
    command
        .add_option(
            "--smooth", options.numSmooth,
            "Rounds of Laplacian smoothing, then triangles that got flat or turned over by it are mended; "
            "borders stay")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_ROUNDS))
        ->capture_default_str()
        ->group(GROUP);
    command
        .add_option("--sharpen", options.oSharpenAngle,
                    "Give edges back that the cells cut off, where the surface turns by more degrees than "
                    "ANGLE; without a number " +
                        std::to_string(int(DEFAULT_SHARPEN_ANGLE)))
        ->type_name("[ANGLE]")
        ->expected(0, 1)
        ->default_str(std::to_string(int(DEFAULT_SHARPEN_ANGLE)))
        ->check(isSharpenAngle)
        ->group(GROUP);
    addReduceLimits(command, options);
    command.add_option("--reduce", options.vReduce, "Both limits in one: --reduce 2c 5, --reduce inf 10")
        ->expected(2)
        ->type_name("L A")
        ->check(isLength)
        ->group(GROUP);
    command.parse_complete_callback([&options] {
        const std::string problem = options.vReduce.empty() ? "" : isNotNegative(options.vReduce[1]);
        if (!problem.empty())
            throw CLI::ValidationError("--reduce", "the angle " + problem);
    });
    command
        .add_option(
            "--contrast", options.vContrast,
            "Stretch the colours; cut the parts LOW and HIGH of the values at the ends, 0.01 is usual")
        ->expected(2)
        ->type_name("LOW HIGH")
        ->check(isCut)
        ->group(GROUP);
}

void finishMesh(const FinishingOptions& options, const std::shared_ptr<Mesh>& pMesh, Job& job)
{
    Report& report = job.report();
    if (options.oMaxEdges) {
        job.begin("closing holes");
        report.add("holes closed", static_cast<std::size_t>(closeHoles(pMesh, *options.oMaxEdges)));
    }
    if (options.bFlip) {
        job.begin("flipping");
        edgeFlips(pMesh);
    }
    if (options.bAnneal) {
        job.begin("annealing");
        edgeFlipsSimA(pMesh);
    }
    if (options.numSmooth > 0) {
        job.begin("smoothing");
        laplacianSmoothing(pMesh, options.numSmooth);
        repairShapes(pMesh); // vertices have moved, their edges have not
        report.add("smoothed", std::to_string(options.numSmooth) + " rounds", options.numSmooth);
    }
    if (options.oSharpenAngle) {
        job.begin("sharpening");
        report.add("vertices on edges",
                   static_cast<std::size_t>(sharpenEdges(pMesh, *options.oSharpenAngle)));
    }
    if (const std::optional<ReduceLimits> oLimits = reduceLimits(options)) {
        job.begin("reducing");
        const int numRemoved = reduce(pMesh, oLimits->length.inUnits(pMesh->getCellSize()), oLimits->angle);
        report.add("reduced by", std::to_string(numRemoved) + " triangles", numRemoved);
    }
    if (!options.vContrast.empty()) {
        job.begin("spreading contrast");
        pMesh->contrastSpread(options.vContrast[0], options.vContrast[1]);
    }
}
