#include "CMesh.h"

#include "CPatch.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <ostream>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

constexpr double MAX_SPLIT_TURN = 90.0; // degrees by which a half may turn against the whole

// A neighbour of a triangle that goes, seen from its corner opposite the common edge:
//
//        opp                  opp
//       /   \                / | \          the two halves are (opp, next, split) and (opp, split, prev)
//   next --- prev        next split prev
//
struct SplitPlan {
    CTriangle* pCT;
    u64 opp, next, prev;
};

bool turnsLittle(const CMesh* pMesh, const Vector3& nnvOld, u64 a, u64 b, u64 c)
{
    bool bOK = false;
    const Vector3 nnvNew = getNormalVector(pMesh, a, b, c, bOK);
    return bOK && getAngleDegree(nnvOld, nnvNew) <= MAX_SPLIT_TURN;
}

bool maySplit(const CMesh* pMesh, const SplitPlan& plan, u64 split)
{
    bool bOK = false;
    const Vector3 nnvOld = getNormalVector(pMesh, plan.opp, plan.next, plan.prev, bOK);
    return bOK && turnsLittle(pMesh, nnvOld, plan.opp, plan.next, split) &&
           turnsLittle(pMesh, nnvOld, plan.opp, split, plan.prev);
}

CTriangle* findTriangle(const CMesh* pMesh, u64 a, u64 b, u64 c)
{
    const CEdge* pCE = pMesh->getEdge(b, c);
    if (pCE == nullptr)
        return nullptr;
    for (CTriangle* pCT : pCE->getCTs())
        if (pCT->has(a))
            return pCT;
    return nullptr;
}

// A half that exists already lay upon the neighbour: both go, which leaves every edge with an even or odd
// number of triangles as before. A second one beside it would leave a flap.
void splitAt(CMesh* pMesh, const SplitPlan& plan, u64 split, std::vector<CTriangle*>& vKids)
{
    const u64 vcd = plan.pCT->getVCD();
    CPatch* pPatch = plan.pCT->getPatch();
    plan.pCT->kill(pMesh);
    for (const auto& [b, c] : {std::pair(plan.next, split), std::pair(split, plan.prev)}) {
        if (CTriangle* pTwin = findTriangle(pMesh, plan.opp, b, c)) {
            pTwin->kill(pMesh);
            continue;
        }
        vKids.push_back(pMesh->createT(plan.opp, b, c, vcd, 0));
        if (pPatch != nullptr)
            pPatch->addMember(vKids.back());
    }
}

// With the least corner at hand the sort of all triangles reads no triangle.
struct CornerEntry {
    u64 lowest;
    CTriangle* pCT;
};

std::vector<CornerEntry> sortByLowestCorner(const std::vector<CTriangle*>& vT)
{
    std::vector<CornerEntry> vEntries;
    transformMT(vT, vEntries, [](CTriangle* pCT) {
        return CornerEntry{std::min({pCT->getC0(), pCT->getC1(), pCT->getC2()}), pCT};
    });
    sortMT(vEntries.begin(), vEntries.end(),
           [](const CornerEntry& a, const CornerEntry& b) { return a.lowest < b.lowest; });
    return vEntries;
}

// The triangles with one least corner, by the other two, then by age.
class SameLowest
{
public:
    void sort(const CornerEntry* pBegin, const CornerEntry* pEnd)
    {
        vEntries.clear();
        for (const CornerEntry* p = pBegin; p != pEnd; ++p) {
            Entry entry{0, 0, p->pCT->getNumber(), p->pCT};
            u64 lowest = 0;
            p->pCT->getSortedCorners(lowest, entry.middle, entry.highest);
            vEntries.push_back(entry);
        }
        std::sort(vEntries.begin(), vEntries.end(), [](const Entry& a, const Entry& b) {
            return std::tie(a.middle, a.highest, a.number) < std::tie(b.middle, b.highest, b.number);
        });
    }

    std::size_t size() const { return vEntries.size(); }
    CTriangle* operator[](std::size_t i) const { return vEntries[i].pCT; }

private:
    struct Entry {
        u64 middle, highest;
        std::uint32_t number;
        CTriangle* pCT;
    };

    std::vector<Entry> vEntries;
};

} // namespace

// ---- CEdge: flip and split -------------------------------------------------------------------------------

CEdge* CEdge::flipEdge(CMesh* pMesh, CTriangle* pCT0, CTriangle* pCT1)
{
    if (pCT0 == nullptr && pCT1 == nullptr) {
        if (!getTwoTriangles(pCT0, pCT1, true)) {
            ZAN_WARNING("Edge not flipped, !getTwoTriangles()");
            return nullptr;
        }
    }
    zanAssertText(pCT0 != nullptr && pCT1 != nullptr, "pCT1==0");
    if (!pCT0->isAlive() || !pCT1->isAlive()) {
        ZAN_WARNING("pCT0 or pCT1 not alive");
        return nullptr;
    }
    const u64 end0 = v0, end1 = v1;
    const u64 ccd0 = pCT0->getThirdCCD(end0, end1), ccd1 = pCT1->getThirdCCD(end0, end1);
    if (ccd0 == ccd1) {
        messageStream() << "CEdge::flipEdge(), BUG: " << *pCT0 << " / " << *pCT1 << std::endl;
        zanFail();
    }
    u64 next, prev;
    pCT0->getNextPrev(ccd0, next, prev);
    pCT0->kill(pMesh);
    pCT1->kill(pMesh);
    const CTriangle* pNew = pMesh->createT(ccd0, ccd1, prev, 0, 0);
    pMesh->createT(ccd1, ccd0, next, 0, 0);
    return pNew->getCEdge(2);
}

bool CEdge::trySplitNeigsKillT(CMesh* pMesh, CTriangle* pKillCT, int ici, std::vector<CTriangle*>& vKids)
{
    zanAssert(pKillCT->isAlive() && pKillCT->getCEdge(ici) == this);
    const u64 split = pKillCT->getCorner(ici);
    std::vector<SplitPlan> vPlans;
    for (CTriangle* pCT : vCT) {
        if (pCT == pKillCT)
            continue;
        SplitPlan plan{pCT, pCT->getThirdCCD(v0, v1), 0, 0};
        pCT->getNextPrev(plan.opp, plan.next, plan.prev);
        if (!maySplit(pMesh, plan, split))
            return false;
        vPlans.push_back(plan);
    }
    pKillCT->kill(pMesh);
    for (const SplitPlan& plan : vPlans)
        splitAt(pMesh, plan, split, vKids);
    return true;
}

// ---- collapse --------------------------------------------------------------------------------------------

bool CMesh::linkTest(u64 src, u64 trg) const
{
    std::vector<CTriangle*> vSrcT;
    getIncidentT(src, vSrcT);
    for (const CTriangle* pCT : vSrcT) {
        if (pCT->has(trg))
            continue; // dies in the collapse
        u64 next, prev;
        pCT->getNextPrev(src, next, prev);
        if (getEdge(next, prev)->hasTriangle(trg, next, prev))
            return false;
    }
    return true;
}

void CMesh::moveTriangles(u64 src, u64 trg)
{
    std::vector<CTriangle*> vIncT;
    getIncidentT(src, vIncT);
    zanAssert(!vIncT.empty());
    for (CTriangle* pCT : vIncT) {
        u64 next, prev;
        pCT->getNextPrev(src, next, prev);
        pCT->kill(this);
        if (!pCT->has(trg))
            createT(trg, next, prev, pCT->getVCD(), 0);
    }
}

bool CMesh::collapseEdgeToEndpoint(CEdge* pCE, u64 src, u64 trg)
{
    zanAssert(src != trg && pCE->hasVertex(src) && pCE->hasVertex(trg));
    if (pCE->getDegree() == 0 || !linkTest(src, trg))
        return false;
    moveTriangles(src, trg);
    return true;
}

u64 CMesh::collapseEdgeToMidpoint(CEdge* pCE)
{
    if (pCE->getDegree() == 0)
        return FAILED_CODE;
    const Point3& p0 = *getVtx(pCE->getV0());
    Point3* pVtx1 = getVtx(pCE->getV1());
    pVtx1->set(0.5 * (p0.x() + pVtx1->x()), 0.5 * (p0.y() + pVtx1->y()), 0.5 * (p0.z() + pVtx1->z()));
    moveTriangles(pCE->getV0(), pCE->getV1());
    return pCE->getV1();
}

// ---- passes ----------------------------------------------------------------------------------------------

int CMesh::killDuplicateTriangles()
{
    const std::vector<CornerEntry> vEntries = sortByLowestCorner(vMeshT);
    SameLowest group;
    int numKilled = 0;
    for (std::size_t first = 0, last = 0; first < vEntries.size(); first = last) {
        while (last < vEntries.size() && vEntries[last].lowest == vEntries[first].lowest)
            ++last;
        group.sort(vEntries.data() + first, vEntries.data() + last);
        const CTriangle* pKept = nullptr; // the alive one of the current corners
        for (std::size_t i = 0; i < group.size(); ++i) {
            CTriangle* pCT = group[i];
            vMeshT[first + i] = pCT;
            if (!pCT->isAlive())
                continue;
            if (pKept == nullptr || !(*pCT == *pKept)) {
                pKept = pCT;
                continue;
            }
            pCT->kill(this);
            ++numKilled;
        }
    }
    numSortedT = vMeshT.size();
    return numKilled;
}

void CMesh::splitDegenerate()
{
    std::vector<CTriangle*> vStack =
        selectMT(vMeshT, [this](const CTriangle* pCT) { return pCT->isAlive() && pCT->isDegenerate(this); });
    // A split acts like a flip. In a region where all cross products underflow, flips could go round for
    // ever.
    std::size_t numSplitsLeft = 100 + 3 * vMeshT.size();
    std::vector<CTriangle*> vKids;
    while (!vStack.empty() && numSplitsLeft > 0) {
        CTriangle* pCT = vStack.back();
        vStack.pop_back();
        if (!pCT->isAlive() || !pCT->isDegenerate(this))
            continue;
        const int ici = pCT->getLargestEdgeICI(this);
        vKids.clear();
        if (pCT->getCEdge(ici)->trySplitNeigsKillT(this, pCT, ici, vKids)) {
            vStack.insert(vStack.end(), vKids.begin(), vKids.end());
            --numSplitsLeft;
            continue;
        }
        if (traceEnabled())
            messageStream() << "\n Not able to split: " << *pCT << std::endl;
        for (int i = 0; i < 3; ++i)
            if (laplacianForOne(pCT->getCorner((ici + i) % 3)))
                break;
    }
}

} // namespace TESK_ZAN
