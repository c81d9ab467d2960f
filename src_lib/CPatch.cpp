#include "CPatch.h"

#include "CMesh.h"
#include "messages.h"
#include "sortMT.h"
#include "tesk_tools/keepSingles.h"
#include "tesk_tools/mixBits.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <atomic>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

bool byNumber(const CEdge* a, const CEdge* b)
{
    return lessByNumber(a, b);
}

// One walk of CPatch::orient: grows over regular edges and keeps the edges of higher degree for later.
class OrientWalk
{
public:
    explicit OrientWalk(const CPatch* pPatchGiven) : pPatch(pPatchGiven) {}

    // Reaches all members that hang together with the seed. False if some neighbours stay inconsistent.
    bool run(CTriangle* pSeed)
    {
        bConsistent = true;
        reach(pSeed);
        growRegular();
        for (std::size_t i = 0; i < vReserveCE.size(); ++i) { // grows while it is worked off
            crossIrregular(vReserveCE[i]);
            growRegular();
        }
        for (const CEdge* pCE : vReserveCE)
            checkFold(pCE);
        vReserveCE.clear();
        return bConsistent;
    }

private:
    bool isMember(const CTriangle* pCT) const { return pCT->getPatch() == pPatch; }

    void reach(CTriangle* pCT)
    {
        pCT->setVisited(true);
        vStack.push_back(pCT);
    }

    void growRegular()
    {
        while (!vStack.empty()) {
            const CTriangle* pCT = vStack.back();
            vStack.pop_back();
            for (int i = 0; i < 3; ++i) {
                CEdge* pCE = pCT->getCEdge(i);
                if (pCE->getDegree() == 2)
                    meet(pCT, pCE->getOtherT(pCT));
                else if (pCE->getDegree() > 2)
                    vReserveCE.push_back(pCE);
            }
        }
    }

    void meet(const CTriangle* pCT, CTriangle* pNeig)
    {
        if (!isMember(pNeig))
            return;
        const bool bFlip = pNeig->needFlip(pCT);
        if (pNeig->isVisited()) {
            bConsistent = bConsistent && !bFlip;
            return;
        }
        if (bFlip)
            pNeig->flipOrientation();
        reach(pNeig);
    }

    void crossIrregular(const CEdge* pCE)
    {
        const auto isReached = [this](const CTriangle* pCT) { return isMember(pCT) && pCT->isVisited(); };
        const auto pSource = std::find_if(pCE->getCTs().begin(), pCE->getCTs().end(), isReached);
        for (CTriangle* pCT : pCE->getCTs()) {
            if (!isMember(pCT) || pCT->isVisited())
                continue;
            if (pCT->needFlip(*pSource))
                pCT->flipOrientation();
            reach(pCT);
        }
    }

    // Two members at an edge of higher degree are neighbours like any; of more, nobody knows which are.
    void checkFold(const CEdge* pCE)
    {
        const CTriangle* pFirst = nullptr;
        const CTriangle* pSecond = nullptr;
        int numMembers = 0;
        for (const CTriangle* pCT : pCE->getCTs()) {
            if (!isMember(pCT))
                continue;
            (numMembers++ == 0 ? pFirst : pSecond) = pCT;
        }
        if (numMembers == 2 && pFirst->needFlip(pSecond))
            bConsistent = false;
    }

    const CPatch* pPatch;
    std::vector<CTriangle*> vStack;
    std::vector<CEdge*> vReserveCE; // edges of degree above 2, once for each member reached there
    bool bConsistent = true;
};

} // namespace

CPatch::CPatch(CMesh* pMeshGiven, int labelGiven) : pMesh(pMeshGiven), label(labelGiven) {}

CPatch::~CPatch()
{
    for (CTriangle* pCT : vMemberCT)
        if (pCT->getPatch() == this)
            pCT->setPatch(nullptr);
}

void CPatch::addMember(CTriangle* pCT)
{
    pCT->setPatch(this);
    vMemberCT.push_back(pCT);
    bRimKnown = false;
    bBoundaryKnown = false;
    bJudged = false;
    bRegular = false;
}

void CPatch::setMembers(const std::vector<CTriangle*>& vCT)
{
    vMemberCT = vCT;
    bSettled = true;
}

void CPatch::setRim(const std::vector<CEdge*>& vCE)
{
    vRimCE = vCE;
    bRimKnown = true;
    bRegular = true;
}

void CPatch::forgetMembers()
{
    vMemberCT.clear();
}

// ---- measures --------------------------------------------------------------------------------------------

// What holds most of the mesh is walked in the mesh's order, in which the vertices lie near each other: then
// not all that is listed is a member.
const std::vector<CTriangle*>& CPatch::walkOrder() const
{
    return vMemberCT.size() > pMesh->getT().size() / 2 ? pMesh->getT() : vMemberCT;
}

bool CPatch::isAliveMember(const CTriangle* pCT) const
{
    return pCT->isAlive() && pCT->getPatch() == this;
}

template <class F>
double CPatch::sumOverAlive(F f) const
{
    return sumMT(walkOrder(), [&](const CTriangle* pCT) { return isAliveMember(pCT) ? f(pCT) : 0.0; });
}

double CPatch::getArea() const
{
    return sumOverAlive([this](const CTriangle* pCT) { return pCT->getArea(pMesh); });
}

// The tetrahedra from one reference point to all triangles. Height above the triangle times area is half the
// triple product, and a triangle without a normal adds nothing.
double CPatch::getVolume() const
{
    if (vMemberCT.empty())
        return 0.0;
    const Point3 reference = *pMesh->getVtx(vMemberCT.front()->getC0());
    const double sum = sumOverAlive([&](const CTriangle* pCT) {
        const Point3& p0 = *pMesh->getVtx(pCT->getC0());
        const Vector3 vec01 = *pMesh->getVtx(pCT->getC1()) - p0, vec02 = *pMesh->getVtx(pCT->getC2()) - p0;
        return (p0 - reference) * crossProd(vec01, vec02);
    });
    return sum / 6.0;
}

// Volume over half the area with vertices at the centres of their cells, in cells: takes no look-up of
// points.
double CPatch::getCoarseThickness() const
{
    const Calc* pCalc = pMesh->getCalc();
    const auto centre = [pCalc](u64 ccd) {
        u64 x = 0, y = 0, z = 0;
        pCalc->ccdToXYZ(ccd, x, y, z);
        return Point3(double(x), double(y), double(z));
    };
    const Point3 reference = centre(vMemberCT.front()->getC0());
    const auto areaVector = [&](const CTriangle* pCT, const Point3& c0) {
        return crossProd(centre(pCT->getC1()) - c0, centre(pCT->getC2()) - c0);
    };
    const double volume = sumOverAlive([&](const CTriangle* pCT) {
        const Point3 c0 = centre(pCT->getC0());
        return (c0 - reference) * areaVector(pCT, c0) / 6.0;
    });
    const double area = sumOverAlive(
        [&](const CTriangle* pCT) { return areaVector(pCT, centre(pCT->getC0())).length() / 2.0; });
    return volume / (area / 2.0);
}

// ---- changes ---------------------------------------------------------------------------------------------

void CPatch::kill()
{
    bAlive = false;
    for (CTriangle* pCT : vMemberCT)
        if (pCT->isAlive())
            pCT->kill(pMesh);
    dissolve();
}

void CPatch::dissolve()
{
    bAlive = false;
    for (CTriangle* pCT : vMemberCT)
        pCT->setPatch(nullptr);
    vMemberCT.clear();
    vRimCE.clear();
    vOuterBoundary.clear();
    boundaryKey = 0;
    numInnerVtx = -1;
}

void CPatch::takeIn(CPatch* pOther)
{
    for (CPatch* pPatch : {this, pOther})
        if (!pPatch->bBoundaryKnown)
            pPatch->setOuterBoundary();
    for (CTriangle* pCT : pOther->vMemberCT)
        pCT->setPatch(this);
    vMemberCT.insert(vMemberCT.end(), pOther->vMemberCT.begin(), pOther->vMemberCT.end());
    vOuterBoundary.insert(vOuterBoundary.end(), pOther->vOuterBoundary.begin(), pOther->vOuterBoundary.end());
    bSettled = false;
    bJudged = false;
    bRegular = bRegular && pOther->bRegular;
    bMayFold = bMayFold || pOther->bMayFold;
    label = std::min(label, pOther->label);
    pOther->vMemberCT.clear();
    pOther->dissolve();
}

// An edge of the boundary of one part that others have as well stands here once for each of them.
void CPatch::dropInnerBoundary()
{
    std::erase_if(vOuterBoundary, [this](const CEdge* pCE) {
        const int num = countMembersAt(pCE);
        bMayFold = bMayFold || (num > 1 && pCE->getDegree() > 2);
        return num != 1;
    });
    std::sort(vOuterBoundary.begin(), vOuterBoundary.end(), byNumber);
    setBoundaryKey();
}

void CPatch::flip()
{
    for (CTriangle* pCT : walkOrder())
        if (isAliveMember(pCT))
            pCT->flipOrientation();
}

void CPatch::orient()
{
    const bool bConsistent = orientMembers();
    orientPatch();
    if (!bConsistent)
        ZAN_WARNING("reorientation failed");
}

// Of the neighbours over regular edges, and of two members alone at another edge. Of more at one edge nobody
// knows which are neighbours, so for a patch that hangs together without such edges they do not count.
CPatch::Consistency CPatch::consistencyAt(const CTriangle* pCT) const
{
    Consistency consistency;
    for (int i = 0; i < 3; ++i) {
        const CEdge* pCE = pCT->getCEdge(i);
        const CTriangle* pNeig = nullptr;
        int numOthers = 0;
        for (const CTriangle* pOther : pCE->getCTs()) {
            if (pOther == pCT || pOther->getPatch() != this)
                continue;
            pNeig = pOther;
            ++numOthers;
        }
        if (numOthers > 1)
            consistency.bFolds = consistency.bFolds && bRegular;
        else if (numOthers == 1 && pCT->needFlip(pNeig))
            (pCE->getDegree() == 2 ? consistency.bRegular : consistency.bFolds) = false;
    }
    return consistency;
}

CPatch::Consistency CPatch::getConsistency() const
{
    std::atomic<bool> bRegularOK{true}, bFoldsOK{true};
    const std::vector<CTriangle*>& vCT = walkOrder();
    forRangeMT(vCT.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && bRegularOK; ++i) {
            if (!isAliveMember(vCT[i]))
                continue;
            const Consistency consistency = consistencyAt(vCT[i]);
            if (!consistency.bRegular)
                bRegularOK = false;
            if (!consistency.bFolds)
                bFoldsOK = false;
        }
    });
    return {bRegularOK, bFoldsOK};
}

// Nothing is to be turned as a rule: the walk that made the patch has done it.
bool CPatch::orientMembers()
{
    const Consistency consistency = getConsistency();
    if (consistency.bRegular && (bRegular || consistency.bFolds))
        return consistency.bFolds;
    for (CTriangle* pCT : vMemberCT)
        pCT->setVisited(false);
    OrientWalk walk(this);
    bool bConsistent = true;
    for (CTriangle* pCT : vMemberCT) // one turn does it, unless members died since the patch was made
        if (pCT->isAlive() && !pCT->isVisited())
            bConsistent = walk.run(pCT) && bConsistent;
    return bConsistent;
}

// The highest vertex, the first of equal ones, lies on the outside of a closed surface: there it must face
// up.
void CPatch::orientPatch()
{
    u64 highest = 0;
    bool bFound = false;
    for (const CTriangle* pCT : walkOrder()) {
        if (!isAliveMember(pCT))
            continue;
        for (const u64 ccd : {pCT->getC0(), pCT->getC1(), pCT->getC2()}) {
            if (bFound && (ccd & CCD_Z) <= (highest & CCD_Z))
                continue;
            highest = ccd;
            bFound = true;
        }
    }
    Vector3 sum;
    for (const CTriangle* pCT : walkOrder()) {
        if (!isAliveMember(pCT) || !pCT->has(highest))
            continue;
        Vector3 nnv;
        bool bOK = false;
        pCT->getNNV(pMesh, nnv, bOK);
        sum += nnv; // zero if there is none
    }
    if (sum.z() < 0.0)
        flip();
}

// ---- boundary --------------------------------------------------------------------------------------------

int CPatch::countMembersAt(const CEdge* pCE) const
{
    int num = 0;
    for (const CTriangle* pCT : pCE->getCTs())
        num += pCT->getPatch() == this ? 1 : 0;
    return num;
}

// Exact, though in the order of the members.
void CPatch::collectRim(std::vector<CEdge*>& vRim) const
{
    for (const CTriangle* pCT : vMemberCT) {
        if (!pCT->isAlive())
            continue;
        for (int i = 0; i < 3; ++i)
            if (countMembersAt(pCT->getCEdge(i)) == 1)
                vRim.push_back(pCT->getCEdge(i));
    }
}

void CPatch::setOuterBoundary()
{
    zanAssertText(isAlive(), "isAlive()");
    vOuterBoundary.clear();
    if (bRimKnown)
        vOuterBoundary.swap(vRimCE);
    else
        collectRim(vOuterBoundary);
    std::sort(vOuterBoundary.begin(), vOuterBoundary.end(), byNumber);
    bMayFold = TESK_TOOLS::keepSingles(vOuterBoundary) || !bRimKnown;
    setBoundaryKey();
    bRimKnown = false;
    bBoundaryKnown = true;
}

void CPatch::setBoundaryKey()
{
    boundaryKey = 0;
    for (const CEdge* pCE : vOuterBoundary)
        boundaryKey = TESK_TOOLS::mixBits(boundaryKey + pCE->getNumber() + TESK_TOOLS::GOLDEN_STEP);
}

void CPatch::getPatchBoundaryCE(std::vector<CEdge*>& vCE) const
{
    zanAssertText(isAlive(), "isAlive()");
    std::vector<CEdge*> vRim;
    collectRim(vRim);
    std::sort(vRim.begin(), vRim.end(), byNumber);
    vCE.insert(vCE.end(), vRim.begin(), vRim.end());
}

void CPatch::getPatchBoundaryCE(std::set<CEdge*>& sCE) const
{
    std::vector<CEdge*> vCE;
    getPatchBoundaryCE(vCE);
    sCE.insert(vCE.begin(), vCE.end());
}

std::size_t CPatch::getPatchBoundarySize() const
{
    std::vector<CEdge*> vCE;
    getPatchBoundaryCE(vCE);
    return vCE.size();
}

bool CPatch::isClosed() const
{
    constexpr std::size_t LEAST_CLOSED = 4; // a tetrahedron
    if (vMemberCT.size() < LEAST_CLOSED)
        return false;
    if (bBoundaryKnown)
        return vOuterBoundary.empty();
    std::vector<CEdge*> vRim;
    collectRim(vRim);
    return vRim.empty();
}

bool CPatch::isMembrane() const
{
    bool bOpen = false;
    for (const CTriangle* pCT : vMemberCT) {
        if (!pCT->isAlive())
            continue;
        for (int i = 0; i < 3; ++i) {
            const CEdge* pCE = pCT->getCEdge(i);
            const int numOwn = countMembersAt(pCE), numLeft = pCE->getDegree() - numOwn;
            if (numLeft != 2 && (numLeft != 0 || numOwn == 1))
                return false;
            bOpen = bOpen || numOwn == 1;
        }
    }
    return bOpen;
}

void CPatch::setNumInnerVtx()
{
    std::vector<u64> vAllVCD, vBoundaryVCD;
    for (const CTriangle* pCT : vMemberCT)
        if (pCT->isAlive())
            vAllVCD.insert(vAllVCD.end(), {pCT->getC0(), pCT->getC1(), pCT->getC2()});
    std::vector<CEdge*> vRim;
    collectRim(vRim);
    for (const CEdge* pCE : vRim)
        vBoundaryVCD.insert(vBoundaryVCD.end(), {pCE->getV0(), pCE->getV1()});
    TESK_TOOLS::sortUnique(vAllVCD);
    TESK_TOOLS::sortUnique(vBoundaryVCD);
    zanAssertText(vBoundaryVCD.size() <= vAllVCD.size(), "vBoundaryVCD.size()<=vAllVCD.size()");
    numInnerVtx = int(vAllVCD.size() - vBoundaryVCD.size());
}

bool lessBySize(const CPatch* a, const CPatch* b)
{
    return a->getSize() != b->getSize() ? a->getSize() < b->getSize() : a->getLabel() < b->getLabel();
}

} // namespace TESK_ZAN
