// Subsystem: mesh on codes. Builds on: definitions, Point3. Used by: intake, CMesh, Voro, RMesh, Hal.
// One kept cell with the point that stands for it.
#pragma once

#include "definitions.h"

namespace TESK_ZAN
{

class Point3;

// A plain record. Those of a cloud live in the cloud's pool, those that a CMesh makes belong to that mesh; a
// map from code to Bundle* mixes both, so nothing is ever deleted through such a map.
struct Bundle {
    Point3* pVtx = nullptr; // one of the input points in the cell, or the point that the mesh made; not owned
    CCD ccd = 0;            // the cell
};

} // namespace TESK_ZAN
