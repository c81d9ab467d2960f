// Files by their names: reading what a command was given, with the checks that turn trouble into advice.
#pragma once

#include <zan/Mesh.h>
#include <zan/Point3.h>

#include <memory>
#include <string>
#include <vector>

// The input name that stands for the built-in sample scan; no file of this name is read.
inline const std::string SAMPLE_NAME = "artificial123.xyz";

// The points of a cloud file, or of the sample, or the vertices of a PLY mesh. Never empty. colorColumn: of a
// text file the column where red stands, 0 for none.
// Throws CommandError: no such file, not readable, not a type that holds points, no points in it.
std::vector<TESK_ZAN::Point3> readCloud(const std::string& name, int colorColumn = 0);

// The corners of the triangles, three a triangle; never empty. Throws CommandError as above.
std::vector<TESK_ZAN::Point3> readSoup(const std::string& name);

// The triangles as a mesh. Throws CommandError as above.
std::shared_ptr<TESK_ZAN::Mesh> readMesh(const std::string& name);

// Whether there are triangles in it: by the ending, and for PLY, which can hold either, by the header. False
// when that cannot be read.
bool holdsTriangles(const std::string& name);

// Throws CommandError unless the ending of the name tells a form in which such things are written.
void checkHoldsMesh(const std::string& outName);
void checkHoldsPoints(const std::string& outName);
bool isMeshName(const std::string& outName);
bool isPointsName(const std::string& outName);
