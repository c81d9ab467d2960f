// Subsystem: real mesh. Builds on: REdge, RTriangle. Used by: RMesh.
// A connected, consistently oriented set of triangles of an RMesh.
#pragma once

#include <string>
#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;
class RTriangle;
class Visualizer3;

// Valid until the next topological change of the mesh: triangles that die later stay members, so every reader
// goes by isAlive.
class RPatch
{
public:
    // id is for debug output only.
    RPatch(RMesh* pRMesh, int id);

    // The members, by creation number, are not told.
    RPatch(RMesh* pRMesh, int id, std::vector<RTriangle*> vMembers);

    // Makes the triangle a member and notes the patch in it; a second time has no effect. A triangle belongs
    // to one patch at most.
    void addTriangle(RTriangle* pRT);

    int getId() const { return id; }
    bool isAlive() const { return bAlive; }
    RMesh* getRMesh() const { return pRMesh; }
    size_t getNumAliveT() const;

    // The members, dead ones included, by creation number. The first call after an addition sorts.
    const std::vector<RTriangle*>& getTriangles();

    // All edges of the alive members, each once, by creation number. vRE must be empty.
    void getAllRE(std::vector<REdge*>& vRE) const;

    // Collects the edges that occur exactly once among the alive members.
    void setBoundary();
    const std::vector<REdge*>& getBoundary() const { return vBoundaryRE; } // by creation number

    // Debug scene: the edges by degree 1, 2, 3, 4; another degree gives a warning.
    void showDeg(Visualizer3* pVisualizer) const;

private:
    void collectEdgeSlots(std::vector<REdge*>& vRE) const;

    bool bAlive = true;
    int id;
    RMesh* pRMesh; // the owner of the patch
    std::vector<RTriangle*> vRT;
    bool bSorted = true; // vRT ascends by creation number
    std::vector<REdge*> vBoundaryRE;
};

} // namespace TESK_ZAN
