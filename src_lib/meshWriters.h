// Subsystem: real mesh. Builds on: RMesh, CMesh, Bundle, tinyply, numberText, messages. Used by: Mesh,
// debugging. Finished meshes into PLY, STL and OBJ. All writers report a file that can't be opened, a full
// disk and a failed close through the error report, and return false; a file that is cut short never counts
// as written.
#pragma once

#include "definitions.h"

#include <map>
#include <string>

namespace TESK_ZAN
{

class CMesh;
class RMesh;
struct Bundle;

namespace PLY
{

// Alive triangles only, vertices numbered by first use (those that no alive triangle uses do not appear),
// coordinates as float, always with RGBA columns: zeros for a vertex without colour. O(triangles).
bool writePly(RMesh* pRMesh, const std::string& name, bool bAscii);

// The same without colours, for looking at a mesh on codes. Each corner must have a bundle.
bool writePly(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name, bool bAscii);

} // namespace PLY

// The extensions: what Mesh and saveMesh offer beside the forms above.

// As PLY::writePly, but without colour columns if no corner has a colour, with text that brings the numbers
// back, and with doubles where floats would move a vertex by more than a thousandth of a cell. Vertices at
// different places have different floats.
bool writePlyFitting(const RMesh& mesh, const std::string& name, bool bAscii);

// writeSTL with all digits.
bool writeSTLExact(const RMesh& mesh, const std::string& name);

// Floats, little-endian, normals as in the text form. Vertices at different places have different floats,
// unless floats are far coarser than the mesh. False, after the error report, beyond 2^32 triangles.
bool writeSTLBinary(const RMesh& mesh, const std::string& name);

// Wavefront OBJ: vertices numbered by first use with 17 significant digits, colours from 0 to 1 behind them
// if any corner has one (white for a vertex without), then the faces.
bool writeObj(const RMesh& mesh, const std::string& name);

// ASCII STL with 10 significant digits; a degenerate triangle has the normal 0 0 0.
bool writeSTL(RMesh* pRMesh, const std::string& name);

// The same for a mesh on codes. A corner without a bundle is a failed condition (nothing is written then).
bool writeSTL(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name);

} // namespace TESK_ZAN
