// zan reconstruct: points in, triangles out.
#include "CommandError.h"
#include "HeldMessages.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "Stopwatch.h"
#include "commands.h"
#include "finishing.h"
#include "inputFiles.h"
#include "melt.h"
#include "meshOutput.h"
#include "report.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

// Measured: 1 leaves pinholes in dense clouds (a closed statue of a million points) and far more loops in
// real scans; 2 joins the rims of two sheets six point spacings apart, which 1 keeps.
constexpr int DEFAULT_FILL = 2;

struct Options {
    std::string in;
    std::string out;
    std::optional<double> spacing; // without: the detected one, times the factor
    double spacingFactor = 1.0;
    int fill = DEFAULT_FILL;
    bool bMelt = false; // the input is triangles
    FinishingOptions finishing;
    RunOptions run;
};

struct Seconds {
    double reading = 0.0;
    double reconstruction = 0.0;
    double finishing = 0.0;
    double writing = 0.0;
};

std::shared_ptr<Mesh> reconstruct(const Options& options, std::vector<Point3>& vPoints)
{
    setGlobalNumCPU(options.run.numThreads);
    std::shared_ptr<Mesh> pMesh = options.spacing
                                      ? reconstruct_abs(vPoints, *options.spacing, options.fill)
                                      : reconstruct_auto(vPoints, options.spacingFactor, options.fill);
    if (pMesh == nullptr || pMesh->getNumT() == 0)
        throw CommandError(ExitCode::NothingCameOut,
                           "no triangle came out of '" + options.in +
                               "'. The points must sample a surface; if they do, give --spacing about the "
                               "distance between neighbours ('zan info' shows the extent).");
    return pMesh;
}

// finished: a line for each step after the reconstruction.
void report(const Options& options, std::size_t numPoints, const Mesh& mesh, const ReportLines& finished,
            const Seconds& seconds)
{
    reportLine("points", numPoints);
    if (!options.spacing)
        reportLine("detected spacing", number(mesh.getCellSize() / options.spacingFactor, 6));
    reportLine("cell size", number(mesh.getCellSize(), 6));
    for (const auto& [label, value] : finished)
        reportLine(label, value);
    reportLine("triangles", mesh.getNumT());
    const double total = seconds.reading + seconds.reconstruction + seconds.finishing + seconds.writing;
    reportLine("time", secondsText(total) + " (reading " + secondsText(seconds.reading) +
                           ", reconstruction " + secondsText(seconds.reconstruction) +
                           (finished.empty() ? "" : ", finishing " + secondsText(seconds.finishing)) +
                           ", writing " + secondsText(seconds.writing) + ")");
    reportLine("peak memory", megabytesText(peakMemory()));
    reportLine("written to", options.out);
}

void run(const Options& options)
{
    checkHoldsMesh(options.out);
    std::optional<HeldMessages> held;
    if (options.run.bQuiet)
        held.emplace();
    OutputFile output(options.out);

    Seconds seconds;
    Stopwatch watch;
    std::vector<Point3> vPoints = readCloud(options.in);
    seconds.reading = watch.lap();
    std::optional<ProgressBar> bar;
    if (!options.run.bQuiet)
        bar.emplace();
    const std::shared_ptr<Mesh> pMesh = reconstruct(options, vPoints);
    seconds.reconstruction = watch.lap();
    const ReportLines finished = finishMesh(options.finishing, pMesh);
    seconds.finishing = watch.lap();
    bar.reset();
    writeMesh(pMesh, output, options.out, options.run.bAscii);
    seconds.writing = watch.lap();

    if (held)
        held->drop();
    else
        report(options, vPoints.size(), *pMesh, finished, seconds);
}

MeltOptions meltOptions(const Options& options)
{
    MeltOptions melt;
    melt.soup.in = options.in;
    melt.soup.spacing = options.spacing;
    melt.out = options.out;
    melt.finishing = options.finishing;
    melt.run = options.run;
    return melt;
}

} // namespace

void addReconstruct(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand = program.add_subcommand("reconstruct", "Make a triangle mesh from a point cloud");

    pCommand
        ->add_option("IN", pOptions->in,
                     "Points: .ply, .xyz, .txt, .asc or .bin; " + SAMPLE_NAME + " is the built-in sample")
        ->required();
    pCommand->add_option("OUT", pOptions->out, "Mesh: .ply, .stl or .list")->required();

    CLI::Option* pSpacing =
        pCommand->add_option("-a,--spacing", pOptions->spacing, "Cell size in units of the input")
            ->check(isPositive, "above 0");
    CLI::Option* pMelt = pCommand->add_flag("-m,--fmelt", pOptions->bMelt,
                                            "Take triangles instead of points, as 'zan melt' does");
    pCommand
        ->add_option("--spacing-factor", pOptions->spacingFactor,
                     "Cell size as a multiple of the detected spacing; noisy clouds like 1.5 to 3")
        ->check(isPositive, "above 0")
        ->capture_default_str()
        ->excludes(pSpacing)
        ->excludes(pMelt);
    pCommand->add_option("--fill", pOptions->fill, "Largest gap to bridge, in cells; 0 bridges none")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str()
        ->excludes(pMelt);
    addFinishingOptions(*pCommand, pOptions->finishing);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->callback([pOptions] {
        if (pOptions->bMelt)
            runMelt(meltOptions(*pOptions));
        else
            run(*pOptions);
    });
}
