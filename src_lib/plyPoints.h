// Subsystem: files. Builds on: Point3, tinyply, messages. Used by: pointFiles, Cloud, hosts.
// Points and triangle soups out of PLY files, and points into them, with the fixed vocabulary x y z, red
// green blue, alpha or scalar_Intensity, vertex_indices. Contracts of the exported calls:
// zan_api_functions.h.
#pragma once

#include "Point3.h"
#include "zan_export.h"

#include <string>
#include <vector>

namespace TESK_ZAN
{

// A colour on its way from the file to the bytes of a point, in whatever scale the file uses.
struct VtxColor {
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
    float a = 0.0f;
};

// Appends the vertices (bPointsOnly), or three points per face. False leaves vPoints as it was.
ZAN_EXPORT bool readPly(const char* name, bool bPointsOnly, std::vector<Point3>& vPoints);

// Coordinates only, as float; bAscii gives the text form.
ZAN_EXPORT bool writePointsPly(const std::string& name, std::vector<Point3>& vPoints, bool bAscii);

// Brings colours of a 0..1 scale, or of one that exceeds 255, to 0..255, rounded down; r, g, b with one
// factor, a with its own. Colours that lie within 0..255 already stay untouched. vColors must not be empty.
void adaptTo255(std::vector<VtxColor>& vColors);

// What a colour channel becomes in a point: truncated, modulo 256. NaN and values beyond 64 bits give 0.
unsigned char colorToByte(float value);

} // namespace TESK_ZAN
