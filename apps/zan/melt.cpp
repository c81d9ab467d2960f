// zan melt: triangles of any condition in, clean triangles out.
#include "melt.h"

#include "CommandError.h"
#include "Job.h"
#include "commands.h"
#include "namedFiles.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>

using namespace TESK_ZAN;

namespace
{

constexpr const char* EXAMPLES =
    "Examples:\n"
    "  zan melt part.stl clean.ply                    cells of a hundredth of the box diagonal\n"
    "  zan melt part.stl clean.stl --spacing 0.2      cells of 0.2 units: walls must be thicker\n"
    "  zan melt art.obj clean.ply --feature-angle 360 keep no edge sharp but borders\n"
    "  zan melt part.stl light.ply --reduce inf 2     few triangles where the part is flat";

std::shared_ptr<Mesh> meltSoup(const MeltOptions& options, std::vector<Point3>& vCorners, double spacing)
{
    std::shared_ptr<Mesh> pMesh = melt(vCorners, spacing, options.soup.featureAngle);
    if (pMesh == nullptr || pMesh->getNumT() == 0)
        throw CommandError(ExitCode::NothingCameOut,
                           "no triangle came out of '" + options.soup.in +
                               "'. A message above may tell why; without one the spacing of " +
                               number(spacing, 6) + " is too large for it ('zan info' shows the extent).");
    return pMesh;
}

} // namespace

void runMelt(const MeltOptions& options)
{
    checkHoldsMesh(options.out);
    Job job(options.run, "melt", options.out);
    job.begin("reading", Job::Steps::None);
    std::vector<Point3> vCorners = readSoup(options.soup.in);
    const double spacing = spacingFor(options.soup, vCorners);
    job.begin("melting");
    const std::shared_ptr<Mesh> pMesh = meltSoup(options, vCorners, spacing);
    reportSoup(options.soup, vCorners.size() / 3, spacing, job.report());
    finishMesh(options.finishing, pMesh, job);
    job.report().add("triangles", pMesh->getNumT());
    job.write(pMesh);
    job.finish();
}

void addMelt(CLI::App& program)
{
    const auto pOptions = std::make_shared<MeltOptions>();
    CLI::App* pCommand =
        program.add_subcommand("melt", "Make a clean triangle mesh from triangles of any condition");
    addSoupOptions(*pCommand, pOptions->soup);
    pCommand->add_option("OUT", pOptions->out, "Mesh: .ply, .stl, .obj or .list")->required();
    addOutputOptions(*pCommand, pOptions->run);
    addFinishingOptions(*pCommand, pOptions->finishing);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer(EXAMPLES);
    pCommand->callback([pOptions] { runMelt(*pOptions); });
}
