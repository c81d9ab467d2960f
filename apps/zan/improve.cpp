// zan flip, reduce, smooth, holes: a mesh in, a better one out.
#include "Job.h"
#include "commands.h"
#include "finishing.h"
#include "meshFigures.h"
#include "namedFiles.h"
#include "runOptions.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace TESK_ZAN;

namespace
{

struct Options {
    std::string command;
    std::string in;
    std::string out;
    FinishingOptions steps;
    bool bBorders = false; // report the border edges before and after
    RunOptions run;
};

std::size_t numBorderEdges(const Mesh& mesh)
{
    std::vector<Point3*> vCorners;
    mesh.getTriangles(vCorners);
    std::vector<Point3> vCopies;
    vCopies.reserve(vCorners.size());
    for (const Point3* pCorner : vCorners)
        vCopies.push_back(*pCorner);
    return figuresOf(vCopies).numBorder;
}

void run(const Options& options)
{
    checkHoldsMesh(options.out);
    Job job(options.run, options.command, options.out);
    Report& report = job.report();
    report.addJson("input", options.in);
    job.begin("reading", Job::Steps::None);
    const std::shared_ptr<Mesh> pMesh = readMesh(options.in);
    report.add("input triangles", pMesh->getNumT());
    report.add("mean edge length", pMesh->getCellSize(), 6);
    if (options.bBorders)
        report.add("border edges before", numBorderEdges(*pMesh));
    finishMesh(options.steps, pMesh, job);
    if (options.bBorders)
        report.add("border edges", numBorderEdges(*pMesh));
    report.add("triangles", pMesh->getNumT());
    job.write(pMesh);
    job.finish();
}

// The command with what all four have; the caller adds its own options.
CLI::App* addCommand(CLI::App& program, const std::string& name, const std::string& what,
                     const std::shared_ptr<Options>& pOptions)
{
    CLI::App* pCommand = program.add_subcommand(name, what);
    pOptions->command = name;
    pCommand->add_option("IN", pOptions->in, "Mesh: .ply, .stl or .obj")->required();
    pCommand->add_option("OUT", pOptions->out, "Mesh: .ply, .stl, .obj or .list")->required();
    addOutputOptions(*pCommand, pOptions->run);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->callback([pOptions] { run(*pOptions); });
    return pCommand;
}

void addFlip(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        addCommand(program, "flip", "Turn edges so that the surface bends less; vertices stay", pOptions);
    pOptions->steps.bFlip = true;
    pCommand->add_flag("--anneal", pOptions->steps.bAnneal,
                       "Go on by simulated annealing: better for rough surfaces, some fifty times as long");
    pCommand->footer("Examples:\n"
                     "  zan flip mesh.ply straight.ply               sharp edges get straight\n"
                     "  zan flip mesh.stl straight.stl --anneal      the same, thoroughly");
}

void addReduce(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        addCommand(program, "reduce", "Make fewer triangles; the vertices that are left stay", pOptions);
    pOptions->steps.oReduceAngle = DEFAULT_REDUCE_ANGLE;
    addReduceLimits(*pCommand, pOptions->steps);
    pCommand->footer(
        "A cell is here the mean edge length of the mesh.\n"
        "Examples:\n"
        "  zan reduce mesh.ply light.ply                        where no triangle turns by more than 5 "
        "degrees\n"
        "  zan reduce mesh.ply light.ply --reduce-angle 20      much fewer\n"
        "  zan reduce mesh.ply light.ply --reduce-length 2c     no edge longer than two mean ones goes");
}

void addSmooth(CLI::App& program)
{
    constexpr int DEFAULT_ROUNDS = 3, MAX_ROUNDS = 100000;
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand = addCommand(program, "smooth",
                                    "Move each vertex to the mean of its neighbours; borders stay", pOptions);
    pOptions->steps.numSmooth = DEFAULT_ROUNDS;
    pCommand->add_option("--smooth,--rounds", pOptions->steps.numSmooth, "How often; each shrinks a little")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_ROUNDS))
        ->capture_default_str();
    pCommand->footer("Examples:\n"
                     "  zan smooth mesh.ply smooth.ply               three rounds\n"
                     "  zan smooth mesh.ply smooth.ply --rounds 10   for noisy scans");
}

void addHoles(CLI::App& program)
{
    constexpr int MAX_EDGES = 1'000'000'000;
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand =
        addCommand(program, "holes", "Close holes; the outer rim of an open surface stays", pOptions);
    pOptions->steps.oMaxEdges = 0;
    pOptions->bBorders = true;
    pCommand
        ->add_option("--close-holes,--max-edges", pOptions->steps.oMaxEdges,
                     "Only holes with at most N edges round them; 0: of any size")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_EDGES))
        ->default_str("0");
    pCommand->footer("Examples:\n"
                     "  zan holes mesh.ply closed.ply                  all holes\n"
                     "  zan holes mesh.ply closed.ply --max-edges 50   small ones only");
}

} // namespace

void addImprovements(CLI::App& program)
{
    addFlip(program);
    addReduce(program);
    addSmooth(program);
    addHoles(program);
}
