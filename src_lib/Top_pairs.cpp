#include "Top.h"

#include "CMesh.h"
#include "CPatch.h"
#include "Progress.h"
#include "Rotx.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t ALWAYS_SOLVED = 20; // triangles: pairs of sheets up to this size are always solved
constexpr double MAX_SHARE = 0.1;         // of the area of the mesh that both sheets of a pair may have
constexpr std::size_t LEAST_SPLIT_ISOLATED = 7; // triangles: smaller isolated bodies are specks
constexpr u64 ROUND_STEPS = 100;                // of which a round ticks four

using PatchPair = std::pair<CPatch*, CPatch*>;

// Equal boundaries side by side, in order of labels. Keys make the comparison of contents rare.
bool lessByBoundary(const CPatch* a, const CPatch* b)
{
    if (a->getBoundaryKey() != b->getBoundaryKey())
        return a->getBoundaryKey() < b->getBoundaryKey();
    if (a->getOuterBoundary() != b->getOuterBoundary())
        return std::lexicographical_compare(
            a->getOuterBoundary().begin(), a->getOuterBoundary().end(), b->getOuterBoundary().begin(),
            b->getOuterBoundary().end(),
            [](const CEdge* pCE0, const CEdge* pCE1) { return lessByNumber(pCE0, pCE1); });
    return a->getLabel() < b->getLabel();
}

// Splits the patches, whose boundaries must be set, into closed ones and pairs with the same boundary. Of
// three or more with one boundary two at a time make a pair; open ones without a partner are left out.
void findPairs(const std::vector<CPatch*>& vPatches, std::vector<CPatch*>& vClosedPatches,
               std::vector<PatchPair>& vPatchPairs)
{
    std::vector<CPatch*> vOpenPatches;
    for (CPatch* pPatch : vPatches)
        (pPatch->getOuterBoundary().empty() ? vClosedPatches : vOpenPatches).push_back(pPatch);
    sortMT(vOpenPatches.begin(), vOpenPatches.end(), lessByBoundary);
    for (std::size_t i = 1; i < vOpenPatches.size(); ++i) {
        if (vOpenPatches[i - 1]->getOuterBoundary() != vOpenPatches[i]->getOuterBoundary())
            continue;
        vPatchPairs.emplace_back(vOpenPatches[i - 1], vOpenPatches[i]);
        ++i;
    }
}

bool isSmallPair(const CPatch* pA, const CPatch* pB)
{
    return pA->getSize() <= ALWAYS_SOLVED && pB->getSize() <= ALWAYS_SOLVED;
}

// A body of a few triangles that touches nothing else.
bool isSpeck(const CPatch* pPatch)
{
    if (pPatch->getSize() >= LEAST_SPLIT_ISOLATED)
        return false;
    for (const CTriangle* pCT : pPatch->getMembers())
        for (int i = 0; i < 3; ++i)
            if (pCT->isAlive() && pCT->getCEdge(i)->getDegree() != 2)
                return false;
    return true;
}

bool hasRegularEdges(const CTriangle* pCT)
{
    for (int i = 0; i < 3; ++i)
        if (pCT->getCEdge(i)->getDegree() != 2)
            return false;
    return true;
}

// The order of the heap of connections: the least angle on top, of equal ones the earliest.
template <class Connection>
bool isLater(const Connection& a, const Connection& b)
{
    return a.angleDeg != b.angleDeg ? a.angleDeg > b.angleDeg : a.sequence > b.sequence;
}

// Grows the patch from its one member, which is in the queue, and turns what it reaches: first through the
// regular interior, then along rims, where an orientation is more likely to come from the wrong side.
void growOriented(CPatch* pPatch, std::vector<CTriangle*>& vQueue, std::vector<CTriangle*>& vReserveT)
{
    std::size_t numDone = 0;
    while (numDone < vQueue.size()) {
        const CTriangle* pCT = vQueue[numDone++];
        for (int i = 0; i < 3; ++i) {
            const CEdge* pCE = pCT->getCEdge(i);
            if (pCE->getDegree() != 2)
                continue;
            CTriangle* pNeig = pCE->getOtherT(pCT);
            if (pNeig->getPatch() != nullptr)
                continue;
            if (pNeig->needFlip(pCT))
                pNeig->flipOrientation();
            pNeig->setPatch(pPatch);
            (hasRegularEdges(pNeig) ? vQueue : vReserveT).push_back(pNeig);
        }
        if (numDone == vQueue.size()) {
            vQueue.insert(vQueue.end(), vReserveT.begin(), vReserveT.end());
            vReserveT.clear();
        }
    }
    pPatch->setMembers(vQueue);
}

} // namespace

// ---- pairs and pockets -----------------------------------------------------------------------------------

void Top::dividePatches()
{
    const StageTimer timer("TP_patches");
    std::vector<CPatch*> vPatches;
    pMesh->createPatches(nullptr, vPatches);
    vKilledT.clear();
}

void Top::updatePatches()
{
    pMesh->updatePatches(vKilledT);
    vKilledT.clear();
}

void Top::killPatch(CPatch* pPatch)
{
    pMesh->settleMembers(pPatch);
    std::copy_if(pPatch->getMembers().begin(), pPatch->getMembers().end(), std::back_inserter(vKilledT),
                 [](const CTriangle* pCT) { return pCT->isAlive(); });
    pPatch->kill();
}

bool Top::solvePatchPairsRound(bool bFlag)
{
    dividePatches();
    return solveRound(bFlag);
}

bool Top::solveRound(bool bFlag)
{
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_pps", ROUND_STEPS);
    std::vector<CPatch*> vPatches = pMesh->getPatches(), vClosedPatches;
    std::vector<PatchPair> vPatchPairs;
    pProgress->tick();

    forEachMT(vPatches, [](CPatch* pPatch) {
        if (!pPatch->knowsOuterBoundary())
            pPatch->setOuterBoundary();
    });
    findPairs(vPatches, vClosedPatches, vPatchPairs);
    pProgress->tick();

    // Only large pairs ask for the area of the mesh, as it is before the first one is solved.
    const bool bNeedArea = std::any_of(vPatchPairs.begin(), vPatchPairs.end(), [](const PatchPair& pair) {
        return !isSmallPair(pair.first, pair.second);
    });
    const double meshArea = bNeedArea ? pMesh->getArea() : 0.0;
    int numSolved = 0;
    for (const auto& [pA, pB] : vPatchPairs)
        numSolved += solvePair(pA, pB, meshArea) ? 1 : 0;
    pProgress->tick();

    numSolved += killClosedPatches(vClosedPatches, bFlag) ? 1 : 0;
    pProgress->tick();
    pProgress->finish(true);
    return numSolved >= 1;
}

bool Top::solvePair(CPatch* pA, CPatch* pB, double meshArea)
{
    if (!isSmallPair(pA, pB)) {
        pMesh->settleMembers(pA); // a sum of areas shows their order in its last digits
        pMesh->settleMembers(pB);
        if ((pA->getArea() + pB->getArea()) / meshArea > MAX_SHARE)
            return false;
    }
    killPatch(pA->getSize() < pB->getSize() ? pA : pB);
    return true;
}

bool Top::killClosedPatches(std::vector<CPatch*>& vClosedPatches, bool bFlag)
{
    sortMT(vClosedPatches.begin(), vClosedPatches.end(), lessBySize);
    int numKilled = 0;
    for (CPatch* pPatch : vClosedPatches) {
        if (!pPatch->isAlive() || !pPatch->isClosed())
            continue;
        if (isSpeck(pPatch)) {
            killPatch(pPatch);
        } else if (pPatch->splitClosedPatchKill(bFlag)) {
            std::copy_if(pPatch->getMembers().begin(), pPatch->getMembers().end(),
                         std::back_inserter(vKilledT), [](const CTriangle* pCT) { return !pCT->isAlive(); });
            ++numKilled;
        }
    }
    return numKilled > 0;
}

bool Top::killMembranes()
{
    dividePatches();
    return killSmallMembranes();
}

bool Top::killSmallMembranes()
{
    std::vector<CPatch*> vSmall;
    std::copy_if(pMesh->getPatches().begin(), pMesh->getPatches().end(), std::back_inserter(vSmall),
                 [](const CPatch* pPatch) { return pPatch->getSize() <= ALWAYS_SOLVED; });
    std::sort(vSmall.begin(), vSmall.end(), lessBySize);
    for (CPatch* pPatch : vSmall)
        if (pPatch->isMembrane()) // as the ones before have left the edges
            killPatch(pPatch);
    return !vKilledT.empty();
}

// ---- orientation -----------------------------------------------------------------------------------------

void Top::createPatchesOrient(std::vector<CTriangle*>& vT, std::vector<CPatch*>& vPatches)
{
    zanAssertText(vPatches.empty(), "vPatches.empty()");
    pMesh->clearPatches();
    std::vector<CTriangle*> vQueue, vReserveT; // scratch of all patches
    for (CTriangle* pCT : vT) {
        if (!pCT->isAlive() || pCT->getPatch() != nullptr)
            continue;
        vPatches.push_back(new CPatch(pMesh, int(vPatches.size())));
        vQueue.assign(1, pCT);
        pCT->setPatch(vPatches.back());
        growOriented(vPatches.back(), vQueue, vReserveT);
    }
}

void Top::strategyMST(std::set<CEdge*>& sFences)
{
    messageStream() << "This is strategyMST" << std::endl;
    pMesh->clearPatches();
    std::vector<CTriangle*> vAliveT;
    pMesh->getAliveT(vAliveT);
    if (vAliveT.empty())
        return;
    CPatch patch(pMesh, 0); // its end leaves no triangle with a patch
    vMstHeap.clear();
    numMstEntries = 0;
    CTriangle* pStartT = vAliveT.front();
    patch.addMember(pStartT);
    for (int i = 0; i < 3; ++i)
        enqueue(pStartT, i);
    while (!vMstHeap.empty()) {
        std::pop_heap(vMstHeap.begin(), vMstHeap.end(), isLater<Connection>);
        const Connection connection = vMstHeap.back();
        vMstHeap.pop_back();
        CTriangle* pCandidate = connection.pCandidate;
        if (pCandidate->getPatch() != nullptr)
            continue;
        if (connection.pSource->needFlip(pCandidate))
            pCandidate->flipOrientation();
        patch.addMember(pCandidate);
        for (int i = 0; i < 3; ++i)
            enqueue(pCandidate, i);
    }
    for (CEdge* pCE : pMesh->getE())
        if (pCE->getDegree() == 2 && pCE->getCTs()[0]->needFlip(pCE->getCTs()[1]))
            sFences.insert(pCE);
    messageStream() << "Fences: " << sFences.size() << std::endl;
}

void Top::enqueue(CTriangle* pCT, int i)
{
    zanAssertText(pCT != nullptr && pCT->isAlive(), "pCT!=0 && pCT->isAlive()");
    zanAssertText(pCT->getPatch() != nullptr, "pCT->getPatch()!=0");
    CEdge* pCE = pCT->getCEdge(i);
    zanAssertText(pCE != nullptr, "pCE!=0");
    const int degree = pCE->getDegree();
    if (degree == 1)
        return;
    if (degree == 2) {
        CEdge::TriangleList vOrdered;
        vOrdered.push_back(pCT);
        vOrdered.push_back(pCE->getOtherT(pCT));
        pCE->reorder(vOrdered);
    } else if (!pRotx->sortStar(pCT, pCE)) {
        messageStream() << "Rotx failed!" << std::endl;
        return;
    }
    enqueueConnection(pCT, pCE->getCTs()[1]);
    if (degree > 2)
        enqueueConnection(pCT, pCE->getCTs().back());
}

// A neighbour that runs the wrong way counts with the normal that it will have.
void Top::enqueueConnection(CTriangle* pSource, CTriangle* pCandidate)
{
    if (pCandidate->getPatch() != nullptr)
        return;
    zanAssert(pCandidate->isAlive());
    Vector3 nnvOwn, nnv1;
    bool bOwnOK = false, bOK1 = false;
    pSource->getNNV(pMesh, nnvOwn, bOwnOK);
    pCandidate->getNNV(pMesh, nnv1, bOK1);
    if (!bOwnOK || !bOK1) {
        messageStream() << (bOwnOK ? "NO NNV1" : "NO NNV1 (a)") << std::endl;
        return;
    }
    if (pSource->needFlip(pCandidate))
        nnv1 *= -1.0;
    vMstHeap.push_back({getAngleDegree(nnvOwn, nnv1), numMstEntries++, pSource, pCandidate});
    std::push_heap(vMstHeap.begin(), vMstHeap.end(), isLater<Connection>);
}

} // namespace TESK_ZAN
