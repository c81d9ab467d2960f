#include "FieldInflation.h"

#include "Calc.h"
#include "gridSets.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "startStop.h"
#include "zanAssert.h"

#include <cmath>
#include <limits>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr int NUM_LOWPASS = 100;
constexpr float SMALLEST = 4 * std::numeric_limits<float>::min(); // may be halved, and is no 0 then

// The grown corners and their neighbours by number, apart from the corner records: the low-pass reads them a
// hundred times.
class LowPass
{
public:
    explicit LowPass(const CornerStore& store);

    // Pass by pass: a value becomes the mean of its own and of its neighbours', all of them from the pass
    // before.
    void run();

    void write(const CornerStore& store) const;

private:
    struct Grown {
        std::size_t index;         // in the store
        std::array<int, 6> aNeigs; // in the store, -1 for none; without those that hold no distance
        bool bPinned;              // beside a strip
    };

    float filtered(const Grown& grown) const;

    std::vector<Grown> vGrown;
    std::vector<float> vValues; // by index in the store
    std::vector<float> vNext;   // likewise; differs in the grown corners only
};

LowPass::LowPass(const CornerStore& store)
{
    vValues.resize(store.size());
    for (std::size_t i = 0; i < store.size(); ++i) {
        const Corner& corner = *store.getCorner(i);
        vValues[i] = corner.val;
        if (corner.state != ST_GROWN)
            continue;
        Grown grown = {i, corner.aNeigs, false};
        for (int& neig : grown.aNeigs) {
            if (neig == Corner::NO_NEIG)
                continue;
            const Corner& neigCorner = *store.getCorner(static_cast<std::size_t>(neig));
            if (neigCorner.isNoEmitter())
                neig = Corner::NO_NEIG;
            else if (neigCorner.state != ST_GROWN)
                grown.bPinned = true;
        }
        vGrown.push_back(grown);
    }
    vNext = vValues;
}

// A corner beside a strip keeps its sign, so that the field changes its sign between the strips and nowhere
// else at them, but not its size, which would bend the field near it; and no value becomes 0.
float LowPass::filtered(const Grown& grown) const
{
    const float old = vValues[grown.index];
    float sum = old;
    int num = 1;
    for (const int neig : grown.aNeigs) {
        if (neig == Corner::NO_NEIG)
            continue;
        sum += vValues[static_cast<std::size_t>(neig)];
        ++num;
    }
    const float mean = sum / static_cast<float>(num);
    if (mean == 0.0f)
        return old;
    if (!grown.bPinned || (mean < 0.0f) == (old < 0.0f))
        return mean;
    return std::fabs(old) > SMALLEST ? 0.5f * old : old;
}

void LowPass::run()
{
    std::vector<std::pair<std::size_t, std::size_t>> vRanges;
    getStartStop(vGrown.size(), vGrown.size() < MIN_PARALLEL ? 1 : 0, false, vRanges);
    for (int pass = 0; pass < NUM_LOWPASS; ++pass) {
        forBlocksMT(
            vRanges,
            [this](const std::pair<std::size_t, std::size_t>& range) {
                for (std::size_t i = range.first; i < range.second; ++i)
                    vNext[vGrown[i].index] = filtered(vGrown[i]);
            },
            [] {});
        vValues.swap(vNext);
    }
}

void LowPass::write(const CornerStore& store) const
{
    for (const Grown& grown : vGrown)
        store.getCorner(grown.index)->val = vValues[grown.index];
}

} // namespace

FieldInflation::FieldInflation(CornerStore& store_, float spacing_, int numGrowSteps, const CornerBox& box_)
    : store(store_), spacing(spacing_), limit(static_cast<float>(numGrowSteps) * spacing_), box(box_)
{
}

void FieldInflation::icn_inflateCtrlNew()
{
    ZAN_INFO("THIS IS inflateCtrlNew()");
    std::vector<Corner*> vFront;
    store.getFrontCorners(vFront);
    for (Corner* pCorner : vFront) {
        zanAssertText(pCorner->getState() == ST_LOWER_AREA || pCorner->getState() == ST_UPPER_AREA,
                      "pCorner->getState()==ST_LOWER_AREA || pCorner->getState()==ST_UPPER_AREA");
        pCorner->growState = GRS_ACCEPTED;
    }
    icn_firstInflateStep(vFront);
    queueRims();
    icn_prioqInflate();
    lowPass();
}

void FieldInflation::push(Corner* pCorner)
{
    pCorner->growState = GRS_KNOWN;
    queue.push({std::fabs(pCorner->val), numPushed++, pCorner});
}

bool FieldInflation::isInBox(u64 rcc) const
{
    int aXYZ[3];
    rcdToXYZ(rcc, aXYZ[0], aXYZ[1], aXYZ[2]);
    for (std::size_t i = 0; i < 3; ++i)
        if (aXYZ[i] < box.aMin[i] || aXYZ[i] > box.aMax[i])
            return false;
    return true;
}

// All corners one step away from the front, each from the nearest of its accepted neighbours.
void FieldInflation::icn_firstInflateStep(const std::vector<Corner*>& vFront)
{
    std::vector<u64> vFrontRCC;
    transformMT(vFront, vFrontRCC, [](const Corner* pCorner) { return pCorner->rcc; });
    std::vector<u64> vNeigRCC;
    getAll6Neigs(vFrontRCC, true, vNeigRCC);
    std::vector<Corner*> vNeigs;
    for (const u64 rcc : vNeigRCC) {
        if (store.find(rcc) != nullptr || !isInBox(rcc))
            continue;
        Corner* pCorner = store.createCorner(rcc);
        store.getNeigsWithGRS(pCorner, vNeigs, GRS_ACCEPTED);
        float nearest = Corner::START_VALUE;
        for (const Corner* pNeig : vNeigs)
            if (std::fabs(pNeig->val) < std::fabs(nearest))
                nearest = pNeig->val;
        pCorner->val = stepAway(nearest);
        push(pCorner);
    }
}

// The outermost corners of the strips have distances too and pass them on. Without them the field would reach
// the space beyond the rim on a way round them, three or four steps later.
void FieldInflation::queueRims()
{
    for (std::size_t i = 0; i < store.size(); ++i)
        if (store.getCorner(i)->isBorder())
            push(store.getCorner(i));
}

void FieldInflation::icn_prioqInflate()
{
    while (!queue.empty()) {
        Corner* pCorner = queue.top().pCorner;
        queue.pop();
        if (pCorner->growState == GRS_ACCEPTED)
            continue;
        pCorner->growState = GRS_ACCEPTED;
        if (std::fabs(pCorner->val) <= limit)
            spread(*pCorner);
    }
}

void FieldInflation::spread(const Corner& corner)
{
    const float value = stepAway(corner.val);
    if (std::fabs(value) > limit)
        return;
    u64 aNeigRCC[6];
    Calc::getNeigs6_RCD(corner.rcc, aNeigRCC);
    for (std::size_t i = 0; i < 6; ++i) {
        const int index = corner.aNeigs[i];
        if (index != Corner::NO_NEIG)
            offer(store.getCorner(static_cast<std::size_t>(index)), value);
        else if (isInBox(aNeigRCC[i]))
            offer(store.createCorner(aNeigRCC[i]), value);
    }
}

// Corners that emit nothing hold a 0 by construction. A corner of a strip may come nearer, but never changes
// to the other side.
void FieldInflation::offer(Corner* pNeigCorner, float value)
{
    if (pNeigCorner->growState == GRS_ACCEPTED || pNeigCorner->isNoEmitter())
        return;
    zanAssertText(pNeigCorner->val != 0.0f, "pNeigCorner->val");
    if (std::fabs(value) >= std::fabs(pNeigCorner->val))
        return;
    if (pNeigCorner->isBorder() && (value < 0.0f) != (pNeigCorner->val < 0.0f))
        return;
    pNeigCorner->val = value;
    push(pNeigCorner);
}

void FieldInflation::lowPass()
{
    const StageTimer timer("LOWPASS");
    LowPass filter(store);
    filter.run();
    filter.write(store);
}

} // namespace TESK_ZAN
