// Triangle soups for the programs that melt them: from a file or generated; and how near a mesh comes to the
// sharp edges of its soup.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

// Three corners a triangle, from .ply or .stl in its text form. Throws std::runtime_error.
std::vector<TESK_ZAN::Point3> readSoup(const std::string& name);

// A bumpy ball of about so many triangles, and a toothed wheel of a few long ones that runs through it.
std::vector<TESK_ZAN::Point3> generatedSoup(std::size_t numTriangles);

// Sum of the areas, and the diagonal of the box.
double areaOf(const std::vector<TESK_ZAN::Point3>& vCorners);
double diagonalOf(const std::vector<TESK_ZAN::Point3>& vCorners);

// Distances from points on the sharp edges of a soup to the nearest triangle of a mesh, in cells.
struct EdgeDistances {
    std::size_t numSamples = 0;
    double mean = 0.0;
    double percentile95 = 0.0;
    double max = 0.0;
};

// An edge of exactly two triangles is sharp if the surface turns by more than 30 degrees there. It is sampled
// every half cell. vIndices: of vPoints, three a triangle.
EdgeDistances sharpEdgeDistances(const std::vector<TESK_ZAN::Point3>& vCorners,
                                 const std::vector<TESK_ZAN::Point3>& vPoints,
                                 const std::vector<std::uint32_t>& vIndices, double cell);

// "sharp_edges" with all figures.
void printEdgeDistances(std::ostream& out, const EdgeDistances& distances);
