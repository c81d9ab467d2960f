#include "CPatch.h"

#include "CMesh.h"
#include "freeFunctions.h"
#include "meshComponents.h"
#include "messages.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <ostream>
#include <queue>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

// The edges that the members hold, each once, by creation number.
std::vector<CEdge*> edgesOf(const std::vector<CTriangle*>& vCT)
{
    std::vector<CEdge*> vCE;
    for (const CTriangle* pCT : vCT)
        if (pCT->isAlive())
            vCE.insert(vCE.end(), {pCT->getCEdge(0), pCT->getCEdge(1), pCT->getCEdge(2)});
    TESK_TOOLS::sortUnique(vCE, [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    return vCE;
}

std::vector<u64> endsOf(const std::vector<CEdge*>& vCE)
{
    std::vector<u64> vVCD;
    for (const CEdge* pCE : vCE)
        vVCD.insert(vVCD.end(), {pCE->getV0(), pCE->getV1()});
    TESK_TOOLS::sortUnique(vVCD);
    return vVCD;
}

// Shortest paths over a set of edges from a set of vertices. Vertices are numbered by ascending code.
class ShortestPaths
{
public:
    ShortestPaths(const std::vector<CEdge*>& vCE, const std::map<u64, Point3>& mCCDPoint)
        : vVCD(endsOf(vCE)), vNodes(vVCD.size())
    {
        for (const u64 vcd : vVCD) {
            const auto q_it = mCCDPoint.find(vcd);
            zanAssertText(q_it != mCCDPoint.end(), "q_it!=mCCDPoint.end()");
            vPoints.push_back(q_it->second);
        }
        for (CEdge* pCE : vCE) {
            vNodes[numberOf(pCE->getV0())].vCE.push_back(pCE);
            vNodes[numberOf(pCE->getV1())].vCE.push_back(pCE);
        }
    }

    // The nearest target is the first that is settled. False if none can be reached.
    bool run(const std::vector<u64>& vSources, const std::vector<u64>& vTargets, std::vector<CEdge*>& vPath)
    {
        for (const u64 vcd : vSources)
            improve(numberOf(vcd), 0.0, nullptr);
        while (!queue.empty()) {
            const auto [distance, number] = queue.top();
            queue.pop();
            if (distance > vNodes[number].distance)
                continue; // reached on a shorter way since
            if (std::binary_search(vTargets.begin(), vTargets.end(), vVCD[number])) {
                appendWayTo(number, vPath);
                return true;
            }
            for (CEdge* pCE : vNodes[number].vCE) {
                const std::size_t other = numberOf(pCE->getOtherVCD(vVCD[number]));
                improve(other, distance + std::sqrt(sqDistance(vPoints[number], vPoints[other])), pCE);
            }
        }
        return false;
    }

private:
    struct Node {
        double distance = std::numeric_limits<double>::infinity();
        CEdge* pFrom = nullptr; // the last edge of the way here; null at a source
        std::vector<CEdge*> vCE;
    };
    using QueueEntry = std::pair<double, std::size_t>; // equal distances: the lower code first

    std::size_t numberOf(u64 vcd) const
    {
        return std::size_t(std::lower_bound(vVCD.begin(), vVCD.end(), vcd) - vVCD.begin());
    }

    void improve(std::size_t number, double distance, CEdge* pFrom)
    {
        if (distance >= vNodes[number].distance)
            return;
        vNodes[number].distance = distance;
        vNodes[number].pFrom = pFrom;
        queue.emplace(distance, number);
    }

    void appendWayTo(std::size_t number, std::vector<CEdge*>& vPath) const
    {
        std::vector<CEdge*> vBack;
        while (vNodes[number].pFrom != nullptr) {
            vBack.push_back(vNodes[number].pFrom);
            number = numberOf(vBack.back()->getOtherVCD(vVCD[number]));
        }
        vPath.insert(vPath.end(), vBack.rbegin(), vBack.rend());
    }

    std::vector<u64> vVCD; // ascending
    std::vector<Node> vNodes;
    std::vector<Point3> vPoints;
    std::priority_queue<QueueEntry, std::vector<QueueEntry>, std::greater<>> queue;
};

} // namespace

bool CPatch::canKillLeaveDeg2() const
{
    for (const CEdge* pCE : edgesOf(vMemberCT)) {
        const int numOwn = countMembersAt(pCE);
        const int numLeft = pCE->getDegree() - numOwn;
        if (numLeft == 0 || numLeft == 2)
            continue;
        messageStream() << "numLeft=" << numLeft << ", numOwn=" << numOwn << ", patch can't be killed"
                        << std::endl;
        return false;
    }
    if (!vMemberCT.empty())
        messageStream() << "YAHOO, true for pCT=" << *vMemberCT.front() << std::endl;
    return true;
}

void CPatch::setPartnerCertainty(const std::map<u64, CPatch*>& mCCDPatch)
{
    std::vector<CPatch*> vNamed;
    for (const CEdge* pCE : edgesOf(vMemberCT)) {
        if (pCE->getDegree() != 3 || countMembersAt(pCE) != 1)
            continue;
        u64 ownCCD = FAILED_CODE;
        std::vector<u64> vOther;
        for (const CTriangle* pCT : pCE->getCTs()) {
            const u64 ccd = pCT->getThirdCCD(pCE->getV0(), pCE->getV1());
            if (pCT->getPatch() == this)
                ownCCD = ccd;
            else
                vOther.push_back(ccd);
        }
        const auto q_it0 = mCCDPatch.find(vOther[0]), q_it1 = mCCDPatch.find(vOther[1]);
        zanAssertText(q_it0 != mCCDPatch.end(), "q_it0!=mCCDPatch.end()");
        zanAssertText(q_it1 != mCCDPatch.end(), "q_it1!=mCCDPatch.end()");
        zanAssertText(ownCCD != vOther[0], "ownCCD!=ccd0");
        zanAssertText(ownCCD != vOther[1], "ownCCD!=ccd1");
        vNamed.insert(vNamed.end(), {q_it0->second, q_it1->second});
    }
    std::sort(vNamed.begin(), vNamed.end(),
              [](const CPatch* a, const CPatch* b) { return a->getLabel() < b->getLabel(); });
    pPartner = nullptr;
    std::size_t numMost = 0;
    for (std::size_t first = 0, last = 0; first < vNamed.size(); first = last) {
        while (last < vNamed.size() && vNamed[last] == vNamed[first])
            ++last;
        if (last - first <= numMost)
            continue;
        numMost = last - first;
        pPartner = vNamed[first];
    }
    partnerCertainty = vNamed.empty() ? 0.0 : double(numMost) / double(vNamed.size());
}

bool CPatch::findPartitioningPath(std::vector<CEdge*>& vPath, const std::map<u64, Point3>& mCCDPoint) const
{
    std::vector<CEdge*> vBoundary;
    getPatchBoundaryCE(vBoundary);
    std::vector<std::vector<CEdge*>> vvRim;
    createCC(vBoundary, vvRim);
    if (vvRim.size() < 2)
        return false;
    std::vector<CEdge*> vOtherRims;
    for (std::size_t i = 1; i < vvRim.size(); ++i)
        vOtherRims.insert(vOtherRims.end(), vvRim[i].begin(), vvRim[i].end());
    ShortestPaths paths(edgesOf(vMemberCT), mCCDPoint);
    return paths.run(endsOf(vvRim[0]), endsOf(vOtherRims), vPath);
}

} // namespace TESK_ZAN
