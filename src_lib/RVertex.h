// Subsystem: real mesh. Builds on: Point3, SmallVector. Used by: REdge, RTriangle, RMesh.
// The record behind a vertex of an RMesh, and the one order of vertices, edges and triangles.
#pragma once

#include "Point3.h"
#include "tesk_tools/SmallVector.h"
#include "tesk_tools/sortUnique.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace TESK_ZAN
{

// Callers see a vertex as Point3* only. Each such pointer into an RMesh is the first member of one of these
// records, so the way from the pointer to the record is a cast: no map, no hash.
struct RVertex {
    Point3 point;                                        // must stay first
    TESK_TOOLS::SmallVector<std::uint32_t, 8> vTNumbers; // the alive triangles here, in the order they came
    std::uint32_t number; // counts the vertices of the mesh in order of creation
};
static_assert(std::is_standard_layout_v<RVertex>, "a pointer to the first member must be one to the record");

// Only for vertices of an RMesh. Any other Point3 (a local, an element of a vector) has no record around it.
inline RVertex& recordOf(Point3* pVtx)
{
    return *reinterpret_cast<RVertex*>(pVtx);
}
inline const RVertex& recordOf(const Point3* pVtx)
{
    return *reinterpret_cast<const RVertex*>(pVtx);
}

// Addresses differ from run to run, so nothing is ordered by them: vertices, edges and triangles alike are
// ordered by the number that they got at their creation. After a take-over the vertex numbers ascend with the
// grid codes. Of the vertices of one mesh only.
inline std::uint32_t numberOf(const Point3* pVtx)
{
    return recordOf(pVtx).number;
}

// Sorts by number and drops repeated entries. T is a vertex, an edge or a triangle. O(n log n).
template <class T>
void sortUniqueByNumber(std::vector<T*>& v)
{
    TESK_TOOLS::sortUnique(v, [](const T* p0, const T* p1) { return numberOf(p0) < numberOf(p1); });
}

} // namespace TESK_ZAN
