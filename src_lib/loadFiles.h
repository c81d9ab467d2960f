// Subsystem: files. Builds on: Point3, fileTypes, pointFiles, plyForms, objFiles, messages. Used by: hosts,
// writeMesh. Files as they come from elsewhere, with all that a point can keep. Contracts:
// zan_api_functions.h.
#pragma once

#include "Point3.h"
#include "zan_export.h"

#include <string>
#include <vector>

namespace TESK_ZAN
{

ZAN_EXPORT bool loadPoints(const std::string& name, std::vector<Point3>& vPoints, int colorColumn);
ZAN_EXPORT bool loadTriangles(const std::string& name, std::vector<Point3>& vCorners);
ZAN_EXPORT bool savePoints(const std::string& name, std::vector<Point3>& vPoints, bool bAscii);

// By the ending, in whatever spelling.
bool isObjName(const std::string& name);

} // namespace TESK_ZAN
