// From where a scene is looked at.
#pragma once

#include "Picture.h"

#include <zan/Point3.h>

#include <vector>

// Parallel lines of sight, the axis z upright on the picture. Azimuth 0 looks along y, from in front; with 90
// the scene is seen from its positive x side; a positive elevation looks down on it. In degrees.
class View
{
public:
    View(double azimuthDeg, double elevationDeg);

    // Grows the box that is seen. Points that are not finite don't count.
    void include(const std::vector<TESK_ZAN::Point3>& vPoints);

    // False if nothing finite was included, or what was is too large for numbers.
    bool isUsable() const;

    // Lays the box into the middle of these pixels, with a margin.
    void fit(int left, int width, int height);

    Spot spotOf(const TESK_ZAN::Point3& p) const;

    // The part of a unit normal that points at the eye, to the right and up.
    TESK_ZAN::Vector3 turned(const TESK_ZAN::Vector3& nnv) const;

    // The depths of what was included.
    double nearest() const { return high[2]; }
    double farthest() const { return low[2]; }

private:
    std::array<double, 3> along(double x, double y, double z) const; // right, up, towards the eye

    TESK_ZAN::Vector3 right, up, towards; // unit vectors
    std::array<double, 3> low, high;      // of the box, along these
    double scale = 1.0, middleX = 0.0, middleY = 0.0;
};
