#include "Thinning.h"

namespace TESK_ZAN
{

Thinning::Thinning(const CellBlocks& blocks_, CellLayer& alive_, const CellRanks& ranks_,
                   const std::vector<double>& vWeights_)
    : rules(RemovalRules::get()), blocks(blocks_), alive(alive_), ranks(ranks_), vWeights(vWeights_)
{
}

void Thinning::run()
{
    pending = alive;
    blocks.fit(next);
    while (runPass() > 0) {
        next.intersect(alive);
        std::swap(pending, next); // nothing is pending behind a pass
    }
}

size_t Thinning::runPass()
{
    numRemoved = 0;
    pending.forEach([&](CellPos pos) {
        if (!pending.test(pos))
            return; // decided on behalf of another cell
        vStack.assign(1, pos);
        while (!vStack.empty()) {
            const CellPos earlier = getEarlierNeig(vStack.back());
            if (earlier != NO_CELL) {
                vStack.push_back(earlier);
                continue;
            }
            decide(vStack.back());
            vStack.pop_back();
        }
    });
    return numRemoved;
}

void Thinning::decide(CellPos pos)
{
    pending.clear(pos);
    if (!rules.isInner(blocks.getConfiguration(alive, pos)))
        return;
    alive.clear(pos);
    ++numRemoved;
    blocks.forEachNeig(alive, pos, CONFIG27_ALL, [&](CellPos neig, int) { next.set(neig); });
}

// The first in order of the pending neighbours that come before the cell, or NO_CELL.
CellPos Thinning::getEarlierNeig(CellPos pos) const
{
    CellPos first = pos;
    double weightFirst = vWeights[ranks(pos)];
    blocks.forEachNeig(pending, pos, CONFIG27_ALL, [&](CellPos neig, int) {
        const double weight = vWeights[ranks(neig)];
        if (weight > weightFirst || (weight == weightFirst && blocks.getRCD(neig) > blocks.getRCD(first)))
            return;
        first = neig;
        weightFirst = weight;
    });
    return first == pos ? NO_CELL : first;
}

} // namespace TESK_ZAN
