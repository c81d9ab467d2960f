// Subsystem: files. Builds on: Point3, plyPoints (colour scales). Used by: loadFiles.
// Triangles out of Wavefront OBJ files.
#pragma once

#include "Point3.h"

#include <string>
#include <vector>

namespace TESK_ZAN
{

// Appends three corners a triangle; polygons become fans with the tip at their first corner. A vertex may
// have a colour behind its coordinates: three numbers, 0..1 or 0..255. Lines of other kinds are passed over.
// Throws std::runtime_error with the reason and, where there is one, the line; vCorners stays as it was then.
// Memory: twice the file.
void readObj(const std::string& name, std::vector<Point3>& vCorners);

} // namespace TESK_ZAN
