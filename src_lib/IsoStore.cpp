#include "IsoStore.h"

#include "Bundle.h"
#include "Calc.h"
#include "messages.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr double SLIDE_STEP_CELLS = 0.5;
constexpr double BLOCK_SCALE = 32.0; // local coordinates of a block run to here
constexpr std::array<int, 3> AXES = {int(AXIS_X), int(AXIS_Y), int(AXIS_Z)};

struct LocalCell {
    int x, y, z;
};

LocalCell localCell(u64 ccd)
{
    const u64 lower = ccd & Iso::LOWER_MASK;
    return {int(compactBits3(lower >> 2)), int(compactBits3(lower >> 1)), int(compactBits3(lower))};
}

void checkAxis(int axis)
{
    const bool bAxis = axis == 1 || axis == 2 || axis == 4;
    if (!bAxis)
        messageStream() << "Wrong axis: " << axis << std::endl;
    zanAssertText(bAxis, "axis==1 || axis==2 || axis==4");
}

bool lessByCode(const Bundle* pBundle, u64 ccd)
{
    return pBundle->ccd < ccd;
}

} // namespace

// ---- the set ---------------------------------------------------------------------------------------------

void IsoStore::init(u64 upperMask_, std::vector<Bundle*>& vBundles_)
{
    zanAssert((upperMask_ & Iso::LOWER_MASK) == 0);
    upperMask = upperMask_;
    mUpperQuad2Iso.clear();
    vBundles = vBundles_;
    std::sort(vBundles.begin(), vBundles.end(),
              [](const Bundle* a, const Bundle* b) { return a->ccd < b->ccd; });
    for (const Bundle* pBundle : vBundles)
        set(pBundle->ccd, true);
    vForbiddenDirection.clear();
    for (const Bundle* pBundle : vBundles)
        vForbiddenDirection.push_back(static_cast<signed char>(findForbiddenDirection(pBundle->ccd)));
}

void IsoStore::set(u64 ccd, bool bValue)
{
    auto it = mUpperQuad2Iso.find(ccd & upperMask);
    if (it == mUpperQuad2Iso.end()) {
        if (!bValue)
            return;
        it = mUpperQuad2Iso.emplace(ccd & upperMask, std::make_unique<Iso>(ccd & upperMask)).first;
    }
    const LocalCell cell = localCell(ccd);
    it->second->set(cell.x, cell.y, cell.z, bValue);
}

bool IsoStore::isSet(u64 ccd) const
{
    const auto it = mUpperQuad2Iso.find(ccd & upperMask);
    const LocalCell cell = localCell(ccd);
    return it != mUpperQuad2Iso.end() && it->second->get(cell.x, cell.y, cell.z);
}

void IsoStore::add(u64 upper, std::vector<u64>& vCCD)
{
    for (const u64 ccd : vCCD)
        if (((ccd ^ upper) & upperMask) == 0)
            set(ccd, true);
}

Iso* IsoStore::getIso(u64 ccd) const
{
    const auto it = mUpperQuad2Iso.find(ccd & upperMask);
    if (it != mUpperQuad2Iso.end())
        return it->second.get();
    ZAN_WARNING("No iso found");
    return nullptr;
}

void IsoStore::getCCDs(std::vector<u64>& vCCD) const
{
    vCCD.clear();
    for (const auto& [upper, pIso] : mUpperQuad2Iso)
        pIso->getCCDs(vCCD);
    std::sort(vCCD.begin(), vCCD.end());
}

// ---- thinning --------------------------------------------------------------------------------------------

std::size_t IsoStore::simplify()
{
    std::vector<u64> vCCD;
    std::size_t numKilled = 0;
    for (std::size_t numBefore = 1; numBefore != 0;) {
        numBefore = 0;
        getCCDs(vCCD);
        for (const u64 ccd : vCCD)
            for (const int axis : AXES)
                if (isSet(ccd) && (tryKill(nullptr, ccd, axis, 1) || tryKill(nullptr, ccd, axis, -1)))
                    ++numBefore;
        numKilled += numBefore;
    }
    return numKilled;
}

std::size_t IsoStore::simplifyInflates()
{
    std::vector<u64> vCCD, vFillCCD;
    getCCDs(vCCD);
    for (const u64 ccd : vCCD)
        for (const int axis : AXES) {
            const u64 ccdNeig = neighbour(ccd, axis, 1); // the way from the other side finds the same cell
            if (ccdNeig != FAILED_CODE && !isSet(ccdNeig) && isBetweenSetCells(ccdNeig))
                vFillCCD.push_back(ccdNeig);
        }
    TESK_TOOLS::sortUnique(vFillCCD); // found along each axis
    for (const u64 ccd : vFillCCD)
        set(ccd, true);
    simplify();
    return std::size_t(
        std::count_if(vFillCCD.begin(), vFillCCD.end(), [this](u64 ccd) { return isSet(ccd); }));
}

bool IsoStore::tryKill(Bundle* pBundle, u64 ccd, int axis, int side)
{
    checkAxis(axis);
    if (pBundle != nullptr && !isSet(pBundle->ccd))
        return false;
    zanAssert(isSet(ccd));
    if (!isDouble(ccd, axis, side))
        return false;
    set(ccd, false);
    return true;
}

bool IsoStore::tryKillWeakBundle(Bundle* pWeak, Bundle* pStrong)
{
    const int differing = Calc::getUniqueDifferentComponent(pWeak->ccd, pStrong->ccd);
    if (differing < 0 || !isSet(pStrong->ccd))
        return false;
    const int axis = AXES[std::size_t(differing)];
    for (const int side : {-1, 1})
        if (neighbour(pWeak->ccd, axis, side) == pStrong->ccd)
            return tryKill(pWeak, pWeak->ccd, axis, side);
    return false;
}

std::size_t IsoStore::slide()
{
    messageStream() << "\n\n\n\n\n Hi, this is slide, numIso=" << mUpperQuad2Iso.size() << " and size is "
                    << vBundles.size() << std::endl;
    std::size_t numSucc2 = 0;
    for (std::size_t i = 0; i < vBundles.size(); ++i) {
        Bundle* pB = vBundles[i];
        const int direction = vForbiddenDirection[i];
        if (direction < 0 || !isSet(pB->ccd))
            continue;
        const int axis = AXES[std::size_t(direction)];
        const int side = isNeighbourSet(pB->ccd, axis, 1) ? 1 : -1;
        const double inCell = localCoordinate(*pB, direction);
        const double reached = inCell + side * SLIDE_STEP_CELLS;
        Bundle* pStrong =
            reached >= 1.0 || reached < 0.0 ? getBundle(neighbour(pB->ccd, axis, side)) : nullptr;
        if (pStrong != nullptr && tryKillWeakBundle(pB, pStrong))
            ++numSucc2;
    }
    messageStream() << "tryKillWeakBundle, numSucc2=" << numSucc2 << std::endl;
    return numSucc2;
}

// ---- helpers ---------------------------------------------------------------------------------------------

u64 IsoStore::neighbour(u64 ccd, int axis, int side) const
{
    const auto axTribit = static_cast<u64>(axis);
    const u64 end = (u64{1} << pCalc->getNumLevels()) - 1;
    const u64 coordinate = pCalc->sparseToNumber(ccd & (CCD_Z * axTribit), axTribit);
    if (coordinate == (side > 0 ? end : 0))
        return FAILED_CODE;
    return pCalc->getOffVal(ccd, side, axTribit);
}

bool IsoStore::isNeighbourSet(u64 ccd, int axis, int side) const
{
    const u64 ccdNeig = neighbour(ccd, axis, side);
    return ccdNeig != FAILED_CODE && isSet(ccdNeig);
}

bool IsoStore::isDouble(u64 ccd, int axis, int side) const
{
    if (!isNeighbourSet(ccd, axis, side) || isNeighbourSet(ccd, axis, -side))
        return false;
    const u64 ccdUnder = neighbour(ccd, axis, side);
    return std::all_of(AXES.begin(), AXES.end(), [&](int across) {
        return across == axis ||
               (isNeighbourSet(ccdUnder, across, 1) && isNeighbourSet(ccdUnder, across, -1));
    });
}

bool IsoStore::isBetweenSetCells(u64 ccd) const
{
    return std::count_if(AXES.begin(), AXES.end(), [this, ccd](int axis) {
               return isNeighbourSet(ccd, axis, 1) && isNeighbourSet(ccd, axis, -1);
           }) >= 2;
}

int IsoStore::findForbiddenDirection(u64 ccd) const
{
    int direction = -1, numNeigs = 0;
    for (int i = 0; i < 3; ++i) {
        const int axis = AXES[std::size_t(i)];
        const int numHere = int{isNeighbourSet(ccd, axis, 1)} + int{isNeighbourSet(ccd, axis, -1)};
        numNeigs += numHere;
        if (numHere == 1)
            direction = i;
    }
    return numNeigs == 5 ? direction : -1;
}

Bundle* IsoStore::getBundle(u64 ccd) const
{
    const auto it = std::lower_bound(vBundles.begin(), vBundles.end(), ccd, lessByCode);
    return it != vBundles.end() && (*it)->ccd == ccd ? *it : nullptr;
}

// Where in its cell the bundle's point lies, from 0 to 1, measured over the block.
double IsoStore::localCoordinate(const Bundle& bundle, int direction) const
{
    const Point3 corner = pCalc->getCellCorner(bundle.ccd & ~Iso::LOWER_MASK);
    const Vector3 inBlock = *bundle.pVtx - corner;
    const double blockSize = pCalc->getCellSize() * Iso::SIDE;
    const LocalCell cell = localCell(bundle.ccd);
    const std::array<int, 3> local = {cell.x, cell.y, cell.z};
    return inBlock.getCartesian(direction) / blockSize * BLOCK_SCALE - local[std::size_t(direction)];
}

} // namespace TESK_ZAN
