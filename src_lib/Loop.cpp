#include "Loop.h"

#include "CEdge.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

using NumberSet = TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash>; // of codes, or triangles by number

// Normals at the two neighbours of a corner that differ by more than this are a fold: its ear goes after all
// others, by a penalty on its angle.
constexpr double FOLD_DEGREES = 45.0;
constexpr double FOLD_PENALTY = 100.0;

// A flat hole has an angle sum of -360.0, the outer rim of a flat surface 360.0.
constexpr double MAX_ANGLE_SUM = 250.0;
constexpr double DOUBTFUL_ANGLE_SUM = -200.0;

constexpr int MAX_LAST_CORNERS = 4;

bool runsAgainst(const CEdge* pCE, u64 vcd)
{
    return pCE->isBorder() && pCE->getCTs()[0]->getHEDirection2(vcd, pCE->getOtherVCD(vcd)) == HE_OPPOSITE;
}

} // namespace

// ---- the path

Loop::Loop(EdgeMap& mmVCD2CE, CMesh* pMeshGiven, const BorderStrands* pStrands) : pMesh(pMeshGiven)
{
    bClosed = orientChainAndAjacentT(mmVCD2CE, pStrands);
    if (bClosed)
        orientAroundCorners();
    else
        turnBack();
}

bool Loop::orientChainAndAjacentT(EdgeMap& mmVCD2CE, const BorderStrands* pStrands)
{
    zanAssert(!mmVCD2CE.empty());
    const u64 startVCD = mmVCD2CE.begin()->first;
    u64 vcd = startVCD;
    CEdge* pArrived = nullptr;
    while (CEdge* pCE = chooseEdge(mmVCD2CE, vcd, pArrived, pStrands)) {
        removeEdge(mmVCD2CE, pCE);
        takeEdge(pCE, vcd);
        vcd = pCE->getOtherVCD(vcd);
        pArrived = pCE;
    }
    return vcd == startVCD;
}

// Null if no edge continues. A strand that is parted from others goes on over its own edge or ends.
CEdge* Loop::chooseEdge(const EdgeMap& mmVCD2CE, u64 vcd, const CEdge* pArrived,
                        const BorderStrands* pStrands) const
{
    const auto [first, last] = mmVCD2CE.equal_range(vcd);
    if (first == last)
        return nullptr;
    if (pStrands != nullptr && pArrived != nullptr) {
        if (CEdge* const* ppCE = pStrands->find({vcd, pArrived->getNumber()})) {
            const auto place =
                std::find_if(first, last, [ppCE](const auto& entry) { return entry.second == *ppCE; });
            return place != last ? *ppCE : nullptr;
        }
    }
    const auto place =
        std::find_if(first, last, [vcd](const auto& entry) { return runsAgainst(entry.second, vcd); });
    return place != last ? place->second : first->second;
}

void Loop::takeEdge(CEdge* pCE, u64 vcd)
{
    zanAssert(pCE->getDegree() > 0);
    pCE->setDirection(ED_NONE);
    pCE->setDirection(vcd == pCE->getV0() ? ED_V0V1 : ED_V1V0);
    vCE.push_back(pCE);
    if (!pCE->isBorder())
        return;
    CTriangle* pCT = pCE->getCTs()[0];
    if (pCT->getHEDirection2(pCE->getSource(), pCE->getTarget()) != HE_OPPOSITE)
        turn(pCT);
    vAdjT.push_back(pCT);
}

void Loop::turn(CTriangle* pCT)
{
    pCT->flipOrientation();
    vTurnedT.push_back(pCT);
}

void Loop::turnBack()
{
    for (CTriangle* pCT : vTurnedT)
        pCT->flipOrientation();
    vTurnedT.clear();
}

// Turns the other triangles at the corners like those on the path, so that they have a mean normal.
void Loop::orientAroundCorners()
{
    NumberSet sCornerVCD, sSeen;
    for (const CEdge* pCE : vCE)
        sCornerVCD.tryEmplace(pCE->getSource(), true);
    std::vector<CTriangle*> vQueue;
    for (CTriangle* pCT : vAdjT)
        if (sSeen.tryEmplace(pCT->getNumber(), true).second)
            vQueue.push_back(pCT);

    for (std::size_t i = 0; i < vQueue.size(); ++i) {
        const CTriangle* pCT = vQueue[i];
        for (int k = 0; k < 3; ++k) {
            const CEdge* pCE = pCT->getCEdge(k);
            const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
            CTriangle* pNeigCT = pCE->getOtherT(pCT); // null at edges of degree 3, where sides are undefined
            if (pNeigCT == nullptr || (sCornerVCD.find(v0) == nullptr && sCornerVCD.find(v1) == nullptr) ||
                !sSeen.tryEmplace(pNeigCT->getNumber(), true).second)
                continue;
            if (pNeigCT->getHEDirection2(v0, v1) == pCT->getHEDirection2(v0, v1))
                turn(pNeigCT);
            vQueue.push_back(pNeigCT);
        }
    }
}

// ---- corners and their queue

void Loop::initPrioq()
{
    zanAssert(bClosed && !vCE.empty());
    vAE.reserve(vCE.size());
    for (std::size_t i = 0; i < vCE.size(); ++i) {
        const CEdge* pPrevCE = vCE[i > 0 ? i - 1 : vCE.size() - 1];
        vAE.emplace_back(pMesh, vCE[i]->getSource(), vCE[i]->isBorder() && pPrevCE->isBorder());
    }
    numCorners = int(vAE.size());
    for (std::size_t i = 0; i < vAE.size(); ++i) {
        vAE[i].setPrevAE(&vAE[i > 0 ? i - 1 : vAE.size() - 1]);
        vAE[i].setNextAE(&vAE[i + 1 < vAE.size() ? i + 1 : 0]);
        zanAssert(vAE[i].getPrevAE() != &vAE[i] && vAE[i].getNextAE() != &vAE[i]);
    }
    for (AngleEntry& entry : vAE)
        enqueueIfUsable(&entry);
}

void Loop::enqueueIfUsable(AngleEntry* pAE)
{
    int status = 0;
    const double angleDeg = pAE->getAngle(true, status);
    if (status == CS_USABLE)
        enqueue(angleDeg, pAE);
}

void Loop::enqueue(double angleDeg, AngleEntry* pAE)
{
    mmPrioq.push_back({angleDeg, numQueued++, pAE});
    std::push_heap(mmPrioq.begin(), mmPrioq.end(), isLater);
}

bool Loop::isLater(const QueuedCorner& a, const QueuedCorner& b)
{
    return a.angleDeg != b.angleDeg ? a.angleDeg > b.angleDeg : a.sequence > b.sequence;
}

AngleEntry* Loop::getNext()
{
    while (!mmPrioq.empty()) {
        std::pop_heap(mmPrioq.begin(), mmPrioq.end(), isLater);
        const auto [savedDeg, sequence, pAE] = mmPrioq.back();
        mmPrioq.pop_back();
        if (!pAE->isAlive())
            continue;
        int status = 0;
        double freshDeg = pAE->getAngle(true, status);
        if (status != CS_USABLE || !canCut(*pAE))
            continue;
        if (pAE->getPrevNextDihedral() > FOLD_DEGREES)
            freshDeg += FOLD_PENALTY;
        if (freshDeg <= savedDeg)
            return pAE;
        enqueue(freshDeg, pAE); // nothing changes until it comes up again, unless an ear was cut
    }
    return nullptr;
}

// The third edge of the ear must be new, or the last one of the loop.
bool Loop::canCut(const AngleEntry& ear) const
{
    const u64 prev = ear.getPrevAE()->getVCD(), next = ear.getNextAE()->getVCD();
    if (prev == next || ear.getVCD() == prev || ear.getVCD() == next)
        return false; // a loop that meets itself
    const CEdge* pThirdCE = pMesh->getEdge(prev, next);
    const bool bThere = pThirdCE != nullptr && pThirdCE->getDegree() > 0;
    if (numCorners > 3)
        return !bThere;
    return bThere && pThirdCE->isBorder() && !pThirdCE->hasTriangle(prev, ear.getVCD(), next);
}

// ---- filling

bool Loop::triangulate()
{
    AngleEntry* pAE = numCorners >= 3 ? getNext() : nullptr;
    if (pAE == nullptr)
        return false;
    cutEar(pAE);
    return true;
}

// With so few corners left, all of them reflex, the one with the smallest angle. False if there are more, or
// if none has an ear.
bool Loop::cutLastEar()
{
    if (numCorners < 3 || numCorners > MAX_LAST_CORNERS)
        return false;
    AngleEntry* pSharpest = nullptr;
    double minDeg = 360.0;
    for (AngleEntry& entry : vAE) {
        int status = 0;
        const double angleDeg = entry.isAlive() ? entry.getAngle(true, status) : DBL_MAX;
        if (angleDeg >= minDeg || !canCut(entry))
            continue;
        minDeg = angleDeg;
        pSharpest = &entry;
    }
    if (pSharpest != nullptr)
        cutEar(pSharpest);
    return pSharpest != nullptr;
}

void Loop::cutEar(AngleEntry* pAE)
{
    AngleEntry* pPrevAE = pAE->getPrevAE();
    AngleEntry* pNextAE = pAE->getNextAE();
    zanAssert(pPrevAE != pNextAE && pPrevAE->getNextAE() == pAE && pNextAE->getPrevAE() == pAE);

    pAE->kill();
    --numCorners;
    CTriangle* pCT = pMesh->createT(pPrevAE->getVCD(), pAE->getVCD(), pNextAE->getVCD(), 0, 0);
    vNewT.push_back(pCT);
    int status = 0;
    const double angleDeg = pAE->getAngle(false, status);
    if (angleDeg < 175.0)
        signedArea += pCT->getArea(pMesh);
    else if (angleDeg > 185.0)
        signedArea -= pCT->getArea(pMesh);

    pPrevAE->setNextAE(pNextAE);
    pNextAE->setPrevAE(pPrevAE);
    enqueueIfUsable(pPrevAE);
    enqueueIfUsable(pNextAE);
}

bool Loop::run()
{
    initPrioq();
    const double angleSum = getAngleSum();
    if (angleSum <= MAX_ANGLE_SUM) {
        while (triangulate() || cutLastEar()) {
        }
        const bool bWhole = numCorners == 2;
        if (bWhole && !(angleSum > DOUBTFUL_ANGLE_SUM && signedArea < 0.0))
            return true;
    }
    takeBack();
    turnBack();
    return false;
}

// Over all corners that have an angle, flat and reflex ones too: how much the loop turns altogether.
double Loop::getAngleSum()
{
    double sumDeg = 0.0;
    for (AngleEntry& entry : vAE) {
        int status = 0;
        const double angleDeg = entry.getAngle(false, status);
        if (angleDeg <= 360.0)
            sumDeg += angleDeg - 180.0;
    }
    return sumDeg;
}

// The last first: so the edges list their triangles as before.
void Loop::takeBack()
{
    for (auto place = vNewT.rbegin(); place != vNewT.rend(); ++place)
        (*place)->kill(pMesh);
    vNewT.clear();
}

} // namespace TESK_ZAN
