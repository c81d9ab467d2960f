// Point clouds on known surfaces. Seeds are fixed: the same call gives the same points.
#pragma once

#include "Point3.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace zan_test
{

// spacing is sqrt(area / number of points) on curved shapes, the step on grids. distance is the signed
// distance to the ideal surface, negative inside; on open shapes the distance to the plane that holds them.
struct Shape {
    std::vector<TESK_ZAN::Point3> vPoints;
    double spacing = 0.0;
    std::function<double(const TESK_ZAN::Point3&)> distance;
};

// Even samplings. n is a goal: the spiral meets it, the others come close.
Shape sphere(size_t n, double radius = 1.0);                         // a spiral: no rows, no pole
Shape torus(size_t n, double majorR = 1.0, double minorR = 0.4);     // rings with one spacing, staggered
Shape boxSurface(int numSteps, double step);                         // a cube; edges and corners once
Shape planeGrid(int nx, int ny, double step);                        // in z = 0, from the origin
Shape planeWithHole(int nx, int ny, double step, double holeRadius); // a round hole in the middle
Shape twoSheets(int nx, int ny, double step, double gap);            // planes at z = 0 and z = gap

// Scatters every point evenly within a cube of half width amount.
void jitter(Shape& shape, double amount, std::uint64_t seed = 1);

// As a scanner would: about normally distributed, sigma on each axis.
void addNoise(Shape& shape, double sigma, std::uint64_t seed = 1);

// Other order, same points.
void shuffle(Shape& shape, std::uint64_t seed = 1);

// A colour for every point by its position in the box of all.
void colour(Shape& shape);

} // namespace zan_test
