#include "HoleTrend.h"

#include "freeFunctions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t NUM_TERMS = 6;
constexpr std::size_t MIN_POINTS = 12;

// The surface is a height where its normals are this close to the axis: the cosine, for all but a few.
constexpr double MIN_COSINE = 0.2;
constexpr double PART_UPRIGHT = 0.7;

constexpr double MIN_PIVOT = 1e-9; // of a system whose diagonal is about 1

using Terms = std::array<double, NUM_TERMS>;
using System = std::array<std::array<double, NUM_TERMS + 1>, NUM_TERMS>; // the right side in the last column

Terms termsAt(double x, double y)
{
    return {1.0, x, y, x * x, x * y, y * y};
}

// By elimination with the largest pivot. False if the system is singular.
bool solve(System& m, double (&solution)[NUM_TERMS])
{
    for (std::size_t i = 0; i < NUM_TERMS; ++i) {
        std::size_t pivot = i;
        for (std::size_t row = i + 1; row < NUM_TERMS; ++row)
            if (std::fabs(m[row][i]) > std::fabs(m[pivot][i]))
                pivot = row;
        std::swap(m[i], m[pivot]);
        if (!(std::fabs(m[i][i]) > MIN_PIVOT))
            return false;
        for (std::size_t row = i + 1; row < NUM_TERMS; ++row) {
            const double factor = m[row][i] / m[i][i];
            for (std::size_t column = i; column <= NUM_TERMS; ++column)
                m[row][column] -= factor * m[i][column];
        }
    }
    for (std::size_t i = NUM_TERMS; i-- > 0;) {
        solution[i] = m[i][NUM_TERMS];
        for (std::size_t column = i + 1; column < NUM_TERMS; ++column)
            solution[i] -= m[i][column] * solution[column];
        solution[i] /= m[i][i];
    }
    return true;
}

} // namespace

HoleTrend::HoleTrend(const std::vector<Point3*>& vPoints, const std::vector<Vector3>& vNNV)
{
    bValid = vPoints.size() >= MIN_POINTS && setFrame(vPoints, vNNV) && fit(vPoints);
}

// The up axis is the mean normal; lengths are scaled to about 1.
bool HoleTrend::setFrame(const std::vector<Point3*>& vPoints, const std::vector<Vector3>& vNNV)
{
    Vector3 up;
    for (const Vector3& nnv : vNNV)
        up += nnv;
    if (!(up.length() > MIN_COSINE * static_cast<double>(vNNV.size())))
        return false;
    up = normalize(up);
    const auto numUpright =
        std::count_if(vNNV.begin(), vNNV.end(), [&up](const Vector3& nnv) { return nnv * up > MIN_COSINE; });
    if (static_cast<double>(numUpright) < PART_UPRIGHT * static_cast<double>(vNNV.size()))
        return false;
    const Vector3 helper = up.getMaxAbsIndex() == 0 ? Vector3(0.0, 1.0, 0.0) : Vector3(1.0, 0.0, 0.0);
    axes[0] = normalize(crossProd(up, helper));
    axes[1] = crossProd(up, axes[0]);
    axes[2] = up;

    double x = 0.0, y = 0.0, z = 0.0;
    for (const Point3* p : vPoints)
        p->addOwnCoords(x, y, z);
    const auto num = static_cast<double>(vPoints.size());
    origin.set(x / num, y / num, z / num);
    scale = 0.0;
    for (const Point3* p : vPoints)
        scale = std::max(scale, (*p - origin).length());
    return scale > 0.0;
}

bool HoleTrend::fit(const std::vector<Point3*>& vPoints)
{
    System m{};
    for (const Point3* p : vPoints) {
        const Vector3 local = (*p - origin) / scale;
        const Terms terms = termsAt(local * axes[0], local * axes[1]);
        for (std::size_t row = 0; row < NUM_TERMS; ++row) {
            for (std::size_t column = 0; column < NUM_TERMS; ++column)
                m[row][column] += terms[row] * terms[column];
            m[row][NUM_TERMS] += terms[row] * (local * axes[2]);
        }
    }
    for (auto& row : m)
        for (double& value : row)
            value /= static_cast<double>(vPoints.size());
    return solve(m, coefficients);
}

double HoleTrend::signedDistance(const Point3& point) const
{
    if (!bValid)
        return 0.0;
    const Vector3 local = (point - origin) / scale;
    const double x = local * axes[0], y = local * axes[1];
    const Terms terms = termsAt(x, y);
    double height = 0.0;
    for (std::size_t i = 0; i < NUM_TERMS; ++i)
        height += coefficients[i] * terms[i];
    const double slopeX = coefficients[1] + 2.0 * coefficients[3] * x + coefficients[4] * y;
    const double slopeY = coefficients[2] + coefficients[4] * x + 2.0 * coefficients[5] * y;
    return scale * (local * axes[2] - height) / std::sqrt(1.0 + slopeX * slopeX + slopeY * slopeY);
}

} // namespace TESK_ZAN
