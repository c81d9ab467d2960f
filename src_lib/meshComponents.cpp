#include "meshComponents.h"

#include "CEdge.h"
#include "CTriangle.h"
#include "sortMT.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// One end of an edge. A consumed entry has no edge any more.
struct VertexEntry {
    u64 vcd;
    CEdge* pCE;
};

bool lessByVertexAndNumber(const VertexEntry& a, const VertexEntry& b)
{
    return a.vcd != b.vcd ? a.vcd < b.vcd : a.pCE->getNumber() < b.pCE->getNumber();
}

// All edges by their vertices, for growing components.
class EdgesAtVertices
{
public:
    explicit EdgesAtVertices(const std::vector<CEdge*>& vCE)
    {
        vVCD2CE.reserve(2 * vCE.size());
        for (CEdge* pCE : vCE) {
            vVCD2CE.push_back({pCE->getV0(), pCE});
            vVCD2CE.push_back({pCE->getV1(), pCE});
        }
        sortMT(vVCD2CE.begin(), vVCD2CE.end(), lessByVertexAndNumber);
    }

    // A vertex is consumed whole, so one look tells whether an edge is still to be taken.
    bool isUnused(const CEdge* pCE) const { return vVCD2CE[firstOf(pCE->getV0())].pCE != nullptr; }

    // Moves the remaining edges at a vertex to the workspace.
    void takeAll(u64 vcd, std::vector<CEdge*>& vWork)
    {
        const std::size_t first = firstOf(vcd);
        zanAssertText(first < vVCD2CE.size() && vVCD2CE[first].vcd == vcd, "q_it!=vVCD2CE.end()");
        for (std::size_t i = first; i < vVCD2CE.size() && vVCD2CE[i].vcd == vcd; ++i) {
            if (vVCD2CE[i].pCE == nullptr)
                break;
            vWork.push_back(vVCD2CE[i].pCE);
            vVCD2CE[i].pCE = nullptr;
        }
    }

private:
    std::size_t firstOf(u64 vcd) const
    {
        const auto q_it =
            std::lower_bound(vVCD2CE.begin(), vVCD2CE.end(), vcd,
                             [](const VertexEntry& entry, u64 code) { return entry.vcd < code; });
        return std::size_t(q_it - vVCD2CE.begin());
    }

    std::vector<VertexEntry> vVCD2CE;
};

bool countFits(std::size_t count, int deg)
{
    switch (deg) {
    case -4:
        return count % 2 == 0 && count > 2;
    case -3:
        return count > 2;
    case -2:
        return count % 2 == 0;
    case -1:
        return count % 2 == 1;
    default:
        return deg >= 0 && count == std::size_t(deg);
    }
}

} // namespace

void createCC(const std::vector<CEdge*>& vCE, std::vector<std::vector<CEdge*>>& vvCC)
{
    EdgesAtVertices edges(vCE);
    std::vector<CEdge*> vWork;
    std::size_t num = 0;
    for (CEdge* pStart : vCE) {
        if (!edges.isUnused(pStart))
            continue;
        std::vector<CEdge*> vCC;
        vWork.push_back(pStart);
        while (!vWork.empty()) {
            CEdge* pCE = vWork.back();
            vWork.pop_back();
            vCC.push_back(pCE);
            edges.takeAll(pCE->getV0(), vWork);
            edges.takeAll(pCE->getV1(), vWork);
        }
        TESK_TOOLS::sortUnique(vCC, [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
        num += vCC.size();
        vvCC.push_back(std::move(vCC));
    }
    zanAssertText(num == vCE.size(), "num==vCE.size()");
}

void getDegN_CT(int deg, const std::vector<CTriangle*>& vCT, std::vector<CEdge*>& vCE)
{
    std::vector<CEdge*> vAll;
    vAll.reserve(3 * vCT.size());
    for (const CTriangle* pCT : vCT)
        if (pCT->isAlive())
            for (int i = 0; i < 3; ++i)
                vAll.push_back(pCT->getCEdge(i));
    sortMT(vAll.begin(), vAll.end(), [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    for (std::size_t first = 0, last = 0; first < vAll.size(); first = last) {
        while (last < vAll.size() && vAll[last] == vAll[first])
            ++last;
        if (countFits(last - first, deg))
            vCE.push_back(vAll[first]);
    }
}

} // namespace TESK_ZAN
