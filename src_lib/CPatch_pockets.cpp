#include "CPatch.h"

#include "CMesh.h"
#include "ConEdge.h"
#include "sortMT.h"
#include "tesk_tools/FlatMap.h"
#include "zanAssert.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

// What counts as a flat pocket: anything small, medium ones up to a cell thick, large ones only if thinner.
constexpr std::size_t SMALL_SIZE = 20;   // triangles
constexpr std::size_t MEDIUM_SIZE = 100; // triangles
constexpr double MEDIUM_THICKNESS = 1.0; // cells
constexpr double LARGE_THICKNESS = 0.4;  // cells
constexpr double SURELY_THICK = 6.0;     // cells: points lie within a diagonal of the centres of their cells

enum Side { POS = 0, NEG = 1 };

Side otherSide(Side side)
{
    return side == POS ? NEG : POS;
}

// Divides a closed patch in two along its folds: grows both sides from the two triangles of one fold, over
// flat connections first. A triangle that is reached only over edges with more than two members stays in
// neither side. The orientations that it leaves make each side consistent and both face the same way.
class PocketSides
{
public:
    PocketSides(CMesh* pMeshGiven, const CPatch* pPatchGiven) : pMesh(pMeshGiven), pPatch(pPatchGiven) {}

    void split(CEdge* pStartCE)
    {
        mSideOfT.reserve(pPatch->getSize());
        const ConEdge start(pMesh, pStartCE, pPatch);
        CTriangle* pCT0 = start.vMemT[0];
        CTriangle* pCT1 = start.vMemT[1];
        if (!pCT0->needFlip(pCT1))
            pCT1->flipOrientation();
        join(pCT0, POS, pStartCE);
        join(pCT1, NEG, pStartCE);
        while (!vHeap.empty())
            cross(takeFirst());
    }

    const std::vector<CTriangle*>& getMembers(Side side) const { return vSideT[side]; }

private:
    // The place of an entry in vConEdges is also its sequence number.
    struct HeapEntry {
        double angle;
        std::size_t index;
    };

    static bool isLater(const HeapEntry& a, const HeapEntry& b)
    {
        return a.angle != b.angle ? a.angle > b.angle : a.index > b.index;
    }

    const Side* sideOf(const CTriangle* pCT) const { return mSideOfT.find(pCT->getNumber()); }

    // Enters the triangle, and its edges other than the one that it was reached by.
    void join(CTriangle* pCT, Side side, const CEdge* pFromCE)
    {
        zanAssert(mSideOfT.tryEmplace(pCT->getNumber(), side).second);
        vSideT[side].push_back(pCT);
        for (int i = 0; i < 3; ++i) {
            if (pCT->getCEdge(i) == pFromCE)
                continue;
            vConEdges.emplace_back(pMesh, pCT->getCEdge(i), pPatch);
            vHeap.push_back({vConEdges.back().angle, vConEdges.size() - 1});
            std::push_heap(vHeap.begin(), vHeap.end(), isLater);
        }
    }

    // A copy: crossing it adds others.
    ConEdge takeFirst()
    {
        std::pop_heap(vHeap.begin(), vHeap.end(), isLater);
        const std::size_t index = vHeap.back().index;
        vHeap.pop_back();
        return vConEdges[index];
    }

    void cross(const ConEdge& conEdge)
    {
        if (conEdge.vMemT.size() != 2)
            return;
        CTriangle* pSrcT = conEdge.vMemT[0];
        CTriangle* pTrgT = conEdge.vMemT[1];
        if (sideOf(pSrcT) == nullptr)
            std::swap(pSrcT, pTrgT);
        if (sideOf(pTrgT) != nullptr)
            return;
        zanAssertText(sideOf(pSrcT) != nullptr, "pSrcT->bVisited");
        const Side sideSrc = *sideOf(pSrcT);
        if (pSrcT->needFlip(pTrgT) == conEdge.bSameSide)
            pTrgT->flipOrientation();
        join(pTrgT, conEdge.bSameSide ? sideSrc : otherSide(sideSrc), conEdge.pCE);
    }

    CMesh* pMesh;
    const CPatch* pPatch;
    TESK_TOOLS::FlatMap<u64, Side, TESK_TOOLS::U64Hash> mSideOfT; // by number: the triangles reached
    std::vector<CTriangle*> vSideT[2];
    std::vector<ConEdge> vConEdges;
    std::vector<HeapEntry> vHeap;
};

} // namespace

CEdge* CPatch::foldAt(const CTriangle* pCT) const
{
    for (int i = 0; i < 3; ++i)
        if (CEdge* pCE = pCT->getCEdge(i); pCE->getDegree() > 2 && countMembersAt(pCE) == 2)
            return pCE;
    return nullptr;
}

bool CPatch::hasFold() const
{
    const std::vector<CTriangle*>& vCT = walkOrder();
    std::atomic<bool> bFound{false};
    forRangeMT(vCT.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !bFound; ++i)
            if (isAliveMember(vCT[i]) && foldAt(vCT[i]) != nullptr)
                bFound = true;
    });
    return bFound;
}

// Told without a look at the points, nor at which side is the outer one.
bool CPatch::isBulky()
{
    return getSize() >= MEDIUM_SIZE && orientMembers() && std::abs(getCoarseThickness()) > SURELY_THICK;
}

// Without an area the thickness is no number, and only the size counts.
bool CPatch::isFlatPocket() const
{
    if (getSize() < SMALL_SIZE)
        return true;
    const double thickness = getVolume() / (getArea() / 2.0) / pMesh->getCalc()->getCellSize();
    return (getSize() < MEDIUM_SIZE && thickness < MEDIUM_THICKNESS) || thickness < LARGE_THICKNESS;
}

// Triangles outside can only hang on folds, and the fold that the split starts from has some: so others hang
// on both sides whatever the sides are, and which one is in use elsewhere cannot decide.
bool CPatch::splitClosedPatchKill(bool bFlag)
{
    if (bFlag || !bMayFold || bJudged)
        return false;
    bMayFold = hasFold();
    if (!bMayFold)
        return false;
    bJudged = isBulky();
    if (bJudged)
        return false;
    orient();
    bJudged = !isFlatPocket();
    if (bJudged)
        return false;
    pMesh->settleMembers(this); // the split starts from the first fold of a new division
    const auto start = std::find_if(vMemberCT.begin(), vMemberCT.end(), [this](const CTriangle* pCT) {
        return pCT->isAlive() && foldAt(pCT) != nullptr;
    });
    PocketSides sides(pMesh, this);
    sides.split(foldAt(*start));
    const bool bPosIsSmaller = sides.getMembers(POS).size() < sides.getMembers(NEG).size();
    for (CTriangle* pCT : sides.getMembers(bPosIsSmaller ? POS : NEG))
        pCT->kill(pMesh);
    return true;
}

} // namespace TESK_ZAN
