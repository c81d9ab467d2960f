#include "Hal.h"

#include "CMesh.h"
#include "Calc.h"
#include "CloudMgr.h"
#include "Mesh.h"
#include "Progress.h"
#include "RMesh.h"
#include "RTop.h"
#include "SoupBodies.h"
#include "Top.h"
#include "Voro.h"
#include "gapBridging.h"
#include "manifoldRepair.h"
#include "messages.h"
#include "orientOutward.h"
#include "pinholes.h"
#include "pointCoverage.h"
#include "rimGrowth.h"
#include "shapeRepair.h"
#include "sheetBacks.h"
#include "smallHoles.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"
#include "zan_api_functions.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <string>

namespace TESK_ZAN
{

namespace
{

constexpr int SMOOTH_ROUNDS = 5;
constexpr size_t MAX_CRACK_EDGES = 150;  // of a melt: the cost is cubic in this
constexpr double MELT_SHIFT_CELLS = 0.3; // a soup is no noisy cloud: its edges are where they are
constexpr double WORTH_A_WARNING = 0.03; // of the points
constexpr double MAX_GAP_EDGES = 12.0;   // of a reconstruction: what is larger is no fault of a few cells

} // namespace

Hal::Hal(CloudMgr* pCldMgr_) : pCldMgr(pCldMgr_) {}

Hal::~Hal() = default;

std::shared_ptr<Mesh> Hal::reconstruct()
{
    if (!takeBundles()) {
        ZAN_ERROR("Nothing to do (bad input? wrong resolution?)");
        return {};
    }
    extractSurface(&Top::runReconstruct);
    std::unique_ptr<RMesh> pRMesh = takeOverToRealMesh();
    // The points of added cells are at the cells' centres: not yet on the surface, and without colour.
    pRMesh->smoothZeros(SMOOTH_ROUNDS);
    pRMesh->colorizeFilledHoles();
    const auto pMesh = std::make_shared<Mesh>(pRMesh.release());
    edgeFlips(pMesh);
    edgeFlips(pMesh); // the edges that the first round has made
    makeManifold(*pMesh->getRMesh());
    closeGaps(*pMesh->getRMesh());
    repairShapes(*pMesh->getRMesh());
    growRims(*pMesh->getRMesh(), pCldMgr->getRimPoints());
    orientOutward(*pMesh->getRMesh());
    tellCoverage(*pMesh->getRMesh());
    return pMesh;
}

// Scattered points and parts that are sparser than the rest fall to the cleaning, which nobody may
// notice.
void Hal::tellCoverage(const RMesh& mesh) const
{
    const double share = shareOutOfReach(mesh, pCldMgr->getInputPoints());
    if (share < WORTH_A_WARNING)
        return;
    ZAN_WARNING("about " + std::to_string(std::lround(100.0 * share)) +
                " % of the points are more than a cell away from the surface: they are too sparse or too "
                "scattered for this spacing; twice the spacing (spacing factor 2) reaches more of them");
}

std::shared_ptr<Mesh> Hal::oneMelt()
{
    if (!takeBundles()) {
        ZAN_WARNING("MELT: Nothing to do");
        return {};
    }
    takeBorders();
    extractSurface(&Top::runMelt);
    std::unique_ptr<RMesh> pRMesh = takeOverToRealMesh();
    makeManifold(*pRMesh);
    // Unlike a scan, triangles tell where they end: a border elsewhere comes of the cells. Where sheets meet
    // at a sharp angle, or are less than a cell apart, the passes on codes can take too much, or leave one
    // sheet.
    const auto isMeant = [this](const Point3& p) { return isAtBorder(p); };
    closeSmallHoles(*pRMesh, MAX_CRACK_EDGES, isMeant);
    orientOutward(*pRMesh);
    closeThinSheets(*pRMesh, bBodiesClosed, isMeant);
    repairShapes(*pRMesh, MELT_SHIFT_CELLS);
    return std::make_shared<Mesh>(pRMesh.release());
}

void Hal::toCloud(std::vector<Point3*>& vOut)
{
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("hal-part", 2);
    pCldMgr->getBundles(vBundles, pCalc, vZeroCCD);
    pProgress->tick();
    if (vBundles.empty())
        ZAN_WARNING("toCloud: Nothing to do");
    vOut.reserve(vOut.size() + vBundles.size());
    for (const Bundle* pBundle : vBundles)
        vOut.push_back(pBundle->pVtx);
    pProgress->tick();
    pProgress->finish(true);
}

void Hal::fillGaps(int growSteps, std::vector<Point3>& vOut)
{
    zanAssertText(growSteps > 0, "numGrowSteps>0");
    std::vector<Point3*> vPoints;
    toCloud(vPoints);
    if (vPoints.empty())
        return;
    CellPoints vCells, vBridges;
    transformMT(vBundles, vCells, [](const Bundle* pBundle) {
        return std::make_pair(Calc::ccdToRCD(pBundle->ccd), *pBundle->pVtx);
    });
    sortMT(vCells.begin(), vCells.end());
    takeBorders();
    bridgeGaps(growSteps, vCells, vBorderCCD, pCalc, vBridges);

    std::sort(vBridges.begin(), vBridges.end(),
              [](const auto& a, const auto& b) { return Calc::rcdToCCD(a.first) < Calc::rcdToCCD(b.first); });
    vOut.reserve(vOut.size() + vPoints.size() + vBridges.size());
    for (const Point3* pPoint : vPoints)
        vOut.push_back(*pPoint);
    for (const auto& [rcd, point] : vBridges)
        vOut.push_back(point);
}

CMesh* Hal::reconstructInHole()
{
    if (!takeBundles()) {
        ZAN_ERROR("Nothing to do (bad input? wrong resolution?)");
        return nullptr;
    }
    Voro voro(pCalc, &mCCDBundle, vBundles, &vZeroCCD, TM_FAT);
    voro.fatExtractTriangles();
    pCMesh.reset(voro.getCMesh());
    Top top(pCMesh.get(), pCalc);
    top.runInHole(&voro);
    return pCMesh.get();
}

CMesh* Hal::getCMesh() const
{
    zanAssertText(pCMesh != nullptr, "pCMesh!=0");
    return pCMesh.get();
}

bool Hal::takeBundles()
{
    const StageTimer stage("HL_st");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("HL_st", 9);
    pCldMgr->getBundles(vBundles, pCalc, vZeroCCD);
    if (vBundles.empty())
        return false;
    pProgress->tick();
    for (Bundle* pBundle : vBundles) // in code order, so each insertion is at the end
        mCCDBundle.emplace_hint(mCCDBundle.end(), pBundle->ccd, pBundle);
    pProgress->tick();
    pProgress->finish(true);
    return true;
}

// The surface through the cells. Raw it is no manifold where the layer is thick; the passes on codes settle
// that, for which they ask for another extraction.
void Hal::extractSurface(void (Top::*runPasses)(Voro*))
{
    Voro voro(pCalc, &mCCDBundle, vBundles, &vZeroCCD, TM_FAT);
    voro.fatExtractTriangles();
    pCMesh.reset(voro.getCMesh());
    Top top(pCMesh.get(), pCalc);
    top.setInputBorders(vBorderCCD);
    std::optional<SoupBodies> bodies;
    top.setInsideTest([this, &bodies](const std::vector<Point3>& vPlaces) {
        if (!bodies)
            bodies.emplace(pCldMgr->getInputPoints());
        return bodies->findInside(vPlaces);
    });
    (top.*runPasses)(&voro);
    bBodiesClosed = top.boundsBodies();
}

// The surface on real coordinates, without twins, consistently oriented, without needles and caps.
std::unique_ptr<RMesh> Hal::takeOverToRealMesh()
{
    const StageTimer stage("RM_take");
    getCMesh()->releaseEdges(); // two whole meshes side by side would be the peak of the run
    auto pRMesh = std::make_unique<RMesh>(getCMesh());
    // Many small records: given back beside the next stage, which does not know them.
    const auto release = [this] {
        pCMesh.reset();
        mCCDBundle.clear();
        vBundles = {};
    };
    besideMT(release, [&pRMesh] { RTop(pRMesh.get()).run(); });
    return pRMesh;
}

// What the stages promise where the data allow it, now everywhere: two-manifold and oriented, without
// pinholes.
void Hal::makeManifold(RMesh& mesh)
{
    const RepairReport report = repairNonManifold(mesh);
    if (!report.isUntouched())
        ZAN_INFO(toText(report));
    closePinholes(mesh);
}

// The cells of gaps up to the fill size are there, but where sheets met around them a pass on codes can have
// taken too much. Half a cell lies between such a gap and the vertices around it.
void Hal::closeGaps(RMesh& mesh) const
{
    const double gap = std::max(0, pCldMgr->getFillSize());
    const auto maxEdges = static_cast<size_t>(std::min(std::numbers::pi * (gap + 1.0), MAX_GAP_EDGES));
    closeSmallHoles(mesh, maxEdges, [](const Point3&) { return false; });
}

void Hal::takeBorders()
{
    CellPairs vBorders;
    pCldMgr->getBorders(vBorders);
    vBorderCCD.reserve(2 * vBorders.size());
    for (const auto& [ccd0, ccd1] : vBorders)
        vBorderCCD.insert(vBorderCCD.end(), {ccd0, ccd1});
    sortMT(vBorderCCD.begin(), vBorderCCD.end());
}

bool Hal::isAtBorder(const Point3& p) const
{
    return std::binary_search(vBorderCCD.begin(), vBorderCCD.end(), pCalc->getCCD(&p));
}

} // namespace TESK_ZAN
