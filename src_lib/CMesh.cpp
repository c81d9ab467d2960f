#include "CMesh.h"

#include "CPatch.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>
#include <limits>

namespace TESK_ZAN
{

namespace
{

constexpr int FIRST_TRIANGLES = 1000; // least sizes of the first pool blocks
constexpr int FIRST_EDGES = 1000;
constexpr std::size_t MAX_FIRST = 100'000'000; // beyond this the pools grow in steps

int firstSize(std::size_t numExpected, int numLeast)
{
    return std::max(int(std::min(numExpected, MAX_FIRST)), numLeast);
}

// A pool with all slots free. One that is large enough for half of the records is kept: its pages have been
// touched already.
template <class T>
void prepare(std::optional<TESK_TOOLS::SimplePool<T>>& oPool, int firstSize)
{
    if (oPool && oPool->getBlockSizes().front() >= firstSize / 2)
        oPool->restart();
    else
        oPool.emplace(firstSize, -1);
}

bool degreeFits(int degree, int deg)
{
    if (deg == -1)
        return degree > 2;
    if (deg == -5)
        return degree == 1 || degree >= 3;
    if (deg == -99)
        return degree > 0;
    return degree == deg;
}

} // namespace

std::vector<Bundle*> bundlesOf(const std::map<u64, Bundle*>& mCCDBundle)
{
    std::vector<Bundle*> vBundles;
    vBundles.reserve(mCCDBundle.size());
    for (const auto& entry : mCCDBundle)
        vBundles.push_back(entry.second);
    return vBundles;
}

CMesh::CMesh(Voro* pVoroGiven, const Calc* pCalcGiven, std::map<u64, Bundle*>* pCCDBundleGiven,
             const std::vector<u64>& vZeroCCDGiven)
    : CMesh(pVoroGiven, pCalcGiven, pCCDBundleGiven, bundlesOf(*pCCDBundleGiven), vZeroCCDGiven)
{
}

CMesh::CMesh(Voro* pVoroGiven, const Calc* pCalcGiven, std::map<u64, Bundle*>* pCCDBundleGiven,
             const std::vector<Bundle*>& vBundles_srt, const std::vector<u64>& vZeroCCDGiven)
    : pVoro(pVoroGiven), pCalc(pCalcGiven), pCCDBundle(pCCDBundleGiven), vZeroCCD(vZeroCCDGiven)
{
    zanAssert(vBundles_srt.size() == pCCDBundle->size());
    std::vector<CVertex> vVertices;
    vVertices.reserve(vBundles_srt.size());
    for (Bundle* pBundle : vBundles_srt)
        vVertices.push_back({pBundle->ccd, pBundle, VertexTable::NONE, 0});
    vertices.setSorted(std::move(vVertices));
    reserve(0);
}

CMesh::CMesh(Voro* pVoroGiven, const Calc* pCalcGiven, bool bOwnMap)
    : pVoro(pVoroGiven), pCalc(pCalcGiven), pCCDBundle(&mOwnCCDBundle)
{
    zanAssert(bOwnMap);
    reserve(0);
}

// The map is not touched: it may be gone already.
CMesh::~CMesh()
{
    clearPatches();
    destroyEdges();
    for (Bundle* pBundle : vOwnBundles) {
        delete pBundle->pVtx;
        delete pBundle;
    }
}

// ---- building --------------------------------------------------------------------------------------------

void CMesh::reserve(std::size_t numVertices)
{
    zanAssert(vMeshT.empty() && vMeshE.empty());
    // Euler, for any closed surface, and what thick places add; room that stays unused is never touched
    const std::size_t spare = numVertices / 8;
    const std::size_t numT = 2 * numVertices + spare, numE = 3 * numVertices + spare;
    prepare(oTrianglePool, firstSize(numT, FIRST_TRIANGLES));
    prepare(oEdgePool, firstSize(numE, FIRST_EDGES));
    vMeshT.reserve(numT);
    vMeshE.reserve(numE);
    vertices.reserve(numVertices);
}

// Edges own heap memory when they hold more than two triangles; triangles own nothing.
void CMesh::destroyEdges()
{
    for (CEdge* pCE : vMeshE)
        std::destroy_at(pCE);
}

void CMesh::clear()
{
    clearPatches();
    destroyEdges();
    vMeshE.clear();
    vMeshT.clear();
    numSortedT = 0;
    numCreatedT = 0;
    mDeadEdges = {};
    for (CVertex& vertex : vertices.getAll())
        vertex.numEdges = 0;
    reserve(0);
}

void CMesh::releaseEdges()
{
    clearPatches();
    destroyEdges();
    vMeshE = {};
    mDeadEdges = {};
    for (CVertex& vertex : vertices.getAll())
        vertex.numEdges = 0;
    oEdgePool.reset();
}

CTriangle* CMesh::createT(u64 v0, u64 v1, u64 v2, u64 vcd, int cfg)
{
    zanAssertText(v0 != v1 && v1 != v2 && v0 != v2, "v0!=v1 && v1!=v2 && v0!=v2");
    zanAssert(numCreatedT < std::numeric_limits<std::uint32_t>::max());
    const std::uint32_t vtx0 = vertices.findOrAdd(v0), vtx1 = vertices.findOrAdd(v1),
                        vtx2 = vertices.findOrAdd(v2);
    CTriangle* pCT = std::construct_at(oTrianglePool->newObject(), v0, v1, v2, vcd, cfg, numCreatedT++);
    pCT->pCE01 = findOrCreateEdge(vtx0, vtx1);
    pCT->pCE01->checkIn(pCT);
    pCT->pCE12 = findOrCreateEdge(vtx1, vtx2);
    pCT->pCE12->checkIn(pCT);
    pCT->pCE02 = findOrCreateEdge(vtx0, vtx2);
    pCT->pCE02->checkIn(pCT);
    vMeshT.push_back(pCT);
    return pCT;
}

CTriangle* CMesh::createTIfMissing(u64 v0, u64 v1, u64 v2, u64 vcd, int cfg)
{
    zanAssertText(v0 != v1 && v1 != v2 && v0 != v2, "v0!=v1 && v1!=v2 && v0!=v2");
    const CEdge* pCE = findAliveEdge(vertices.findOrAdd(v0), vertices.findOrAdd(v1));
    if (pCE != nullptr && pCE->hasTriangle(v0, v1, v2))
        return nullptr;
    return createT(v0, v1, v2, vcd, cfg);
}

// ---- edges by their ends ---------------------------------------------------------------------------------

// Looks at the end with fewer edges: in a mesh that is nearly planar the sum of this over all edges is
// linear, whatever the degrees are.
CEdge* CMesh::findAliveEdge(std::uint32_t vtxA, std::uint32_t vtxB) const
{
    const bool bFromA = vertices[vtxA].numEdges <= vertices[vtxB].numEdges;
    const CVertex& from = vertices[bFromA ? vtxA : vtxB];
    const u64 ccdTo = vertices[bFromA ? vtxB : vtxA].ccd;
    std::uint32_t next = from.firstEdge;
    for (std::uint32_t i = 0; i < from.numEdges; ++i) {
        CEdge* pCE = vMeshE[next];
        const bool bFromV0 = pCE->v0 == from.ccd;
        if ((bFromV0 ? pCE->v1 : pCE->v0) == ccdTo)
            return pCE;
        next = bFromV0 ? pCE->next0 : pCE->next1;
    }
    return nullptr;
}

// A new or revived edge is linked already and must get its triangle at once.
CEdge* CMesh::findOrCreateEdge(std::uint32_t vtxA, std::uint32_t vtxB)
{
    CEdge* pCE = findAliveEdge(vtxA, vtxB);
    if (pCE != nullptr)
        return pCE;
    const EdgeEnds ends = std::minmax({vertices[vtxA].ccd, vertices[vtxB].ccd});
    CEdge** ppDead = mDeadEdges.find(ends);
    if (ppDead != nullptr) {
        pCE = *ppDead;
        mDeadEdges.erase(ends);
    } else {
        zanAssert(vMeshE.size() < VertexTable::NONE);
        pCE =
            std::construct_at(oEdgePool->newObject(), ends.first, ends.second, std::uint32_t(vMeshE.size()));
        vMeshE.push_back(pCE);
    }
    linkAt(vtxA, pCE);
    linkAt(vtxB, pCE);
    return pCE;
}

// To the front of the chain.
void CMesh::linkAt(std::uint32_t vtx, CEdge* pCE)
{
    CVertex& vertex = vertices[vtx];
    (pCE->v0 == vertex.ccd ? pCE->next0 : pCE->next1) = std::exchange(vertex.firstEdge, pCE->number);
    ++vertex.numEdges;
}

void CMesh::edgeDied(CEdge* pCE)
{
    unlinkAt(pCE->v0, pCE);
    unlinkAt(pCE->v1, pCE);
    mDeadEdges.tryEmplace({pCE->v0, pCE->v1}, pCE);
}

void CMesh::unlinkAt(u64 ccd, const CEdge* pCE)
{
    CVertex& vertex = vertices[vertices.find(ccd)];
    std::uint32_t* pLink = &vertex.firstEdge;
    while (vMeshE[*pLink] != pCE) {
        CEdge* pBefore = vMeshE[*pLink];
        pLink = pBefore->v0 == ccd ? &pBefore->next0 : &pBefore->next1;
    }
    *pLink = pCE->v0 == ccd ? pCE->next0 : pCE->next1;
    --vertex.numEdges;
}

CEdge* CMesh::getEdge(u64 v0, u64 v1) const
{
    zanAssert(v0 != v1);
    const std::uint32_t vtxA = vertices.find(v0), vtxB = vertices.find(v1);
    if (vtxA == VertexTable::NONE || vtxB == VertexTable::NONE)
        return nullptr;
    CEdge* pCE = findAliveEdge(vtxA, vtxB);
    if (pCE != nullptr)
        return pCE;
    CEdge* const* ppDead = mDeadEdges.find(std::minmax({v0, v1}));
    return ppDead == nullptr ? nullptr : *ppDead;
}

bool CMesh::hasEdge(u64 v0, u64 v1) const
{
    const EdgeEnds q = std::minmax({v0, v1});
    zanAssertText(q.first < q.second, "q.first<q.second");
    const std::uint32_t vtxA = vertices.find(v0), vtxB = vertices.find(v1);
    return vtxA != VertexTable::NONE && vtxB != VertexTable::NONE && findAliveEdge(vtxA, vtxB) != nullptr;
}

// ---- neighbourhoods and lists ----------------------------------------------------------------------------

template <class F>
void CMesh::forEachEdgeAt(u64 ccd, F f) const
{
    const std::uint32_t number = vertices.find(ccd);
    if (number == VertexTable::NONE)
        return;
    std::uint32_t next = vertices[number].firstEdge;
    for (std::uint32_t i = 0; i < vertices[number].numEdges; ++i) {
        CEdge* pCE = vMeshE[next];
        next = pCE->v0 == ccd ? pCE->next0 : pCE->next1;
        f(pCE);
    }
}

void CMesh::getIncidentT(u64 ccd, std::vector<CTriangle*>& vCT) const
{
    const std::size_t numBefore = vCT.size();
    forEachEdgeAt(ccd, [&](CEdge* pCE) {
        for (CTriangle* pCT : pCE->getCTs())
            if (pCT->getCEdge(prevIndex3(pCT->getICI(ccd))) ==
                pCE) // of its two edges here, the one that leaves
                vCT.push_back(pCT);
    });
    std::sort(vCT.begin() + std::ptrdiff_t(numBefore), vCT.end(),
              [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
}

void CMesh::getIncidentCE(u64 ccd, std::vector<CEdge*>& vCE) const
{
    const std::size_t numBefore = vCE.size();
    forEachEdgeAt(ccd, [&](CEdge* pCE) { vCE.push_back(pCE); });
    std::sort(vCE.begin() + std::ptrdiff_t(numBefore), vCE.end(), lessByEnds);
}

void CMesh::getCCDs(std::vector<u64>& vOut) const
{
    const std::size_t numBefore = vOut.size();
    for (const CVertex& vertex : vertices.getAll())
        if (vertex.numEdges > 0)
            vOut.push_back(vertex.ccd);
    const auto first = vOut.begin() + std::ptrdiff_t(numBefore);
    if (!std::is_sorted(first, vOut.end())) // most often it is: the bundles came in order
        sortMT(first, vOut.end());
}

void CMesh::getAliveT(std::vector<CTriangle*>& vOut) const
{
    vOut.reserve(vOut.size() + vMeshT.size());
    std::copy_if(vMeshT.begin(), vMeshT.end(), std::back_inserter(vOut),
                 [](const CTriangle* pCT) { return pCT->isAlive(); });
}

void CMesh::getEdges(std::vector<CEdge*>& vOut) const
{
    vOut.insert(vOut.end(), vMeshE.begin(), vMeshE.end());
}

void CMesh::getDegN(int deg, std::vector<CEdge*>& vCE) const
{
    if (deg <= 0 && deg != -1 && deg != -5 && deg != -99) {
        ZAN_WARNING("deg=" + std::to_string(deg));
        return;
    }
    for (CEdge* pCE : vMeshE)
        if (degreeFits(pCE->getDegree(), deg))
            vCE.push_back(pCE);
}

bool CMesh::isRegular() const
{
    return std::all_of(vMeshE.begin(), vMeshE.end(),
                       [](const CEdge* pCE) { return pCE->getDegree() == 0 || pCE->getDegree() == 2; });
}

double CMesh::getArea() const
{
    return sumMT(vMeshT, [this](const CTriangle* pCT) { return pCT->isAlive() ? pCT->getArea(this) : 0.0; });
}

void CMesh::clearVisited()
{
    forEachMT(vMeshT, [](CTriangle* pCT) { pCT->setVisited(false); });
}

} // namespace TESK_ZAN
