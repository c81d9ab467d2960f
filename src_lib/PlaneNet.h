// Subsystem: holes. Builds on: the standard library. Used by: Membrane.
// Even triangles in a polygon of the plane.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

struct PlanePoint {
    double x, y;
};

// A Delaunay triangulation within a polygon, with the polygon's sides as its border. Points 0 to n - 1 are
// the polygon's corners, which stay; inner points follow. Triangles run counter-clockwise.
class PlaneNet
{
public:
    // Counter-clockwise. Lengths should be about 1.
    explicit PlaneNet(const std::vector<PlanePoint>& vPolygon);

    // True if no side meets another one but in the corner between them. About n log n for round polygons.
    static bool isSimple(const std::vector<PlanePoint>& vPolygon);

    // Triangles between the corners only. False if the polygon is not simple. n times the corners that turn
    // inward.
    bool triangulate();

    // Adds inner points until triangles have sides of about this length, or there are maxPoints; then spreads
    // them evenly. n log n in the points.
    void refine(double size, std::size_t maxPoints);

    // Puts a point on each inner edge between two corners for which isTaken is true.
    void splitChords(const std::function<bool(std::size_t, std::size_t)>& isTaken);

    const std::vector<PlanePoint>& getPoints() const { return vPoints; }
    std::size_t getNumTriangles() const { return vTri.size(); }
    const std::array<std::size_t, 3>& getTriangle(std::size_t i) const { return vTri[i].corners; }

private:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    struct Tri {
        std::array<std::size_t, 3> corners;
        std::array<std::size_t, 3> neighbours = {NONE, NONE, NONE}; // opposite the corners
    };

    bool isEar(std::size_t prev, std::size_t corner, std::size_t next,
               const std::vector<std::size_t>& vReflex) const;
    double orient(std::size_t a, std::size_t b, std::size_t c) const;
    bool isTooLarge(const Tri& tri, double size) const;
    void linkNeighbours();
    void replaceNeighbour(std::size_t tri, std::size_t oldNeighbour, std::size_t newNeighbour);
    std::size_t slotOf(std::size_t tri, std::size_t neighbour) const;
    void splitAt(std::size_t tri, const PlanePoint& point);
    void splitSide(std::size_t tri, std::size_t slot);
    void pushSides(std::size_t tri);
    void flipAll();
    bool tryFlip(std::size_t tri, std::size_t slot);
    void evenOut();
    void keepPositive(std::vector<PlanePoint>& vMoved) const;

    std::size_t numCorners;
    std::vector<PlanePoint> vPoints;
    std::vector<Tri> vTri;
    std::vector<std::pair<std::size_t, std::size_t>> vToTest; // triangle and slot
};

} // namespace TESK_ZAN
