// Subsystem: intake. Builds on: Calc, CellBlocks, Thinning, FillPass, Progress, sortMT.
// Used by: Cloud.
// From the raw points of a scan to a thin layer of working cells, one representative point each.
#pragma once

#include "CellBlocks.h"
#include "Point3.h"
#include "RemoveDeciderFast.h"
#include "definitions.h"
#include "tesk_tools/SimplePool.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// One round of the fill: the number of 6-steps that the border is inflated by, and whether cells of the
// scan itself, not only added ones, may be cleaned away as false border.
struct FillRound {
    int dist;
    bool bFullClean;
};

// Thins the cells that hold points to a layer and closes holes of up to fillSize cells in it.
//
// Invariants between the stages:
//  1. vRCD2Vtxsrt, vAllRCDsrt, vAreaRCDsrt, vBorderRCDsrt and vZeroRCDsrt are strictly ascending;
//  2. vAllRCDsrt holds the cells of vRCD2Vtxsrt, and is the union of the disjoint area and border lists;
//  3. from the first fill pass on, the layers "alive" and "border" hold the cells of vAllRCDsrt and of
//     vBorderRCDsrt;
//  4. vZeroRCDsrt is the part of vAllRCDsrt that a fill pass added.
class Prepare
{
public:
    // Largest fill distance. Every point has 5000 cells of room around it; this leaves some for the rings
    // that are grown beyond the filled space.
    static constexpr int MAX_FILL_SIZE = 4900;

    // Neither the points nor the Calc are owned; both must outlive the object. All points are finite and lie
    // in the Calc's box, with fillSize + 4 cells of room on each side. A fillSize above MAX_FILL_SIZE is cut
    // to it with a warning; 0 or less fills nothing.
    Prepare(std::vector<Point3>* pPoints, int fillSize, const Calc* pCalc);
    Prepare(const Prepare&) = delete;
    Prepare& operator=(const Prepare&) = delete;

    // All stages, once per object. vResult: a (CCD, point) pair for each cell of the final layer, ascending
    // by code; the point is one of the input points that lie in the cell, unchanged, or the cell's centre
    // where a fill pass added the cell. vZeroCCD: the added cells, ascending. Both are replaced.
    // Opens the phases PREP_createRCD, PREP_fillHoles (with fillSize > 0) and PREP_integFill on the
    // thread's progress root.
    void run(std::vector<std::pair<u64, Point3>>& vResult, std::vector<u64>& vZeroCCD);

    // After run: appends the input points at the rims of the layer, those in border cells and in dropped
    // cells beside them, in input order. Not those that run has delivered. Linear in the input. Extension
    // of 1.17.
    void getRimPoints(std::vector<Point3>& vRimPoints) const;

    // The first stage: cells, representatives, thinning, first split into area and border.
    void createRCDs();

    // One round of the fill, after createRCDs. dist: rings, at least 1. bFullClean as in FillRound.
    // Time and memory follow the cells within dist steps of the border, not the cells of the layer.
    void fillPass(int dist, bool bFullClean);

    // The rounds that a fill size asks for, none for 0 or less; at most about 2 log2(fillSize).
    static std::vector<FillRound> getFillRounds(int fillSize);

    const RCDPoints& getRCD2Vtx() const { return vRCD2Vtxsrt; }
    const std::vector<u64>& getAllRCDs() const { return vAllRCDsrt; }
    const std::vector<u64>& getAreaRCDs() const { return vAreaRCDsrt; }
    const std::vector<u64>& getBorderRCDs() const { return vBorderRCDsrt; }
    const std::vector<u64>& getZeroRCDs() const { return vZeroRCDsrt; }

private:
    RCDPoints createRepresentatives() const;
    std::vector<CellPos> createLayers(const RCDPoints& vFat);
    void thin(const RCDPoints& vFat, const std::vector<CellPos>& vFatPos);
    void takeKeptCells(RCDPoints&& vFat, const std::vector<CellPos>& vFatPos);
    void fillHoles();
    int getUsefulFillSize() const;
    void takeFilledCells(const std::vector<u64>& vAdded, const std::vector<u64>& vRemoved);
    void deliver(std::vector<std::pair<u64, Point3>>& vResult, std::vector<u64>& vZeroCCD) const;

    RCDPoints vRCD2Vtxsrt;        // kept cells with their points: of the input, or in the pool
    std::vector<Point3>* pPoints; // input, not owned
    int fillSize;
    const Calc* pCalc; // not owned
    std::vector<u64> vAllRCDsrt;
    std::vector<u64> vAreaRCDsrt;
    std::vector<u64> vBorderRCDsrt;
    std::vector<u64> vZeroRCDsrt;
    TESK_TOOLS::SimplePool<Point3> poolPoints; // of the cells that a fill added
    CellBlocks blocks;                         // where the layers below live; shared by all passes
    CellLayer alive;
    CellLayer border;
};

} // namespace TESK_ZAN
