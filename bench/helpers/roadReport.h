// What all programs that run a whole road tell of it, as members of one line of JSON.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <vector>

// How the triangles of a mesh hang together by the indices of their corners.
struct MeshQuality {
    std::size_t numVertices = 0; // used ones
    std::size_t numDegree1 = 0;  // edges by the number of their triangles
    std::size_t numDegree2 = 0;
    std::size_t numDegree3 = 0;
    std::size_t numDegree4Up = 0;
    std::size_t numBadVertices = 0; // vertices whose triangles are not one fan or half-fan
    std::size_t numMisoriented = 0; // edges of degree 2 that both triangles run through in the same direction
    std::size_t numComponents = 0;  // triangles hang together by a common vertex
    std::size_t numBorderLoops = 0; // edges of degree 1 hang together by a common vertex
};

// vIndices: three a triangle, below numPoints. O(n log n).
MeshQuality qualityOf(std::size_t numPoints, const std::vector<std::uint32_t>& vIndices);

// The largest memory of the process up to now.
double peakBytes();

struct Costs {
    double seconds = 0.0;
    double cpuSeconds = 0.0; // of all threads together
    double bytes = 0.0;      // see peakBytes
};

// Runs from its construction on.
class Stopwatch
{
public:
    Stopwatch();
    Costs getCosts() const;

private:
    std::chrono::steady_clock::time_point start;
    std::clock_t cpuStart;
};

// "seconds", "cpu_seconds", "points_per_second", "peak_bytes" and "peak_bytes_per_point".
void printCosts(std::ostream& out, std::size_t numPoints, const Costs& costs);

// "quality" with all figures.
void printQuality(std::ostream& out, const MeshQuality& quality);
