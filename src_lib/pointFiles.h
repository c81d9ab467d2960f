// Subsystem: files. Builds on: Point3, fileTypes, plyPoints, Visualizer3, messages. Used by: Cloud, hosts.
// Plain lists of points in text and binary files, the point-only reader of ASCII STL, and the dispatch by
// file name. Contracts: zan_api_functions.h.
//
// All readers append; after a failure vPoints holds what it held before. All say why they fail: the
// dispatchers on the complaint stream, the others on the message stream. Memory beyond the result: a block of
// fixed size and the longest line.
#pragma once

#include "Point3.h"
#include "zan_export.h"

#include <string>
#include <vector>

namespace TESK_ZAN
{

ZAN_EXPORT bool readPoints_auto(std::string& name, std::vector<Point3>& vPoints);
ZAN_EXPORT bool readPoints_ASCII(const char* name, std::vector<Point3>& vPoints);
ZAN_EXPORT bool readPoints_BIN(const char* name, std::vector<Point3>& vPoints);
ZAN_EXPORT bool readSTL_ASCII(const char* name, std::vector<Point3>& vPoints);

// readSTL_ASCII for whoever needs triangles: facets without exactly three vertices are left out, with a
// warning that counts them, and the words may be in capitals. False, and nothing appended, if the file ends
// within a facet; a warning if it does not end with "endsolid".
bool readSTLTriangles(const char* name, std::vector<Point3>& vPoints);

ZAN_EXPORT bool writePoints_auto(std::string& name, std::vector<Point3>& vPoints, bool bAscii);
ZAN_EXPORT bool writePoints_ASCII(const char* name, const std::vector<Point3>& vPoints);
ZAN_EXPORT bool writePoints_BIN(const char* name, std::vector<Point3>& vPoints);

} // namespace TESK_ZAN
