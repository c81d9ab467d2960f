// zan cloud: triangles in, points on their surface out, one for each cell.
#include "CommandError.h"
#include "HeldMessages.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "Stopwatch.h"
#include "commands.h"
#include "melt.h"
#include "report.h"
#include "runOptions.h"
#include "soupFiles.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

struct Options {
    SoupOptions soup;
    std::string out;
    RunOptions run;
};

void checkHoldsPoints(const std::string& name)
{
    switch (getFileType(name)) {
    case FT_PLY:
    case FT_ASCII:
    case FT_BIN:
        return;
    default:
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell which kind of point file to write. Use " +
                                                ".ply, .xyz or .bin.");
    }
}

std::vector<Point3> sample(const Options& options, std::vector<Point3>& vCorners, double spacing)
{
    setGlobalNumCPU(options.run.numThreads);
    std::vector<Point3> vPoints;
    toCloud(vCorners, spacing, options.soup.featureAngle, vPoints);
    if (vPoints.empty())
        throw CommandError(ExitCode::NothingCameOut,
                           "no point came out of '" + options.soup.in + "'; a message above may tell why.");
    return vPoints;
}

void write(const Options& options, std::vector<Point3>& vPoints, OutputFile& output)
{
    std::string workName = output.workName();
    if (!writePoints_auto(workName, vPoints, options.run.bAscii))
        throw CommandError(ExitCode::FileTrouble,
                           "'" + options.out + "' could not be written whole. Is there free space?");
    output.commit();
}

void run(const Options& options)
{
    checkHoldsPoints(options.out);
    std::optional<HeldMessages> held;
    if (options.run.bQuiet)
        held.emplace();
    OutputFile output(options.out);

    Stopwatch watch;
    std::vector<Point3> vCorners = readSoup(options.soup.in);
    const double spacing = spacingFor(options.soup, vCorners);
    const double secondsReading = watch.lap();
    std::optional<ProgressBar> bar;
    if (!options.run.bQuiet)
        bar.emplace();
    std::vector<Point3> vPoints = sample(options, vCorners, spacing);
    const double secondsSampling = watch.lap();
    bar.reset();
    write(options, vPoints, output);
    const double secondsWriting = watch.lap();

    if (held) {
        held->drop();
        return;
    }
    reportSoup(options.soup, vCorners.size() / 3, spacing);
    reportLine("points", vPoints.size());
    reportLine("time", secondsText(secondsReading + secondsSampling + secondsWriting) + " (reading " +
                           secondsText(secondsReading) + ", sampling " + secondsText(secondsSampling) +
                           ", writing " + secondsText(secondsWriting) + ")");
    reportLine("peak memory", megabytesText(peakMemory()));
    reportLine("written to", options.out);
}

} // namespace

void addCloud(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        program.add_subcommand("cloud", "Make an even point cloud from triangles of any condition");
    addSoupOptions(*pCommand, pOptions->soup);
    pCommand->add_option("OUT", pOptions->out, "Points: .ply, .xyz, .txt, .asc or .bin")->required();
    addRunOptions(*pCommand, pOptions->run);
    pCommand->callback([pOptions] { run(*pOptions); });
}
