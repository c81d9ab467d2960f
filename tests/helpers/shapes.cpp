#include "shapes.h"

#include "random.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>
#include <utility>

using TESK_ZAN::Point3;
using TESK_ZAN::Random;

namespace zan_test
{

namespace
{

constexpr double PI = std::numbers::pi;

double distanceToPlane(const Point3& p)
{
    return p.z();
}

// Signed distance to the cube [0, size]^3.
double distanceToCube(const Point3& p, double size)
{
    const double half = 0.5 * size;
    const double q[3] = {std::fabs(p.x() - half) - half, std::fabs(p.y() - half) - half,
                         std::fabs(p.z() - half) - half};
    double sqOutside = 0.0;
    for (double d : q)
        sqOutside += d > 0.0 ? d * d : 0.0;
    return std::sqrt(sqOutside) + std::min(std::max({q[0], q[1], q[2]}), 0.0);
}

} // namespace

Shape sphere(size_t n, double radius)
{
    Shape shape;
    shape.spacing = radius * std::sqrt(4.0 * PI / double(n));
    shape.distance = [radius](const Point3& p) {
        return std::sqrt(p.x() * p.x() + p.y() * p.y() + p.z() * p.z()) - radius;
    };
    const double turn = PI * (3.0 - std::sqrt(5.0)); // the golden angle
    for (size_t i = 0; i < n; ++i) {
        const double z = 1.0 - (2.0 * double(i) + 1.0) / double(n);
        const double r = std::sqrt(1.0 - z * z);
        const double angle = turn * double(i);
        shape.vPoints.emplace_back(radius * r * std::cos(angle), radius * r * std::sin(angle), radius * z);
    }
    return shape;
}

Shape torus(size_t n, double majorR, double minorR)
{
    Shape shape;
    const double area = 4.0 * PI * PI * majorR * minorR;
    shape.spacing = std::sqrt(area / double(n));
    shape.distance = [majorR, minorR](const Point3& p) {
        const double across = std::sqrt(p.x() * p.x() + p.y() * p.y()) - majorR;
        return std::sqrt(across * across + p.z() * p.z()) - minorR;
    };
    const int numRings = std::max(3, int(std::lround(2.0 * PI * minorR / shape.spacing)));
    for (int ring = 0; ring < numRings; ++ring) {
        const double v = 2.0 * PI * ring / numRings;
        const double r = majorR + minorR * std::cos(v);
        const int num = std::max(3, int(std::lround(2.0 * PI * r / shape.spacing)));
        for (int i = 0; i < num; ++i) {
            const double u = 2.0 * PI * (i + 0.5 * (ring % 2)) / num;
            shape.vPoints.emplace_back(r * std::cos(u), r * std::sin(u), minorR * std::sin(v));
        }
    }
    return shape;
}

Shape boxSurface(int numSteps, double step)
{
    Shape shape;
    shape.spacing = step;
    shape.distance = [size = numSteps * step](const Point3& p) { return distanceToCube(p, size); };
    const auto isEnd = [numSteps](int i) { return i == 0 || i == numSteps; };
    for (int x = 0; x <= numSteps; ++x)
        for (int y = 0; y <= numSteps; ++y)
            for (int z = 0; z <= numSteps; ++z)
                if (isEnd(x) || isEnd(y) || isEnd(z))
                    shape.vPoints.emplace_back(x * step, y * step, z * step);
    return shape;
}

Shape planeGrid(int nx, int ny, double step)
{
    return planeWithHole(nx, ny, step, -1.0);
}

Shape planeWithHole(int nx, int ny, double step, double holeRadius)
{
    Shape shape;
    shape.spacing = step;
    shape.distance = distanceToPlane;
    for (int x = 0; x < nx; ++x)
        for (int y = 0; y < ny; ++y) {
            const double fromMiddle = step * std::hypot(x - 0.5 * (nx - 1), y - 0.5 * (ny - 1));
            if (fromMiddle > holeRadius)
                shape.vPoints.emplace_back(x * step, y * step, 0.0);
        }
    return shape;
}

Shape twoSheets(int nx, int ny, double step, double gap)
{
    Shape shape = planeGrid(nx, ny, step);
    const size_t num = shape.vPoints.size();
    for (size_t i = 0; i < num; ++i)
        shape.vPoints.emplace_back(shape.vPoints[i].x(), shape.vPoints[i].y(), gap);
    shape.distance = [gap](const Point3& p) {
        return std::fabs(p.z()) < std::fabs(p.z() - gap) ? p.z() : p.z() - gap;
    };
    return shape;
}

void jitter(Shape& shape, double amount, std::uint64_t seed)
{
    Random random(seed);
    const auto shift = [&] { return amount * (2.0 * random.uniform() - 1.0); };
    for (Point3& p : shape.vPoints) {
        const double dx = shift();
        const double dy = shift();
        p.set(p.x() + dx, p.y() + dy, p.z() + shift());
    }
}

void addNoise(Shape& shape, double sigma, std::uint64_t seed)
{
    Random random(seed);
    const auto shift = [&] { // the sum of twelve even numbers has variance 1
        double sum = -6.0;
        for (int i = 0; i < 12; ++i)
            sum += random.uniform();
        return sigma * sum;
    };
    for (Point3& p : shape.vPoints) {
        const double dx = shift();
        const double dy = shift();
        p.set(p.x() + dx, p.y() + dy, p.z() + shift());
    }
}

void shuffle(Shape& shape, std::uint64_t seed)
{
    Random random(seed);
    for (size_t i = shape.vPoints.size(); i > 1; --i)
        std::swap(shape.vPoints[i - 1], shape.vPoints[random.below(std::uint32_t(i))]);
}

void colour(Shape& shape)
{
    double low[3] = {DBL_MAX, DBL_MAX, DBL_MAX};
    double high[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
    for (const Point3& p : shape.vPoints) {
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], c[axis]);
            high[axis] = std::max(high[axis], c[axis]);
        }
    }
    const auto byte = [&](double value, int axis) {
        const double size = high[axis] - low[axis];
        return static_cast<unsigned char>(size > 0.0 ? 255.0 * (value - low[axis]) / size : 0.0);
    };
    for (Point3& p : shape.vPoints)
        p.setColor(byte(p.x(), 0), byte(p.y(), 1), byte(p.z(), 2), 255);
}

} // namespace zan_test
