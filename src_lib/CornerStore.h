// Subsystem: volumes. Builds on: Calc, Corner, FlatMap, SimplePool. Used by: Component, FieldInflation.
// The lattice corners of a signed field, linked with their neighbours on the lattice.
#pragma once

#include "Corner.h"
#include "Point3.h"
#include "tesk_tools/FlatMap.h"
#include "tesk_tools/SimplePool.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// Corners are created, never removed; addresses stay valid. Reading is safe from several threads.
class CornerStore
{
public:
    // Room for so many corners at once; more are welcome. pCalc is not owned.
    CornerStore(const Calc* pCalc, std::size_t numExpected);

    // A new corner, linked with those of its 6 lattice neighbours that exist. The code must be new.
    // Condition "bRegistered" if a neighbour has one there already.
    Corner* createCorner(u64 rcc);

    // Null if absent.
    Corner* find(u64 rcc) const;

    // The place of a corner, whether it is in the store or not.
    Point3 getPoint(u64 rcc) const;

    std::size_t size() const { return vCorners.size(); }
    Corner* getCorner(std::size_t index) const { return vCorners[index]; } // in order of creation

    // vNeigs becomes the existing neighbours, in the order of Calc::getNeigs6_RCD; in the second form those
    // of one grow state.
    void getNeigs(const Corner* pCorner, std::vector<Corner*>& vNeigs) const;
    void getNeigsWithGRS(const Corner* pCorner, std::vector<Corner*>& vNeigs, GrowState growState) const;

    // vFront becomes the corners of the area states, which carry values, in order of creation.
    void getFrontCorners(std::vector<Corner*>& vFront) const;

private:
    const Calc* pCalc;
    TESK_TOOLS::SimplePool<Corner> cornerPool;
    std::vector<Corner*> vCorners; // in order of creation
    TESK_TOOLS::FlatMap<u64, int, TESK_TOOLS::U64Hash> mRCC2Index;
};

} // namespace TESK_ZAN
