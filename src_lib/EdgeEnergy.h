// Subsystem: mesh on codes. Builds on: CMesh, freeFunctions. Used by: Top. What a flip of one edge of the
// mesh on codes would gain: how much straighter the surface becomes at the edge and the four around it.
#pragma once

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class Point3;

// A plain record, cheap to copy; about a microsecond for each evaluation.
class EdgeEnergy
{
public:
    // Computes at once if pCE is not null. Neither is owned.
    EdgeEnergy(CMesh* pMesh, CEdge* pCE);

    CEdge* getEdge() const { return pCE; }

    // Positive if the flip is an improvement, in powers (0.3) of input units; -DBL_MAX if it is impossible or
    // forbidden, as before the first compute.
    double getImprovement() const { return improvement; }

    // Evaluates the edge anew. May change the mesh in two ways: the second triangle is flipped to agree with
    // the first, and two opposite corners at the same place are moved apart.
    void compute();

    // The cosine of the largest inner angle of the triangle. Points of which two are equal are a failed
    // condition, after a report of the points and of the mesh.
    double getMinCosPhi(const Point3* p0, const Point3* p1, const Point3* p2) const;

private:
    CMesh* pMesh;
    CEdge* pCE;
    double improvement;
};

} // namespace TESK_ZAN
