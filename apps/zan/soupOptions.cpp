#include "soupOptions.h"

#include "CommandError.h"
#include "Report.h"
#include "runOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using TESK_ZAN::Point3;

namespace
{

constexpr double PROPOSED_SHARE = 0.01; // of the box diagonal

} // namespace

void addSoupOptions(CLI::App& command, SoupOptions& options)
{
    command.add_option("IN", options.in, "Triangles: .stl (text or binary), .ply or .obj")->required();
    command
        .add_option("--spacing", options.spacing,
                    "Cell size in units of the input; without, a hundredth of the box diagonal")
        ->type_name("S")
        ->check(isPositive);
    command
        .add_option("--feature-angle", options.featureAngle,
                    "Edges where the surface turns by more degrees than this stay sharp; 360: only borders")
        ->type_name("A")
        ->check(isNumber)
        ->capture_default_str();
}

double spacingFor(const SoupOptions& options, const std::vector<Point3>& vCorners)
{
    if (options.spacing)
        return *options.spacing;
    std::array<double, 3> low, high;
    low.fill(std::numeric_limits<double>::max());
    high.fill(std::numeric_limits<double>::lowest());
    for (const Point3& corner : vCorners) {
        const std::array<double, 3> xyz{corner.x(), corner.y(), corner.z()};
        if (!std::all_of(xyz.begin(), xyz.end(), [](double value) { return std::isfinite(value); }))
            continue;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], xyz[axis]);
            high[axis] = std::max(high[axis], xyz[axis]);
        }
    }
    const double diagonal = std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
    if (!(low[0] <= high[0]) || !(PROPOSED_SHARE * diagonal > 0.0))
        throw CommandError(ExitCode::NothingCameOut,
                           "the triangles of '" + options.in + "' have no extent to take a spacing from.");
    return PROPOSED_SHARE * diagonal;
}

void reportSoup(const SoupOptions& options, std::size_t numTriangles, double spacing, Report& report)
{
    report.addJson("input", options.in);
    report.add("input triangles", numTriangles);
    report.add("cell size",
               number(spacing, 6) + (options.spacing ? "" : " (a hundredth of the box diagonal)"), spacing);
}
