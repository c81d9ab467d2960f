// Subsystem: grid. Builds on: RCDStore, removalRules, Calc, sortMT. Used by: Prepare, the wings.
// Thins a layer of cells: removes cells one by one as long as this neither tears the layer nor opens a gap.
#pragma once

#include "Point3.h"
#include "RCDStore.h"
#include "definitions.h"

#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// A cell with its representative point (not owned). Lists of these are sorted by cell, each cell once.
using RCDPoints = std::vector<std::pair<u64, Point3*>>;

// What pruneDynamicWeight removes first; ties go by the given weight (smallest first), then by code.
enum PruningMode {
    PM_FIXED,   // the given weights alone
    PM_CROWDED, // the cell with most existing neighbours: thick places first
    PM_SPARSE   // the cell with fewest existing neighbours: loose ends first
};

// Holds the set of cells that are alive. The rule: a cell may go when its removal opens no gap, and, unless
// borders may go too, when it is no border cell; removalRules.h tells what these are.
// Used on one thread; the queries only read. All results depend on the cells and weights alone.
class RemoveDeciderFast
{
public:
    // All cells of vRCD are alive at first. The vector (no cell twice) is not copied and must outlive the
    // decider.
    RemoveDeciderFast(const std::vector<u64>& vRCD, const Calc* pCalc);

    // The classes of a cell by its neighbourhood. The cell must lie in a matrix of the store (any cell of
    // vRCD does); whether it is alive itself does not matter.
    bool isBorder(u64 rcd) const;
    bool isGap(u64 rcd) const;

    bool exists(u64 rcd) const { return rcdStore.isSet(rcd); }
    bool isDead(u64 rcd) const { return !rcdStore.isSet(rcd); }

    // The alive ones of the 26 neighbours. Condition "vNeigs.empty()".
    void getNeigs(u64 rcd, std::vector<u64>& vNeigs) const;

    // Appends the alive cells in the order of vRCD (sorted if vRCD is).
    void getAlive(std::vector<u64>& vAlive) const;

    // Splits the alive cells by isBorder, appending in the order of vRCD. Condition "vBorderRCDs.empty()".
    // One look at each cell, in parallel.
    void detectBorders(std::vector<u64>& vAreaRCDs, std::vector<u64>& vBorderRCDs) const;

    // Thins the cells of vRCD in passes. A pass takes its candidates in ascending getWeight, equal weights in
    // the order of the list (vRCD in the first pass, ascending codes later), and removes those that may go.
    // The alive neighbours of the cells that it removed are the next candidates; a pass that removes nothing
    // is the last. vKept and vDoomed are replaced by the cells still alive and the others, sorted.
    //
    // bMayRemoveBorders false is the mode in use: rims of sheets stay, but so does the outside of a slab of 2
    // or 3 even layers, which is border all over. With true, open sheets and solid blocks are eaten from
    // their rims to nothing; bProtectBorderComponents then keeps every border cell that is exposed on two
    // opposite faces, so that something of each component always stays. It has no effect with
    // bMayRemoveBorders false. Every candidate and every neighbour must stand in the list of points.
    void prune(const RCDPoints& vRCDPoint, const std::vector<u64>& vRCD, std::vector<u64>& vKept,
               std::vector<u64>& vDoomed, bool bMayRemoveBorders, bool bProtectBorderComponents);

    // Removes candidates in order of falling distance, equal distances by ascending code. A candidate that
    // may not go is held back; when one of its neighbours goes it is tried again in its place of the order.
    // bFull true lets border cells go too. vKept and vDoomed are replaced by the candidates still alive and
    // the others, sorted. O(n log n).
    void pruneByDist(bool bFull, const std::vector<std::pair<float, u64>>& vDist2RCD, std::vector<u64>& vKept,
                     std::vector<u64>& vDoomed);

    // As pruneByDist with bFull false, but the order is by a weight that changes while neighbours go, see
    // PruningMode; a cell is weighed anew after each removal beside it.
    void pruneDynamicWeight(PruningMode mode, const std::vector<std::pair<double, u64>>& vWeight2RCD,
                            std::vector<u64>& vKept, std::vector<u64>& vDoomed);

    // Distance between the cell's point and the cell's centre.
    // Condition "q_it!=vRCDPoint.end() && q_it->first==rcd". O(log n).
    double getWeight(const RCDPoints& vRCDPoint, u64 rcd) const;

    // Over all prunings so far.
    u64 getNumRemoved() const { return numRemoved; }
    u64 getNumPasses() const { return numPasses; }

private:
    const std::vector<u64>* pvRCD;
    const Calc* pCalc;
    RCDStore rcdStore;
    u64 numRemoved = 0;
    u64 numPasses = 0;
};

} // namespace TESK_ZAN
