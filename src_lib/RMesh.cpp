#include "RMesh.h"

#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <string>

namespace TESK_ZAN
{

namespace
{

constexpr size_t MAX_RECORDS = std::numeric_limits<std::uint32_t>::max();

// The key of an edge: its endpoints by number, the lower one in the upper half.
u64 edgeKey(const Point3* p0, const Point3* p1)
{
    const u64 n0 = numberOf(p0);
    const u64 n1 = numberOf(p1);
    return n0 < n1 ? (n0 << 32 | n1) : (n1 << 32 | n0);
}

std::uint32_t nextNumber(size_t numRecords)
{
    zanAssert(numRecords < MAX_RECORDS);
    return static_cast<std::uint32_t>(numRecords);
}

int poolSize(size_t numExpected)
{
    return static_cast<int>(std::min<size_t>(numExpected, std::numeric_limits<int>::max()));
}

// A closed surface has three edges for two triangles; a border adds a few.
size_t numREExpected(size_t numT)
{
    return numT + numT / 2 + numT / 16 + 16;
}

// The triangles at a vertex that no fan has taken yet.
class AvailableT
{
public:
    explicit AvailableT(std::vector<RTriangle*> vIncT) : vRT(std::move(vIncT))
    {
        sortUniqueByNumber(vRT);
        vTaken.resize(vRT.size(), false);
    }

    // The available triangle that was made first; null if there is none.
    RTriangle* takeFirst()
    {
        while (first < vRT.size() && vTaken[first])
            ++first;
        if (first == vRT.size())
            return nullptr;
        vTaken[first] = true;
        return vRT[first];
    }

    bool take(const RTriangle* pRT)
    {
        const auto pos =
            std::lower_bound(vRT.begin(), vRT.end(), pRT, [](const RTriangle* p0, const RTriangle* p1) {
                return numberOf(p0) < numberOf(p1);
            });
        if (pos == vRT.end() || *pos != pRT)
            return false;
        const auto index = static_cast<size_t>(pos - vRT.begin());
        const bool bWasThere = !vTaken[index];
        vTaken[index] = true;
        return bWasThere;
    }

private:
    std::vector<RTriangle*> vRT; // by number
    std::vector<bool> vTaken;
    size_t first = 0; // all before it are taken
};

// Appends the fan around pCenter that grows from pSeed over edges of degree 2. True if it is closed: each of
// its edges at pCenter belongs to two of its triangles.
bool growFan(RTriangle* pSeed, const Point3* pCenter, AvailableT& availT, std::vector<RTriangle*>& vFan)
{
    std::vector<REdge*> vEdgeSlots;
    std::vector<RTriangle*> vWalk{pSeed};
    while (!vWalk.empty()) {
        RTriangle* pRT = vWalk.back();
        vWalk.pop_back();
        vFan.push_back(pRT);
        const int ici = pRT->getICI(pCenter);
        for (REdge* pRE : {pRT->getRE((ici + 1) % 3), pRT->getRE((ici + 2) % 3)}) {
            vEdgeSlots.push_back(pRE);
            RTriangle* pNext = pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
            if (pNext != nullptr && availT.take(pNext))
                vWalk.push_back(pNext);
        }
    }
    const size_t numSlots = vEdgeSlots.size();
    sortUniqueByNumber(vEdgeSlots);
    return numSlots == 2 * vEdgeSlots.size();
}

} // namespace

RMesh::RMesh(double cellSize, size_t numVtxExpected, size_t numTExpected)
    : RMesh(cellSize, numVtxExpected, numTExpected, numREExpected(numTExpected))
{
}

RMesh::RMesh(double cellSize, size_t numVtx, size_t numT, size_t numRE)
    : vtxPool(poolSize(numVtx), -1), rtPool(poolSize(numT), -1), rePool(poolSize(numRE), -1),
      dCellSize(cellSize)
{
    vVtx.reserve(numVtx);
    vT.reserve(numT);
    vRE.reserve(numRE);
    mPointVertex.reserve(numVtx);
}

RMesh::~RMesh()
{
    static_assert(std::is_trivially_destructible_v<RTriangle>);
    for (REdge* pRE : vRE)
        pRE->~REdge();
    for (RVertex* pRecord : vVtx)
        pRecord->~RVertex();
}

// ---- Creation ----

Point3* RMesh::newVtx(const Point3& p)
{
    const std::uint32_t number = nextNumber(vVtx.size());
    RVertex* pRecord = new (vtxPool.newObject()) RVertex{p, {}, number};
    vVtx.push_back(pRecord);
    return &pRecord->point;
}

Point3* RMesh::createVtx(const Point3& p, bool bFailIfExisting)
{
    if (Point3* pExisting = mPointVertex.find(p))
        return bFailIfExisting ? nullptr : pExisting;
    Point3* pVtx = newVtx(p);
    mPointVertex.insert(pVtx);
    return pVtx;
}

Point3* RMesh::createVtx(double x, double y, double z, bool bFailIfExisting)
{
    return createVtx(Point3(x, y, z), bFailIfExisting);
}

RTriangle* RMesh::createT(Point3* p0, Point3* p1, Point3* p2)
{
    zanAssert(p0 != p1 && p1 != p2 && p2 != p0);
    auto* pRT = new (rtPool.newObject()) RTriangle(p0, p1, p2, nextNumber(vT.size()));
    vT.push_back(pRT);
    registerTriangle(pRT);
    return pRT;
}

// Puts the triangles (0, 1, 2) and (2, 3, 0) of the ring of four vertices into the records of two that meet
// in the diagonal from 1 to 3. Returns the new diagonal, which must not be alive yet. Most time of a loop of
// flips goes here: the four edges around are not looked up, since they stay.
REdge* RMesh::turnDiagonal(RTriangle* pRT0, RTriangle* pRT1, const Ring4& ring)
{
    const auto [p0, p1, p2, p3] = ring;
    REdge* pOldRE = pRT0->getRE(pRT0->getICI(p1, p3));
    const auto rimBetween = [&](const Point3* pA, const Point3* pB) {
        const RTriangle* pRT = pRT0->hasEdge(pA, pB) ? pRT0 : pRT1;
        return pRT->getRE(pRT->getICI(pA, pB));
    };
    REdge* const aRimRE[4] = {rimBetween(p0, p1), rimBetween(p1, p2), rimBetween(p2, p3), rimBetween(p3, p0)};
    checkOutTriangle(pRT0);
    checkOutTriangle(pRT1);
    zanAssert(!pOldRE->isAlive());
    parkDeadEdge(pOldRE);
    REdge* pNewRE = reviveOrCreateRE(p0, p2);

    *pRT0 = RTriangle(p0, p1, p2, pRT0->number);
    *pRT1 = RTriangle(p2, p3, p0, pRT1->number);
    REdge* const aOppRE[2][3] = {{aRimRE[1], pNewRE, aRimRE[0]}, {aRimRE[3], pNewRE, aRimRE[2]}};
    std::copy(aOppRE[0], aOppRE[0] + 3, pRT0->aOppRE);
    std::copy(aOppRE[1], aOppRE[1] + 3, pRT1->aOppRE);
    checkInTriangle(pRT0);
    checkInTriangle(pRT1);
    return pNewRE;
}

void RMesh::registerTriangle(RTriangle* pRT)
{
    const auto [p0, p1, p2] = pRT->aCorners;
    // All look-ups come before the first registration: they go through the triangles at the vertices, and
    // this one has no edges yet.
    pRT->aOppRE[2] = getOrCreateRE(p0, p1);
    pRT->aOppRE[0] = getOrCreateRE(p1, p2);
    pRT->aOppRE[1] = getOrCreateRE(p0, p2);
    checkInTriangle(pRT);
}

void RMesh::checkInTriangle(RTriangle* pRT)
{
    for (REdge* pRE : pRT->aOppRE)
        pRE->checkIn(pRT);
    for (Point3* pCorner : pRT->aCorners)
        recordOf(pCorner).vTNumbers.push_back(pRT->number);
}

void RMesh::checkOutTriangle(RTriangle* pRT)
{
    for (REdge* pRE : pRT->aOppRE)
        pRE->checkOut(pRT);
    for (Point3* pCorner : pRT->aCorners) {
        auto& vNumbers = recordOf(pCorner).vTNumbers;
        const auto pos = std::find(vNumbers.begin(), vNumbers.end(), pRT->number);
        zanAssert(pos != vNumbers.end());
        vNumbers.shiftErase(static_cast<size_t>(pos - vNumbers.begin()));
    }
}

REdge* RMesh::getOrCreateRE(Point3* p0, Point3* p1)
{
    REdge* pRE = findAliveRE(p0, p1);
    return pRE != nullptr ? pRE : reviveOrCreateRE(p0, p1);
}

// Of a pair that has no alive edge.
REdge* RMesh::reviveOrCreateRE(Point3* p0, Point3* p1)
{
    if (REdge* pDeadRE = takeDeadRE(p0, p1))
        return pDeadRE;
    auto* pRE = new (rePool.newObject()) REdge(p0, p1, nextNumber(vRE.size()));
    vRE.push_back(pRE);
    return pRE;
}

// An alive edge has a triangle, and that stands in the lists of both endpoints. The shorter list is short
// even beside a hub with very many triangles.
REdge* RMesh::findAliveRE(const Point3* p0, const Point3* p1) const
{
    if (recordOf(p0).vTNumbers.size() > recordOf(p1).vTNumbers.size())
        std::swap(p0, p1);
    for (const std::uint32_t number : recordOf(p0).vTNumbers) {
        const RTriangle* pRT = vT[number];
        if (pRT->has(p1))
            return pRT->getRE(pRT->getICI(p0, p1));
    }
    return nullptr;
}

// ---- Change ----

void RMesh::parkDeadEdge(REdge* pRE)
{
    const bool bNew = mDeadRE.tryEmplace(edgeKey(pRE->getVtx0(), pRE->getVtx1()), pRE).second;
    zanAssert(bNew);
}

REdge* RMesh::takeDeadRE(const Point3* p0, const Point3* p1)
{
    const u64 key = edgeKey(p0, p1);
    REdge* const* ppRE = mDeadRE.find(key);
    if (ppRE == nullptr)
        return nullptr;
    REdge* pRE = *ppRE;
    mDeadRE.erase(key);
    return pRE;
}

void RMesh::exchangeCorner(Point3* pSrc, Point3* pTrg)
{
    zanAssert(pSrc != pTrg);
    std::vector<RTriangle*> vDoomedT;
    getAdjacentT(pSrc, pTrg, vDoomedT);
    for (RTriangle* pRT : vDoomedT)
        pRT->kill(this);

    std::vector<RTriangle*> vSrcT;
    std::vector<REdge*> vSrcRE;
    getIncidentT(pSrc, vSrcT);
    getIncidentRE(pSrc, vSrcRE);
    for (REdge* pRE : vSrcRE)
        moveEdge(pRE, pSrc, pTrg);

    recordOf(pSrc).vTNumbers.clear();
    for (RTriangle* pRT : vSrcT) {
        pRT->setCorner(pRT->getICI(pSrc), pTrg);
        recordOf(pTrg).vTNumbers.push_back(pRT->number);
    }
}

// Puts the edge from pSrc to its ring vertex in the place of the one from pTrg. The triangles still have
// their old corners, so that edge is found as it was before.
void RMesh::moveEdge(REdge* pRE, Point3* pSrc, Point3* pTrg)
{
    zanAssert(pRE->isAlive() && pRE->has(pSrc) && !pRE->has(pTrg));
    Point3* pRing = pRE->getOtherPoint(pSrc);
    REdge* pExistingRE = findAliveRE(pRing, pTrg);
    if (pExistingRE == nullptr)
        pExistingRE = takeDeadRE(pRing, pTrg);
    if (pExistingRE == nullptr)
        pRE->setEndpoints(pRing, pTrg);
    else
        replaceEdge(pRE, pExistingRE);
}

// pRE is dead afterwards and can't be looked up any more.
void RMesh::replaceEdge(REdge* pRE, REdge* pExistingRE)
{
    for (RTriangle* pRT : pRE->vRT) {
        pExistingRE->checkIn(pRT);
        REdge** pSlot = std::find(pRT->aOppRE, pRT->aOppRE + 3, pRE);
        zanAssert(pSlot != pRT->aOppRE + 3);
        *pSlot = pExistingRE;
    }
    pRE->vRT.clear();
}

void RMesh::updateVertex(Point3* pVtx, const Point3& newPoint)
{
    zanAssert(*pVtx != newPoint);
    zanAssert(!hasVtx(newPoint)); // before the erasure: a failure must not lose the vertex
    const bool bErased = mPointVertex.erase(pVtx);
    zanAssert(bErased);
    pVtx->set(newPoint);
    mPointVertex.insert(pVtx);
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers)
        vT[number]->resetNNV();
}

// ---- Queries around a vertex or an edge ----

REdge* RMesh::getRE(const Point3* p0, const Point3* p1) const
{
    if (REdge* pRE = findAliveRE(p0, p1))
        return pRE;
    REdge* const* ppRE = mDeadRE.find(edgeKey(p0, p1));
    return ppRE == nullptr ? nullptr : *ppRE;
}

bool RMesh::hasAliveEdge(const Point3* p0, const Point3* p1) const
{
    return findAliveRE(p0, p1) != nullptr;
}

void RMesh::getIncidentT(const Point3* pVtx, std::vector<RTriangle*>& vOut) const
{
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers)
        vOut.push_back(vT[number]);
}

void RMesh::getIncidentRE(const Point3* pVtx, std::vector<REdge*>& vOut) const
{
    vOut.clear();
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers) {
        const RTriangle* pRT = vT[number];
        const int ici = pRT->getICI(pVtx);
        vOut.push_back(pRT->getRE((ici + 1) % 3));
        vOut.push_back(pRT->getRE((ici + 2) % 3));
    }
    sortUniqueByNumber(vOut);
}

void RMesh::getRingVtx(const Point3* pVtx, std::vector<Point3*>& vP) const
{
    vP.clear();
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers)
        for (Point3* pCorner : vT[number]->aCorners)
            if (pCorner != pVtx)
                vP.push_back(pCorner);
    sortUniqueByNumber(vP);
}

void RMesh::getRingRE(const Point3* pVtx, std::vector<REdge*>& vOut) const
{
    for (const std::uint32_t number : recordOf(pVtx).vTNumbers)
        vOut.push_back(vT[number]->getRE(vT[number]->getICI(pVtx)));
}

int RMesh::getCommonRingRE(const Point3* p0, const Point3* p1) const
{
    std::vector<REdge*> vRing0, vRing1, vCommon;
    getRingRE(p0, vRing0);
    getRingRE(p1, vRing1);
    sortUniqueByNumber(vRing0);
    sortUniqueByNumber(vRing1);
    std::set_intersection(vRing0.begin(), vRing0.end(), vRing1.begin(), vRing1.end(),
                          std::back_inserter(vCommon),
                          [](const REdge* pA, const REdge* pB) { return numberOf(pA) < numberOf(pB); });
    return static_cast<int>(vCommon.size());
}

void RMesh::getAdjacentT(const Point3* p0, const Point3* p1, std::vector<RTriangle*>& vRT) const
{
    if (const REdge* pRE = findAliveRE(p0, p1))
        pRE->getAliveT(vRT);
}

void RMesh::getUmbrellas(const Point3* pCenter, std::vector<std::vector<RTriangle*>>& vvRT) const
{
    vvRT.clear();
    std::vector<RTriangle*> vIncT;
    getIncidentT(pCenter, vIncT);
    AvailableT availT(vIncT);
    while (RTriangle* pSeed = availT.takeFirst()) {
        vvRT.emplace_back();
        if (growFan(pSeed, pCenter, availT, vvRT.back()))
            continue;
        ZAN_WARNING("Bad umbrella");
        vvRT.assign(1, vIncT);
        return;
    }
}

// ---- Queries over the whole mesh ----

void RMesh::getDegN(int deg, std::vector<REdge*>& vOut) const
{
    constexpr int ABOVE_2 = -1;
    constexpr int ALL_ALIVE = -99;
    zanAssertText(deg >= 0 || deg == ABOVE_2 || deg == ALL_ALIVE, ("deg=" + std::to_string(deg)).c_str());
    for (REdge* pRE : vRE) {
        const int degree = pRE->getDegree();
        const bool bWanted = deg >= 0 ? degree == deg : degree > (deg == ABOVE_2 ? 2 : 0);
        if (bWanted)
            vOut.push_back(pRE);
    }
}

void RMesh::getPoints(std::vector<Point3*>& vP) const
{
    zanAssert(vP.empty());
    for (RVertex* pRecord : vVtx)
        if (!pRecord->vTNumbers.empty())
            vP.push_back(&pRecord->point);
}

void RMesh::getTriangles(std::vector<RTriangle*>& vOut) const
{
    std::copy_if(vT.begin(), vT.end(), std::back_inserter(vOut),
                 [](const RTriangle* pRT) { return pRT->isAlive(); });
}

void RMesh::getCornerVtx(std::vector<Point3*>& vP) const
{
    vP.reserve(vP.size() + 3 * getNumT());
    for (const RTriangle* pRT : vT)
        if (pRT->isAlive())
            vP.insert(vP.end(), pRT->aCorners, pRT->aCorners + 3);
}

void RMesh::getCornerPoints(std::vector<Point3>& vPoints) const
{
    vPoints.reserve(vPoints.size() + 3 * getNumT());
    for (const RTriangle* pRT : vT)
        if (pRT->isAlive())
            for (const Point3* pCorner : pRT->aCorners)
                vPoints.push_back(*pCorner);
}

size_t RMesh::getNumT() const
{
    return static_cast<size_t>(
        std::count_if(vT.begin(), vT.end(), [](const RTriangle* pRT) { return pRT->isAlive(); }));
}

void RMesh::getVertexIndexData(std::vector<Point3*>& vVertices, std::vector<int>& vIndices) const
{
    constexpr int NO_INDEX = -1;
    getPoints(vVertices);
    zanAssert(vVertices.size() <= static_cast<size_t>(std::numeric_limits<int>::max()));
    std::vector<int> vNumberToIndex(vVtx.size(), NO_INDEX);
    int numIndices = 0;
    for (const Point3* pVtx : vVertices)
        vNumberToIndex[numberOf(pVtx)] = numIndices++;

    vIndices.clear();
    vIndices.reserve(3 * getNumT());
    for (const RTriangle* pRT : vT) {
        if (!pRT->isAlive())
            continue;
        for (const Point3* pCorner : pRT->aCorners) {
            const int index = vNumberToIndex[numberOf(pCorner)];
            zanAssertText(index != NO_INDEX, "q_it!=mVertexToIndex.end()");
            vIndices.push_back(index);
        }
    }
}

double RMesh::getAverageEdgeLength() const
{
    double sumLen = 0.0;
    size_t numAlive = 0;
    for (const REdge* pRE : vRE) {
        if (!pRE->isAlive())
            continue;
        sumLen += pRE->getLength();
        ++numAlive;
    }
    return numAlive == 0 ? -1.0 : sumLen / static_cast<double>(numAlive);
}

bool RMesh::hasColor() const
{
    return std::any_of(vVtx.begin(), vVtx.end(), [](const RVertex* pRecord) {
        return pRecord->point.hasColor() && !pRecord->vTNumbers.empty();
    });
}

} // namespace TESK_ZAN
