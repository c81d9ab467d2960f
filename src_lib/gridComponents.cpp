#include "gridComponents.h"

#include "Calc.h"
#include "RCDStore.h"

#include <algorithm>
#include <bit>

namespace TESK_ZAN
{

namespace
{

constexpr unsigned int CENTRE_BIT = 1u << 13;

// The cells not yet in a component are those still set in the store: a cell is taken out when it is pushed,
// so it is pushed once.
bool take(RCDStore& untaken, u64 rcd)
{
    RCDMatrix* pMatrix = untaken.findRCDMatrix(rcd);
    const u64 address = RCDMatrix::addressOf(rcd);
    if (pMatrix == nullptr || !pMatrix->isSet(address))
        return false;
    pMatrix->unset(address);
    return true;
}

// The component of a cell that has been taken, in no particular order. Its cells serve as the list of what is
// still to be looked at.
std::vector<u64> collect26(RCDStore& untaken, u64 startRCD)
{
    std::vector<u64> vComponent = {startRCD};
    for (size_t i = 0; i < vComponent.size(); ++i) {
        const u64 rcd = vComponent[i];
        for (unsigned int rest = untaken.getConfiguration(rcd) & ~CENTRE_BIT; rest != 0; rest &= rest - 1) {
            const u64 neig = rcd + RCD_OFFSETS_27[static_cast<size_t>(std::countr_zero(rest))];
            untaken.unset(neig);
            vComponent.push_back(neig);
        }
    }
    return vComponent;
}

std::vector<u64> collect6(RCDStore& untaken, u64 startRCD, std::vector<u64>& vWorkspace)
{
    std::vector<u64> vComponent;
    vWorkspace.assign(1, startRCD);
    while (!vWorkspace.empty()) {
        const u64 rcd = vWorkspace.back();
        vWorkspace.pop_back();
        vComponent.push_back(rcd);
        u64 aNeigs[6];
        Calc::getNeigs6_RCD(rcd, aNeigs);
        for (const u64 neig : aNeigs)
            if (take(untaken, neig))
                vWorkspace.push_back(neig);
    }
    return vComponent;
}

// Index of the cell in the sorted vector, its size if it is not there.
size_t indexOf(const std::vector<u64>& vSortedRCD, u64 rcd)
{
    const auto it = std::lower_bound(vSortedRCD.begin(), vSortedRCD.end(), rcd);
    return it != vSortedRCD.end() && *it == rcd ? static_cast<size_t>(it - vSortedRCD.begin())
                                                : vSortedRCD.size();
}

// The first of the neighbours that touches none of the others.
bool findLonelyNeig(const std::vector<u64>& vNeigs, u64& rcdLonely)
{
    for (const u64 rcd : vNeigs) {
        const auto touches = [rcd](u64 other) { return areNeigs26_RCD(rcd, other); };
        if (std::none_of(vNeigs.begin(), vNeigs.end(), touches)) {
            rcdLonely = rcd;
            return true;
        }
    }
    return false;
}

// Whether steps between neighbours lead from secondRCD to firstRCD, the direct step aside.
bool leadsBack(const std::vector<u64>& vSortedRCD, u64 firstRCD, u64 secondRCD)
{
    std::vector<char> vReached(vSortedRCD.size(), 0);
    vReached[indexOf(vSortedRCD, secondRCD)] = 1;
    std::vector<u64> vWorkspace = {secondRCD};
    std::vector<u64> vNeigs;
    while (!vWorkspace.empty()) {
        const u64 rcd = vWorkspace.back();
        vWorkspace.pop_back();
        vNeigs.clear();
        getNeigs26_RCD(vSortedRCD, rcd, vNeigs);
        for (const u64 neig : vNeigs) {
            if (neig == firstRCD && rcd != secondRCD)
                return true;
            char& reached = vReached[indexOf(vSortedRCD, neig)];
            if (neig == firstRCD || reached != 0)
                continue;
            reached = 1;
            vWorkspace.push_back(neig);
        }
    }
    return false;
}

} // namespace

void createCC_RCD(const std::vector<u64>& vRCD, std::vector<std::vector<u64>>& vvCC)
{
    vvCC.clear();
    RCDStore untaken(nullptr, vRCD);
    for (const u64 rcd : vRCD) {
        if (!take(untaken, rcd))
            continue;
        vvCC.push_back(collect26(untaken, rcd));
        std::sort(vvCC.back().begin(), vvCC.back().end());
    }
}

void createCC6_RCD(const std::vector<u64>& vRCD, std::vector<std::vector<u64>>& vvCC)
{
    vvCC.clear();
    std::vector<u64> vSortedRCD = vRCD;
    std::sort(vSortedRCD.begin(), vSortedRCD.end());
    RCDStore untaken(nullptr, vSortedRCD);
    std::vector<u64> vWorkspace;
    for (const u64 rcd : vSortedRCD)
        if (take(untaken, rcd))
            vvCC.push_back(collect6(untaken, rcd, vWorkspace));
}

void getNeigs26_RCD(const std::vector<u64>& vSortedRCD, u64 rcd, std::vector<u64>& vNeigs)
{
    u64 aNeigs[26];
    Calc::completeArray26_RCD(rcd, aNeigs);
    for (const u64 neig : aNeigs)
        if (std::binary_search(vSortedRCD.begin(), vSortedRCD.end(), neig))
            vNeigs.push_back(neig);
}

bool areNeigs26_RCD(u64 rcdA, u64 rcdB)
{
    int xA, yA, zA, xB, yB, zB;
    rcdToXYZ(rcdA, xA, yA, zA);
    rcdToXYZ(rcdB, xB, yB, zB);
    const auto isNear = [](int a, int b) { return a - b <= 1 && b - a <= 1; };
    return rcdA != rcdB && isNear(xA, xB) && isNear(yA, yB) && isNear(zA, zB);
}

bool hasRing_RCD(const std::vector<u64>& vSortedRCD, size_t startIndex)
{
    std::vector<u64> vNeigs;
    for (size_t i = startIndex; i < vSortedRCD.size(); ++i) {
        vNeigs.clear();
        getNeigs26_RCD(vSortedRCD, vSortedRCD[i], vNeigs);
        u64 secondRCD = 0;
        if (findLonelyNeig(vNeigs, secondRCD))
            return leadsBack(vSortedRCD, vSortedRCD[i], secondRCD);
    }
    return false;
}

} // namespace TESK_ZAN
