#include "Component.h"

#include "Calc.h"
#include "RCDMatrix.h"
#include "SheetCells.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace TESK_ZAN
{

Component::Component(int id_, const std::vector<u64>& vAllRCD_, const std::vector<u64>& vBorderRCD_,
                     const CellPoints& vRCDPoint_, const Calc* pCalc_)
    : id(id_), name("comp_" + std::to_string(id_)), pCalc(pCalc_), vRCDPoint(vRCDPoint_),
      spacing(static_cast<float>(pCalc_->getCellSize())), vAllRCD(vAllRCD_), vBorderRCD(vBorderRCD_),
      pCells(std::make_unique<SheetCells>(vAllRCD_))
{
    std::set_difference(vAllRCD.begin(), vAllRCD.end(), vBorderRCD.begin(), vBorderRCD.end(),
                        std::back_inserter(vInnerRCD));
    createFacets();
    coloring_setFacetNeigs();
    coloring_removeInnerVisibleFacets();
    setThickness();
    setNormals();
    bColored = color();
}

Component::Component(int id_, const std::vector<Component*>& vMembers, int numGrowSteps_,
                     const CellPoints& vRCDPoint_, const Calc* pCalc_)
    : id(id_), numGrowSteps(numGrowSteps_), name("mstc_" + std::to_string(id_)), pCalc(pCalc_),
      vRCDPoint(vRCDPoint_), spacing(static_cast<float>(pCalc_->getCellSize()))
{
    const auto append = [](auto& vAll, const auto& vMore) {
        vAll.insert(vAll.end(), vMore.begin(), vMore.end());
    };
    for (const Component* pMember : vMembers) {
        append(vAllRCD, pMember->vAllRCD);
        append(vBorderRCD, pMember->vBorderRCD);
        append(vInnerRCD, pMember->vInnerRCD);
        append(vVisibleFacets, pMember->vVisibleFacets);
        bColored = bColored || pMember->bColored;
    }
    std::sort(vAllRCD.begin(), vAllRCD.end());
    std::sort(vBorderRCD.begin(), vBorderRCD.end());
    std::sort(vInnerRCD.begin(), vInnerRCD.end());
    std::sort(vVisibleFacets.begin(), vVisibleFacets.end());
    pCells = std::make_unique<SheetCells>(vAllRCD);
    coloring_setFacetNeigs();
}

Component::~Component() = default;

void Component::flip()
{
    for (Facet& facet : vVisibleFacets)
        if (facet.componentIndex >= 0)
            facet.componentIndex = 1 - facet.componentIndex;
}

void Component::getOrientationCount(u64 rcd, int aLower[6], int aUpper[6]) const
{
    std::fill_n(aLower, 6, 0);
    std::fill_n(aUpper, 6, 0);
    for (const u64 offset : RCD_OFFSETS_27) {
        const auto [pFirst, pEnd] = pCells->findFacets(rcd + offset);
        for (const Facet* pFacet = pFirst; pFacet != pEnd; ++pFacet) {
            if (pFacet->componentIndex == 0)
                ++aLower[pFacet->side];
            else if (pFacet->componentIndex == 1)
                ++aUpper[pFacet->side];
        }
    }
}

} // namespace TESK_ZAN
