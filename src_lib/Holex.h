// Subsystem: holes. Builds on: ChainMgr, Hole, HoleToCCD, Loop, Visualizer3. Used by: Top::fillHoles.
// The driver that sends each hole of a mesh on codes to the volumetric patch.
#pragma once

#include "HoleToCCD.h"
#include "Point3.h"
#include "definitions.h"

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace TESK_ZAN
{

class Hole;

// Experimental, beside the roads: it finds where the patches would lie and leaves the mesh as it is.
class Holex
{
public:
    // Needs checkCCD of the mesh (a failed condition otherwise). Neither is owned; both must outlive this.
    Holex(CMesh* pMesh, const Calc* pCalc);
    ~Holex();
    Holex(const Holex&) = delete;
    Holex& operator=(const Holex&) = delete;

    // Finds the holes and runs each. vPixels stays as it is, which a message says. True if there are holes.
    bool run(std::vector<Point3>& vPixels);

    // Makes a Hole of each closed border chain that is a good hole, and runs it.
    void determineHoles();

    // In the order of their chains.
    const std::vector<std::unique_ptr<Hole>>& getHoles() const { return vHoles; }

    // Ear cutting, as HoleToCCD does it.
    bool fill(Chain* pChain) { return filler.fill(pChain); }
    std::unique_ptr<CMesh> createBorderMesh(Chain* pChain, std::vector<CEdge*>& vBorderCE);
    static std::unique_ptr<Loop> createLoop(CMesh* pMesh, std::vector<CEdge*>& vBorderCE);
    const std::vector<CTriangle*>& getOwnT() const { return filler.getOwnT(); }

    // Writes debug scenes into the working folder: "holex_deg.list" with the edges by degree, a scene for
    // each chain, "holex_endR.list" and "holex_endC.list" with the cells found and the mesh. Off at first.
    void setWriteScenes(bool b) { bWriteScenes = b; }

private:
    void writeEdgesByDegree() const;
    void writeChain(const Chain& chain) const;
    void writeEnd() const;

    std::unique_ptr<ChainMgr> pChainMgr;
    CMesh* pOldMesh;   // not owned
    const Calc* pCalc; // not owned
    HoleToCCD filler;
    std::vector<std::unique_ptr<Hole>> vHoles;
    bool bWriteScenes = false;
};

} // namespace TESK_ZAN
