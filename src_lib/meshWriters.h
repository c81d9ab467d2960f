// Subsystem: real mesh. Builds on: RMesh, CMesh, Bundle, tinyply, numberText, messages. Used by: Mesh,
// debugging. Finished meshes into PLY and ASCII STL. All writers report a file that can't be opened, a full
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

// ASCII STL with 10 significant digits; a degenerate triangle has the normal 0 0 0.
bool writeSTL(RMesh* pRMesh, const std::string& name);

// The same for a mesh on codes. A corner without a bundle is a failed condition (nothing is written then).
bool writeSTL(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name);

} // namespace TESK_ZAN
