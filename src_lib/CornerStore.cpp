#include "CornerStore.h"

#include "Calc.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>

namespace TESK_ZAN
{

CornerStore::CornerStore(const Calc* pCalc_, size_t numExpected) : pCalc(pCalc_)
{
    constexpr size_t MAX_FIRST = 1'000'000;
    cornerPool.init(static_cast<int>(std::clamp<size_t>(numExpected, 1, MAX_FIRST)), 0);
    vCorners.reserve(numExpected);
    mRCC2Index.reserve(numExpected);
}

Corner* CornerStore::createCorner(u64 rcc)
{
    zanAssert(vCorners.size() < static_cast<size_t>(std::numeric_limits<int>::max()));
    const int index = static_cast<int>(vCorners.size());
    const bool bNew = mRCC2Index.tryEmplace(rcc, index).second;
    zanAssert(bNew);
    Corner* pCorner = new (cornerPool.newObject()) Corner(rcc);
    vCorners.push_back(pCorner);

    u64 aNeigRCC[6];
    Calc::getNeigs6_RCD(rcc, aNeigRCC);
    for (size_t i = 0; i < 6; ++i) {
        const int* pNeigIndex = mRCC2Index.find(aNeigRCC[i]);
        if (pNeigIndex == nullptr)
            continue;
        pCorner->aNeigs[i] = *pNeigIndex;
        int& slot = vCorners[static_cast<size_t>(*pNeigIndex)]->aNeigs[i ^ 1];
        const bool bRegistered = slot == Corner::NO_NEIG;
        zanAssert(bRegistered);
        slot = index;
    }
    return pCorner;
}

Corner* CornerStore::find(u64 rcc) const
{
    const int* pIndex = mRCC2Index.find(rcc);
    return pIndex == nullptr ? nullptr : vCorners[static_cast<size_t>(*pIndex)];
}

Point3 CornerStore::getPoint(u64 rcc) const
{
    const Point3 mid = pCalc->getCellMid_RCD(rcc);
    const double half = pCalc->getCellSize() / 2;
    return Point3(mid.x() - half, mid.y() - half, mid.z() - half);
}

void CornerStore::getNeigs(const Corner* pCorner, std::vector<Corner*>& vNeigs) const
{
    vNeigs.clear();
    for (const int index : pCorner->aNeigs)
        if (index != Corner::NO_NEIG)
            vNeigs.push_back(vCorners[static_cast<size_t>(index)]);
}

void CornerStore::getNeigsWithGRS(const Corner* pCorner, std::vector<Corner*>& vNeigs,
                                  GrowState growState) const
{
    getNeigs(pCorner, vNeigs);
    std::erase_if(vNeigs, [growState](const Corner* pNeig) { return pNeig->growState != growState; });
}

void CornerStore::getFrontCorners(std::vector<Corner*>& vFront) const
{
    vFront.clear();
    std::copy_if(vCorners.begin(), vCorners.end(), std::back_inserter(vFront),
                 [](const Corner* pCorner) { return pCorner->isFront(); });
}

} // namespace TESK_ZAN
