// zan info: what is in a file, before anything is made of it.
#include "CommandError.h"
#include "ProgressBar.h"
#include "commands.h"
#include "inputFiles.h"
#include "meshFigures.h"
#include "report.h"
#include "soupFiles.h"

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

void reportPoints(const std::vector<Point3>& vPoints)
{
    const PointFigures figures = figuresOfPoints(vPoints);
    reportLine("coloured", figures.numColoured);
    if (figures.numNotFinite > 0)
        reportLine("not finite", figures.numNotFinite);
    if (figures.numNotFinite == vPoints.size())
        return;
    const std::array<const char*, 3> labels{"x", "y", "z"};
    for (std::size_t axis = 0; axis < 3; ++axis)
        reportLine(labels[axis], number(figures.min[axis], 9) + " to " + number(figures.max[axis], 9) +
                                     ", extent " + number(figures.max[axis] - figures.min[axis], 6));
}

void infoOfMesh(const std::vector<Point3>& vCorners)
{
    const MeshFigures figures = figuresOf(vCorners);
    reportLine("triangles", figures.numTriangles);
    reportLine("degenerate", figures.numDegenerate);
    reportLine("places of vertices", figures.numVertices);
    reportLine("edges", figures.numEdges);
    reportLine("border edges", figures.numBorder);
    reportLine("non-manifold edges", figures.numNonManifold);
    reportLine("components", figures.numComponents);
}

void infoOfCloud(std::vector<Point3>& vPoints)
{
    const ProgressBar bar;
    const double spacing = estimateAvgSpacing(vPoints);
    reportLine("estimated spacing", spacing > 0.0 ? number(spacing, 6) : "none");
}

void run(const std::string& name)
{
    if (isSoupName(name) && getFileType(name) != FT_PLY) { // a PLY can hold either
        const std::vector<Point3> vCorners = readSoup(name);
        reportLine("kind", "triangles");
        reportPoints(vCorners);
        infoOfMesh(vCorners);
        return;
    }
    std::vector<Point3> vPoints = readCloud(name);
    const bool bMesh = getFileType(name) == FT_PLY && plyHasFaces(name);
    reportLine("kind", bMesh ? "triangle mesh" : "point cloud");
    reportLine(bMesh ? "vertices" : "points", vPoints.size());
    reportPoints(vPoints);
    if (bMesh)
        infoOfMesh(readSoup(name));
    else
        infoOfCloud(vPoints);
}

} // namespace

void addInfo(CLI::App& program)
{
    const auto pName = std::make_shared<std::string>();
    CLI::App* pCommand = program.add_subcommand("info", "Show what a point or mesh file holds");
    pCommand->add_option("FILE", *pName, "Points: .ply, .xyz, .txt, .asc, .bin. Triangles: .ply, .stl, .obj")
        ->required();
    pCommand->callback([pName] { run(*pName); });
}
