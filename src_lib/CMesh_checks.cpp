#include "CMesh.h"

#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int MAX_REPORTED = 10; // lines for one check: a broken mesh breaks by the thousand

struct Corners {
    std::array<u64, 3> ccd; // ascending
    const CTriangle* pCT;
};

std::vector<Corners> sortedCorners(const std::vector<CTriangle*>& vT)
{
    std::vector<Corners> vCorners;
    vCorners.reserve(vT.size());
    for (const CTriangle* pCT : vT) {
        if (!pCT->isAlive())
            continue;
        Corners corners{{}, pCT};
        pCT->getSortedCorners(corners.ccd[0], corners.ccd[1], corners.ccd[2]);
        vCorners.push_back(corners);
    }
    std::sort(vCorners.begin(), vCorners.end(), [](const Corners& a, const Corners& b) {
        return a.ccd != b.ccd ? a.ccd < b.ccd : lessByNumber(a.pCT, b.pCT);
    });
    return vCorners;
}

template <class T>
std::size_t numDifferent(std::vector<T>& v)
{
    std::sort(v.begin(), v.end());
    return std::size_t(std::unique(v.begin(), v.end()) - v.begin());
}

bool hasAllBundles(const CMesh* pMesh, const CTriangle* pCT)
{
    return pMesh->hasBundle(pCT->getC0()) && pMesh->hasBundle(pCT->getC1()) && pMesh->hasBundle(pCT->getC2());
}

std::string textOf(const CTriangle* pCT)
{
    return "triangle " + std::to_string(pCT->getNumber());
}

std::string textOf(const CEdge* pCE)
{
    return "edge " + std::to_string(pCE->getNumber());
}

} // namespace

// ---- what a good mesh has --------------------------------------------------------------------------------

bool CMesh::checkCCD(const std::string& label) const
{
    int numBad = 0;
    const auto report = [&numBad](u64 ccd, const char* condition) {
        if (++numBad <= MAX_REPORTED)
            messageStream() << "CheckCCD(): ccd=" << ccd << ", failed: " << condition << std::endl;
    };
    for (const auto& [ccd, pBundle] : *pCCDBundle) {
        const Point3 freshPoint = *pBundle->pVtx;
        if (pCalc->getCCD(pBundle->pVtx) != ccd)
            report(ccd, "freshCCD==ccd");
        else if (pCalc->getCCD(&freshPoint) != ccd)
            report(ccd, "freshCCD2==ccd");
        else if (!(*pBundle->pVtx == freshPoint)) // a coordinate that is not a number
            report(ccd, "*pVtx==freshPoint");
    }
    for (const CVertex& vertex : vertices.getAll())
        if (vertex.numEdges > 0 && vertex.pBundle == nullptr)
            report(vertex.ccd, "q_it!=mCCDBundle.end()");
    messageStream() << "CheckCCD(" << label << "): numBad=" << numBad << std::endl;
    return numBad == 0;
}

bool CMesh::checkNoDups(const std::string& label) const
{
    messageStream() << "CheckNoDups(" << label << "), starts..." << std::endl;
    const std::vector<Corners> vCorners = sortedCorners(vMeshT);
    int numDups = 0;
    for (std::size_t i = 1; i < vCorners.size(); ++i) {
        if (vCorners[i].ccd != vCorners[i - 1].ccd)
            continue;
        if (++numDups <= MAX_REPORTED)
            messageStream() << "CheckNoDups(" << label << "), DUPLICATE TRIANGLE !!!!!!!!!!!!!!!!!!!!!!! "
                            << *vCorners[i - 1].pCT << " / " << *vCorners[i].pCT << std::endl;
    }
    if (numDups == 0)
        messageStream() << "CheckNoDups(" << label << "), OK!" << std::endl;
    return numDups == 0;
}

bool CMesh::checkNoAdjGeomDups(const std::string& label) const
{
    int numBad = 0;
    std::vector<u64> vCCD;
    std::vector<Point3> vPoints;
    for (const CEdge* pCE : vMeshE) {
        if (pCE->getDegree() < 2)
            continue;
        vCCD.clear();
        vPoints.clear();
        for (const CTriangle* pCT : pCE->getCTs()) {
            vCCD.push_back(pCT->getThirdCCD(pCE->getV0(), pCE->getV1()));
            if (hasBundle(vCCD.back()))
                vPoints.push_back(getAvgPoint(vCCD.back()));
        }
        const std::size_t numCCD = numDifferent(vCCD), numPoints = numDifferent(vPoints);
        if (numCCD == vCCD.size() && numPoints == vCCD.size())
            continue;
        if (++numBad <= MAX_REPORTED)
            messageStream() << "checkNoAdjGeomDups(" << label << "), DUP!!!"
                            << " sCCD: " << numCCD << " sPoints: " << numPoints << " num: " << vCCD.size()
                            << std::endl;
    }
    if (numBad == 0)
        messageStream() << "checkNoAdjGeomDups(" << label << "), OK!" << std::endl;
    return numBad == 0;
}

bool CMesh::checkNoDegenerate(const std::string& label) const
{
    const auto numDeg = std::count_if(vMeshT.begin(), vMeshT.end(), [this](const CTriangle* pCT) {
        return pCT->isAlive() && (!hasAllBundles(this, pCT) || pCT->isDegenerate(this));
    });
    messageStream() << "checkNoDegenerate(" << label << "): numDeg=" << numDeg << std::endl;
    return numDeg == 0;
}

bool CMesh::hasNaN(const std::string& label) const
{
    const auto numNaN = std::count_if(pCCDBundle->begin(), pCCDBundle->end(), [](const auto& entry) {
        const Point3& p = *entry.second->pVtx;
        return std::isnan(p.x()) || std::isnan(p.y()) || std::isnan(p.z());
    });
    messageStream() << "CMesh::hasNaN(" << label << "): ";
    if (numNaN == 0)
        messageStream() << "No NaNs, okay!" << std::endl;
    else
        messageStream() << "numNaN=" << numNaN << std::endl;
    return numNaN == 0;
}

// ---- the structure itself --------------------------------------------------------------------------------

bool CMesh::checkDataStructures(const std::string& label) const
{
    using Finder = std::string (CMesh::*)() const;
    const Finder aFinder[] = {&CMesh::findBrokenTriangle, &CMesh::findBrokenEdge, &CMesh::findBrokenChain,
                              &CMesh::findBrokenDeadEdge, &CMesh::findBrokenBundle};
    int number = 0;
    for (const Finder finder : aFinder) {
        ++number;
        const std::string broken = (this->*finder)();
        if (broken.empty())
            continue;
        messageStream() << "checkDataStructures(" << label << "): invariant " << number << ": " << broken
                        << std::endl;
        return false;
    }
    return true;
}

std::string CMesh::findBrokenTriangle() const
{
    for (const CTriangle* pCT : vMeshT) {
        if (!pCT->isAlive())
            continue;
        if (pCT->c0 == pCT->c1 || pCT->c1 == pCT->c2 || pCT->c2 == pCT->c0)
            return textOf(pCT) + " has equal corners";
        for (int i = 0; i < 3; ++i) {
            u64 a, b;
            pCT->getEdgeCCDs(i, a, b);
            if (pCT->getCEdge(i) == nullptr || !pCT->getCEdge(i)->hasVertex(a) ||
                !pCT->getCEdge(i)->hasVertex(b))
                return textOf(pCT) + " points to a wrong edge";
        }
    }
    return "";
}

std::string CMesh::findBrokenEdge() const
{
    std::size_t numListed = 0;
    for (const CEdge* pCE : vMeshE) {
        std::vector<CTriangle*> vCT;
        pCE->getTriangles(vCT);
        numListed += vCT.size();
        std::sort(vCT.begin(), vCT.end());
        if (std::adjacent_find(vCT.begin(), vCT.end()) != vCT.end())
            return textOf(pCE) + " lists a triangle twice";
        for (const CTriangle* pCT : vCT) {
            if (!pCT->isAlive())
                return textOf(pCE) + " lists a dead triangle";
            if (pCT->pCE01 != pCE && pCT->pCE12 != pCE && pCT->pCE02 != pCE)
                return textOf(pCE) + " lists a triangle that does not point to it";
        }
    }
    const auto numAlive =
        std::count_if(vMeshT.begin(), vMeshT.end(), [](const CTriangle* pCT) { return pCT->isAlive(); });
    return numListed == 3 * std::size_t(numAlive) ? "" : "a triangle is missing at one of its edges";
}

std::string CMesh::findBrokenChain() const
{
    std::vector<std::uint8_t> vSeen(vMeshE.size(), 0); // bit 0: in the chain of v0, bit 1: of v1
    for (const CVertex& vertex : vertices.getAll()) {
        std::uint32_t next = vertex.firstEdge;
        for (std::uint32_t i = 0; i < vertex.numEdges; ++i) {
            if (next >= vMeshE.size())
                return "the chain of vertex " + std::to_string(vertex.ccd) + " ends early";
            const CEdge* pCE = vMeshE[next];
            if (!pCE->hasVertex(vertex.ccd) || pCE->getDegree() == 0)
                return textOf(pCE) + " does not belong into the chain of vertex " +
                       std::to_string(vertex.ccd);
            const std::uint8_t bit = pCE->v0 == vertex.ccd ? 1 : 2;
            if (vSeen[next] & bit)
                return textOf(pCE) + " stands twice in the chain of vertex " + std::to_string(vertex.ccd);
            vSeen[next] = std::uint8_t(vSeen[next] | bit);
            next = bit == 1 ? pCE->next0 : pCE->next1;
        }
    }
    for (const CEdge* pCE : vMeshE)
        if (pCE->getDegree() > 0 && vSeen[pCE->number] != 3)
            return textOf(pCE) + " is missing in a chain";
    return "";
}

std::string CMesh::findBrokenDeadEdge() const
{
    std::size_t numDead = 0;
    std::vector<EdgeEnds> vEnds;
    vEnds.reserve(vMeshE.size());
    for (std::size_t i = 0; i < vMeshE.size(); ++i) {
        const CEdge* pCE = vMeshE[i];
        vEnds.emplace_back(pCE->v0, pCE->v1);
        if (pCE->number != i)
            return textOf(pCE) + " does not stand at its number";
        if (pCE->getDegree() > 0)
            continue;
        ++numDead;
        CEdge* const* ppDead = mDeadEdges.find(vEnds.back());
        if (ppDead == nullptr || *ppDead != pCE)
            return textOf(pCE) + " of degree 0 cannot be found";
    }
    if (numDead != mDeadEdges.size())
        return "an edge that is in use counts as dead";
    return numDifferent(vEnds) == vMeshE.size() ? "" : "two edges have the same ends";
}

std::string CMesh::findBrokenBundle() const
{
    std::size_t numBundles = 0;
    for (const CVertex& vertex : vertices.getAll()) {
        if (vertex.pBundle == nullptr)
            continue;
        ++numBundles;
        const auto q_it = pCCDBundle->find(vertex.ccd);
        if (q_it == pCCDBundle->end() || q_it->second != vertex.pBundle || vertex.pBundle->ccd != vertex.ccd)
            return "vertex " + std::to_string(vertex.ccd) + " has another bundle than the map";
    }
    if (numBundles != pCCDBundle->size())
        return "a bundle of the map is no vertex";
    for (const Bundle* pBundle : vOwnBundles)
        if (sOwnCCD.find(pBundle->ccd) == nullptr || pCCDBundle->count(pBundle->ccd) == 0)
            return "own bundle " + std::to_string(pBundle->ccd) + " is not known as such";
    return sOwnCCD.size() == vOwnBundles.size() ? "" : "a vertex counts as the mesh's own without a bundle";
}

} // namespace TESK_ZAN
