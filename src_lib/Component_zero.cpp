// Component: the cells that the zero level of the field crosses.
#include "Calc.h"
#include "Component.h"
#include "SheetCells.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

struct ZeroPoint {
    u64 rcd;
    Point3 point;
};

bool takesPart(const Corner& corner)
{
    return corner.growState == GRS_ACCEPTED || corner.isBorder() || corner.state == ST_GROWN;
}

// One entry for each cell round a lattice edge on which the field changes its sign.
void addZeroOnEdge(const CornerStore& store, const Corner& src, const Corner& trg,
                   std::vector<ZeroPoint>& vZeros)
{
    const double srcVal = src.val, trgVal = trg.val;
    zanAssertText(srcVal != 0 && trgVal != 0, "srcVal!=0 && trgVal!=0");
    if ((srcVal < 0) == (trgVal < 0))
        return;
    const double fraction = std::fabs(srcVal) / (std::fabs(srcVal) + std::fabs(trgVal));
    const Point3 srcPoint = store.getPoint(src.rcc);
    const Point3 zero = srcPoint + (store.getPoint(trg.rcc) - srcPoint) * fraction;
    std::vector<u64> vRCD;
    Calc::getCbsAroundEdge(src.rcc, trg.rcc, vRCD);
    for (const u64 rcd : vRCD)
        vZeros.push_back({rcd, zero});
}

// The field runs through the corners that hold a 0. So the cells round such a corner that have corners of
// both signs are crossed there: where they touch at the corner alone, no edge would tell.
void addZeroAtCorner(const CornerStore& store, const Corner& zeroCorner, std::vector<ZeroPoint>& vZeros)
{
    u64 aOffsets[8] = {0};
    Calc::completeCellCorners8(aOffsets);
    for (const u64 down : aOffsets) {
        bool bLower = false, bUpper = false;
        for (const u64 up : aOffsets) {
            const Corner* pCorner = store.find(zeroCorner.rcc - down + up);
            if (pCorner != nullptr && takesPart(*pCorner))
                (pCorner->val < 0 ? bLower : bUpper) = true;
        }
        if (bLower && bUpper)
            vZeros.push_back({zeroCorner.rcc - down, store.getPoint(zeroCorner.rcc)});
    }
}

std::vector<ZeroPoint> collectZeroPoints(const CornerStore& store)
{
    std::vector<ZeroPoint> vZeros;
    std::vector<Corner*> vNeigs;
    for (size_t i = 0; i < store.size(); ++i) {
        const Corner& src = *store.getCorner(i);
        store.getNeigs(&src, vNeigs);
        std::erase_if(vNeigs, [](const Corner* pNeig) { return !takesPart(*pNeig); });
        if (src.isNoEmitter() && !vNeigs.empty())
            addZeroAtCorner(store, src, vZeros);
        if (!takesPart(src))
            continue;
        for (const Corner* pTrg : vNeigs)
            if (src.rcc < pTrg->rcc)
                addZeroOnEdge(store, src, *pTrg, vZeros);
    }
    return vZeros;
}

} // namespace

void Component::icn_getZeroRCD(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges) const
{
    std::vector<ZeroPoint> vZeros = collectZeroPoints(*pCornerStore);
    std::stable_sort(vZeros.begin(), vZeros.end(),
                     [](const ZeroPoint& a, const ZeroPoint& b) { return a.rcd < b.rcd; });
    for (size_t i = 0; i < vZeros.size();) {
        const u64 rcd = vZeros[i].rcd;
        int num = 0;
        double x = 0, y = 0, z = 0;
        for (; i < vZeros.size() && vZeros[i].rcd == rcd; ++i, ++num) {
            x += vZeros[i].point.x();
            y += vZeros[i].point.y();
            z += vZeros[i].point.z();
        }
        if (pCells->exists(rcd))
            continue;
        Point3 mean(x / num, y / num, z / num);
        if (num == 1)
            mean = mean + (pCalc->getCellMid_RCD(rcd) - mean) * 0.1;
        const Point3 before = mean;
        pCalc->adaptPointToRCD(rcd, mean);
        const double sideLen = pCalc->getCellSize();
        zanAssertText(sqDistance(before, mean) < .1 * sideLen * sideLen,
                      "sqDistance(vDbgZeros1.back(),vDbgZeros2.back())<.1*sideLen");
        vResultPoints.emplace_back(rcd, mean);
        vAffilEdges.emplace_back(rcd, num);
    }
}

} // namespace TESK_ZAN
