#include "edgeMap.h"

#include "CEdge.h"

#include <algorithm>

namespace TESK_ZAN
{

EdgeMap getEdgeMap(const std::vector<CEdge*>& vCE)
{
    EdgeMap mmVCD2CE;
    for (CEdge* pCE : vCE)
        enterEdge(mmVCD2CE, pCE);
    return mmVCD2CE;
}

void enterEdge(EdgeMap& mmVCD2CE, CEdge* pCE)
{
    mmVCD2CE.emplace(pCE->getV0(), pCE);
    mmVCD2CE.emplace(pCE->getV1(), pCE);
}

void removeEdge(EdgeMap& mmVCD2CE, const CEdge* pCE)
{
    for (const u64 vcd : {pCE->getV0(), pCE->getV1()}) {
        const auto [first, last] = mmVCD2CE.equal_range(vcd);
        const auto place =
            std::find_if(first, last, [pCE](const auto& entry) { return entry.second == pCE; });
        if (place != last)
            mmVCD2CE.erase(place);
    }
}

} // namespace TESK_ZAN
