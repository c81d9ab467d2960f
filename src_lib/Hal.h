// Subsystem: run. Builds on: CloudMgr, Voro, CMesh, RMesh, Mesh, gapBridging. Used by: zan_api_functions.
// The driver of one run: takes the bundles of the input side and carries them through the stages to a Mesh.
#pragma once

#include "Bundle.h"
#include "definitions.h"

#include <map>
#include <memory>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class Calc;
class CloudMgr;
class Mesh;
class Point3;
class RMesh;
class Top;
class Voro;

// Lives on the stack of an exported call, after its CloudMgr: the bundles and the Calc belong to the
// manager's cloud. Owns the combinatorial mesh. The Mesh that a run returns keeps no pointer into either.
class Hal
{
public:
    explicit Hal(CloudMgr* pCldMgr);
    ~Hal();
    Hal(const Hal&) = delete;
    Hal& operator=(const Hal&) = delete;

    // All stages of a reconstruction. Null, after an error message, when the input came to no bundle.
    std::shared_ptr<Mesh> reconstruct();

    // All stages of a melt. Null, after a warning, when the input came to no bundle.
    std::shared_ptr<Mesh> oneMelt();

    // Appends the points of the cloud in the order of their cells; none, after a warning, when the input came
    // to nothing. They belong to the cloud.
    void toCloud(std::vector<Point3*>& vOut);

    // As toCloud, but copies, and behind them in the order of their cells the points that bridge gaps between
    // sheets, see bridgeGaps. Extension of 1.17.
    void fillGaps(int growSteps, std::vector<Point3>& vOut);

    // The stages on codes alone, as for the points round a hole: the mesh belongs to this, and getCMesh gives
    // it too. Null, after an error message, when the input came to no bundle.
    CMesh* reconstructInHole();

    // The combinatorial mesh of the run; a failed condition before there is one, and after the real mesh has
    // taken it over.
    CMesh* getCMesh() const;

private:
    bool takeBundles();
    void extractSurface(void (Top::*runPasses)(Voro*));
    std::unique_ptr<RMesh> takeOverToRealMesh();
    static void makeManifold(RMesh& mesh);
    void closeGaps(RMesh& mesh) const;
    void tellCoverage(const RMesh& mesh) const;
    void takeBorders();
    bool isAtBorder(const Point3& p) const;

    CloudMgr* pCldMgr;     // not owned
    Calc* pCalc = nullptr; // the cloud's
    std::unique_ptr<CMesh> pCMesh;
    std::vector<Bundle*> vBundles;     // the cloud's, ascending by code
    std::map<u64, Bundle*> mCCDBundle; // the same by code
    std::vector<u64> vZeroCCD;         // codes of cells that no point fell into
    std::vector<u64> vBorderCCD;       // cells at borders of a soup, ascending
    bool bBodiesClosed = false;        // after a melt: see Top::boundsBodies
};

} // namespace TESK_ZAN
