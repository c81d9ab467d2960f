// Subsystem: files. Builds on: Point3, tinyply, plyValues, plyPoints. Used by: loadFiles.
// PLY files with the habits that files from elsewhere have: colours without alpha, colours on triangles,
// polygons, vertex_index. All of these throw std::exception with the reason; the callers catch. Readers
// append, and leave the vector as it was when they throw.
#pragma once

#include "Point3.h"

#include <string>
#include <vector>

namespace TESK_ZAN::PLY
{

// The vertices. Colours need red, green and blue; alpha is 255 where the file has none. Bytes are taken as
// they are, other types are scaled to 0..255. A vertex whose four bytes are all 0 has no colour: that is how
// this library writes one without.
void loadPoints(const std::string& name, std::vector<Point3>& vPoints);

// Three corners a triangle, with the colours of their vertices. Polygons become fans with the tip at their
// first corner; faces of fewer than three corners give nothing. Faces are named vertex_indices or
// vertex_index. None, without a complaint, if the file has no faces.
void loadTriangles(const std::string& name, std::vector<Point3>& vCorners);

// Coordinates as doubles, but as floats where these lose nothing; colours if any point has one.
void savePoints(const std::string& name, const std::vector<Point3>& vPoints, bool bAscii);

} // namespace TESK_ZAN::PLY
