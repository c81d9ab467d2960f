// Subsystem: holes. Builds on: CMesh. Used by: PolygonFiller, HolePatcher.
// The corners of a border loop.
#pragma once

#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;

// vVCD: replaced by the corners in path order, so that triangles which fill the loop run along it: the loop
// is turned round if the triangles beside it do. False if the edges are no closed path with one triangle
// each, all on one side; vVCD is of no use then.
bool getLoopCorners(const CMesh& mesh, const std::vector<CEdge*>& vLoopCE, std::vector<u64>& vVCD);

} // namespace TESK_ZAN
