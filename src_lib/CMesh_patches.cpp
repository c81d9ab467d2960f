#include "CMesh.h"

#include "CPatch.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <ostream>

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
            if (pNeig == nullptr)
                vRimCE.push_back(pCE);
            else
                reach(pNeig, pPatch);
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

} // namespace

CPatch* CMesh::newPatch()
{
    if (!oPatchPool)
        oPatchPool.emplace(FIRST_PATCHES, -1);
    vPatches.push_back(std::construct_at(oPatchPool->newObject(), this, int(vPatches.size())));
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
    for (CTriangle* pCT : vMeshT)
        if (pCT->isAlive() && pCT->getPatch() == nullptr)
            walk.overRegularEdges(pCT, newPatch());
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
    for (CTriangle* pCT : vMeshT)
        if (pCT->isAlive() && pCT->getPatch() == nullptr)
            walk.overAllEdges(pCT, newPatch());
}

} // namespace TESK_ZAN
