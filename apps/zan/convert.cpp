// zan convert: a file of one kind in, the same in another kind out.
#include "CommandError.h"
#include "Job.h"
#include "commands.h"
#include "namedFiles.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <memory>

using namespace TESK_ZAN;

namespace
{

struct Options {
    std::string in;
    std::string out;
    int colorColumn = 0; // none
    bool bCenter = false;
    RunOptions run;
};

void center(std::vector<Point3>& vPoints, Report& report)
{
    double offset[3];
    autoOffset(vPoints, offset[0], offset[1], offset[2]);
    constexpr int DIGITS = 17;
    report.add("moved by", number(-offset[0], DIGITS) + " " + number(-offset[1], DIGITS) + " " +
                               number(-offset[2], DIGITS));
}

void convertMesh(const Options& options, Job& job)
{
    job.begin("reading", Job::Steps::None);
    std::vector<Point3> vCorners = readSoup(options.in);
    if (options.bCenter)
        center(vCorners, job.report());
    job.begin("joining");
    const std::shared_ptr<Mesh> pMesh = meshFromTriangles(vCorners);
    if (pMesh == nullptr)
        throw CommandError(ExitCode::NothingCameOut,
                           "no triangle of '" + options.in + "' has three corners.");
    std::vector<Point3*> vVertices;
    pMesh->getPoints(vVertices);
    job.report().add("vertices", vVertices.size());
    if (isMeshName(options.out)) {
        job.report().add("triangles", pMesh->getNumT());
        job.write(pMesh);
        return;
    }
    std::vector<Point3> vPoints;
    vPoints.reserve(vVertices.size());
    for (const Point3* pVertex : vVertices)
        vPoints.push_back(*pVertex);
    job.write(vPoints);
}

void convertPoints(const Options& options, Job& job)
{
    job.begin("reading", Job::Steps::None);
    std::vector<Point3> vPoints = readCloud(options.in, options.colorColumn);
    if (options.bCenter)
        center(vPoints, job.report());
    job.report().add("points", vPoints.size());
    job.write(vPoints);
}

void run(const Options& options)
{
    const bool bTriangles = holdsTriangles(options.in);
    if (!isPointsName(options.out) && !isMeshName(options.out))
        checkHoldsMesh(options.out);
    if (!bTriangles && !isPointsName(options.out))
        throw CommandError(ExitCode::Usage, "'" + options.in + "' holds points, and '" + options.out +
                                                "' needs triangles. 'zan reconstruct' makes them.");
    Job job(options.run, "convert", options.out);
    job.report().addJson("input", options.in);
    if (bTriangles)
        convertMesh(options, job);
    else
        convertPoints(options, job);
    job.finish();
}

} // namespace

void addConvert(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        program.add_subcommand("convert", "Write points or triangles as another kind of file");
    pCommand
        ->add_option("IN", pOptions->in, "Points: .ply, .xyz, .txt, .asc, .bin. Triangles: .ply, .stl, .obj")
        ->required();
    pCommand
        ->add_option("OUT", pOptions->out,
                     "The same and .list. Triangles written as .xyz, .txt, .asc or .bin give their vertices")
        ->required();
    addColorColumn(*pCommand, pOptions->colorColumn);
    pCommand->add_flag("--center", pOptions->bCenter,
                       "Move the centre of the box to the origin and report by how much, for far map "
                       "coordinates");
    addOutputOptions(*pCommand, pOptions->run);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer(
        "Equal corners of triangles become one vertex; degenerate and repeated triangles are left "
        "out.\nColours stay where the kind of file can hold them.\n"
        "Examples:\n"
        "  zan convert part.stl part.ply\n"
        "  zan convert scan.txt scan.ply --color-column 4   text with x y z red green blue\n"
        "  zan convert far.ply near.ply --center            for programs that work in floats");
    pCommand->callback([pOptions] { run(*pOptions); });
}
