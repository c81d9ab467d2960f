#include "View.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

using TESK_ZAN::Point3;
using TESK_ZAN::Vector3;

View::View(double azimuthDeg, double elevationDeg)
{
    const double azimuth = azimuthDeg * std::numbers::pi / 180.0;
    const double elevation = elevationDeg * std::numbers::pi / 180.0;
    const double s = std::sin(azimuth), c = std::cos(azimuth);
    right = Vector3(c, s, 0.0);
    towards = Vector3(s * std::cos(elevation), -c * std::cos(elevation), std::sin(elevation));
    up = Vector3(-s * std::sin(elevation), c * std::sin(elevation), std::cos(elevation));
    low.fill(std::numeric_limits<double>::max());
    high.fill(std::numeric_limits<double>::lowest());
}

std::array<double, 3> View::along(double x, double y, double z) const
{
    const auto dot = [&](const Vector3& axis) { return axis.x() * x + axis.y() * y + axis.z() * z; };
    return {dot(right), dot(up), dot(towards)};
}

void View::include(const std::vector<Point3>& vPoints)
{
    for (const Point3& p : vPoints) {
        if (!p.isFinite())
            continue;
        const std::array<double, 3> place = along(p.x(), p.y(), p.z());
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], place[axis]);
            high[axis] = std::max(high[axis], place[axis]);
        }
    }
}

bool View::isUsable() const
{
    constexpr double LARGEST = 1e150; // differences of products stay finite
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!(low[axis] <= high[axis] && -LARGEST < low[axis] && high[axis] < LARGEST))
            return false;
    return true;
}

void View::fit(int left, int width, int height)
{
    constexpr double USED = 0.92; // of the pixels
    const double extentX = high[0] - low[0], extentY = high[1] - low[1];
    scale = std::min(USED * width / std::max(extentX, 1e-300), USED * height / std::max(extentY, 1e-300));
    middleX = left + 0.5 * width - scale * 0.5 * (low[0] + high[0]);
    middleY = 0.5 * height + scale * 0.5 * (low[1] + high[1]);
    if (!std::isfinite(scale) || !std::isfinite(middleX) || !std::isfinite(middleY)) { // a single place
        scale = 0.0;
        middleX = left + 0.5 * width;
        middleY = 0.5 * height;
    }
}

Spot View::spotOf(const Point3& p) const
{
    const std::array<double, 3> place = along(p.x(), p.y(), p.z());
    return {middleX + scale * place[0], middleY - scale * place[1], place[2] - low[2]};
}

Vector3 View::turned(const Vector3& nnv) const
{
    const std::array<double, 3> parts = along(nnv.x(), nnv.y(), nnv.z());
    return Vector3(parts[0], parts[1], parts[2]);
}
