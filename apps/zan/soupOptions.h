// How a command takes a triangle file that it samples anew: its options, and the spacing where none is given.
#pragma once

#include <zan/Point3.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

class Report;

// In degrees; tessellated curves turn by less from facet to facet.
constexpr double DEFAULT_FEATURE_ANGLE = 30.0;

struct SoupOptions {
    std::string in;
    std::optional<double> spacing;
    double featureAngle = DEFAULT_FEATURE_ANGLE;
};

// Defines IN, --spacing and --feature-angle. options must live as long as the command.
void addSoupOptions(CLI::App& command, SoupOptions& options);

// The given spacing, or a hundredth of the diagonal of the box around the corners that are finite. Throws
// CommandError if that is nothing.
double spacingFor(const SoupOptions& options, const std::vector<TESK_ZAN::Point3>& vCorners);

// The lines of the report that tell of the input.
void reportSoup(const SoupOptions& options, std::size_t numTriangles, double spacing, Report& report);
