#include "pngFile.h"

#include "CommandError.h"

#include <algorithm>
#include <array>

#include <png.h>

namespace
{

using Color = std::array<std::uint8_t, 3>;

constexpr std::size_t MAX_COLORS = 256; // that a byte can number

Color colorAt(const std::vector<std::uint8_t>& vRgb, std::size_t i)
{
    return {vRgb[3 * i], vRgb[3 * i + 1], vRgb[3 * i + 2]};
}

// Rounds the bytes to multiples of step, white staying white.
void coarsen(std::vector<std::uint8_t>& vRgb, int step)
{
    for (std::uint8_t& byte : vRgb)
        byte = static_cast<std::uint8_t>(std::min(255, (byte + step / 2) / step * step));
}

std::vector<Color> distinctColors(const std::vector<std::uint8_t>& vRgb)
{
    std::vector<Color> vColors(vRgb.size() / 3);
    for (std::size_t i = 0; i < vColors.size(); ++i)
        vColors[i] = colorAt(vRgb, i);
    std::sort(vColors.begin(), vColors.end());
    vColors.erase(std::unique(vColors.begin(), vColors.end()), vColors.end());
    return vColors;
}

void write(png_image& image, const std::string& name, const std::vector<std::uint8_t>& vPixels,
           const void* colorMap)
{
    constexpr int TRUE_COLORS = 0, DENSE_ROWS = 0;
    if (png_image_write_to_file(&image, name.c_str(), TRUE_COLORS, vPixels.data(), DENSE_ROWS, colorMap) == 0)
        throw CommandError(ExitCode::FileTrouble,
                           "the picture could not be written: " + std::string(image.message) + ".");
}

} // namespace

void writePng(const std::string& name, int width, int height, std::vector<std::uint8_t> vRgb, bool bSmall)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGB;
    if (!bSmall) {
        write(image, name, vRgb, nullptr);
        return;
    }
    constexpr int FIRST_STEP = 8, LAST_STEP = 64; // at most five values a channel
    std::vector<Color> vColors;
    for (int step = FIRST_STEP; step <= LAST_STEP && (vColors.empty() || vColors.size() > MAX_COLORS);
         step += FIRST_STEP) {
        coarsen(vRgb, step);
        vColors = distinctColors(vRgb);
    }
    std::vector<std::uint8_t> vNumbers(vRgb.size() / 3);
    for (std::size_t i = 0; i < vNumbers.size(); ++i) {
        const auto pos = std::lower_bound(vColors.begin(), vColors.end(), colorAt(vRgb, i));
        vNumbers[i] = static_cast<std::uint8_t>(pos - vColors.begin());
    }
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = static_cast<png_uint_32>(vColors.size());
    write(image, name, vNumbers, vColors.data());
}
