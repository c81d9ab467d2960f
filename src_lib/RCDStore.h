// Subsystem: grid. Builds on: RCDMatrix, FlatMap, SimplePool. Used by: gridComponents, the removal deciders.
// A set of cells that answers which of a cell's neighbours exist, millions of times.
#pragma once

#include "RCDMatrix.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/SimplePool.h"

#include <vector>

namespace TESK_ZAN
{

class Calc;

// A sparse collection of RCDMatrix cubes. Cells can be added and removed at any time; a cube, once made,
// stays. Memory: about one byte a cell for sheets, at most 1.5 KB a cell for cells that lie further than 64
// apart. Reading is safe from several threads while none writes.
class RCDStore
{
public:
    // pCalc is kept for callers only; it is not owned and may be null. The cells may come in any order and
    // repeat. Linear; fastest for sorted cells.
    RCDStore(const Calc* pCalc, const std::vector<u64>& vRCD);
    ~RCDStore();

    RCDStore(const RCDStore&) = delete;
    RCDStore& operator=(const RCDStore&) = delete;

    // Adds all cells. Called by the constructor, once.
    void constructStore(const std::vector<u64>& vRCD);

    // The matrix of the cell; a missing one is a failed condition, or null in the second form.
    RCDMatrix* getRCDMatrix(u64 rcd) const;
    RCDMatrix* findRCDMatrix(u64 rcd) const;

    // The same with the matrix of an earlier cell (or null) as a first guess: cheap for cells in sorted
    // order.
    RCDMatrix* findRCDMatrix(u64 rcd, RCDMatrix* pGuess) const
    {
        const bool bRight = pGuess != nullptr && pGuess->getUpperPart() == RCDMatrix::upperOf(rcd);
        return bRight ? pGuess : findRCDMatrix(rcd);
    }

    bool isSet(u64 rcd) const
    {
        const RCDMatrix* pMatrix = findRCDMatrix(rcd);
        return pMatrix != nullptr && pMatrix->isSet(RCDMatrix::addressOf(rcd));
    }

    // Adds a cell, with its matrix if need be.
    void add(u64 rcd);

    // Removes a cell; nothing happens if it is not there.
    void unset(u64 rcd);

    // The 27 bits round the cell, as RCDMatrix::getConfiguration. The cell's matrix must exist.
    unsigned int getConfiguration(u64 rcd) const
    {
        return getRCDMatrix(rcd)->gather(RCDMatrix::addressOf(rcd));
    }

    const Calc* getCalc() const { return pCalc; }

private:
    RCDMatrix* createMatrix(u64 upper);
    void linkNeigMatrices(RCDMatrix* pMatrix);

    const Calc* pCalc;
    TESK_TOOLS::FlatMap<u64, RCDMatrix*, TESK_TOOLS::U64Hash> mRCD2RCDMatrix; // by upper part
    TESK_TOOLS::SimplePool<RCDMatrix> matrixPool;
    std::vector<RCDMatrix*> vMatrices; // in order of creation; their destructors are run from here
};

} // namespace TESK_ZAN
