#include "holeClosing.h"

#include "Chain.h"
#include "ChainMgr.h"
#include "HoleBridge.h"
#include "HolePatcher.h"
#include "Progress.h"
#include "RMesh.h"
#include "borderLoops.h"
#include "freeFunctions.h"
#include "messages.h"
#include "stageTrace.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

namespace
{

// Up to here a hole counts as small, and as flat: then ears serve better than cells. In mean edge lengths of
// its border.
constexpr double SMALL_EXTENT = 8.0;
constexpr double FLAT_DEPTH = 0.6;

bool isSmallAndFlat(const std::vector<REdge*>& vLoopRE)
{
    std::vector<Point3*> vVtx;
    for (const REdge* pRE : vLoopRE)
        for (int i = 0; i < 2; ++i)
            vVtx.push_back(pRE->getVertex(i));
    const double edgeLen = getMeanLength(vLoopRE);
    Vector3 nnv;
    Point3 centroid;
    if (!estimateNNV(vVtx, nnv, centroid))
        return true;
    return std::all_of(vVtx.begin(), vVtx.end(), [&](const Point3* pVtx) {
        const Vector3 offset = *pVtx - centroid;
        return 2.0 * offset.length() < SMALL_EXTENT * edgeLen &&
               std::fabs(offset * nnv) < FLAT_DEPTH * edgeLen;
    });
}

enum Method { ME_EARS, ME_VOLUME };

// What one method makes of a border loop, on the bridge's side yet. There is one hole in a loop as a rule,
// and several where its path touches itself.
struct Attempt {
    std::unique_ptr<HoleBridge> pBridge;
    std::vector<CTriangle*> vNewT, vGoneT;
    std::size_t numClosed = 0, numRims = 0, numLeftOpen = 0;
    std::size_t numFolds = 0;

    bool isBetterThan(const Attempt& other) const
    {
        return std::pair(numLeftOpen, numFolds) < std::pair(other.numLeftOpen, other.numFolds);
    }
};

Attempt tryMethod(RMesh& mesh, const std::vector<REdge*>& vLoopRE, std::size_t maxEdges, Method method)
{
    Attempt attempt;
    attempt.pBridge = std::make_unique<HoleBridge>(&mesh, vLoopRE, method == ME_EARS ? BR_ROWS : BR_BOX);
    if (!attempt.pBridge->isBuilt()) {
        attempt.numLeftOpen = vLoopRE.size() <= maxEdges ? 1 : 0;
        return attempt;
    }
    CMesh* pCMesh = attempt.pBridge->getCMesh();
    const ChainMgr chainMgr(pCMesh, getEdgeMap(attempt.pBridge->getLoopCE()), true);
    for (u64 i = 0; i < chainMgr.getNumChains(); ++i) {
        Chain* pChain = chainMgr.getChain(i);
        std::vector<CEdge*> vCE;
        pChain->getEdges(vCE);
        if (!pChain->isClosed() || vCE.size() > maxEdges)
            continue;
        if (!pChain->isGoodHole()) {
            ++attempt.numRims;
            continue;
        }
        HolePatcher patcher(pCMesh, pChain);
        const bool bClosed = method == ME_EARS ? patcher.closeByEars() : patcher.closeByVolume();
        ++(bClosed ? attempt.numClosed : attempt.numLeftOpen);
        attempt.numFolds += patcher.getNumFolds();
        attempt.vNewT.insert(attempt.vNewT.end(), patcher.getNewT().begin(), patcher.getNewT().end());
        attempt.vGoneT.insert(attempt.vGoneT.end(), patcher.getGoneT().begin(), patcher.getGoneT().end());
    }
    return attempt;
}

// The second method only where the first one left a hole open.
Attempt closeLoop(RMesh& mesh, const std::vector<REdge*>& vLoopRE, std::size_t maxEdges)
{
    const bool bEarsFirst = isSmallAndFlat(vLoopRE);
    Attempt attempt = tryMethod(mesh, vLoopRE, maxEdges, bEarsFirst ? ME_EARS : ME_VOLUME);
    if (attempt.numLeftOpen > 0) {
        Attempt second = tryMethod(mesh, vLoopRE, maxEdges, bEarsFirst ? ME_VOLUME : ME_EARS);
        if (second.isBetterThan(attempt))
            attempt = std::move(second);
    }
    if (!attempt.vNewT.empty())
        attempt.pBridge->bringBack(attempt.vNewT, attempt.vGoneT);
    return attempt;
}

} // namespace

HoleReport closeHoles(RMesh& mesh, int maxEdges)
{
    const StageTimer stage("HO_close");
    std::vector<std::vector<REdge*>> vLoops;
    getBorderLoops(mesh, vLoops);
    const std::size_t maxChain = maxEdges > 0 ? std::size_t(maxEdges) : mesh.getAllRE().size();

    HoleReport report;
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("HO_close", vLoops.size());
    for (const std::vector<REdge*>& vLoopRE : vLoops) {
        const Attempt attempt = closeLoop(mesh, vLoopRE, maxChain);
        report.numClosed += attempt.numClosed;
        report.numRims += attempt.numRims;
        report.numLeftOpen += attempt.numLeftOpen;
        pProgress->tick();
    }
    pProgress->finish(true);
    if (report.numLeftOpen > 0)
        ZAN_WARNING(std::to_string(report.numLeftOpen) + " holes stay open: no patch fits them");
    return report;
}

} // namespace TESK_ZAN
