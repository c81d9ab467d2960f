// Subsystem: bit stores. Builds on: Iso, Bundle, Calc, messages. Used by: no road.
// A set of cells as bit blocks, and a way to thin a layer of cells that looks along one axis at a time.
#pragma once

#include "Iso.h"
#include "definitions.h"

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace TESK_ZAN
{

class Calc;
struct Bundle;

// Stands beside the thinning of the roads. Used on one thread. Results depend on the cells and their points
// alone: walks go by ascending block and code.
//
// A cell lies double along an axis towards one side if the cell under it, the neighbour on that side, is set
// with the four cells round that one across the axis, and the neighbour on the other side is not. Whatever
// hung on the cell hangs on those. Rims of layers stay.
class IsoStore
{
public:
    // Not owned; must outlive this.
    explicit IsoStore(const Calc* pCalc_) : pCalc(pCalc_) {}

    // Replaces the cells by those of the bundles, which must outlive the calls below. upperMask selects the
    // part of a code that names its block, usually ~Iso::LOWER_MASK; the lower 15 bits must not be in it. For
    // each bundle the forbidden direction is found, see slide.
    void init(u64 upperMask, std::vector<Bundle*>& vBundles);

    // Sets or clears a cell; the block is made when a first cell of it is set.
    void set(u64 ccd, bool bValue);

    bool isSet(u64 ccd) const;

    // Sets the cells of vCCD that lie in the block of upper, any cell of it.
    void add(u64 upper, std::vector<u64>& vCCD);

    // The block of a cell. A missing one: warning "No iso found", null.
    Iso* getIso(u64 ccd) const;

    // Replaces vCCD by the cells that are set, ascending.
    void getCCDs(std::vector<u64>& vCCD) const;

    // Clears cells that lie double along any axis, in walks over all cells by ascending code, until a walk
    // clears none. Returns how many.
    std::size_t simplify();

    // Sets the cells that lie between two others along two axes or three, pinholes of a layer, then
    // simplifies. Returns how many of those are left.
    std::size_t simplifyInflates();

    // Clears the cell ccd if it lies double along axis towards side (1 or -1). pBundle, which may be null, is
    // the cell's; one that has died before is refused. axis is AXIS_X, AXIS_Y or AXIS_Z, else the text
    // "Wrong axis: " and the condition "axis==1 || axis==2 || axis==4". The cell must be set.
    bool tryKill(Bundle* pBundle, u64 ccd, int axis, int side);

    // Clears the cell of pWeak if it lies double towards the cell of pStrong, a face neighbour.
    bool tryKillWeakBundle(Bundle* pWeak, Bundle* pStrong);

    // Clears cells of double layers whose points lie near the other layer. A bundle with exactly five face
    // neighbours has the axis of the missing one as its forbidden direction: the layer is double along it.
    // If half a cell from its point, towards the neighbour on that axis, is in that one's cell, the bundle is
    // the weak one of the two. Returns how many went. Prints where it starts and the count.
    std::size_t slide();

private:
    u64 neighbour(u64 ccd, int axis, int side) const; // FAILED_CODE beyond the end of the lattice
    bool isNeighbourSet(u64 ccd, int axis, int side) const;
    bool isDouble(u64 ccd, int axis, int side) const;
    bool isBetweenSetCells(u64 ccd) const;     // along two axes at least
    int findForbiddenDirection(u64 ccd) const; // 0 x, 1 y, 2 z, -1 none
    Bundle* getBundle(u64 ccd) const;
    double localCoordinate(const Bundle& bundle, int direction) const;

    const Calc* pCalc;
    std::map<u64, std::unique_ptr<Iso>> mUpperQuad2Iso; // by upper part; one for thousands of cells
    u64 upperMask = ~Iso::LOWER_MASK;
    std::vector<Bundle*> vBundles;                // ascending by code; not owned
    std::vector<signed char> vForbiddenDirection; // parallel: 0 x, 1 y, 2 z, -1 none
};

} // namespace TESK_ZAN
