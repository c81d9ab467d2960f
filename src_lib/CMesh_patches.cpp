#include "CMesh.h"

#include "CPatch.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr int FIRST_PATCHES = 1000; // size of the first pool block

// Whether a walk may cross the edge, and to where: null if not.
CTriangle* acrossRegular(const CEdge* pCE, const CTriangle* pCT, const std::set<CEdge*>* psFences)
{
    const CEdge::TriangleList& vCT = pCE->getCTs();
    if (vCT.size() != 2)
        return nullptr;
    if (psFences != nullptr && psFences->contains(const_cast<CEdge*>(pCE)))
        return nullptr;
    return vCT[0] == pCT ? vCT[1] : vCT[0];
}

// One division. That a triangle names a patch is the mark of having been reached.
class PatchWalk
{
public:
    explicit PatchWalk(const std::set<CEdge*>* psFencesGiven) : psFences(psFencesGiven) {}

    void overRegularEdges(CTriangle* pSeed, CPatch* pPatch)
    {
        vRimCE.clear();
        grow(pSeed, pPatch, [&](CTriangle* pCT, CEdge* pCE) {
            CTriangle* pNeig = acrossRegular(pCE, pCT, psFences);
            if (pNeig == nullptr) {
                vRimCE.push_back(pCE);
            } else if (pNeig->getPatch() == nullptr) {
                if (pNeig->needFlip(pCT)) // costs nothing while both are at hand: a walk of its own costs as
                    pNeig->flipOrientation(); // much as this one
                reach(pNeig, pPatch);
            }
        });
        pPatch->setRim(vRimCE);
    }

    void overAllEdges(CTriangle* pSeed, CPatch* pPatch)
    {
        grow(pSeed, pPatch, [&](CTriangle*, CEdge* pCE) {
            for (CTriangle* pNeig : pCE->getCTs())
                reach(pNeig, pPatch);
        });
    }

private:
    void reach(CTriangle* pCT, CPatch* pPatch)
    {
        if (pCT->getPatch() != nullptr)
            return;
        pCT->setPatch(pPatch);
        vStack.push_back(pCT);
    }

    template <class F>
    void grow(CTriangle* pSeed, CPatch* pPatch, F visitEdge)
    {
        vMemberCT.clear();
        reach(pSeed, pPatch);
        while (!vStack.empty()) {
            CTriangle* pCT = vStack.back();
            vStack.pop_back();
            vMemberCT.push_back(pCT);
            for (int i = 0; i < 3; ++i)
                visitEdge(pCT, pCT->getCEdge(i));
        }
        pPatch->setMembers(vMemberCT);
    }

    const std::set<CEdge*>* psFences; // null: none
    std::vector<CTriangle*> vStack;   // scratch of all patches, so that each of them allocates only once
    std::vector<CTriangle*> vMemberCT;
    std::vector<CEdge*> vRimCE;
};

bool lessByLabel(const CPatch* a, const CPatch* b)
{
    return a->getLabel() < b->getLabel();
}

void sortByLabel(std::vector<CPatch*>& vPatches)
{
    TESK_TOOLS::sortUnique(vPatches, lessByLabel);
}

} // namespace

CPatch* CMesh::newPatch(std::size_t seedPlace)
{
    if (!oPatchPool)
        oPatchPool.emplace(FIRST_PATCHES, -1);
    vPatches.push_back(std::construct_at(oPatchPool->newObject(), this, int(seedPlace)));
    return vPatches.back();
}

void CMesh::clearPatches()
{
    forEachMT(vMeshT, [](CTriangle* pCT) { pCT->setPatch(nullptr); });
    for (CPatch* pPatch : vPatches) {
        pPatch->forgetMembers();
        std::destroy_at(pPatch);
    }
    vPatches.clear();
    oPatchPool.reset();
}

void CMesh::createPatches(const std::set<CEdge*>* psFences, std::vector<CPatch*>& vPatchesOut)
{
    if (traceEnabled())
        messageStream() << "CREATE PATCHES FOR vMeshT=" << vMeshT.size() << '\n';
    clearPatches();
    PatchWalk walk(psFences);
    for (std::size_t place = 0; place < vMeshT.size(); ++place)
        if (vMeshT[place]->isAlive() && vMeshT[place]->getPatch() == nullptr)
            walk.overRegularEdges(vMeshT[place], newPatch(place));
    vPatchesOut = vPatches;
}

void CMesh::createPatches(const std::set<CEdge*>* psFences, std::vector<CPatch*>& vPatchesOut,
                          BorderPatches& mBorderCCD2Patch, std::vector<CEdge*>& vBorderME)
{
    createPatches(psFences, vPatchesOut);
    vBorderME.clear();
    getDegN(-1, vBorderME);
    mBorderCCD2Patch.clear();
    for (const CEdge* pCE : vBorderME)
        for (const CTriangle* pCT : pCE->getCTs())
            mBorderCCD2Patch.emplace_back(pCT->getThirdCCD(pCE->getV0(), pCE->getV1()), pCT->getPatch());
    sortMT(mBorderCCD2Patch.begin(), mBorderCCD2Patch.end(),
           [](const BorderPatches::value_type& a, const BorderPatches::value_type& b) {
               return a.first != b.first ? a.first < b.first : a.second->getLabel() < b.second->getLabel();
           });
}

void CMesh::createCCPatches()
{
    clearPatches();
    PatchWalk walk(nullptr);
    for (std::size_t place = 0; place < vMeshT.size(); ++place)
        if (vMeshT[place]->isAlive() && vMeshT[place]->getPatch() == nullptr)
            walk.overAllEdges(vMeshT[place], newPatch(place));
}

// ---- after deaths ----------------------------------------------------------------------------------------

void CMesh::updatePatches(const std::vector<CTriangle*>& vDeadT)
{
    divideBrokenPatches(vDeadT);
    joinPatches(vDeadT);
    const auto firstGone = std::stable_partition(vPatches.begin(), vPatches.end(),
                                                 [](const CPatch* pPatch) { return pPatch->isAlive(); });
    std::for_each(firstGone, vPatches.end(), [](CPatch* pPatch) { std::destroy_at(pPatch); });
    vPatches.erase(firstGone, vPatches.end());
    sortByLabel(vPatches);
}

// A patch that died whole has told its members so; where one died that still names its patch, others may be
// left, and these may have come apart.
void CMesh::divideBrokenPatches(const std::vector<CTriangle*>& vDeadT)
{
    std::vector<CPatch*> vBroken;
    for (const CTriangle* pCT : vDeadT)
        if (pCT->getPatch() != nullptr)
            vBroken.push_back(pCT->getPatch());
    sortByLabel(vBroken);
    std::vector<std::pair<std::size_t, CTriangle*>> vLooseT;
    for (CPatch* pPatch : vBroken) {
        for (CTriangle* pCT : pPatch->getMembers())
            if (pCT->isAlive())
                vLooseT.emplace_back(placeOf(pCT), pCT);
        pPatch->dissolve();
    }
    std::sort(vLooseT.begin(), vLooseT.end());
    PatchWalk walk(nullptr);
    for (const auto& [place, pCT] : vLooseT)
        if (pCT->getPatch() == nullptr)
            walk.overRegularEdges(pCT, newPatch(place));
}

// Two patches hang together where an edge has become regular, so where one of its triangles died. The smaller
// one is taken in: no triangle changes hands more than log n times.
void CMesh::joinPatches(const std::vector<CTriangle*>& vDeadT)
{
    std::vector<CPatch*> vJoined;
    for (const CTriangle* pDeadT : vDeadT) {
        for (int i = 0; i < 3; ++i) {
            const CEdge::TriangleList& vCT = pDeadT->getCEdge(i)->getCTs();
            if (vCT.size() != 2)
                continue;
            CPatch* pLarger = vCT[0]->getPatch();
            CPatch* pOther = vCT[1]->getPatch();
            if (pLarger == pOther) {
                pLarger->unsettle(); // a walk can cross here now
                continue;
            }
            if (lessBySize(pLarger, pOther))
                std::swap(pLarger, pOther);
            if (vCT[0]->needFlip(vCT[1]))
                pOther->flip();
            pLarger->takeIn(pOther);
            vJoined.push_back(pLarger);
        }
    }
    sortByLabel(vJoined);
    for (CPatch* pPatch : vJoined)
        if (pPatch->isAlive())
            pPatch->dropInnerBoundary();
}

void CMesh::settleMembers(CPatch* pPatch)
{
    if (pPatch->isSettled())
        return;
    const std::size_t size = pPatch->getSize();
    for (CTriangle* pCT : pPatch->getMembers())
        pCT->setPatch(nullptr);
    PatchWalk(nullptr).overRegularEdges(vMeshT[std::size_t(pPatch->getLabel())], pPatch);
    zanAssert(pPatch->getSize() == size);
}

// getT is sorted up to numSortedT and goes on in order of creation.
std::size_t CMesh::placeOf(const CTriangle* pCT) const
{
    const auto sortedEnd = vMeshT.begin() + std::ptrdiff_t(numSortedT);
    auto q_it = std::lower_bound(vMeshT.begin(), sortedEnd, pCT,
                                 [](const CTriangle* a, const CTriangle* b) { return *a < *b; });
    if (q_it == sortedEnd || *q_it != pCT)
        q_it = std::lower_bound(sortedEnd, vMeshT.end(), pCT, [](const CTriangle* a, const CTriangle* b) {
            return a->getNumber() < b->getNumber();
        });
    zanAssert(q_it != vMeshT.end() && *q_it == pCT);
    return std::size_t(q_it - vMeshT.begin());
}

} // namespace TESK_ZAN
