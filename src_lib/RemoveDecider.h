// Subsystem: grid. Builds on: RCDStore, removalRules, Calc. Used by: Voro, Hole.
// The removal rule on a set of cells that is named by CCDs, one cell at a time.
#pragma once

#include "RCDStore.h"
#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

class Calc;

// The rule and its answers are those of RemoveDeciderFast with borders that stay. Used on one thread.
class RemoveDecider
{
public:
    // The cells are copied, in any order. pCalc is not owned. Linear.
    RemoveDecider(const std::vector<u64>& vCCD, const Calc* pCalc);

    bool exists(u64 ccd) const;

    // True if the cell exists, is no border cell, and opens no gap when it goes.
    bool mayRemove(u64 ccd) const;

    // Removes the cell whatever the rule says; nothing happens if it is not there.
    void remove(u64 ccd);

    // Removes of the candidates all that may go, in walks over them in their order until a walk removes none.
    // vKept and vDoomed are replaced by the candidates that exist still and those that went, sorted.
    void pruneStrong(const std::vector<u64>& vCandidateCCD, std::vector<u64>& vKept,
                     std::vector<u64>& vDoomed);

private:
    RCDStore rcdStore;
};

} // namespace TESK_ZAN
