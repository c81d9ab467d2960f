// Subsystem: intake. Builds on: CellBlocks, CellQueue, removalRules, gridComponents.
// Used by: Prepare.
// One round of the fill: inflates the border of the layer, then removes again what closes no gap.
#pragma once

#include "CellBlocks.h"
#include "Point3.h"
#include "definitions.h"
#include "removalRules.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class CellQueue;

// A run object for one pass, on the caller's thread. All distances are in cells, measured from the centre of
// a cell to a surface point, so neither the cell size nor the place of the cloud matters to their precision.
//
// The candidates are the empty cells within some rings of the border, and pockets that these close off. While
// the pass runs, "alive" holds the layer and the candidates that have not been removed; at its end it is the
// new layer.
class FillPass
{
public:
    // alive: the layer; border: its border cells. Both live over blocks and are brought up to date by run.
    FillPass(CellBlocks& blocks, CellLayer& alive, CellLayer& border);
    FillPass(const FillPass&) = delete;
    FillPass& operator=(const FillPass&) = delete;

    // The whole pass. vRCD2Vtx: the layer with its points, ascending. dist: rings, at least 1. maxRounds: how
    // often false border may be removed. vAdded and vRemoved are replaced by the cells that joined and left
    // the layer, ascending.
    void run(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc, int dist,
             bool bFullClean, int maxRounds, std::vector<u64>& vAdded, std::vector<u64>& vRemoved);

private:
    static constexpr float UNREACHED = std::numeric_limits<float>::max();

    enum class Order { BY_DIST, BY_CODE };

    // What the march knows of a candidate: the distance to a surface point, and which one that is.
    struct RCDBox {
        float dist;
        std::uint32_t iSource;
    };

    // A surface point as a source of distances: its cell, and its place relative to the cell's centre.
    struct Source {
        int x, y, z;
        float offX, offY, offZ;
    };

    // FillPass.cpp: from the border to candidates with distances
    void rcdmch_createRCDBoxes(size_t numLayerCells, int dist);
    void rcdmch_createPrioq(const std::vector<std::pair<u64, Point3*>>& vRCD2Vtx, const Calc* pCalc,
                            CellQueue& queue);
    void rcdmch_march(CellQueue& queue);
    void offerSource(CellQueue& queue, CellPos pos, std::uint32_t iSource);
    void hc_addVolumeFills();
    std::vector<CellPos> findPockets();
    void joinPockets(const std::vector<CellPos>& vPockets);

    // FillPass_cleaning.cpp: from the inflated layer to a thin one
    void cleanCandidates();
    CellLayer getUnprotected(const CellLayer& kept) const;
    bool isLooseEnd(CellPos pos, const CellLayer& kept) const;
    std::vector<CellPos> removeFalseBorder(bool bFullClean, int maxRounds);
    CellLayer getRingless(const std::vector<CellPos>& vSeeds, size_t maxCells) const;
    std::vector<CellPos> reclassifyAround(const std::vector<CellPos>& vChanged);
    size_t prune(bool bFull, Order order, CellLayer& removable, std::vector<CellPos>* pDoomed);
    CellLayer getExposed(const CellLayer& part) const;
    float getDist(CellPos pos) const { return vBoxes[(*ranks)(pos)].dist; }

    const RemovalRules& rules;
    CellBlocks& blocks;
    CellLayer& alive;
    CellLayer& border;
    CellLayer candidates;
    std::optional<CellRanks> ranks; // numbers of the candidates
    std::vector<RCDBox> vBoxes;     // of the candidates, by number
    float maxDist = 0.0f;           // distances expected

    // Of the march only.
    CellLayer space;              // all cells within the rings
    CellLayer open;               // candidates whose distance is not final
    std::vector<Source> vSources; // surface points next to candidates
};

} // namespace TESK_ZAN
