#include "loopCorners.h"

#include "CMesh.h"

#include <algorithm>
#include <cstddef>

namespace TESK_ZAN
{

bool getLoopCorners(const CMesh& mesh, const std::vector<CEdge*>& vLoopCE, std::vector<u64>& vVCD)
{
    vVCD.clear();
    const std::size_t n = vLoopCE.size();
    if (n < 3)
        return false;
    u64 vcd =
        vLoopCE[0]->hasVertex(vLoopCE[n - 1]->getV0()) ? vLoopCE[n - 1]->getV0() : vLoopCE[n - 1]->getV1();
    for (const CEdge* pCE : vLoopCE) {
        if (!pCE->isBorder() || !pCE->hasVertex(vcd))
            return false;
        vVCD.push_back(vcd);
        vcd = pCE->getOtherVCD(vcd);
    }
    if (vcd != vVCD[0])
        return false;
    if (vLoopCE[0]->getCTs()[0]->getHEDirection2(vVCD[0], vVCD[1]) == HE_SAME)
        std::reverse(vVCD.begin(), vVCD.end());
    for (std::size_t i = 0; i < n; ++i) {
        const u64 next = vVCD[(i + 1) % n];
        if (mesh.getEdge(vVCD[i], next)->getCTs()[0]->getHEDirection2(vVCD[i], next) == HE_SAME)
            return false;
    }
    return true;
}

} // namespace TESK_ZAN
