#include "Hole.h"

#include "CMesh.h"
#include "Calc.h"
#include "Chain.h"
#include "Plane.h"
#include "Visualizer3.h"
#include "freeFunctions.h"
#include "messages.h"
#include "tesk_tools/keepSingles.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int MARGIN = 7;               // of the array round the box of the chain, in cells
constexpr int MIN_GROW_STEPS = 10;      // also small holes need some room for the filter
constexpr double CREASE_DEGREES = 10.0; // from here on a triangle beside another is no guide
constexpr double NEAR_CELLS = 0.1;      // a corner nearer to a triangle than this does not tell its side

// A limit to the time: so many values are computed, for each corner about one in each step of growth and one
// in each iteration of the filters behind it.
constexpr u64 MAX_WORK = 6'000'000'000;
constexpr u64 NUM_FILTERS = 250;

constexpr float MIN_CELL_SIZE = 1e-30f, MAX_CELL_SIZE = 1e30f;
constexpr double MIN_CELL_PART = 1e-12; // of the largest coordinate

std::atomic<int> numHoles{0};

bool containsByNumber(const std::vector<CTriangle*>& vCT_srt, const CTriangle* pCT)
{
    return std::binary_search(vCT_srt.begin(), vCT_srt.end(), pCT,
                              [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
}

void sortByNumber(std::vector<CTriangle*>& vCT)
{
    TESK_TOOLS::sortUnique(vCT, [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
}

struct Coords {
    std::array<int, 3> at;
};

Coords coordsOf(const Calc& calc, u64 ccd)
{
    u64 x, y, z;
    calc.ccdToXYZ(ccd, x, y, z);
    return {{int(x), int(y), int(z)}};
}

u64 codeOf(const Coords& c)
{
    return Calc::rcdToCCD(xyzToRCD(u64(c.at[0]), u64(c.at[1]), u64(c.at[2])));
}

// The keys of the cubes that hold all three cells: none, one, or two that lie on both sides of the triangle.
std::vector<Coords> getGeneratingVCDs(const Calc& calc, const CTriangle* pCT)
{
    std::vector<Coords> vKeys(1);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        int lo = std::numeric_limits<int>::max(), hi = 0;
        for (int ici = 0; ici < 3; ++ici) {
            const int c = coordsOf(calc, pCT->getCorner(ici)).at[axis];
            lo = std::min(lo, c);
            hi = std::max(hi, c);
        }
        if (hi - lo > 1)
            return {};
        const std::size_t numBefore = vKeys.size();
        for (std::size_t i = 0; i < numBefore; ++i) {
            vKeys[i].at[axis] = hi;
            if (lo == hi) {
                vKeys.push_back(vKeys[i]);
                vKeys.back().at[axis] = hi + 1;
            }
        }
    }
    return vKeys;
}

} // namespace

bool shareAnEntry(const std::vector<u64>& a, const std::vector<u64>& b)
{
    for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
        if (a[i] == b[j])
            return true;
        (a[i] < b[j] ? i : j) += 1;
    }
    return false;
}

Hole::Hole(CMesh* pCMesh_, Chain* pChain_)
    : id(numHoles++), label("hole_" + std::to_string(id)), pCMesh(pCMesh_), pCalc(pCMesh_->getCalc()),
      pChain(pChain_), casx(TM_THIN, false), stepVal(static_cast<float>(pCalc->getCellSize()))
{
    zanAssert(pChain->isClosed());
    pChain->getEdges(vBorderCE);
}

void Hole::run(std::vector<std::pair<u64, Point3>>& /*vCCD2Zero*/)
{
    say("Hole::run() does not use vCCD2Zero currently");
    if (!setRanges())
        return;
    collectFirstRows();
    markSharpT();
    initArray();
    inflateAllSteps(); // settle would leave nothing of the last filter of inflate
    settle();
    getZeroCbs();
}

// ---- the box and the surface round the hole ------------------------------------------------------------

bool Hole::setRanges()
{
    std::map<u64, int> mVCD2Num;
    pChain->getVCDs(mVCD2Num);
    zanAssert(!mVCD2Num.empty());
    vBorderCCDs.clear();
    for (const auto& [vcd, num] : mVCD2Num)
        vBorderCCDs.push_back(vcd);

    std::array<int, 3> lo = coordsOf(*pCalc, vBorderCCDs[0]).at, hi = lo;
    for (const u64 vcd : vBorderCCDs) {
        const Coords c = coordsOf(*pCalc, vcd);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lo[axis] = std::min(lo[axis], c.at[axis]);
            hi[axis] = std::max(hi[axis], c.at[axis]);
        }
    }
    loX = lo[0], loY = lo[1], loZ = lo[2];
    hiX = hi[0], hiY = hi[1], hiZ = hi[2];

    std::array<int, 3> extents = {hiX - loX, hiY - loY, hiZ - loZ};
    std::sort(extents.begin(), extents.end());
    numGrowSteps = std::max(MIN_GROW_STEPS, extents[1] / 2 + 3);

    const auto low = [](int bound) { return bound > MARGIN ? bound - MARGIN : 0; };
    xlo = low(loX), ylo = low(loY), zlo = low(loZ);
    xhi = hiX + MARGIN, yhi = hiY + MARGIN, zhi = hiZ + MARGIN;
    const u64 nx = u64(xhi - xlo + 1), ny = u64(yhi - ylo + 1), nz = u64(zhi - zlo + 1);
    // Each is below 2^22, so the product of all three can wrap, but not where two of them keep the limit.
    const bool bFits = nx * ny <= MAX_ARRAY_SIZE && nx * ny * nz <= MAX_ARRAY_SIZE;
    if (!hasUsableCells()) {
        say("cells too small or too large for a volume: " + std::to_string(stepVal));
        return false;
    }
    if (!bFits || nx * ny * nz * (u64(numGrowSteps) + NUM_FILTERS) > MAX_WORK) {
        ZAN_WARNING("a hole is too large for a volume: " + std::to_string(nx) + " x " + std::to_string(ny) +
                    " x " + std::to_string(nz) + " cells");
        arrSiz = 0;
        return false;
    }
    arrSiz = nx * ny * nz;
    rgx = int(nx), rgy = int(ny), rgz = int(nz);
    rgxy = rgx * rgy;
    return true;
}

// Values are floats, and points within a cell must differ.
bool Hole::hasUsableCells() const
{
    const Point3 corner = pCalc->getCellCorner(vBorderCCDs[0]);
    const double far = std::max({std::fabs(corner.x()), std::fabs(corner.y()), std::fabs(corner.z())});
    return stepVal > MIN_CELL_SIZE && stepVal < MAX_CELL_SIZE && pCalc->getCellSize() > MIN_CELL_PART * far;
}

void Hole::collectFirstRows()
{
    sFirstRowT.clear();
    TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash> sSeen; // by number
    const auto visit = [&](CTriangle* pCT) {
        if (inRange(pCT) && sSeen.tryEmplace(pCT->getNumber(), true).second)
            sFirstRowT.push_back(pCT);
    };
    for (const CEdge* pCE : vBorderCE)
        for (CTriangle* pCT : pCE->getCTs())
            visit(pCT);
    for (std::size_t i = 0; i < sFirstRowT.size(); ++i)
        for (int ici = 0; ici < 3; ++ici) {
            const CEdge* pCE = sFirstRowT[i]->getCEdge(ici);
            for (CTriangle* pNeigCT : pCE->getCTs())
                visit(pNeigCT);
        }
    sortByNumber(sFirstRowT);
}

void Hole::markSharpT()
{
    sBorderT.clear();
    std::vector<CTriangle*> vCT;
    for (const u64 vcd : vBorderCCDs)
        pCMesh->getIncidentT(vcd, vCT);
    sortByNumber(vCT);
    std::copy_if(vCT.begin(), vCT.end(), std::back_inserter(sBorderT),
                 [this](const CTriangle* pCT) { return isFirstRow(pCT); });

    sSharpT.clear();
    for (CTriangle* pCT : sBorderT) {
        bool bOK = false, bNeigOK = false, bSharp = false;
        Vector3 nnv, nnvNeig;
        pCT->getNNV(pCMesh, nnv, bOK);
        for (int ici = 0; ici < 3 && bOK && !bSharp; ++ici)
            for (const CTriangle* pNeigCT : pCT->getCEdge(ici)->getCTs()) {
                pNeigCT->getNNV(pCMesh, nnvNeig, bNeigOK);
                bSharp |= pNeigCT != pCT && bNeigOK && getAngleDegree(nnv, nnvNeig) > CREASE_DEGREES;
            }
        if (bSharp)
            sSharpT.push_back(pCT);
    }
}

bool Hole::isFirstRow(const CTriangle* pCT) const
{
    return containsByNumber(sFirstRowT, pCT);
}

bool Hole::isSharp(const CTriangle* pCT) const
{
    return containsByNumber(sSharpT, pCT);
}

// ---- the first values ------------------------------------------------------------------------------------

void Hole::initArray()
{
    pArray.assign(arrSiz, Cell{FLT_UNDEF, 1.0f});
    vSeedAddr.clear();
    vEdgePairs.clear();
    for (const CTriangle* pCT : sFirstRowT)
        initializeFirstRow_T(pCT);
    completeInitCbs();
}

void Hole::initializeFirstRow_T(const CTriangle* pCT)
{
    bool bOK = false;
    const Plane plane(*pCMesh->getVtx(pCT->getC0()), *pCMesh->getVtx(pCT->getC1()),
                      *pCMesh->getVtx(pCT->getC2()), bOK);
    std::array<u64, 2> vcdPair{};
    const int numCubes = bOK ? getSides(pCT, plane, vcdPair) : 0;
    if (numCubes == 0)
        return;
    const bool bSharp = isSharp(pCT);
    for (const u64 vcd : vcdPair)
        seed(vcd, static_cast<float>(plane.signedDistance(pCalc->getCellCorner(vcd))), bSharp);
    if (numCubes < 2)
        return;
    const auto [addressLo, addressHi] =
        std::minmax({getAddressFromVCD(vcdPair[0]), getAddressFromVCD(vcdPair[1])});
    vEdgePairs.emplace_back(addressLo, addressHi);
}

// The two neighbouring lattice corners between which the triangle passes. A triangle of one cube cuts one
// corner off, or runs through the corner in the middle: then the pair is that corner and the one beside it
// along the axis that the triangle faces most. Returns how many cubes hold the triangle, 1 or 2; 0 if there
// is none, or a corner of the pair is not in the array.
int Hole::getSides(const CTriangle* pCT, const Plane& plane, std::array<u64, 2>& vcdPair) const
{
    std::vector<Coords> vKeys = getGeneratingVCDs(*pCalc, pCT);
    const std::size_t numCubes = vKeys.size();
    if (numCubes == 0 || numCubes > 2)
        return 0;
    if (numCubes == 1) {
        const Vector3& normal = plane.getNormal();
        const int axis = normal.getMaxAbsIndex();
        const double distance = plane.signedDistance(pCalc->getCellCorner(codeOf(vKeys[0])));
        const bool bUp = (distance > 0.0) != (normal.getCartesian(axis) > 0.0);
        Coords other = vKeys[0];
        other.at[std::size_t(axis)] += bUp ? 1 : -1;
        if (std::fabs(distance) < NEAR_CELLS * pCalc->getCellSize())
            vKeys[0].at[std::size_t(axis)] += bUp ? -1 : 1;
        vKeys.push_back(other);
    }
    for (std::size_t i = 0; i < 2; ++i) {
        const Coords& c = vKeys[i];
        if (!isInArray({c.at[0] - xlo, c.at[1] - ylo, c.at[2] - zlo}))
            return 0;
        vcdPair[i] = codeOf(c);
    }
    return int(numCubes);
}

void Hole::seed(u64 vcd, float distance, bool bSharp)
{
    const int address = getAddressFromVCD(vcd);
    Cell& cell = pArray[std::size_t(address)];
    if (!isFlag(cell.weight))
        cell.weight = bSharp ? WEIGHT_REL_LOW : WEIGHT_REL;
    if (cell.val == FLT_UNDEF) {
        cell.val = distance;
        vSeedAddr.push_back(address);
    } else if (std::fabs(distance) < std::fabs(cell.val)) {
        cell.val = distance;
    }
}

// The cells that the triangles pass through get a value at each corner: one without a value takes that of a
// neighbour along an edge of the cell, unless it has neighbours on both sides of the surface.
void Hole::completeInitCbs()
{
    std::sort(vEdgePairs.begin(), vEdgePairs.end());
    TESK_TOOLS::keepSingles(vEdgePairs);
    std::vector<u64> vRCD;
    for (const auto& [addressA, addressB] : vEdgePairs) {
        const Corners a = cornersOf(addressA), b = cornersOf(addressB);
        const bool bNeighbours =
            addressB - addressA == 1 || addressB - addressA == rgx || addressB - addressA == rgxy;
        if (bNeighbours && a[0] > 0 && a[1] > 0 && a[2] > 0 && isInArray(b))
            Calc::getCbsAroundEdge(addressToRCD(addressA), addressToRCD(addressB), vRCD);
    }
    TESK_TOOLS::sortUnique(vRCD);

    std::vector<Proposal> vWishes;
    for (const u64 rcd : vRCD)
        wishCorners(rcd, vWishes);
    std::sort(vWishes.begin(), vWishes.end(), [](const Proposal& a, const Proposal& b) {
        return a.address != b.address ? a.address < b.address : std::fabs(a.val) < std::fabs(b.val);
    });
    for (std::size_t first = 0, last = 0; first < vWishes.size(); first = last) {
        bool bUp = false, bDown = false;
        for (; last < vWishes.size() && vWishes[last].address == vWishes[first].address; ++last)
            (vWishes[last].val > 0.0f ? bUp : bDown) = true;
        if (bUp == bDown)
            continue;
        pArray[std::size_t(vWishes[first].address)] = {vWishes[first].val, 1.0f};
        vSeedAddr.push_back(vWishes[first].address);
    }
}

// For each edge of the cell that has a value at one end only.
void Hole::wishCorners(u64 rcd, std::vector<Proposal>& vWishes) const
{
    int x0, y0, z0;
    rcdToXYZ(rcd, x0, y0, z0);
    for (int bits = 0; bits < 8; ++bits) {
        const Corners c = {x0 - xlo + (bits & 1), y0 - ylo + (bits >> 1 & 1), z0 - zlo + (bits >> 2)};
        if (!isInArray(c))
            continue;
        const Cell& cell = pArray[std::size_t(getAddress(c[0], c[1], c[2]))];
        if (cell.val == FLT_UNDEF || cell.val == 0.0f)
            continue;
        for (int axis = 0; axis < 3; ++axis) {
            Corners other = c;
            other[std::size_t(axis)] += (bits >> axis & 1) != 0 ? -1 : 1;
            if (!isInArray(other))
                continue;
            const int address = getAddress(other[0], other[1], other[2]);
            if (pArray[std::size_t(address)].val == FLT_UNDEF)
                vWishes.push_back({address, cell.val, 1.0f});
        }
    }
}

// ---- addressing ------------------------------------------------------------------------------------------

int Hole::getAddress(u64 rcd) const
{
    int x, y, z;
    rcdToXYZ(rcd, x, y, z);
    if (isInArray({x - xlo, y - ylo, z - zlo}))
        return getAddress(x - xlo, y - ylo, z - zlo);
    messageStream() << " WRONG RCD: " << rcd << " rcdx=" << x << " rcdy=" << y << " rcdz=" << z
                    << " bounds: " << xlo << ' ' << xhi << ' ' << ylo << ' ' << yhi << ' ' << zlo << ' '
                    << zhi << std::endl;
    return -1;
}

int Hole::getAddress(int x, int y, int z) const
{
    return isInArray({x, y, z}) ? x + rgx * y + rgxy * z : -1;
}

int Hole::getAddressFromVCD(u64 vcd) const
{
    int x, y, z;
    getNormedIntFromVCD(vcd, x, y, z);
    if (isInArray({x, y, z}))
        return getAddress(x, y, z);
    messageStream() << "getAddressFromVCD, bad range, x=" << x << ", y=" << y << ", z=" << z << std::endl;
    return -1;
}

Hole::Corners Hole::cornersOf(int address) const
{
    return {address % rgx, address / rgx % rgy, address / rgxy};
}

u64 Hole::addressToRCD(int address) const
{
    zanAssert(address >= 0 && u64(address) < arrSiz);
    const Corners c = cornersOf(address);
    return xyzToRCD(u64(c[0] + xlo), u64(c[1] + ylo), u64(c[2] + zlo));
}

void Hole::getNormedIntFromVCD(u64 vcd, int& x, int& y, int& z) const
{
    const Coords c = coordsOf(*pCalc, vcd);
    x = c.at[0] - xlo;
    y = c.at[1] - ylo;
    z = c.at[2] - zlo;
}

bool Hole::inRange(const CTriangle* pCT) const
{
    for (int ici = 0; ici < 3; ++ici) {
        Corners c;
        getNormedIntFromVCD(pCT->getCorner(ici), c[0], c[1], c[2]);
        if (!isInArray(c))
            return false;
    }
    return true;
}

float Hole::getVal(u64 vcd) const
{
    Corners c;
    getNormedIntFromVCD(vcd, c[0], c[1], c[2]);
    return isInArray(c) && !pArray.empty() ? pArray[std::size_t(getAddress(c[0], c[1], c[2]))].val
                                           : FLT_UNDEF;
}

bool Hole::checkIntegrity(const std::string& name) const
{
    messageStream() << "CheckIntegrity(" << name << ") starts" << std::endl;
    const bool bNumbers = std::none_of(pArray.begin(), pArray.end(), [](const Cell& cell) {
        return std::isnan(cell.val) || std::isnan(cell.weight);
    });
    zanAssert(bNumbers);
    messageStream() << "CheckIntegrity(" << name << ") survived" << std::endl;
    return bNumbers;
}

// ---- messages and scenes ---------------------------------------------------------------------------------

void Hole::say(const std::string& text) const
{
    if (bVerbose)
        messageStream() << text << std::endl;
}

void Hole::say(const std::string& text, std::size_t number) const
{
    say(text + std::to_string(number));
}

void Hole::getRowPoints(int numRows, std::vector<Point3>& vRowPoints) const
{
    std::vector<u64> vRowCCD = vBorderCCDs;
    std::vector<CTriangle*> vCT;
    for (int row = 0; row < numRows; ++row) {
        vCT.clear();
        for (const u64 ccd : vRowCCD)
            pCMesh->getIncidentT(ccd, vCT);
        for (const CTriangle* pCT : vCT)
            for (int ici = 0; ici < 3; ++ici)
                vRowCCD.push_back(pCT->getCorner(ici));
        TESK_TOOLS::sortUnique(vRowCCD);
    }
    for (const u64 ccd : vRowCCD)
        vRowPoints.push_back(pCMesh->getAvgPoint(ccd));
    if (bWriteScenes)
        Visualizer3("rows.list", pCalc, true).writePoints(vRowPoints, 3, Visualizer3::getSceneColor(0));
}

} // namespace TESK_ZAN
