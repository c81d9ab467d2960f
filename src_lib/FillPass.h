// Subsystem: intake. Builds on: CellBlocks, CellQueue, removalRules, gridComponents.
// Used by: Prepare.
// One round of the fill: inflates the border of the layer, then removes again what closes no gap.
#pragma once

#include "CellBlocks.h"
#include "Point3.h"
#include "definitions.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// A run object for one pass, on the caller's thread. All distances are in cells, measured from the centre of
// a cell to a surface point, so neither the cell size nor the place of the cloud matters to their precision.
//
// The candidates are the empty cells within some rings of the border. Their distances stand in vDist, by
// their number among the candidates. While the pass runs, "alive" holds the layer and the candidates that
// have not been removed; at its end it is the new layer.
class FillPass
{
public:
    // alive: the layer, border: its border cells; both over blocks, and all three updated by run.
    FillPass(CellBlocks& blocks, CellLayer& alive, CellLayer& border);
    FillPass(const FillPass&) = delete;
    FillPass& operator=(const FillPass&) = delete;

    // The whole pass. vRCD2Vtx: the layer with its points, ascending; maxRounds: limit of the rounds that
    // remove false border. vAdded and vRemoved are replaced by the cells that joined and left the layer,
    // ascending.
    void run(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc, int dist, bool bFullClean,
             int maxRounds, std::vector<u64>& vAdded, std::vector<u64>& vRemoved);

private:
    // A surface point as a source of distances: its cell, and its place in it relative to the cell's centre.
    struct Source {
        int x, y, z;
        float offX, offY, offZ;
    };
    static constexpr float UNREACHED = std::numeric_limits<float>::max();

    // FillPass.cpp: from the border to distances of candidates
    void rcdmch_createRCDBoxes(int dist);
    void rcdmch_createPrioq(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc,
                            class CellQueue& queue);
    void rcdmch_march(CellQueue& queue);
    bool offerSource(CellPos pos, std::uint32_t iSource);
    void hc_addVolumeFills();
    void addCandidates(const std::vector<CellPos>& vFills);

    // FillPass_cleaning.cpp: from the inflated layer to a thin one
    void cleanCandidates();
    void collectUnprotected(const CellLayer& kept, CellLayer& unprotected) const;
    void removeFalseBorder(bool bFullClean, int maxRounds, std::vector<CellPos>& vDoomed);
    void collectRingless(const std::vector<CellPos>& vSeeds, size_t maxCells, CellLayer& ringless) const;
    size_t pruneByDist(bool bFull, CellLayer& removable, const class CellRanks* pRanks,
                       std::vector<CellPos>* pDoomed);
    void updateBorderAround(const std::vector<CellPos>& vChanged, std::vector<CellPos>& vReclassified);

    CellBlocks& blocks;
    CellLayer& alive;
    CellLayer& border;
    CellLayer space;      // everything within the rings, while distances are computed
    CellLayer candidates; // fixed once the pockets are in
    std::vector<float> vDist;
    std::vector<std::uint32_t> vSourceOf; // by candidate: index into vSources
    std::vector<Source> vSources;
};

} // namespace TESK_ZAN
