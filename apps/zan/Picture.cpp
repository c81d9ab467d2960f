#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

constexpr int FINE = 2; // pixels along an axis for each of the result
constexpr Rgb PAPER{1.0f, 1.0f, 1.0f};

// The range of pixels whose centres lie in [low, high], cut to [0, num).
std::pair<int, int> pixelRange(double low, double high, int num)
{
    const double first = std::clamp(std::ceil(low - 0.5), 0.0, double(num));
    const double behind = std::clamp(std::floor(high - 0.5) + 1.0, first, double(num));
    return {int(first), int(behind)};
}

Spot finer(const Spot& spot)
{
    return {FINE * spot.x, FINE * spot.y, spot.depth};
}

// Twice the area of the triangle, signed.
double area(const Spot& a, const Spot& b, double x, double y)
{
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

} // namespace

Picture::Picture(int width, int height)
    : wide(width), high(height), vPixels(std::size_t(FINE * wide) * std::size_t(FINE * high),
                                         Pixel{PAPER, -std::numeric_limits<float>::infinity()})
{
}

void Picture::put(int x, int y, double depth, Rgb color)
{
    Pixel& pixel = vPixels[std::size_t(y) * std::size_t(FINE * wide) + std::size_t(x)];
    if (float(depth) > pixel.depth)
        pixel = {color, float(depth)};
}

void Picture::triangle(const std::array<Spot, 3>& corners, const std::array<Rgb, 3>& colors)
{
    const Spot a = finer(corners[0]), b = finer(corners[1]), c = finer(corners[2]);
    const double whole = area(a, b, c.x, c.y);
    if (whole == 0.0)
        return;
    const auto [firstY, behindY] =
        pixelRange(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), FINE * high);
    const auto [firstX, behindX] =
        pixelRange(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), FINE * wide);
    for (int y = firstY; y < behindY; ++y) {
        for (int x = firstX; x < behindX; ++x) {
            const double wa = area(b, c, x + 0.5, y + 0.5) / whole;
            const double wb = area(c, a, x + 0.5, y + 0.5) / whole;
            const double wc = 1.0 - wa - wb;
            if (wa < 0.0 || wb < 0.0 || wc < 0.0)
                continue;
            const auto mix = [&](float Rgb::*channel) {
                return float(wa * colors[0].*channel + wb * colors[1].*channel + wc * colors[2].*channel);
            };
            put(x, y, wa * a.depth + wb * b.depth + wc * c.depth, {mix(&Rgb::r), mix(&Rgb::g), mix(&Rgb::b)});
        }
    }
}

void Picture::line(const Spot& from, const Spot& to, double radius, double lift, Rgb color)
{
    const Spot a = finer(from), b = finer(to);
    const double length = std::max(std::fabs(b.x - a.x), std::fabs(b.y - a.y));
    const int numSteps = 1 + int(std::min(length, 4.0 * FINE * std::max(wide, high)));
    for (int i = 0; i <= numSteps; ++i) {
        const double t = double(i) / numSteps;
        disc({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), a.depth + t * (b.depth - a.depth) + lift},
             FINE * radius, color);
    }
}

void Picture::dot(const Spot& centre, double radius, Rgb color)
{
    disc(finer(centre), FINE * radius, color);
}

void Picture::disc(const Spot& centre, double radius, Rgb color)
{
    const double reach = std::max(radius, 0.5); // at least one pixel
    const auto [firstY, behindY] = pixelRange(centre.y - reach, centre.y + reach, FINE * high);
    const auto [firstX, behindX] = pixelRange(centre.x - reach, centre.x + reach, FINE * wide);
    for (int y = firstY; y < behindY; ++y)
        for (int x = firstX; x < behindX; ++x)
            if (radius < 1.0 || std::hypot(x + 0.5 - centre.x, y + 0.5 - centre.y) <= radius)
                put(x, y, centre.depth, color);
}

std::vector<std::uint8_t> Picture::bytes() const
{
    std::vector<std::uint8_t> vBytes;
    vBytes.reserve(3 * std::size_t(wide) * std::size_t(high));
    const auto fine = [this](int x, int y) -> const Rgb& {
        return vPixels[std::size_t(y) * std::size_t(FINE * wide) + std::size_t(x)].color;
    };
    for (int y = 0; y < high; ++y) {
        for (int x = 0; x < wide; ++x) {
            for (float Rgb::*channel : {&Rgb::r, &Rgb::g, &Rgb::b}) {
                float sum = 0.0f;
                for (int k = 0; k < FINE * FINE; ++k)
                    sum += fine(FINE * x + k % FINE, FINE * y + k / FINE).*channel;
                const float mean = std::clamp(sum / float(FINE * FINE), 0.0f, 1.0f);
                vBytes.push_back(static_cast<std::uint8_t>(std::lround(255.0f * mean)));
            }
        }
    }
    return vBytes;
}
