#include "holeClosing.h"

#include "Chain.h"
#include "HoleBridge.h"
#include "HolePatcher.h"
#include "Progress.h"
#include "RMesh.h"
#include "borderLoops.h"
#include "edgeMap.h"
#include "freeFunctions.h"
#include "messages.h"
#include "stageTrace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace TESK_ZAN
{

namespace
{

// In mean edge lengths of the border: up to which width a hole needs no inner vertices, up to which the bend
// of the surface does not matter in one that is flat, and what is flat.
constexpr double SMALL_WIDTH = 4.0;
constexpr double MODERATE_WIDTH = 8.0;
constexpr double FLAT_DEPTH = 0.6;

enum Method { ME_EARS, ME_VOLUME, ME_MEMBRANE };

// The methods, the best one for the hole first.
std::array<Method, 3> getOrder(const std::vector<REdge*>& vLoopRE)
{
    std::vector<Point3*> vVtx;
    for (const REdge* pRE : vLoopRE)
        for (int i = 0; i < 2; ++i)
            vVtx.push_back(pRE->getVertex(i));
    Vector3 nnv;
    Point3 centroid;
    if (!estimateNNV(vVtx, nnv, centroid))
        return {ME_EARS, ME_VOLUME, ME_MEMBRANE};
    double width = 0.0, depth = 0.0;
    for (const Point3* pVtx : vVtx) {
        const Vector3 offset = *pVtx - centroid;
        width = std::max(width, 2.0 * offset.length());
        depth = std::max(depth, std::fabs(offset * nnv));
    }
    const double edgeLen = getMeanLength(vLoopRE);
    if (!(depth < FLAT_DEPTH * edgeLen && width < MODERATE_WIDTH * edgeLen))
        return {ME_VOLUME, ME_MEMBRANE, ME_EARS};
    if (width < SMALL_WIDTH * edgeLen)
        return {ME_EARS, ME_VOLUME, ME_MEMBRANE};
    return {ME_MEMBRANE, ME_VOLUME, ME_EARS};
}

// The area of the surface that hangs together over edges with each triangle. Linear.
class SurfaceAreas
{
public:
    explicit SurfaceAreas(const RMesh& mesh);
    double at(const RTriangle* pRT) const { return vArea[vSurfaceOf[numberOf(pRT)]]; }

private:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);
    std::vector<std::size_t> vSurfaceOf; // by number of the triangle
    std::vector<double> vArea;
};

SurfaceAreas::SurfaceAreas(const RMesh& mesh) : vSurfaceOf(mesh.getAllT().size(), NONE)
{
    std::vector<RTriangle*> vQueue, vNeigRT;
    for (RTriangle* pSeedRT : mesh.getAllT()) {
        if (!pSeedRT->isAlive() || vSurfaceOf[numberOf(pSeedRT)] != NONE)
            continue;
        double area = 0.0;
        vQueue.assign(1, pSeedRT);
        vSurfaceOf[numberOf(pSeedRT)] = vArea.size();
        while (!vQueue.empty()) {
            const RTriangle* pRT = vQueue.back();
            vQueue.pop_back();
            area += pRT->getArea();
            vNeigRT.clear();
            for (int ici = 0; ici < 3; ++ici)
                pRT->getRE(ici)->getAliveT(vNeigRT);
            for (RTriangle* pNeigRT : vNeigRT)
                if (vSurfaceOf[numberOf(pNeigRT)] == NONE) {
                    vSurfaceOf[numberOf(pNeigRT)] = vArea.size();
                    vQueue.push_back(pNeigRT);
                }
        }
        vArea.push_back(area);
    }
}

// For each loop, whether its surface has far more area than any sheet in a rim of this length, flat, rolled
// or rough: it bulges, and the rim is an opening in a body. isGoodHole cannot tell that of bites out of thin
// walls.
std::vector<bool> findOpeningsOfBodies(const RMesh& mesh, const std::vector<std::vector<REdge*>>& vLoops)
{
    constexpr double MIN_RATIO = 4.0; // of a circle of the length; a hemisphere has 2
    const SurfaceAreas areas(mesh);
    std::vector<bool> vIsOpening;
    for (const std::vector<REdge*>& vLoopRE : vLoops) {
        const double length = getMeanLength(vLoopRE) * static_cast<double>(vLoopRE.size());
        const double area = areas.at(vLoopRE.front()->getTriangle(true, true));
        vIsOpening.push_back(area > MIN_RATIO * length * length / (4.0 * std::numbers::pi));
    }
    return vIsOpening;
}

enum Outcome { OC_CLOSED, OC_RIM, OC_LEFT_OPEN };

// What one method makes of a border loop, on the bridge's side yet.
struct Attempt {
    Outcome outcome = OC_LEFT_OPEN;
    std::unique_ptr<HoleBridge> pBridge;
    std::vector<CTriangle*> vNewT, vGoneT;
};

Attempt tryMethod(RMesh& mesh, const std::vector<REdge*>& vLoopRE, Method method, bool bOpening)
{
    Attempt attempt;
    attempt.pBridge = std::make_unique<HoleBridge>(&mesh, vLoopRE, method == ME_VOLUME ? BR_BOX : BR_ROWS);
    if (!attempt.pBridge->isBuilt())
        return attempt;
    CMesh* pCMesh = attempt.pBridge->getCMesh();
    EdgeMap mmVCD2CE = getEdgeMap(attempt.pBridge->getLoopCE());
    Chain chain(pCMesh, mmVCD2CE);
    if (!chain.isClosed())
        return attempt; // a loop that meets itself, at an edge with many triangles
    if (!chain.isGoodHole() && !bOpening) {
        attempt.outcome = OC_RIM;
        return attempt;
    }
    HolePatcher patcher(pCMesh, &chain);
    const bool bClosed = method == ME_EARS     ? patcher.closeByEars()
                         : method == ME_VOLUME ? patcher.closeByVolume()
                                               : patcher.closeByMembrane();
    if (bClosed && attempt.pBridge->isWelcome(patcher.getNewT(), patcher.getGoneT())) {
        attempt.outcome = OC_CLOSED;
        attempt.vNewT = patcher.getNewT();
        attempt.vGoneT = patcher.getGoneT();
    }
    return attempt;
}

// A method only where those before it left the hole open.
Outcome closeLoop(RMesh& mesh, const std::vector<REdge*>& vLoopRE, bool bOpening)
{
    Attempt attempt;
    for (const Method method : getOrder(vLoopRE)) {
        attempt = tryMethod(mesh, vLoopRE, method, bOpening);
        if (attempt.outcome != OC_LEFT_OPEN)
            break;
    }
    if (attempt.outcome == OC_CLOSED)
        attempt.pBridge->bringBack(attempt.vNewT, attempt.vGoneT);
    return attempt.outcome;
}

} // namespace

HoleReport closeHoles(RMesh& mesh, int maxEdges)
{
    const StageTimer stage("HO_close");
    std::vector<std::vector<REdge*>> vLoops;
    const std::size_t numInNoLoop = getBorderLoops(mesh, vLoops);
    const std::size_t maxLoop = maxEdges > 0 ? std::size_t(maxEdges) : mesh.getAllRE().size();

    const std::vector<bool> vIsOpening = findOpeningsOfBodies(mesh, vLoops);
    HoleReport report;
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("HO_close", vLoops.size());
    for (std::size_t i = 0; i < vLoops.size(); ++i) {
        if (vLoops[i].size() <= maxLoop) {
            const Outcome outcome = closeLoop(mesh, vLoops[i], vIsOpening[i]);
            report.numClosed += outcome == OC_CLOSED ? 1 : 0;
            report.numRims += outcome == OC_RIM ? 1 : 0;
            report.numLeftOpen += outcome == OC_LEFT_OPEN ? 1 : 0;
        }
        pProgress->tick();
    }
    pProgress->finish(true);
    if (report.numLeftOpen > 0)
        ZAN_WARNING(std::to_string(report.numLeftOpen) + " holes stay open: no patch fits them");
    if (numInNoLoop > 0)
        ZAN_WARNING(std::to_string(numInNoLoop) +
                    " border edges bound no hole: triangles do not run alike there, or three share an edge");
    return report;
}

} // namespace TESK_ZAN
