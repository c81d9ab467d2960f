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

// One entry for each cell round each lattice edge on which the field changes its sign.
std::vector<ZeroPoint> collectZeroPoints(const CornerStore& store)
{
    std::vector<ZeroPoint> vZeros;
    std::vector<u64> vRCD;
    for (size_t i = 0; i < store.size(); ++i) {
        const Corner& src = *store.getCorner(i);
        if (!takesPart(src))
            continue;
        for (const int neig : src.aNeigs) {
            if (neig < static_cast<int>(i)) // none, or seen from there
                continue;
            const Corner& trg = *store.getCorner(static_cast<size_t>(neig));
            if (!takesPart(trg))
                continue;
            const double srcVal = src.val, trgVal = trg.val;
            zanAssertText(srcVal != 0 && trgVal != 0, "srcVal!=0 && trgVal!=0");
            if ((srcVal < 0) == (trgVal < 0))
                continue;
            const double fraction = std::fabs(srcVal) / (std::fabs(srcVal) + std::fabs(trgVal));
            const Point3 srcPoint = store.getPoint(src.rcc);
            const Point3 zero = srcPoint + (store.getPoint(trg.rcc) - srcPoint) * fraction;
            vRCD.clear();
            Calc::getCbsAroundEdge(src.rcc, trg.rcc, vRCD);
            for (const u64 rcd : vRCD)
                vZeros.push_back({rcd, zero});
        }
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
