// Subsystem: real mesh. Builds on: RTriangle, REdge. Used by: twistLines.
// Orients a surface without an orientation so that it disagrees along the shortest line.
#pragma once

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class RTriangle;

// vRT: all alive triangles of one component over edges of degree 2. Turns triangles so that the rest agree
// but for a line that is as short as possible, and returns true. Parts that hang on the rest by less than
// twice the line that it would take to open them are left as they are, and appended to vLooseT. False, with
// nothing turned, if it takes more than maxEdges edges, or if the component is too small to tell, or full of
// twists.
//
// Where the inside of a closed surface is joined to its outside through a narrow passage, the line is the way
// around the passage, wherever the triangles are at odds now. O(n) for each length of way that the flow of
// the cut takes, of which 20 are tried. Extension of 1.17.
bool orientByShortestCut(const std::vector<RTriangle*>& vRT, std::size_t maxEdges,
                         std::vector<RTriangle*>& vLooseT);

} // namespace TESK_ZAN
