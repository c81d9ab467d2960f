// Subsystem: holes. Builds on: CMesh, freeFunctions. Used by: Loop.
// A corner of a loop while the loop is triangulated: its neighbours and its inner angle.
#pragma once

#include "Vector3.h"
#include "definitions.h"

namespace TESK_ZAN
{

class CMesh;
class Point3;

// What a corner is good for.
enum CornerStatus {
    CS_USABLE = 1,  // its angle is below 179.9 degrees
    CS_FLAT = 2,    // flat or reflex, or its neighbours lie in one line with it
    CS_TWO_LEFT = 3 // both neighbours are the same entry
};

// Belongs to its Loop. Angles are in degrees and inner ones: below 180.0 where the loop is convex, seen
// against the normals of the triangles around. 720.0 stands for none.
class AngleEntry
{
public:
    // bBorderAngle: both loop edges at the corner have one triangle. A vertex without a point is a failed
    // condition.
    AngleEntry(CMesh* pMesh, u64 vcd, bool bBorderAngle);

    u64 getVCD() const { return vcd; }
    bool isAlive() const { return bAlive; }
    bool isBorderAngle() const { return bBorderAngle; }

    AngleEntry* getPrevAE() const { return pPrevAE; }
    AngleEntry* getNextAE() const { return pNextAE; }
    void setPrevAE(AngleEntry* p) { pPrevAE = p; }
    void setNextAE(AngleEntry* p) { pNextAE = p; }

    // Must be alive.
    void kill();

    // The angle with its status, fresh or as it was last computed. A corner that is no border angle has at
    // least 180.0 degrees. O(d log d) for d triangles at the corner.
    double getAngle(bool bRecompute, int& status);

    // The angle between the mean normals at the two neighbours, which are computed afresh. The three entries
    // must be alive and different.
    double getPrevNextDihedral();

    // The mean of the unit normals of the triangles at the corner, (1, 0, 0) if there is none. It makes sense
    // only where these run consistently.
    void getAvgNNV(Vector3& out, bool bRecompute);

    // The unit normal of the corner's plane as of the last fresh angle.
    const Vector3& getCrossProd() const { return crossProduct; }

private:
    double computeAngle();

    int status = CS_FLAT;
    CMesh* pMesh; // not owned, like the point
    u64 vcd;
    const Point3* pVtx;
    AngleEntry* pPrevAE = nullptr;
    AngleEntry* pNextAE = nullptr;
    double angle;
    Vector3 localNNV;
    Vector3 crossProduct;
    bool bAlive = true;
    bool bBorderAngle;
};

} // namespace TESK_ZAN
