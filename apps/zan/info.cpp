// zan info: what is in a file, before anything is made of it.
#include "Job.h"
#include "commands.h"
#include "meshFigures.h"
#include "namedFiles.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

using namespace TESK_ZAN;

namespace
{

struct PointFigures {
    std::size_t numColoured = 0;
    std::size_t numNotFinite = 0;
    std::array<double, 3> min{}; // of the finite ones; below max in each axis if there are any
    std::array<double, 3> max{};
};

PointFigures figuresOfPoints(const std::vector<Point3>& vPoints)
{
    PointFigures figures;
    figures.min.fill(std::numeric_limits<double>::max());
    figures.max.fill(std::numeric_limits<double>::lowest());
    for (const Point3& point : vPoints) {
        figures.numColoured += point.hasColor() ? 1 : 0;
        const std::array<double, 3> xyz{point.x(), point.y(), point.z()};
        if (!std::all_of(xyz.begin(), xyz.end(), [](double value) { return std::isfinite(value); })) {
            ++figures.numNotFinite;
            continue;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            figures.min[axis] = std::min(figures.min[axis], xyz[axis]);
            figures.max[axis] = std::max(figures.max[axis], xyz[axis]);
        }
    }
    return figures;
}

// what: the points are.
void reportPoints(const std::string& what, const std::vector<Point3>& vPoints, Report& report)
{
    const PointFigures figures = figuresOfPoints(vPoints);
    report.add(what, vPoints.size());
    report.add("coloured", figures.numColoured);
    if (figures.numNotFinite > 0)
        report.add("not finite", figures.numNotFinite);
    if (figures.numNotFinite == vPoints.size())
        return;
    const std::array<std::string, 3> labels{"x", "y", "z"};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = figures.min[axis], high = figures.max[axis];
        report.addText(labels[axis],
                       number(low, 9) + " to " + number(high, 9) + ", extent " + number(high - low, 6));
        report.addJson("min_" + labels[axis], low);
        report.addJson("max_" + labels[axis], high);
    }
}

void reportTriangles(const std::vector<Point3>& vCorners, Report& report)
{
    const MeshFigures figures = figuresOf(vCorners);
    report.add("triangles", figures.numTriangles);
    report.add("degenerate", figures.numDegenerate);
    report.add("places of vertices", figures.numVertices);
    report.add("edges", figures.numEdges);
    report.add("border edges", figures.numBorder);
    report.add("non-manifold edges", figures.numNonManifold);
    report.add("components", figures.numComponents);
}

void reportSpacing(std::vector<Point3>& vPoints, Report& report)
{
    const double spacing = estimateAvgSpacing(vPoints);
    if (spacing > 0.0)
        report.add("estimated spacing", spacing, 6);
    else
        report.add("estimated spacing", "none", std::nan(""));
}

struct Options {
    std::string in;
    int colorColumn = 0; // none
    RunOptions run;
};

void run(const Options& options)
{
    Job job(options.run, "info", "");
    Report& report = job.report();
    report.addJson("input", options.in);
    job.begin("reading", Job::Steps::None);
    if (holdsTriangles(options.in)) {
        const std::vector<Point3> vCorners = readSoup(options.in);
        report.add("kind", std::string("triangles"));
        if (getFileType(options.in) == FT_PLY) // has vertices of its own, more than the triangles use maybe
            reportPoints("vertices", readCloud(options.in), report);
        else
            reportPoints("corners", vCorners, report);
        job.begin("looking", Job::Steps::None);
        reportTriangles(vCorners, report);
    } else {
        std::vector<Point3> vPoints = readCloud(options.in, options.colorColumn);
        report.add("kind", std::string("point cloud"));
        reportPoints("points", vPoints, report);
        job.begin("looking", Job::Steps::None);
        reportSpacing(vPoints, report);
    }
    job.finish();
}

} // namespace

void addInfo(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand = program.add_subcommand("info", "Show what a point or mesh file holds");
    pCommand
        ->add_option("FILE", pOptions->in,
                     "Points: .ply, .xyz, .txt, .asc, .bin. Triangles: .ply, .stl, .obj")
        ->required();
    addColorColumn(*pCommand, pOptions->colorColumn);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer("Examples:\n"
                     "  zan info scan.ply          points, box, colours, spacing\n"
                     "  zan info mesh.stl          triangles, border edges, components\n"
                     "  zan info mesh.ply --json   the same for scripts");
    pCommand->callback([pOptions] { run(*pOptions); });
}
