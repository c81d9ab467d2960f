// Triangle files as loose corners, in the forms in which parts come: STL of both kinds, PLY, OBJ.
#pragma once

#include <zan/Point3.h>

#include <string>
#include <vector>

// Whether the ending of the name is one of those that readSoup takes.
bool isSoupName(const std::string& name);

// The corners of the triangles, three a triangle; never empty. Polygons of an OBJ become fans.
// Throws CommandError: no such file, not readable, not what its ending says, damaged, no triangles in it.
// An STL is binary if its size is the one that a binary header with its count announces; the word at the
// start tells nothing, for both kinds may begin with it.
std::vector<TESK_ZAN::Point3> readSoup(const std::string& name);
