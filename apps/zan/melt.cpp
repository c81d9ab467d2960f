#include "melt.h"

#include "CommandError.h"
#include "HeldMessages.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "Stopwatch.h"
#include "commands.h"
#include "meshOutput.h"
#include "report.h"
#include "soupFiles.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

struct Seconds {
    double reading = 0.0;
    double melting = 0.0;
    double finishing = 0.0;
    double writing = 0.0;
};

std::shared_ptr<Mesh> meltSoup(const MeltOptions& options, std::vector<Point3>& vCorners, double spacing)
{
    setGlobalNumCPU(options.run.numThreads);
    std::shared_ptr<Mesh> pMesh = melt(vCorners, spacing, options.soup.featureAngle);
    if (pMesh == nullptr || pMesh->getNumT() == 0)
        throw CommandError(
            ExitCode::NothingCameOut,
            "no triangle came out of '" + options.soup.in + "'. The spacing " + number(spacing, 6) +
                " may be too large for it: give a smaller --spacing ('zan info' shows the extent).");
    return pMesh;
}

// finished: a line for each step after the melt.
void report(const MeltOptions& options, std::size_t numTriangles, const Mesh& mesh,
            const ReportLines& finished, const Seconds& seconds)
{
    reportSoup(options.soup, numTriangles, mesh.getCellSize());
    for (const auto& [label, value] : finished)
        reportLine(label, value);
    reportLine("triangles", mesh.getNumT());
    const double total = seconds.reading + seconds.melting + seconds.finishing + seconds.writing;
    reportLine("time", secondsText(total) + " (reading " + secondsText(seconds.reading) + ", melting " +
                           secondsText(seconds.melting) +
                           (finished.empty() ? "" : ", finishing " + secondsText(seconds.finishing)) +
                           ", writing " + secondsText(seconds.writing) + ")");
    reportLine("peak memory", megabytesText(peakMemory()));
    reportLine("written to", options.out);
}

} // namespace

void runMelt(const MeltOptions& options)
{
    checkHoldsMesh(options.out);
    std::optional<HeldMessages> held;
    if (options.run.bQuiet)
        held.emplace();
    OutputFile output(options.out);

    Seconds seconds;
    Stopwatch watch;
    std::vector<Point3> vCorners = readSoup(options.soup.in);
    const double spacing = spacingFor(options.soup, vCorners);
    seconds.reading = watch.lap();
    std::optional<ProgressBar> bar;
    if (!options.run.bQuiet)
        bar.emplace();
    const std::shared_ptr<Mesh> pMesh = meltSoup(options, vCorners, spacing);
    seconds.melting = watch.lap();
    const ReportLines finished = finishMesh(options.finishing, pMesh);
    seconds.finishing = watch.lap();
    bar.reset();
    writeMesh(pMesh, output, options.out, options.run.bAscii);
    seconds.writing = watch.lap();

    if (held)
        held->drop();
    else
        report(options, vCorners.size() / 3, *pMesh, finished, seconds);
}

void addMelt(CLI::App& program)
{
    const auto pOptions = std::make_shared<MeltOptions>();
    CLI::App* pCommand =
        program.add_subcommand("melt", "Make a clean triangle mesh from triangles of any condition");
    addSoupOptions(*pCommand, pOptions->soup);
    pCommand->add_option("OUT", pOptions->out, "Mesh: .ply, .stl or .list")->required();
    addFinishingOptions(*pCommand, pOptions->finishing);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->callback([pOptions] { runMelt(*pOptions); });
}
