// Subsystem: holes. Builds on: PlaneNet, geometry values. Used by: HolePatcher.
// A sheet over a closed loop, as a soap film would hang in it.
#pragma once

#include "PlaneNet.h"
#include "Point3.h"
#include "Vector3.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace TESK_ZAN
{

// Seen along its normal the loop must be a simple polygon, but for teeth of a few edges. Even triangles are
// made in that plane, about as wide as the loop's edges are long; then the loop goes back to its places, and
// the inner points follow it as far as their neighbours do: the shift is harmonic.
class Membrane
{
public:
    // In path order, each point once.
    explicit Membrane(const std::vector<const Point3*>& vLoop);

    // False if the loop is too large or too small for numbers, or no such polygon. isTaken: of two corners of
    // the loop, whether the sheet must do without an edge between them. About m sqrt(m) for m points.
    bool run(const std::function<bool(std::size_t, std::size_t)>& isTaken);

    // Behind the corners of the loop.
    const std::vector<Point3>& getInnerPoints() const { return vInner; }

    // Triangles of numbers of points; they run along the loop.
    const PlaneNet& getNet() const { return *oNet; }

private:
    bool makePolygon();
    bool smoothTeeth();
    Point3 lift(const PlanePoint& p) const;
    void place();

    std::vector<const Point3*> vLoop;
    Point3 origin;
    Vector3 ahead, aside; // as long as an edge of the loop on the average
    std::vector<PlanePoint> vPolygon;
    std::optional<PlaneNet> oNet;
    std::vector<Point3> vInner;
};

} // namespace TESK_ZAN
