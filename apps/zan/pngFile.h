// Pictures as PNG files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// vRgb: three bytes a pixel, row by row from the top. bSmall: colours are rounded until there are at most 256
// of them, which makes the file a third as large. Throws CommandError if it can't be written whole.
void writePng(const std::string& name, int width, int height, std::vector<std::uint8_t> vRgb, bool bSmall);
