// Component: the two sides of a sheet.
#include "Component.h"
#include "RemoveDecider_RCD.h"
#include "SheetCells.h"
#include "SidePainter.h"
#include "SideVotes.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <queue>

namespace TESK_ZAN
{

namespace
{

constexpr int OPEN_INDEX = 0;        // waits for a flood
constexpr int FIRST_INDEX = 2;       // of the patches, which come in pairs
constexpr float TWIN_MIN_REL = 3.5f; // so thick that the far side is told at once
constexpr float THIN_MAX_REL = 3.0f; // so thin that facets near each other speak for each other

int twinOf(int index)
{
    return index ^ 1;
}

// The thickest first, then in the order of arrival.
struct FloodEntry {
    Facet* pFacet;
    int index;
    size_t number;
    float rel;

    bool operator<(const FloodEntry& other) const
    {
        return rel != other.rel ? rel < other.rel : number > other.number;
    }
};

} // namespace

bool Component::color()
{
    const int numIndices = coloring_assignUpperLowerCI();
    int evenMainIndex = 0, oddMainIndex = 0;
    if (!findMainGroups(numIndices, evenMainIndex, oddMainIndex)) {
        for (Facet& facet : vVisibleFacets)
            facet.componentIndex = Facet::NO_INDEX;
        return false;
    }
    mergeIntoMainGroups(numIndices, evenMainIndex, oddMainIndex);
    paintRest(evenMainIndex, oddMainIndex);
    setFinalIndices(evenMainIndex, oddMainIndex);
    adoptAgreedNeigs();
    return true;
}

// Floods the facets of inner cells from the thickest places outward, each flood with an index of its own, and
// goes on with the twin index on the far side where the sheet is thick. Gives the end of the indices.
//
// Now and then a cell of a slanted rim is no border cell, and a flood leaks through there to the other side.
// It is then made anew without the outermost facets, until it does not.
int Component::coloring_assignUpperLowerCI()
{
    constexpr int MAX_RETREATS = 4;
    FacetPtrs vSeeds;
    for (Facet& facet : vVisibleFacets)
        if (facet.state == FACET_STATE_AREA)
            vSeeds.push_back(&facet);
    std::stable_sort(vSeeds.begin(), vSeeds.end(),
                     [](const Facet* pA, const Facet* pB) { return pA->rel > pB->rel; });
    std::optional<RemoveDecider_RCD> decider;
    if (!vSeeds.empty() && vSeeds.front()->rel >= TWIN_MIN_REL)
        decider.emplace(vAllRCD);

    const RemoveDecider_RCD* pDecider = decider ? &*decider : nullptr;
    int nextIndex = flood(vSeeds, pDecider, FIRST_INDEX);
    for (int i = 0; i < MAX_RETREATS && retreat(vSeeds, nextIndex); ++i)
        nextIndex = flood(vSeeds, pDecider, nextIndex);
    return nextIndex;
}

int Component::flood(const FacetPtrs& vSeeds, const RemoveDecider_RCD* pDecider, int nextIndex)
{
    std::priority_queue<FloodEntry> queue;
    size_t number = 0;
    const auto reach = [&](Facet* pFacet, int index) {
        if (pFacet == nullptr || pFacet->componentIndex != OPEN_INDEX)
            return;
        pFacet->componentIndex = index;
        queue.push({pFacet, index, number++, pFacet->rel});
    };
    for (Facet* pSeed : vSeeds)
        if (pSeed->componentIndex == Facet::NO_INDEX)
            pSeed->componentIndex = OPEN_INDEX;
    for (Facet* pSeed : vSeeds) {
        if (pSeed->componentIndex != OPEN_INDEX)
            continue;
        reach(pSeed, nextIndex);
        while (!queue.empty()) {
            const FloodEntry entry = queue.top();
            queue.pop();
            for (Facet* pNeig : entry.pFacet->aNeigs)
                reach(pNeig, entry.index);
            if (entry.rel >= TWIN_MIN_REL)
                reach(findOpposite(*entry.pFacet, *pDecider), twinOf(entry.index));
        }
        nextIndex += 2;
    }
    return nextIndex;
}

// vSeeds becomes those facets of leaking pairs, in their order, that a new flood may take; the pairs lose
// their indices. False if none leaks. A pair leaks where both sides of a sheet one cell thick have the same
// index.
bool Component::retreat(FacetPtrs& vSeeds, int numIndices)
{
    constexpr double MAX_COS = -0.7;
    std::vector<char> vLeaks(static_cast<size_t>(numIndices) / 2, 0);
    const auto leaks = [&vLeaks](const Facet& facet) {
        return facet.componentIndex >= FIRST_INDEX &&
               vLeaks[static_cast<size_t>(facet.componentIndex) / 2] != 0;
    };
    for (const Facet& facet : vVisibleFacets) {
        if (facet.componentIndex < FIRST_INDEX || (facet.side & 1) != 0)
            continue;
        const Facet* pBack = pCells->findFacet(facet.rcd, facet.side ^ 1);
        if (pBack != nullptr && pBack->componentIndex == facet.componentIndex &&
            facet.nnv * pBack->nnv < MAX_COS)
            vLeaks[static_cast<size_t>(facet.componentIndex) / 2] = 1;
    }
    FacetPtrs vLeaking, vNewSeeds;
    std::copy_if(vSeeds.begin(), vSeeds.end(), std::back_inserter(vLeaking),
                 [&leaks](const Facet* pFacet) { return leaks(*pFacet); });
    const auto isClosed = [](const Facet* pFacet) { return pFacet->componentIndex < FIRST_INDEX; };
    std::copy_if(vLeaking.begin(), vLeaking.end(), std::back_inserter(vNewSeeds), [&](const Facet* pFacet) {
        return std::none_of(pFacet->aNeigs.begin(), pFacet->aNeigs.end(), isClosed);
    });
    for (Facet* pFacet : vLeaking)
        pFacet->componentIndex = Facet::NO_INDEX;
    vSeeds.swap(vNewSeeds);
    return !vLeaking.empty();
}

// The facet across the sheet, or null. The row of cells in between must cross the sheet, not run along it: it
// is hardly longer than the sheet is thick, and at its ends the sheet looks opposite ways. A lump that is
// about as wide as it is thick has no far side.
Facet* Component::findOpposite(const Facet& facet, const RemoveDecider_RCD& decider) const
{
    constexpr float MAX_SLANT =
        1.75f; // a row on an axis through a slanted sheet: at most sqrt(3) thicknesses
    constexpr double MAX_COS = -0.5;
    constexpr float MIN_FACETS =
        24.0f; // of a plate that is 3.5 times as wide as thick, by the squared thickness
    if (static_cast<float>(vVisibleFacets.size()) < MIN_FACETS * facet.rel * facet.rel)
        return nullptr;
    OppState opp = {};
    if (!decider.getOppState(facet.rcd, facet.side, static_cast<int>(facet.rel * MAX_SLANT), opp))
        return nullptr;
    Facet* pOpposite = pCells->findFacet(opp.rcd, opp.side);
    return pOpposite != nullptr && facet.nnv * pOpposite->nnv < MAX_COS ? pOpposite : nullptr;
}

// The largest patch and its twin. False if there are fewer than two patches.
bool Component::findMainGroups(int numIndices, int& evenMainIndex, int& oddMainIndex) const
{
    std::vector<size_t> vSizes(static_cast<size_t>(numIndices), 0);
    for (const Facet& facet : vVisibleFacets)
        if (facet.componentIndex >= FIRST_INDEX)
            ++vSizes[static_cast<size_t>(facet.componentIndex)];
    const auto numPatches = std::count_if(vSizes.begin(), vSizes.end(), [](size_t size) { return size > 0; });
    if (numPatches < 2)
        return false;
    const auto itLargest = std::max_element(vSizes.begin(), vSizes.end());
    const int largest = static_cast<int>(itLargest - vSizes.begin());
    evenMainIndex = largest & ~1;
    oddMainIndex = evenMainIndex + 1;
    return true;
}

// Turns each pair of patches to the main pair and gives it the main indices. What nothing speaks for loses
// its index.
void Component::mergeIntoMainGroups(int numIndices, int evenMainIndex, int oddMainIndex)
{
    const size_t numPairs = static_cast<size_t>(numIndices) / 2;
    const auto pairOf = [](const Facet& facet) { return static_cast<size_t>(facet.componentIndex) / 2; };
    std::vector<char> vHasThin(numPairs, 0);
    for (const Facet& facet : vVisibleFacets)
        if (facet.componentIndex >= FIRST_INDEX && facet.rel <= THIN_MAX_REL)
            vHasThin[pairOf(facet)] = 1;
    std::vector<const Facet*> vVoters;
    for (const Facet& facet : vVisibleFacets)
        if (facet.componentIndex >= FIRST_INDEX &&
            (facet.rel <= THIN_MAX_REL || vHasThin[pairOf(facet)] == 0))
            vVoters.push_back(&facet);

    SideVotes votes(vVoters, numPairs, static_cast<size_t>(evenMainIndex) / 2);
    const std::vector<SideVotes::Verdict>& vVerdicts = votes.solve();
    for (Facet& facet : vVisibleFacets) {
        if (facet.componentIndex < FIRST_INDEX)
            continue;
        const SideVotes::Verdict verdict = vVerdicts[pairOf(facet)];
        const bool bEven = ((facet.componentIndex & 1) == 0) == (verdict == SideVotes::SAME);
        facet.componentIndex = verdict == SideVotes::OPEN ? Facet::NO_INDEX
                               : bEven                    ? evenMainIndex
                                                          : oddMainIndex;
    }
}

// The facets of border cells, from the surest to the least sure, and at last the seam.
void Component::paintRest(int evenMainIndex, int oddMainIndex)
{
    constexpr int MAX_COUNT = 8;
    SidePainter painter(vVisibleFacets, *pCells, evenMainIndex, oddMainIndex);
    for (int minCount = MAX_COUNT; minCount >= 1; --minCount)
        painter.cc_colorize_27(minCount, false);
    for (float minWeight = 10.0f; minWeight > 0.0f; minWeight -= 1.0f)
        painter.cc_colorize_w(minWeight);
    for (int minCount = MAX_COUNT; minCount >= 1; --minCount)
        painter.cc_colorize_27(minCount, true);
    painter.cc_makeThinBorder(vRCDPoint);
}

// The main group with more facets that look up is the upper side.
void Component::setFinalIndices(int evenMainIndex, int oddMainIndex)
{
    constexpr int SIDE_UP = 5;
    std::ptrdiff_t evenLead = 0;
    for (const Facet& facet : vVisibleFacets)
        if (facet.side == SIDE_UP)
            evenLead += (facet.componentIndex == evenMainIndex) - (facet.componentIndex == oddMainIndex);
    const int evenFinal = evenLead >= 0 ? 1 : 0;
    for (Facet& facet : vVisibleFacets)
        facet.componentIndex = facet.componentIndex == evenMainIndex  ? evenFinal
                               : facet.componentIndex == oddMainIndex ? 1 - evenFinal
                                                                      : Facet::NO_INDEX;
}

// A facet without a side takes that of its neighbours if they all agree.
void Component::adoptAgreedNeigs()
{
    std::vector<std::pair<Facet*, int>> vAdopted;
    for (Facet& facet : vVisibleFacets) {
        const int index = facet.aNeigs[0]->componentIndex;
        const auto agrees = [index](const Facet* pNeig) { return pNeig->componentIndex == index; };
        if (facet.componentIndex < 0 && index >= 0 &&
            std::all_of(facet.aNeigs.begin(), facet.aNeigs.end(), agrees))
            vAdopted.emplace_back(&facet, index);
    }
    for (const auto& [pFacet, index] : vAdopted)
        pFacet->componentIndex = index;
}

} // namespace TESK_ZAN
