#include "PatchStitcher.h"

#include "CMesh.h"
#include "freeFunctions.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// A candidate that turns further than this against its neighbour is no continuation.
constexpr double MAX_TURN_DEGREES = 100.0;

} // namespace

PatchStitcher::PatchStitcher(CMesh* pMesh_, const std::vector<CEdge*>& vRimCE_,
                             const std::vector<CTriangle*>& vCandidateT_)
    : pMesh(pMesh_), vRimCE(vRimCE_), vCandidateT(vCandidateT_)
{
    for (const CTriangle* pCT : vCandidateT)
        mState.tryEmplace(pCT->getNumber(), ST_CANDIDATE);
}

bool PatchStitcher::isLater(const Step& a, const Step& b)
{
    return a.turnDeg != b.turnDeg ? a.turnDeg > b.turnDeg : a.sequence > b.sequence;
}

bool PatchStitcher::isCandidate(const CTriangle* pCT) const
{
    const State* pState = mState.find(pCT->getNumber());
    return pState != nullptr && *pState == ST_CANDIDATE;
}

std::size_t PatchStitcher::run(std::vector<std::vector<CEdge*>>& vOpenLoops)
{
    for (CEdge* pCE : vRimCE)
        for (CTriangle* pCT : pCE->getCTs())
            if (!isCandidate(pCT))
                enterFront(pCE, pCT);
    for (CEdge* pCE : vRimCE)
        if (const FrontEdge* pFront = mFront.find(pCE->getNumber()))
            enqueueBeyond(pCE, *pFront);

    while (!vSteps.empty() || takeUpPinches()) {
        std::pop_heap(vSteps.begin(), vSteps.end(), isLater);
        const Step step = vSteps.back();
        vSteps.pop_back();
        take(step);
    }
    std::size_t numChosen = vCandidateT.size();
    for (CTriangle* pCT : vCandidateT)
        if (isCandidate(pCT)) {
            pCT->kill(pMesh);
            --numChosen;
        }
    appendOpenLoops(vOpenLoops);
    return numChosen;
}

void PatchStitcher::take(const Step& step)
{
    const FrontEdge front = *mFront.find(step.pCE->getNumber());
    if (!front.bOpen || !isCandidate(step.pCT) || !fits(*step.pCT, front.source, front.target))
        return;
    if (!pinches(*step.pCT, front.source, front.target))
        choose(step.pCT, front.source, front.target);
    else if (!bPinch)
        vPinches.push_back(step);
    else if (isOnLoop(step.pCE, front, step.pCT->getThirdCCD(front.source, front.target)))
        choose(step.pCT, front.source, front.target);
}

// Once nothing else is left: the triangles that part the front in two. False if there are none.
bool PatchStitcher::takeUpPinches()
{
    bPinch = true;
    vSteps.swap(vPinches);
    vPinches.clear();
    std::make_heap(vSteps.begin(), vSteps.end(), isLater);
    return !vSteps.empty();
}

// The third corner lies elsewhere on the front.
bool PatchStitcher::pinches(const CTriangle& triangle, u64 source, u64 target) const
{
    const u64 third = triangle.getThirdCCD(source, target);
    const int* pNumStrands = mNumStrands.find(third);
    return pNumStrands != nullptr && *pNumStrands > 0 &&
           mFront.find(pMesh->getEdge(target, third)->getNumber()) == nullptr &&
           mFront.find(pMesh->getEdge(third, source)->getNumber()) == nullptr;
}

// A triangle that joined two loops of the front would make a handle.
bool PatchStitcher::isOnLoop(const CEdge* pStartCE, const FrontEdge& start, u64 vcd) const
{
    constexpr int MAX_STEPS = 100000;
    const CEdge* pCE = pStartCE;
    FrontEdge front = start;
    for (int step = 0; step < MAX_STEPS && front.target != vcd; ++step) {
        pCE = getNextOpen(pCE, front);
        if (pCE == nullptr || pCE == pStartCE)
            return false;
        front = *mFront.find(pCE->getNumber());
    }
    return front.target == vcd;
}

// The front runs against its owner.
void PatchStitcher::enterFront(CEdge* pCE, CTriangle* pOwnerCT)
{
    FrontEdge front{pOwnerCT, pCE->getV0(), pCE->getV1(), true};
    if (pOwnerCT->getHEDirection2(front.source, front.target) == HE_SAME)
        std::swap(front.source, front.target);
    if (!mFront.tryEmplace(pCE->getNumber(), front).second)
        return;
    vReachedCE.push_back(pCE);
    ++*mNumStrands.tryEmplace(front.source, 0).first;
    mNumStrands.tryEmplace(front.target, 0);
}

void PatchStitcher::enqueueBeyond(CEdge* pCE, const FrontEdge& front)
{
    bool bOK = false, bOwnerOK = false;
    Vector3 nnvOwner, nnv;
    front.pOwnerCT->getNNV(pMesh, nnvOwner, bOwnerOK);
    for (CTriangle* pCT : pCE->getCTs()) {
        if (!isCandidate(pCT))
            continue;
        pCT->getNNV(pMesh, nnv, bOK);
        if (!bOK || !bOwnerOK)
            continue;
        const bool bSame = pCT->getHEDirection2(front.source, front.target) == HE_SAME;
        const double turnDeg = getAngleDegree(nnvOwner, bSame ? nnv : nnv * -1.0);
        if (turnDeg > MAX_TURN_DEGREES)
            continue;
        vSteps.push_back({turnDeg, numSteps++, pCE, pCT});
        std::push_heap(vSteps.begin(), vSteps.end(), isLater);
    }
}

// The third corner is new to the sheet and to the mesh, or on the front; the two other edges are new or part
// of the front. No more than two strands of the front meet in a vertex: then it is clear which way they part.
bool PatchStitcher::fits(const CTriangle& triangle, u64 source, u64 target) const
{
    const u64 third = triangle.getThirdCCD(source, target);
    if (!fitsEdge(*pMesh->getEdge(target, third), target, third) ||
        !fitsEdge(*pMesh->getEdge(third, source), third, source))
        return false;
    if (cutsOffFan(source, target, third) || cutsOffFan(target, third, source) ||
        cutsOffFan(third, source, target))
        return false;
    if (const int* pNumStrands = mNumStrands.find(third))
        return *pNumStrands == 1 || (*pNumStrands > 1 && !pinches(triangle, source, target));
    std::vector<CTriangle*> vCT;
    pMesh->getIncidentT(third, vCT);
    return std::all_of(vCT.begin(), vCT.end(), [this](const CTriangle* pCT) { return isCandidate(pCT); });
}

// A triangle from prev over vcd to next would close the fan between its two edges at vcd, while another
// strand of the front still passes there: the vertex would fall apart.
bool PatchStitcher::cutsOffFan(u64 prev, u64 vcd, u64 next) const
{
    const int* pNumStrands = mNumStrands.find(vcd);
    const CEdge *pInCE = pMesh->getEdge(prev, vcd), *pOutCE = pMesh->getEdge(vcd, next);
    const FrontEdge* pIn = mFront.find(pInCE->getNumber());
    return pNumStrands != nullptr && *pNumStrands > 1 && pIn != nullptr &&
           mFront.find(pOutCE->getNumber()) != nullptr && getEndOfFan(pInCE, *pIn) == pOutCE;
}

bool PatchStitcher::fitsEdge(const CEdge& edge, u64 from, u64 to) const
{
    if (const FrontEdge* pFront = mFront.find(edge.getNumber()))
        return pFront->bOpen && pFront->source == from && pFront->target == to;
    return std::all_of(edge.getCTs().begin(), edge.getCTs().end(),
                       [this](const CTriangle* pCT) { return isCandidate(pCT); });
}

void PatchStitcher::choose(CTriangle* pCT, u64 source, u64 target)
{
    if (pCT->getHEDirection2(source, target) != HE_SAME)
        pCT->flipOrientation();
    *mState.find(pCT->getNumber()) = ST_CHOSEN;
    for (int ici = 0; ici < 3; ++ici) {
        CEdge* pCE = pCT->getCEdge(ici);
        FrontEdge* pFront = mFront.find(pCE->getNumber());
        if (pFront == nullptr) {
            enterFront(pCE, pCT);
            continue;
        }
        pFront->bOpen = false;
        --*mNumStrands.find(pFront->source);
    }
    for (int ici = 0; ici < 3; ++ici) {
        CEdge* pCE = pCT->getCEdge(ici);
        const FrontEdge front = *mFront.find(pCE->getNumber());
        if (front.bOpen)
            enqueueBeyond(pCE, front);
    }
}

// ---- gaps ------------------------------------------------------------------------------------------------

// A path that runs into a dead end or into itself is no loop, and no one fills it.
void PatchStitcher::appendOpenLoops(std::vector<std::vector<CEdge*>>& vOpenLoops)
{
    for (CEdge* pStartCE : vReachedCE) {
        std::vector<CEdge*> vLoopCE;
        CEdge* pCE = pStartCE;
        while (pCE != nullptr && mFront.find(pCE->getNumber())->bOpen) {
            FrontEdge& front = *mFront.find(pCE->getNumber());
            front.bOpen = false; // taken; none is open at the end
            vLoopCE.push_back(pCE);
            pCE = getNextOpen(pCE, front);
        }
        if (!vLoopCE.empty() && pCE == pStartCE)
            vOpenLoops.push_back(vLoopCE);
    }
}

// The front edge that goes on where this one ends: of several the first that leaves another fan. The edge at
// which a loop began is found although it has been taken.
CEdge* PatchStitcher::getNextOpen(const CEdge* pCE, const FrontEdge& front) const
{
    std::vector<CEdge*> vCE, vNextCE;
    pMesh->getIncidentCE(front.target, vCE);
    for (CEdge* pNextCE : vCE) {
        const FrontEdge* pNext = mFront.find(pNextCE->getNumber());
        if (pNext != nullptr && pNext->source == front.target &&
            getBeyond(pNextCE, pNext->pOwnerCT) == nullptr)
            vNextCE.push_back(pNextCE);
    }
    if (vNextCE.size() > 1) {
        const CEdge* pOwnCE = getEndOfFan(pCE, front);
        std::erase_if(vNextCE, [pOwnCE](const CEdge* pNextCE) { return pNextCE == pOwnCE; });
    }
    return vNextCE.empty() ? nullptr : vNextCE.front();
}

// The triangle on the other side of an edge, of the sheet or outside of the hole; null at its border.
const CTriangle* PatchStitcher::getBeyond(const CEdge* pCE, const CTriangle* pCT) const
{
    for (const CTriangle* pOtherCT : pCE->getCTs())
        if (pOtherCT != pCT && !isCandidate(pOtherCT))
            return pOtherCT;
    return nullptr;
}

// The border edge at the other end of the fan that the edge bounds at its target.
const CEdge* PatchStitcher::getEndOfFan(const CEdge* pCE, const FrontEdge& front) const
{
    const CTriangle* pCT = front.pOwnerCT;
    while (pCT != nullptr) {
        const int ici = pCT->getICI(front.target);
        const CEdge* pNextCE = pCT->getCEdge((ici + 1) % 3);
        if (pNextCE == pCE)
            pNextCE = pCT->getCEdge((ici + 2) % 3);
        pCE = pNextCE;
        pCT = getBeyond(pCE, pCT);
    }
    return pCE;
}

} // namespace TESK_ZAN
