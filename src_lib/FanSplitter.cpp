#include "FanSplitter.h"

#include <algorithm>
#include <numeric>

namespace TESK_ZAN
{

namespace
{

u64 keyOf(const REdge* pRE, const RTriangle* pRT)
{
    return u64(numberOf(pRE)) << 32 | numberOf(pRT);
}

bool lessByNumber(const RTriangle* p0, const RTriangle* p1)
{
    return numberOf(p0) < numberOf(p1);
}

// The root of an entry in a forest of parents.
size_t findRoot(std::vector<size_t>& vParent, size_t i)
{
    while (vParent[i] != i) {
        vParent[i] = vParent[vParent[i]];
        i = vParent[i];
    }
    return i;
}

} // namespace

void EdgeJoints::join(const REdge* pRE, RTriangle* pT0, RTriangle* pT1)
{
    *mJoinedT.tryEmplace(keyOf(pRE, pT0), pT1).first = pT1;
    *mJoinedT.tryEmplace(keyOf(pRE, pT1), pT0).first = pT0;
}

void EdgeJoints::end(const REdge* pRE, const RTriangle* pRT)
{
    *mJoinedT.tryEmplace(keyOf(pRE, pRT), nullptr).first = nullptr;
}

RTriangle* EdgeJoints::getJoinedT(const REdge* pRE, const RTriangle* pRT) const
{
    if (RTriangle* const* ppJoinedT = mJoinedT.find(keyOf(pRE, pRT)))
        return *ppJoinedT;
    return pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
}

FanSplitter::FanSplitter(RMesh& mesh_, const EdgeJoints& joints_) : mesh(mesh_), joints(joints_) {}

void FanSplitter::splitAt(Point3* pVtx)
{
    const size_t numFans = labelFans(pVtx);
    if (numFans < 2)
        return;
    const size_t keptFan = findKeptFan(numFans);
    std::vector<Point3*> vVtxOfFan(numFans, nullptr);
    for (size_t i = 0; i < vIncT.size(); ++i) {
        const size_t fan = vFanOfIncT[i];
        if (fan == keptFan)
            continue;
        if (vVtxOfFan[fan] == nullptr) {
            vVtxOfFan[fan] = mesh.copyVtx(pVtx);
            ++numCopies;
        }
        vNewCorners.push_back({vIncT[i], vIncT[i]->getICI(pVtx), vVtxOfFan[fan]});
    }
}

// Fills vIncT and vFanOfIncT; fans are numbered in the order of their first triangles. Returns their number.
size_t FanSplitter::labelFans(const Point3* pVtx)
{
    vIncT.clear();
    mesh.getIncidentT(pVtx, vIncT);
    std::sort(vIncT.begin(), vIncT.end(), lessByNumber);
    std::vector<size_t> vParent(vIncT.size());
    std::iota(vParent.begin(), vParent.end(), size_t(0));
    for (size_t i = 0; i < vIncT.size(); ++i) {
        const int ici = vIncT[i]->getICI(pVtx);
        for (const REdge* pRE : {vIncT[i]->getRE((ici + 1) % 3), vIncT[i]->getRE((ici + 2) % 3)}) {
            const RTriangle* pJoinedT = joints.getJoinedT(pRE, vIncT[i]);
            if (pJoinedT == nullptr)
                continue;
            const auto pos = std::lower_bound(vIncT.begin(), vIncT.end(), pJoinedT, lessByNumber);
            const size_t root0 = findRoot(vParent, i);
            const size_t root1 = findRoot(vParent, static_cast<size_t>(pos - vIncT.begin()));
            vParent[std::max(root0, root1)] = std::min(root0, root1); // so a root is its fan's first
        }
    }
    size_t numFans = 0;
    vFanOfIncT.resize(vIncT.size());
    for (size_t i = 0; i < vIncT.size(); ++i) {
        const size_t root = findRoot(vParent, i);
        vFanOfIncT[i] = root == i ? numFans++ : vFanOfIncT[root];
    }
    return numFans;
}

// The fan with the most triangles, of equal ones the first.
size_t FanSplitter::findKeptFan(size_t numFans) const
{
    std::vector<size_t> vNumT(numFans, 0);
    for (const size_t fan : vFanOfIncT)
        ++vNumT[fan];
    return static_cast<size_t>(std::max_element(vNumT.begin(), vNumT.end()) - vNumT.begin());
}

void FanSplitter::apply()
{
    std::sort(vNewCorners.begin(), vNewCorners.end(), [](const NewCorner& a, const NewCorner& b) {
        return numberOf(a.pRT) != numberOf(b.pRT) ? numberOf(a.pRT) < numberOf(b.pRT) : a.ici < b.ici;
    });
    std::vector<Point3*> vCorners; // three for each new triangle
    for (const NewCorner& newCorner : vNewCorners) {
        if (newCorner.pRT->isAlive()) {
            vFormerT.push_back(newCorner.pRT);
            for (int ici = 0; ici < 3; ++ici)
                vCorners.push_back(newCorner.pRT->getCorner(ici));
            newCorner.pRT->kill(&mesh);
        }
        vCorners[vCorners.size() - 3 + static_cast<size_t>(newCorner.ici)] = newCorner.pVtx;
    }
    firstMade = mesh.getAllT().size();
    for (size_t i = 0; i < vCorners.size(); i += 3)
        mesh.createT(vCorners[i], vCorners[i + 1], vCorners[i + 2]);
    vNewCorners.clear();
}

const RTriangle* FanSplitter::getFormerT(const RTriangle* pRT) const
{
    const size_t number = numberOf(pRT);
    const bool bMade = number >= firstMade && number - firstMade < vFormerT.size();
    return bMade ? vFormerT[number - firstMade] : pRT;
}

} // namespace TESK_ZAN
