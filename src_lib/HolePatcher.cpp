#include "HolePatcher.h"

#include "CMesh.h"
#include "Chain.h"
#include "FoldCutter.h"
#include "Hole.h"
#include "HoleToCCD.h"
#include "Membrane.h"
#include "PatchStitcher.h"
#include "PolygonFiller.h"
#include "freeCell.h"
#include "freeFunctions.h"
#include "loopCorners.h"
#include "patchCrossings.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr int SMOOTH_ROUNDS = 5;

// Gaps with more edges than this are grown into, and those in what grows there, so many times.
constexpr std::size_t WIDE_GAP = 20;
constexpr int MAX_DEPTH = 4;

} // namespace

HolePatcher::HolePatcher(CMesh* pMesh_, Chain* pChain_)
    : pMesh(pMesh_), pChain(pChain_), numTBefore(pMesh_->getT().size())
{
    pChain->getEdges(vRimCE);
    std::map<u64, int> mVCD2Num;
    pChain->getVCDs(mVCD2Num);
    for (const auto& [vcd, num] : mVCD2Num)
        mNumFans[vcd] = countFansAt(vcd);
}

bool HolePatcher::closeByEars()
{
    if (HoleToCCD(pMesh, pMesh->getCalc()).fill(pChain) && keepIfSound() && numFolds == 0)
        return true;
    takeBack();
    return PolygonFiller(pMesh, vRimCE).run() && keepIfSound();
}

bool HolePatcher::closeByVolume()
{
    if (growInto(pChain, vRimCE, 0) && keepIfSound())
        return true;
    takeBack();
    return false;
}

bool HolePatcher::closeByMembrane()
{
    if (fillByMembrane(vRimCE) && keepIfSound())
        return true;
    takeBack();
    return false;
}

bool HolePatcher::fillByMembrane(const std::vector<CEdge*>& vLoopCE)
{
    const StageTimer stage("HO_membrane");
    std::vector<u64> vVCD;
    if (!getLoopCorners(*pMesh, vLoopCE, vVCD))
        return false;
    std::vector<const Point3*> vLoop;
    for (const u64 vcd : vVCD)
        vLoop.push_back(pMesh->getVtx(vcd));
    Membrane membrane(vLoop);
    const auto isTaken = [&](std::size_t a, std::size_t b) { return pMesh->hasEdge(vVCD[a], vVCD[b]); };
    if (!membrane.run(isTaken))
        return false;
    for (const Point3& point : membrane.getInnerPoints()) {
        vVCD.push_back(createVertex(point));
        if (vVCD.back() == FAILED_CODE)
            return false;
    }
    const PlaneNet& net = membrane.getNet();
    for (std::size_t i = 0; i < net.getNumTriangles(); ++i) {
        const auto [a, b, c] = net.getTriangle(i);
        pMesh->createT(vVCD[a], vVCD[b], vVCD[c], 0, 0);
    }
    return true;
}

// In a cell of its own near the point. FAILED_CODE where too many crowd.
u64 HolePatcher::createVertex(const Point3& point)
{
    const u64 ccd =
        findFreeCell(*pMesh->getCalc(), point, [this](u64 code) { return pMesh->hasBundle(code); });
    if (ccd == FAILED_CODE)
        return ccd;
    constexpr double AT_CENTRE = std::numeric_limits<double>::max();
    pMesh->addBundle(ccd, AT_CENTRE, AT_CENTRE, AT_CENTRE);
    pMesh->getVtx(ccd)->set(point);
    return ccd;
}

// Makes one sheet of what grows from the loop, and fills its gaps. False if one is left, or hardly smaller
// than a large loop: the surface leads elsewhere then.
bool HolePatcher::growInto(Chain* pLoopChain, const std::vector<CEdge*>& vLoopCE, int depth)
{
    Hole hole(pMesh, pLoopChain);
    hole.setVerbose(false);
    std::vector<std::pair<u64, Point3>> vCCD2Zero;
    hole.run(vCCD2Zero);
    if (hole.getZeroCells().empty())
        return false;
    hole.growSheet();
    std::vector<std::vector<CEdge*>> vGaps;
    const std::size_t numChosen = PatchStitcher(pMesh, vLoopCE, hole.getNewT()).run(vGaps);
    const auto leadsOff = [&](const std::vector<CEdge*>& vGapCE) {
        return vGapCE.size() > PolygonFiller::MAX_EDGES && 4 * vGapCE.size() > 3 * vLoopCE.size();
    };
    return numChosen > 0 && std::none_of(vGaps.begin(), vGaps.end(), leadsOff) &&
           std::all_of(vGaps.begin(), vGaps.end(),
                       [&](const std::vector<CEdge*>& vGapCE) { return fillGap(vGapCE, depth + 1); });
}

// A wide gap is a hole in its turn: the surface has left the box of the first one there. What is still wide
// after some boxes gets a membrane.
bool HolePatcher::fillGap(const std::vector<CEdge*>& vGapCE, int depth)
{
    if (vGapCE.size() > WIDE_GAP) {
        const std::size_t numT = pMesh->getT().size();
        if (depth < MAX_DEPTH) {
            for (CEdge* pCE : vGapCE)
                pCE->setDirection(ED_NONE);
            EdgeMap mmVCD2CE = getEdgeMap(vGapCE);
            Chain chain(pMesh, mmVCD2CE); // open if the gap passes a vertex twice
            if (chain.isClosed() && growInto(&chain, vGapCE, depth))
                return true;
            killFrom(numT);
        } else if (fillByMembrane(vGapCE)) {
            return true;
        }
    }
    return PolygonFiller(pMesh, vGapCE).run();
}

bool HolePatcher::keepIfSound()
{
    collectNewT();
    vInnerVCD.clear();
    for (const CTriangle* pCT : vNewT)
        for (int ici = 0; ici < 3; ++ici)
            if (mNumFans.count(pCT->getCorner(ici)) == 0)
                vInnerVCD.push_back(pCT->getCorner(ici));
    TESK_TOOLS::sortUnique(vInnerVCD);

    if (!isDisc()) {
        takeBack();
        return false;
    }
    relax();
    if (isFolded()) {
        takeBack();
        return false;
    }
    cutFolds();
    if (4 * countCrossed(*pMesh, vNewT) > vRimCE.size()) {
        takeBack();
        return false;
    }
    return true;
}

void HolePatcher::collectNewT()
{
    const std::vector<CTriangle*>& vT = pMesh->getT();
    vNewT.clear();
    std::copy_if(vT.begin() + std::ptrdiff_t(numTBefore), vT.end(), std::back_inserter(vNewT),
                 [](const CTriangle* pCT) { return pCT->isAlive(); });
}

void HolePatcher::takeBack()
{
    killFrom(numTBefore);
    for (const CTriangle* pCT : vGoneT)
        pMesh->createT(pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), pCT->getCfg());
    numTBefore = pMesh->getT().size();
    vGoneT.clear();
    vNewT.clear();
}

// The last first, so the edges list their triangles as before.
void HolePatcher::killFrom(std::size_t numT)
{
    const std::vector<CTriangle*>& vT = pMesh->getT();
    for (std::size_t i = vT.size(); i-- > numT;)
        if (vT[i]->isAlive())
            vT[i]->kill(pMesh);
}

// Every edge is regular and oriented, the vertices are simple, and n rim edges and m inner vertices have as
// many triangles as they need for a disc.
bool HolePatcher::isDisc() const
{
    for (const CTriangle* pCT : vNewT)
        for (int ici = 0; ici < 3; ++ici) {
            CTriangle *pCT0 = nullptr, *pCT1 = nullptr;
            if (!pCT->getCEdge(ici)->getTwoTriangles(pCT0, pCT1, true) || pCT0->needFlip(pCT1))
                return false;
        }
    return vNewT.size() + 2 == vRimCE.size() + 2 * vInnerVCD.size() &&
           std::all_of(vRimCE.begin(), vRimCE.end(),
                       [](const CEdge* pCE) { return pCE->getDegree() == 2; }) &&
           std::all_of(vInnerVCD.begin(), vInnerVCD.end(),
                       [this](u64 vcd) { return countFansAt(vcd) == 1; }) &&
           std::all_of(mNumFans.begin(), mNumFans.end(), [this](const auto& entry) {
               return countFansAt(entry.first) <= std::max(std::size_t(1), entry.second);
           });
}

// Moves the inner vertices to the means of their neighbours, all at once in each round.
void HolePatcher::relax()
{
    std::vector<Point3> vMean(vInnerVCD.size());
    std::vector<CEdge*> vCE;
    for (int round = 0; round < SMOOTH_ROUNDS; ++round) {
        for (std::size_t i = 0; i < vInnerVCD.size(); ++i) {
            vCE.clear();
            pMesh->getIncidentCE(vInnerVCD[i], vCE);
            double x = 0.0, y = 0.0, z = 0.0;
            for (const CEdge* pCE : vCE)
                pMesh->getVtx(pCE->getOtherVCD(vInnerVCD[i]))->addOwnCoords(x, y, z);
            const auto num = static_cast<double>(vCE.size());
            vMean[i].set(x / num, y / num, z / num);
        }
        for (std::size_t i = 0; i < vInnerVCD.size(); ++i)
            pMesh->getVtx(vInnerVCD[i])->set(vMean[i]);
    }
}

// Flat triangles are no patch either.
bool HolePatcher::isFolded() const
{
    return 4 * countFolds(*pMesh, vNewT) > 3 * vRimCE.size() ||
           std::any_of(vNewT.begin(), vNewT.end(), [this](const CTriangle* pCT) {
               bool bOK = false;
               Vector3 nnv;
               pCT->getNNV(pMesh, nnv, bOK);
               return !bOK;
           });
}

// Also those of the old triangles at the rim.
void HolePatcher::cutFolds()
{
    std::vector<CTriangle*> vCT = vNewT;
    for (const auto& [vcd, num] : mNumFans)
        pMesh->getIncidentT(vcd, vCT);
    FoldCutter cutter(pMesh);
    cutter.run(vCT);
    std::copy_if(cutter.getGoneT().begin(), cutter.getGoneT().end(), std::back_inserter(vGoneT),
                 [this](const CTriangle* pCT) { return pCT->getNumber() < numTBefore; });
    collectNewT();
    numFolds = countFolds(*pMesh, vNewT);
}

// Groups of triangles at a vertex that hang together over regular edges.
std::size_t HolePatcher::countFansAt(u64 vcd) const
{
    std::vector<CTriangle*> vCT;
    pMesh->getIncidentT(vcd, vCT);
    std::vector<bool> vSeen(vCT.size(), false);
    std::size_t numFans = 0;
    std::vector<CTriangle*> vQueue;
    for (std::size_t seedPlace = 0; seedPlace < vCT.size(); ++seedPlace) {
        if (vSeen[seedPlace])
            continue;
        ++numFans;
        vSeen[seedPlace] = true;
        vQueue.assign(1, vCT[seedPlace]);
        while (!vQueue.empty()) {
            const CTriangle* pCT = vQueue.back();
            vQueue.pop_back();
            for (int ici = 0; ici < 3; ++ici) {
                const CEdge* pCE = pCT->getCEdge(ici);
                CTriangle* pNeigCT = pCE->hasVertex(vcd) ? pCE->getOtherT(pCT) : nullptr;
                const auto place = std::find(vCT.begin(), vCT.end(), pNeigCT) - vCT.begin();
                if (pNeigCT == nullptr || vSeen[std::size_t(place)])
                    continue;
                vSeen[std::size_t(place)] = true;
                vQueue.push_back(pNeigCT);
            }
        }
    }
    return numFans;
}

} // namespace TESK_ZAN
