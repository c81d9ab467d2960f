// Subsystem: intake. Builds on: Point3Hash, SideForest, sortMT. Used by: Hal.
// Tells which places lie inside the bodies that a soup of triangles bounds.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// A shell is a set of triangles that hang together over edges, nearly all of which have an even number of
// them. Without regard to its winding a place is inside a shell if a ray from there crosses it an odd number
// of times. A shell that lies within others and is wound the other way than the largest of them is a cavity.
// Inside the bodies is what lies within more other shells than cavities; so bodies that cross count as one.
//
// What ends somewhere, if only in cracks as where corners were rounded, is the first shell. Nobody knows
// which of it is a cavity, so what lies within it changes sides. Triangles with a coordinate that is not
// finite are left out. Extension of 1.17.
class SoupBodies
{
public:
    // Three corners a triangle; they must stay while this lives. n log n; linear for one shell but for a
    // sort.
    explicit SoupBodies(const std::vector<Point3>& vCorners);

    // For each of the places 1 if it is inside for two of three rays, one along each axis, else 0. With
    // closed shells all three agree, but for places on a triangle; a hole or a triangle too much confuses
    // only the rays that go through it. Linear in the triangles, the bands of places that they meet (of n
    // places there are about the root of n), and the crossings; n log n in the places.
    std::vector<char> findInside(const std::vector<Point3>& vPlaces) const;

private:
    using Index = std::uint32_t;

    struct Shell {
        Point3 origin;       // of volumes
        double volume = 0.0; // positive if most of it faces outward
        bool bCavity = false;
    };
    // A ray crosses a triangle of a shell.
    struct Crossing {
        Index ray; // by its place
        Index shell;
    };

    void findShells();
    void findCavities();
    std::vector<Point3> samplesOf(std::vector<Index>& vShellOfSample) const;
    void getCrossings(const std::vector<Point3>& vPlaces, std::size_t axis,
                      std::vector<Crossing>& vCrossings) const;

    const std::vector<Point3>& vCorners;
    std::vector<Index> vShellOfT; // NO_SHELL for triangles that are left out
    std::vector<Shell> vShells;
};

} // namespace TESK_ZAN
