#include "finishing.h"

#include "Stopwatch.h"
#include "report.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

using namespace TESK_ZAN;

namespace
{

// CLI11's own range checks let NaN through; infinity is fine for a limit.
std::string isNotNegative(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && value >= 0.0 ? "" : "must be a number, 0 or more, is '" + text + "'";
}

std::string isCut(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && value >= 0.0 && value < 0.5 ? ""
                                                  : "must be a number from 0 to below 0.5, is '" + text + "'";
}

} // namespace

void addFinishingOptions(CLI::App& command, FinishingOptions& options)
{
    constexpr int MAX_ROUNDS = 100000, MAX_EDGES = 1'000'000'000;
    command
        .add_option("--close-holes", options.oMaxEdges,
                    "Close holes with at most N edges round them (0: of any size); outer rims stay open")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_EDGES));
    command.add_flag("--anneal", options.bAnneal,
                     "Straighten edges by simulated annealing; takes longer than the rest");
    command.add_option("--smooth", options.numSmooth, "Rounds of Laplacian smoothing; borders stay")
        ->check(CLI::Range(0, MAX_ROUNDS))
        ->capture_default_str();
    command
        .add_option(
            "--reduce", options.vReduce,
            "Collapse edges up to MAXLEN (units of the input, inf: any) where no triangle turns by more "
            "than MAXANGLE degrees")
        ->expected(2)
        ->type_name("MAXLEN MAXANGLE")
        ->check(isNotNegative, "0 or more");
    command
        .add_option(
            "--contrast", options.vContrast,
            "Stretch the colours; cut the parts LOW and HIGH of the values at the ends, 0.01 is usual")
        ->expected(2)
        ->type_name("LOW HIGH")
        ->check(isCut, "0 to below 0.5");
}

ReportLines finishMesh(const FinishingOptions& options, const std::shared_ptr<Mesh>& pMesh)
{
    ReportLines lines;
    Stopwatch watch;
    if (options.oMaxEdges) {
        const int numClosed = closeHoles(pMesh, *options.oMaxEdges);
        lines.emplace_back("holes closed", std::to_string(numClosed) + ", " + secondsText(watch.lap()));
    }
    if (options.bAnneal) {
        edgeFlipsSimA(pMesh);
        lines.emplace_back("annealed", secondsText(watch.lap()));
    }
    if (options.numSmooth > 0) {
        laplacianSmoothing(pMesh, options.numSmooth);
        lines.emplace_back("smoothed",
                           std::to_string(options.numSmooth) + " rounds, " + secondsText(watch.lap()));
    }
    if (!options.vReduce.empty()) {
        const int numRemoved = reduce(pMesh, options.vReduce[0], options.vReduce[1]);
        lines.emplace_back("reduced by",
                           std::to_string(numRemoved) + " triangles, " + secondsText(watch.lap()));
    }
    if (!options.vContrast.empty()) {
        pMesh->contrastSpread(options.vContrast[0], options.vContrast[1]);
        lines.emplace_back("contrast spread", secondsText(watch.lap()));
    }
    return lines;
}
