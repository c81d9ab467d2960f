// zan cloud: triangles in, points on their surface out, one for each cell.
#include "CommandError.h"
#include "Job.h"
#include "commands.h"
#include "namedFiles.h"
#include "soupOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>

using namespace TESK_ZAN;

namespace
{

constexpr const char* EXAMPLES =
    "Examples:\n"
    "  zan cloud part.stl points.ply                  about a hundredth of the box diagonal apart\n"
    "  zan cloud part.stl points.xyz --spacing 0.2    about 0.2 units apart\n"
    "  zan cloud part.stl points.ply --bridge 6       and over gaps of 6 cells between its sheets";
constexpr int MAX_BRIDGE = 100; // in cells; the cost grows with its square

struct Options {
    SoupOptions soup;
    std::string out;
    int bridge = 0; // in cells; 0: none
    RunOptions run;
};

void run(const Options& options)
{
    checkHoldsPoints(options.out);
    Job job(options.run, "cloud", options.out);
    job.begin("reading", Job::Steps::None);
    std::vector<Point3> vCorners = readSoup(options.soup.in);
    const double spacing = spacingFor(options.soup, vCorners);
    job.begin("sampling");
    std::vector<Point3> vPoints;
    if (options.bridge > 0)
        fillGaps(vCorners, spacing, options.soup.featureAngle, options.bridge, vPoints);
    else
        toCloud(vCorners, spacing, options.soup.featureAngle, vPoints);
    if (vPoints.empty())
        throw CommandError(ExitCode::NothingCameOut,
                           "no point came out of '" + options.soup.in + "'; a message above may tell why.");
    reportSoup(options.soup, vCorners.size() / 3, spacing, job.report());
    job.report().add("points", vPoints.size());
    job.write(vPoints);
    job.finish();
}

} // namespace

void addCloud(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        program.add_subcommand("cloud", "Make an even point cloud from triangles of any condition");
    addSoupOptions(*pCommand, pOptions->soup);
    pCommand->add_option("OUT", pOptions->out, "Points: .ply, .xyz, .txt, .asc, .bin or .list")->required();
    addOutputOptions(*pCommand, pOptions->run);
    pCommand
        ->add_option("--bridge", pOptions->bridge,
                     "Bridge gaps between sheets, up to about this many cells wide; 0: none")
        ->check(CLI::Range(0, MAX_BRIDGE))
        ->capture_default_str();
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer(EXAMPLES);
    pCommand->callback([pOptions] { run(*pOptions); });
}
