#include "CMesh.h"

#include "freeFunctions.h"
#include "messages.h"
#include "random.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr double OVERSHOOT = 1.003;       // how far beyond the mean a made vertex goes
constexpr double MAX_SHIFT = 1e-5;        // the random shift in x
constexpr u64 SHIFT_SEED = 0x5a414e01;    // any fixed number
constexpr int ENOUGH_REAL_NEIGHBOURS = 3; // from here on neighbours that the mesh made don't count
constexpr double MAX_MOVE_CELLS = 0.1;    // of laplacianForOne
constexpr double MAX_DEVIATION = 90.0;    // degrees

struct PointSum {
    double x = 0.0, y = 0.0, z = 0.0;
    int num = 0;

    void add(const Point3& p)
    {
        p.addOwnCoords(x, y, z);
        ++num;
    }
    void add(const PointSum& other)
    {
        x += other.x;
        y += other.y;
        z += other.z;
        num += other.num;
    }
    Point3 mean() const { return Point3(x / num, y / num, z / num); }
};

} // namespace

Bundle* CMesh::findBundle(u64 ccd) const
{
    const std::uint32_t number = vertices.find(ccd);
    return number == VertexTable::NONE ? nullptr : vertices[number].pBundle;
}

Point3* CMesh::getVtx(u64 ccd) const
{
    const Bundle* pBundle = findBundle(ccd);
    zanAssertText(pBundle != nullptr, "q_it!=mCCDBundle.end()");
    return pBundle->pVtx;
}

void CMesh::getBundlesByCode(std::vector<Bundle*>& vOut) const
{
    const std::size_t numBefore = vOut.size();
    vOut.reserve(numBefore + pCCDBundle->size());
    for (const CVertex& vertex : vertices.getAll())
        if (vertex.pBundle != nullptr)
            vOut.push_back(vertex.pBundle);
    const auto isBefore = [](const Bundle* a, const Bundle* b) { return a->ccd < b->ccd; };
    const auto first = vOut.begin() + std::ptrdiff_t(numBefore);
    const auto firstLater = std::is_sorted_until(first, vOut.end(), isBefore); // the few that came later
    std::sort(firstLater, vOut.end(), isBefore);
    std::inplace_merge(first, firstLater, vOut.end(), isBefore);
}

std::vector<u64> CMesh::getCellsWithBundle() const
{
    std::vector<Bundle*> vBundles;
    getBundlesByCode(vBundles);
    std::vector<u64> vRCD;
    transformMT(vBundles, vRCD, [](const Bundle* pBundle) { return Calc::ccdToRCD(pBundle->ccd); });
    return vRCD;
}

Vector3 getNormalVector(const CMesh* pMesh, u64 ccd0, u64 ccd1, u64 ccd2, bool& bOK)
{
    for (const u64 ccd : {ccd0, ccd1, ccd2})
        zanAssertText(pMesh->hasBundle(ccd), "pVtx is NULL");
    return getNormalVector(pMesh->getVtx(ccd0), pMesh->getVtx(ccd1), pMesh->getVtx(ccd2), bOK);
}

// ---- bundles of the mesh's own ---------------------------------------------------------------------------

void CMesh::addBundle(u64 ccd, double x, double y, double z)
{
    zanAssert(!hasBundle(ccd));
    const bool bNoPlace = x == DBL_MAX && y == DBL_MAX && z == DBL_MAX;
    auto pVtx = std::make_unique<Point3>(bNoPlace ? pCalc->getCellMid(ccd) : Point3(x, y, z));
    zanAssertText(pCalc->getCCD(pVtx.get()) == ccd, "pCalc->getCCD(pVtx)==ccd");
    auto pNew = std::make_unique<Bundle>(Bundle{pVtx.get(), ccd});
    vOwnBundles.push_back(pNew.get());
    static_cast<void>(pVtx.release()); // both belong to vOwnBundles now
    Bundle* pBundle = pNew.release();

    sOwnCCD.tryEmplace(ccd, true);
    pCCDBundle->insert_or_assign(ccd, pBundle);
    vertices[vertices.findOrAdd(ccd)].pBundle = pBundle;
    averageBundle(pBundle);
}

void CMesh::averageBundle(Bundle* pBundle)
{
    std::vector<CEdge*> vCE;
    getIncidentCE(pBundle->ccd, vCE);
    if (vCE.size() < 2)
        return;

    PointSum realSum, ownSum;
    const Point3* pAnyRingVtx = nullptr;
    for (const CEdge* pCE : vCE) {
        zanAssertText(pCE->getDegree() > 0, "pCE->getDegree()>0");
        const u64 ccdNeig = pCE->getOtherVCD(pBundle->ccd);
        if (!hasBundle(ccdNeig))
            continue;
        pAnyRingVtx = getVtx(ccdNeig);
        (sOwnCCD.find(ccdNeig) == nullptr ? realSum : ownSum).add(*pAnyRingVtx);
    }
    if (realSum.num < ENOUGH_REAL_NEIGHBOURS)
        realSum.add(ownSum);
    if (realSum.num == 0) {
        pBundle->pVtx->set(pCalc->getCellMid(pBundle->ccd));
        return;
    }
    zanAssertText(pAnyRingVtx != nullptr, "pAnyRingVtx!=0");
    const Point3 moved = *pAnyRingVtx + OVERSHOOT * (realSum.mean() - *pAnyRingVtx);
    const double shift = MAX_SHIFT * randomAt(SHIFT_SEED, 0, pBundle->ccd);
    pBundle->pVtx->set(moved.x() + shift, moved.y(), moved.z());
}

void CMesh::averageAllBundles()
{
    for (Bundle* pBundle : vOwnBundles)
        averageBundle(pBundle);
}

void CMesh::removeLooseBundles()
{
    std::vector<CEdge*> vCE;
    for (const Bundle* pBundle : vOwnBundles) {
        vCE.clear();
        getIncidentCE(pBundle->ccd, vCE);
        for (CEdge* pCE : vCE)
            if (collapseEdgeToEndpoint(pCE, pBundle->ccd, pCE->getOtherVCD(pBundle->ccd)))
                break;
    }
    deleteUnusedOwnBundles();
}

void CMesh::deleteUnusedOwnBundles()
{
    std::erase_if(vOwnBundles, [this](Bundle* pBundle) {
        CVertex& vertex = vertices[vertices.find(pBundle->ccd)];
        if (vertex.numEdges > 0)
            return false;
        vertex.pBundle = nullptr;
        sOwnCCD.erase(pBundle->ccd);
        pCCDBundle->erase(pBundle->ccd);
        delete pBundle->pVtx;
        delete pBundle;
        return true;
    });
}

// ---- smoothing of one vertex -----------------------------------------------------------------------------

// By how many degrees the triangle turns if its corner ccd goes to target; 360.0 if it has no normal now,
// -1.0 if it would have none then.
double CMesh::deviationIfMoved(const CTriangle* pCT, u64 ccd, const Point3& target) const
{
    const Point3* aPoint[3];
    for (int i = 0; i < 3; ++i)
        aPoint[i] = getVtx(pCT->getCorner(i));
    bool bOK = false;
    const Vector3 nnvNow = getNormalVector(aPoint[0], aPoint[1], aPoint[2], bOK);
    if (!bOK)
        return 360.0;
    aPoint[pCT->getICI(ccd)] = &target;
    const Vector3 nnvThen = getNormalVector(aPoint[0], aPoint[1], aPoint[2], bOK);
    return bOK ? getAngleDegree(nnvNow, nnvThen) : -1.0;
}

bool CMesh::laplacianForOne(u64 ccd)
{
    std::vector<CEdge*> vCE;
    getIncidentCE(ccd, vCE);
    if (vCE.empty())
        return false;
    PointSum ring;
    for (const CEdge* pCE : vCE)
        ring.add(*getVtx(pCE->getOtherVCD(ccd)));

    Point3* pVtx = getVtx(ccd);
    Point3 target = ring.mean();
    const double maxMove = MAX_MOVE_CELLS * pCalc->getCellSize();
    const double move = (target - *pVtx).length();
    if (move > maxMove)
        target = *pVtx + (maxMove / move) * (target - *pVtx);

    std::vector<CTriangle*> vCT;
    getIncidentT(ccd, vCT);
    for (const CTriangle* pCT : vCT) {
        const double devAngle = deviationIfMoved(pCT, ccd, target);
        if (traceEnabled())
            messageStream() << "devAngle would be " << devAngle << std::endl;
        if (devAngle > MAX_DEVIATION)
            return false;
    }
    pVtx->set(target);
    return true;
}

} // namespace TESK_ZAN
