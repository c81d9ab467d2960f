// A picture in the making: colours with a depth for each, and what can be drawn into it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

struct Rgb {
    float r = 0.0f, g = 0.0f, b = 0.0f; // 0 to 1
};

// A place on the picture: x to the right and y down in pixels, nearer with a larger depth.
struct Spot {
    double x = 0.0, y = 0.0, depth = 0.0;
};

// All draw what is nearer than what is there. Coordinates beyond the picture are cut off; they must be
// finite. Drawn at twice the size and averaged in the end, which makes edges smooth.
class Picture
{
public:
    Picture(int width, int height);

    int width() const { return wide; }
    int height() const { return high; }

    // Colours run evenly between the corners.
    void triangle(const std::array<Spot, 3>& corners, const std::array<Rgb, 3>& colors);

    // radius: half the width, in pixels. lift: added to the depth, so that a line on a surface is seen.
    void line(const Spot& from, const Spot& to, double radius, double lift, Rgb color);

    void dot(const Spot& centre, double radius, Rgb color);

    // Three bytes a pixel, row by row from the top.
    std::vector<std::uint8_t> bytes() const;

private:
    struct Pixel {
        Rgb color;
        float depth;
    };

    void put(int x, int y, double depth, Rgb color);
    void disc(const Spot& centre, double radius, Rgb color);

    const int wide, high;       // of the result
    std::vector<Pixel> vPixels; // four for each of the result
};
