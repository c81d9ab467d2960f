// zan reconstruct: points in, triangles out.
#include "CommandError.h"
#include "HeldMessages.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "Stopwatch.h"
#include "commands.h"
#include "finishing.h"
#include "inputFiles.h"
#include "report.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

// Measured: 1 leaves pinholes in dense clouds (a closed statue of a million points) and far more loops in real
// scans; 2 joins the rims of two sheets six point spacings apart, which 1 keeps.
constexpr int DEFAULT_FILL = 2;

struct Options {
    std::string in;
    std::string out;
    std::optional<double> spacing; // without: the detected one, times the factor
    double spacingFactor = 1.0;
    int fill = DEFAULT_FILL;
    int numThreads = 0; // all that the hardware has
    FinishingOptions finishing;
    bool bAscii = false;
    bool bQuiet = false;
};

struct Seconds {
    double reading = 0.0;
    double reconstruction = 0.0;
    double finishing = 0.0;
    double writing = 0.0;
};

void checkHoldsMesh(const std::string& name)
{
    switch (getFileType(name)) {
    case FT_PLY:
    case FT_STL:
    case FT_LIST:
        return;
    default:
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell which kind of mesh file to write. Use " +
                                                ".ply, .stl or .list.");
    }
}

std::shared_ptr<Mesh> reconstruct(const Options& options, std::vector<Point3>& vPoints)
{
    setGlobalNumCPU(options.numThreads);
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

void write(const Options& options, const std::shared_ptr<Mesh>& pMesh, OutputFile& output)
{
    // The library's PLY switch is reversed for compatibility: true gives the binary form.
    const bool bLibrarySwitch = !options.bAscii;
    if (!writeMesh_auto(output.workName(), pMesh, bLibrarySwitch))
        throw CommandError(ExitCode::FileTrouble,
                           "'" + options.out + "' could not be written whole. Is there free space?");
    output.commit();
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
    if (options.bQuiet)
        held.emplace();
    OutputFile output(options.out);

    Seconds seconds;
    Stopwatch watch;
    std::vector<Point3> vPoints = readCloud(options.in);
    seconds.reading = watch.lap();
    std::optional<ProgressBar> bar;
    if (!options.bQuiet)
        bar.emplace();
    const std::shared_ptr<Mesh> pMesh = reconstruct(options, vPoints);
    seconds.reconstruction = watch.lap();
    const ReportLines finished = finishMesh(options.finishing, pMesh);
    seconds.finishing = watch.lap();
    bar.reset();
    write(options, pMesh, output);
    seconds.writing = watch.lap();

    if (held)
        held->drop();
    else
        report(options, vPoints.size(), *pMesh, finished, seconds);
}

// CLI11's own range checks let NaN through.
std::string isPositive(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && std::isfinite(value) && value > 0.0 ? ""
                                                          : "must be a number above 0, is '" + text + "'";
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
        pCommand->add_option("--spacing", pOptions->spacing, "Cell size in units of the input")
            ->check(isPositive, "above 0");
    pCommand
        ->add_option("--spacing-factor", pOptions->spacingFactor,
                     "Cell size as a multiple of the detected spacing; noisy clouds like 1.5 to 3")
        ->check(isPositive, "above 0")
        ->capture_default_str()
        ->excludes(pSpacing);
    pCommand->add_option("--fill", pOptions->fill, "Largest gap to bridge, in cells; 0 bridges none")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    addFinishingOptions(*pCommand, pOptions->finishing);
    pCommand->add_option("--threads", pOptions->numThreads, "Worker threads; 0: as many as the hardware has")
        ->check(CLI::Range(0, 1024))
        ->capture_default_str();
    pCommand->add_flag("--ascii", pOptions->bAscii, "Write PLY as text; otherwise it is binary");
    pCommand->add_flag("--quiet", pOptions->bQuiet, "Say nothing unless it fails");

    pCommand->callback([pOptions] { run(*pOptions); });
}
