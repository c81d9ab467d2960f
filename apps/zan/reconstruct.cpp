// zan reconstruct: points in, triangles out.
#include "CommandError.h"
#include "Job.h"
#include "commands.h"
#include "finishing.h"
#include "melt.h"
#include "namedFiles.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

constexpr const char* EXAMPLES =
    "Examples:\n"
    "  zan reconstruct scan.ply mesh.ply                      detected spacing\n"
    "  zan reconstruct scan.xyz mesh.stl --spacing 0.05       cells of 0.05 units\n"
    "  zan reconstruct noisy.ply mesh.ply --spacing-factor 2 --smooth 3\n"
    "                                                         coarser cells and rounder for a noisy scan\n"
    "  zan reconstruct scan.ply mesh.ply --fill 20            bridge wide gaps\n"
    "  zan reconstruct scan.ply mesh.ply --close-holes 0      close all holes, keep outer rims\n"
    "  zan reconstruct scan.ply mesh.ply --reduce inf 5       few triangles where it is flat\n"
    "  zan reconstruct scan.xyz mesh.ply --color-column 4     text with x y z red green blue";

// Measured: 1 leaves pinholes in dense clouds (a closed statue of a million points) and far more loops in
// real scans; 2 joins the rims of two sheets six point spacings apart, which 1 keeps.
constexpr int DEFAULT_FILL = 2;

struct Options {
    std::string in;
    std::string out;
    int colorColumn = 0;           // none
    std::optional<double> spacing; // without: the detected one, times the factor
    double spacingFactor = 1.0;
    int fill = DEFAULT_FILL;
    bool bMelt = false; // the input is triangles
    FinishingOptions finishing;
    RunOptions run;
};

std::shared_ptr<Mesh> reconstruct(const Options& options, std::vector<Point3>& vPoints)
{
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

void run(const Options& options)
{
    checkHoldsMesh(options.out);
    Job job(options.run, "reconstruct", options.out);
    Report& report = job.report();
    report.addJson("input", options.in);
    job.begin("reading", Job::Steps::None);
    std::vector<Point3> vPoints = readCloud(options.in, options.colorColumn);
    report.add("points", vPoints.size());
    job.begin("reconstructing");
    const std::shared_ptr<Mesh> pMesh = reconstruct(options, vPoints);
    if (!options.spacing)
        report.add("detected spacing", pMesh->getCellSize() / options.spacingFactor, 6);
    report.add("cell size", pMesh->getCellSize(), 6);
    finishMesh(options.finishing, pMesh, job);
    report.add("triangles", pMesh->getNumT());
    job.write(pMesh);
    job.finish();
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
    pCommand->add_option("OUT", pOptions->out, "Mesh: .ply, .stl, .obj or .list")->required();

    CLI::Option* pSpacing =
        pCommand->add_option("-a,--spacing", pOptions->spacing, "Cell size in units of the input")
            ->type_name("S")
            ->check(isPositive);
    CLI::Option* pMelt = pCommand->add_flag("-m,--fmelt", pOptions->bMelt,
                                            "Take triangles instead of points, as 'zan melt' does");
    pCommand
        ->add_option("--spacing-factor", pOptions->spacingFactor,
                     "Cell size as a multiple of the detected spacing; noisy clouds like 1.5 to 3")
        ->type_name("F")
        ->check(isPositive)
        ->capture_default_str()
        ->excludes(pSpacing)
        ->excludes(pMelt);
    pCommand->add_option("--fill", pOptions->fill, "Largest gap to bridge, in cells; 0 bridges none")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str()
        ->excludes(pMelt);
    addColorColumn(*pCommand, pOptions->colorColumn)->excludes(pMelt);
    addOutputOptions(*pCommand, pOptions->run);
    addFinishingOptions(*pCommand, pOptions->finishing);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer(EXAMPLES);
    pCommand->callback([pOptions] {
        if (pOptions->bMelt)
            runMelt(meltOptions(*pOptions));
        else
            run(*pOptions);
    });
}
