// Subsystem: real mesh. Builds on: RMesh, tesk_tools/FixedPower. Used by: REdgeEnergy.
// The difference of two colours as an eye sees it: CIE 1976 delta E.
#pragma once

#include "Point3.h"

#include <vector>

namespace TESK_ZAN
{

class RMesh;

// A colour in CIE L*a*b*, white point of daylight (D65).
struct LabColor {
    float L = 0.0f; // 0 to 100
    float a = 0.0f;
    float b = 0.0f;
};

// The colour of the point, taken as sRGB. A point without colour counts as black.
LabColor toLab(const Point3& p);

// Euclidean distance: about 2.3 can just be seen, black and white are 100 apart.
float colorDistance(const LabColor& c0, const LabColor& c1);
float colorDistance(const Point3& p0, const Point3& p1);

// The L*a*b* colours of all vertices of a mesh, for loops that compare each colour many times. A snapshot:
// vertices that are made or coloured later are not in it. 12 bytes a vertex; nothing on a mesh without
// colours.
class LabCache
{
public:
    // Linear, in parallel.
    explicit LabCache(const RMesh& mesh);

    // As colorDistance. Both must be vertices of the mesh with a colour.
    float distance(const Point3* pVtx0, const Point3* pVtx1) const;

private:
    std::vector<LabColor> vLab; // by the number of the vertex
};

} // namespace TESK_ZAN
