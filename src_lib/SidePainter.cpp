#include "SidePainter.h"

#include "RCDMatrix.h"
#include "SheetCells.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <queue>

namespace TESK_ZAN
{

namespace
{

constexpr float STRONG = 10.0f; // a neighbour that goes on smoothly
constexpr float WEAK = 1.0f;    // one round a corner of the rim

// The heaviest first, of equal ones the one that came first.
struct WeightEntry {
    float weight;
    size_t number;
    Facet* pFacet;

    bool operator<(const WeightEntry& other) const
    {
        return weight != other.weight ? weight < other.weight : number > other.number;
    }
};

class WeightQueue
{
public:
    void push(float weight, Facet* pFacet) { queue.push({weight, number++, pFacet}); }
    bool empty() const { return queue.empty(); }
    WeightEntry pop()
    {
        const WeightEntry entry = queue.top();
        queue.pop();
        return entry;
    }

private:
    std::priority_queue<WeightEntry> queue;
    size_t number = 0;
};

} // namespace

SidePainter::SidePainter(std::vector<Facet>& vFacets_, const SheetCells& cells_, int lowerIndex,
                         int upperIndex)
    : vFacets(vFacets_), cells(cells_), aIndices{lowerIndex, upperIndex}, vCounts(vFacets_.size(), Counts{})
{
    for (const Facet& facet : vFacets)
        if (!isOpen(facet))
            count(facet);
}

size_t SidePainter::placeOf(const Facet* pFacet) const
{
    return static_cast<size_t>(pFacet - vFacets.data());
}

// Takes a coloured facet into the counts round it.
void SidePainter::count(const Facet& facet)
{
    const size_t which = facet.componentIndex == aIndices[0] ? 0 : 1;
    for (const u64 offset : RCD_OFFSETS_27) {
        Facet* pNear = offset == 0 ? nullptr : cells.findFacet(facet.rcd + offset, facet.side);
        if (pNear == nullptr)
            continue;
        ++vCounts[placeOf(pNear)][which];
        if (isOpen(*pNear))
            vTouched27.push_back(pNear);
    }
}

void SidePainter::paint(Facet* pFacet, int index)
{
    zanAssert(index == aIndices[0] || index == aIndices[1]);
    pFacet->componentIndex = index;
    ++numPainted;
    count(*pFacet);
    for (Facet* pNeig : pFacet->aNeigs)
        if (isOpen(*pNeig))
            vTouchedW.push_back(pNeig);
}

std::pair<int, float> SidePainter::cc_getWeight(const Facet* pFacet) const
{
    float aWeights[2] = {0.0f, 0.0f};
    for (const Facet* pNeig : pFacet->aNeigs) {
        if (isOpen(*pNeig) || pNeig->rcd == pFacet->rcd)
            continue;
        const bool bStrong = pNeig->side == pFacet->side || pNeig->state == FACET_STATE_AREA;
        aWeights[pNeig->componentIndex == aIndices[0] ? 0 : 1] += bStrong ? STRONG : WEAK;
    }
    if (aWeights[0] > 0.0f && aWeights[1] > 0.0f) {
        const bool bStrong0 = aWeights[0] >= STRONG, bStrong1 = aWeights[1] >= STRONG;
        if (bStrong0 == bStrong1)
            return {NO_DECISION, 0.0f};
        aWeights[bStrong0 ? 1 : 0] = 0.0f;
    }
    const size_t which = aWeights[0] > 0.0f ? 0 : 1;
    return {aIndices[which], aWeights[which]};
}

// A facet that was too weak for the last call with this minWeight is looked at again only if a neighbour has
// been coloured since.
size_t SidePainter::cc_colorize_w(float minWeight)
{
    const size_t numBefore = numPainted;
    WeightQueue queue;
    const auto consider = [&](Facet* pFacet) {
        const float weight = cc_getWeight(pFacet).second;
        if (isOpen(*pFacet) && weight >= minWeight)
            queue.push(weight, pFacet);
    };
    if (minWeight == lastMinWeight)
        std::for_each(vTouchedW.begin(), vTouchedW.end(), consider);
    else
        std::for_each(vFacets.begin(), vFacets.end(), [&](Facet& facet) { consider(&facet); });
    lastMinWeight = minWeight;
    vTouchedW.clear();

    while (!queue.empty()) {
        const WeightEntry entry = queue.pop();
        if (!isOpen(*entry.pFacet))
            continue;
        const auto [index, weight] = cc_getWeight(entry.pFacet);
        if (weight < minWeight)
            continue;
        if (weight < entry.weight) {
            queue.push(weight, entry.pFacet);
            continue;
        }
        paint(entry.pFacet, index);
        std::for_each(vTouchedW.begin(), vTouchedW.end(), consider);
        vTouchedW.clear();
    }
    return numPainted - numBefore;
}

// The index that the counts call for, or NO_DECISION.
int SidePainter::choose27(const Facet& facet, int minCount, bool bFinal) const
{
    const Counts& counts = vCounts[placeOf(&facet)];
    if (counts[0] > 0 && counts[1] > 0 && (!bFinal || counts[0] == counts[1]))
        return NO_DECISION;
    const size_t which = counts[0] >= counts[1] ? 0 : 1;
    const bool bDisputed = counts[1 - which] > 0;
    const int needed = bDisputed ? std::max(minCount, 2) : minCount;
    return counts[which] >= needed ? aIndices[which] : NO_DECISION;
}

// Decides on the counts as they are, then colours. vCandidates becomes the facets to look at next.
void SidePainter::colorizeRound(int minCount, bool bFinal, std::vector<Facet*>& vCandidates)
{
    std::vector<std::pair<Facet*, int>> vChosen;
    for (Facet* pFacet : vCandidates) {
        const int index = isOpen(*pFacet) ? choose27(*pFacet, minCount, bFinal) : NO_DECISION;
        if (index != NO_DECISION)
            vChosen.emplace_back(pFacet, index);
    }
    vTouched27.clear();
    for (const auto& [pFacet, index] : vChosen)
        if (isOpen(*pFacet)) // a candidate may stand there twice
            paint(pFacet, index);
    vCandidates.swap(vTouched27);
    vTouched27.clear();
}

size_t SidePainter::cc_colorize_27(int minCount, bool bFinal)
{
    const size_t numBefore = numPainted;
    std::vector<Facet*> vCandidates;
    for (Facet& facet : vFacets)
        if (isOpen(facet))
            vCandidates.push_back(&facet);
    do {
        while (!vCandidates.empty())
            colorizeRound(minCount, bFinal, vCandidates);
        vTouched27.clear();
        cc_colorize_w(STRONG);
        vCandidates.swap(vTouched27);
    } while (!vCandidates.empty());
    return numPainted - numBefore;
}

// How little a facet on the seam says about its side: 0 away from the seam.
float SidePainter::conflictWeight(const Facet& facet,
                                  const std::vector<std::pair<u64, Point3>>& vRCDPoint) const
{
    const auto isOther = [&](const Facet* pNeig) {
        return pNeig->componentIndex >= 0 && pNeig->componentIndex != facet.componentIndex;
    };
    const auto numOther = std::count_if(facet.aNeigs.begin(), facet.aNeigs.end(), isOther);
    if (facet.componentIndex < 0 || numOther == 0)
        return 0.0f;

    Vector3 normal;
    if (!cells.estimateNormal(facet.rcd, vRCDPoint, normal))
        return 0.5f * static_cast<float>(numOther);
    const double angle = getAngleDegree(Facet::normalOf(facet.side), normal);
    return static_cast<float>(5.0 * (1.0 - std::fabs(angle - 90.0) / 90.0));
}

void SidePainter::cc_makeThinBorder(const std::vector<std::pair<u64, Point3>>& vRCDPoint)
{
    WeightQueue queue;
    for (Facet& facet : vFacets) {
        const float weight = conflictWeight(facet, vRCDPoint);
        if (weight > 0.0f)
            queue.push(weight, &facet);
    }
    while (!queue.empty()) {
        const WeightEntry entry = queue.pop();
        const float weight = conflictWeight(*entry.pFacet, vRCDPoint);
        if (weight >= entry.weight)
            entry.pFacet->componentIndex = Facet::NO_INDEX;
        else if (weight > 0.0f)
            queue.push(weight, entry.pFacet);
    }
}

} // namespace TESK_ZAN
