#include "Hole.h"

#include "CMesh.h"
#include "Calc.h"
#include "HoleTrend.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

namespace TESK_ZAN
{

namespace
{

// A computed weight must not look like a flag.
constexpr float LOWER_GROWN = 0.97f;
constexpr float LOWER_FILTERED = 0.9954f;

constexpr int SETTLE_SWEEPS_PER_STEP = 6;
constexpr int MAX_SETTLE_SWEEPS = 200; // what differs from the trend is small
constexpr int TREND_ROWS = 6;          // round the hole
constexpr double PI = 3.14159265358979323846;

constexpr int NUM_FILTER_FINAL = 150;
constexpr int FIRST_FIRM_STEP = 3, LAST_FIRM_STEP = 10; // steps after which the filter runs twice

// f(i) for each i below n, in parallel where that pays.
template <class F>
void inRanges(std::size_t n, F f)
{
    constexpr std::size_t MIN_PARALLEL = 20000;
    const auto walk = [&f](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            f(i);
    };
    if (n < MIN_PARALLEL)
        walk(0, n);
    else
        forRangeMT(n, walk);
}

} // namespace

template <class F>
void Hole::forEachNeighbour(int address, unsigned int sides, F f) const
{
    const std::array<int, 6> steps = {-1, 1, -rgx, rgx, -rgxy, rgxy};
    for (unsigned int i = 0; i < steps.size(); ++i)
        if ((sides >> i & 1) != 0)
            f(address + steps[i]);
}

// On which sides the array goes on, a bit for each in the order of the above.
unsigned int Hole::getSidesInArray(int address) const
{
    const Corners c = cornersOf(address);
    const std::array<int, 3> range = {rgx, rgy, rgz};
    unsigned int sides = 0;
    for (unsigned int axis = 0; axis < 3; ++axis) {
        if (c[axis] > 0)
            sides |= 1u << 2 * axis;
        if (c[axis] + 1 < range[axis])
            sides |= 2u << 2 * axis;
    }
    return sides;
}

std::vector<Hole::Place> Hole::getPlaces(const std::vector<int>& vAddr) const
{
    std::vector<Place> vPlaces;
    vPlaces.reserve(vAddr.size());
    for (const int address : vAddr)
        vPlaces.push_back({address, getSidesInArray(address)});
    return vPlaces;
}

void Hole::inflate()
{
    inflateAllSteps();
    lowPassFor(vGrowAddr, NUM_FILTER_FINAL, true);
}

void Hole::inflateAllSteps()
{
    const StageTimer stage("HO_inflate");
    std::vector<int> vCurAddr = vSeedAddr, vNextAddr;
    TESK_TOOLS::sortUnique(vCurAddr);
    vGrowAddr.clear();
    say("numGrowSteps: ", std::size_t(numGrowSteps));
    for (int step = 0; step < numGrowSteps; ++step) {
        vNextAddr.clear();
        inflateOneStep(step, vCurAddr, vNextAddr);
        const bool bFirm = step >= FIRST_FIRM_STEP && step <= LAST_FIRM_STEP;
        lowPassFor(vGrowAddr, bFirm ? 2 : 1, true);
        vCurAddr.swap(vNextAddr);
    }
}

// All proposals come from values before the step.
void Hole::inflateOneStep(int /*step*/, std::vector<int>& vCurAddr, std::vector<int>& vNextAddr)
{
    zanAssert(vNextAddr.empty());
    std::vector<Proposal> vProposals;
    for (const int address : vCurAddr) {
        const Cell& cell = pArray[std::size_t(address)];
        zanAssert(cell.val != FLT_UNDEF);
        if (cell.val == 0.0f || cell.weight == WEIGHT_REL_LOW)
            continue;
        const float val = cell.val > 0.0f ? cell.val + stepVal : cell.val - stepVal;
        const float weight = isFlag(cell.weight) ? cell.weight * LOWER_GROWN : cell.weight;
        forEachNeighbour(address, getSidesInArray(address), [&](int neig) {
            if (pArray[std::size_t(neig)].val == FLT_UNDEF)
                vProposals.push_back({neig, val, weight});
        });
    }
    std::stable_sort(vProposals.begin(), vProposals.end(), [](const Proposal& a, const Proposal& b) {
        return a.address != b.address ? a.address < b.address : std::fabs(a.val) < std::fabs(b.val);
    });
    for (std::size_t first = 0, last = 0; first < vProposals.size(); first = last) {
        float sumWeight = 0.0f;
        for (; last < vProposals.size() && vProposals[last].address == vProposals[first].address; ++last)
            sumWeight += vProposals[last].weight;
        const float weight = sumWeight / static_cast<float>(last - first);
        pArray[std::size_t(vProposals[first].address)] = {vProposals[first].val,
                                                          isFlag(weight) ? weight * LOWER_GROWN : weight};
        vNextAddr.push_back(vProposals[first].address);
    }
    const auto numBefore = std::ptrdiff_t(vGrowAddr.size());
    vGrowAddr.insert(vGrowAddr.end(), vNextAddr.begin(), vNextAddr.end());
    std::inplace_merge(vGrowAddr.begin(), vGrowAddr.begin() + numBefore, vGrowAddr.end());
}

void Hole::lowPassFor(std::vector<int>& vAddr, int numIterations, bool bWeighted)
{
    const std::vector<Place> vPlaces = getPlaces(vAddr);
    std::vector<Cell> vNewCells(vAddr.size());
    for (int iteration = 0; iteration < numIterations; ++iteration) {
        inRanges(vPlaces.size(), [&](std::size_t i) { vNewCells[i] = meanAround(vPlaces[i], bWeighted); });
        inRanges(vPlaces.size(),
                 [&](std::size_t i) { pArray[std::size_t(vPlaces[i].address)] = vNewCells[i]; });
    }
}

// The steps of growth are meant for a hole along two axes; across them it takes more to reach the middle.
void Hole::growOn()
{
    std::vector<int> vCurAddr = vGrowAddr, vNextAddr;
    while (!vCurAddr.empty()) {
        vNextAddr.clear();
        inflateOneStep(numGrowSteps, vCurAddr, vNextAddr);
        vCurAddr.swap(vNextAddr);
    }
}

// The corners that completeInitCbs gave a neighbour's value lie where the surface ends: they are as open as
// what has grown, and cells lie between them too.
void Hole::freeCompleted()
{
    const auto firstCompleted =
        std::stable_partition(vSeedAddr.begin(), vSeedAddr.end(),
                              [this](int address) { return isFlag(pArray[std::size_t(address)].weight); });
    vGrowAddr.insert(vGrowAddr.end(), firstCompleted, vSeedAddr.end());
    vSeedAddr.erase(firstCompleted, vSeedAddr.end());
    std::sort(vGrowAddr.begin(), vGrowAddr.end());
}

// What the values differ from the general shape round the hole is evened out, so the patch bends on as that
// does. The filter alone evens out over some 12 corners: in a wider hole the fronts of the growth would stay.
void Hole::settle()
{
    const StageTimer stage("HO_settle");
    growOn();
    freeCompleted();
    const HoleTrend trend = getTrend();
    const auto addTrend = [&](float sign) {
        const auto add = [&](const std::vector<int>& vAddr) {
            for (const int address : vAddr) {
                const Point3 corner = pCalc->getCellCorner(Calc::rcdToCCD(addressToRCD(address)));
                pArray[std::size_t(address)].val += sign * static_cast<float>(trend.signedDistance(corner));
            }
        };
        add(vGrowAddr);
        add(vSeedAddr);
    };
    addTrend(-1.0f);
    overRelax();
    addTrend(1.0f);
}

// Over the vertices of the first rows only: what lies further away may be another part of the surface.
HoleTrend Hole::getTrend() const
{
    std::vector<u64> vCCD = vBorderCCDs;
    std::vector<CTriangle*> vCT;
    for (int row = 0; row < TREND_ROWS; ++row) {
        vCT.clear();
        for (const u64 ccd : vCCD)
            pCMesh->getIncidentT(ccd, vCT);
        for (const CTriangle* pCT : vCT)
            for (int ici = 0; ici < 3; ++ici)
                vCCD.push_back(pCT->getCorner(ici));
        TESK_TOOLS::sortUnique(vCCD);
    }
    std::vector<Point3*> vPoints;
    for (const u64 ccd : vCCD)
        vPoints.push_back(pCMesh->getVtx(ccd));

    TESK_TOOLS::sortUnique(vCT, [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
    std::vector<Vector3> vNNV;
    for (const CTriangle* pCT : vCT) {
        bool bOK = false;
        Vector3 nnv;
        pCT->getNNV(pCMesh, nnv, bOK);
        if (bOK)
            vNNV.push_back(nnv);
    }
    return HoleTrend(vPoints, vNNV);
}

// Corners of even and of odd coordinate sums in turn, each half from the values of the other one.
void Hole::overRelax()
{
    const double width = 2.0 * numGrowSteps;
    const auto omega = static_cast<float>(2.0 / (1.0 + std::sin(PI / width))); // for a box of this width
    const int numSweeps = std::min(SETTLE_SWEEPS_PER_STEP * numGrowSteps, MAX_SETTLE_SWEEPS);
    std::array<std::vector<Place>, 2> vHalves;
    for (const int address : vGrowAddr) {
        const Corners c = cornersOf(address);
        vHalves[std::size_t((c[0] + c[1] + c[2]) % 2)].push_back({address, getSidesInArray(address)});
    }
    for (int sweep = 0; sweep < numSweeps; ++sweep)
        for (const std::vector<Place>& vPlaces : vHalves)
            inRanges(vPlaces.size(), [&](std::size_t i) { settleOne(vPlaces[i], omega); });
}

void Hole::settleOne(const Place& place, float omega)
{
    float sum = 0.0f;
    int num = 0;
    forEachNeighbour(place.address, place.sides, [&](int neig) {
        const float val = pArray[std::size_t(neig)].val;
        if (val == FLT_UNDEF)
            return;
        sum += val;
        ++num;
    });
    float& val = pArray[std::size_t(place.address)].val;
    if (num > 0)
        val += omega * (sum / static_cast<float>(num) - val);
}

// What the filter makes of a corner; a seed stays. A mean of exactly 0 keeps the side that the corner was on.
Hole::Cell Hole::meanAround(const Place& place, bool bWeighted) const
{
    const Cell& own = pArray[std::size_t(place.address)];
    if (isFlag(own.weight))
        return own;
    zanAssert(own.val != 0.0f);
    float sum = 0.0f, sumWeight = 0.0f;
    int num = 0;
    const auto add = [&](const Cell& cell) {
        if (cell.val == FLT_UNDEF)
            return;
        sum += bWeighted ? cell.val * cell.weight : cell.val;
        sumWeight += cell.weight;
        ++num;
    };
    add(own);
    forEachNeighbour(place.address, place.sides, [&](int neig) { add(pArray[std::size_t(neig)]); });
    const float mean = sum / (bWeighted ? sumWeight : static_cast<float>(num));
    const float weight = sumWeight / static_cast<float>(num);
    return {mean != 0.0f ? mean : std::copysign(std::numeric_limits<float>::min(), own.val),
            isFlag(weight) ? weight * LOWER_FILTERED : weight};
}

// ---- the cells between the two sides ---------------------------------------------------------------------

bool Hole::isInSearchBox(const Corners& c) const
{
    constexpr int SEARCH_MARGIN = 3;
    const std::array<int, 3> lo = {loX - xlo, loY - ylo, loZ - zlo}, hi = {hiX - xlo, hiY - ylo, hiZ - zlo};
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (c[axis] < lo[axis] - SEARCH_MARGIN || c[axis] > hi[axis] + SEARCH_MARGIN)
            return false;
    return true;
}

void Hole::collectZeros(std::vector<std::pair<u64, Point3>>& vCCD2Point) const
{
    std::vector<ZeroEdge> vZeroEdges;
    collectZeroEdges(vZeroEdges);
    meanZeros(vZeroEdges, vCCD2Point);
}

// Each pair of neighbours of which at least one has grown, once.
void Hole::collectZeroEdges(std::vector<ZeroEdge>& vZeroEdges) const
{
    for (const int address : vGrowAddr) {
        if (!isInSearchBox(cornersOf(address)))
            continue;
        forEachNeighbour(address, getSidesInArray(address), [&](int neig) {
            const bool bFromOtherSide =
                neig < address && std::binary_search(vGrowAddr.begin(), vGrowAddr.end(), neig);
            if (!bFromOtherSide)
                addZero(address, neig, vZeroEdges);
        });
    }
}

// For each cell the mean of the zeros at its edges, by code.
void Hole::meanZeros(const std::vector<ZeroEdge>& vZeroEdges,
                     std::vector<std::pair<u64, Point3>>& vCCD2Point) const
{
    std::vector<std::pair<u64, Point3>> vZeros;
    for (const ZeroEdge& edge : vZeroEdges)
        for (const u64 ccd : edge.ring)
            vZeros.emplace_back(ccd, edge.zero);
    std::stable_sort(vZeros.begin(), vZeros.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t first = 0, last = 0; first < vZeros.size(); first = last) {
        double x = 0.0, y = 0.0, z = 0.0;
        for (; last < vZeros.size() && vZeros[last].first == vZeros[first].first; ++last)
            vZeros[last].second.addOwnCoords(x, y, z);
        const auto num = static_cast<double>(last - first);
        Point3 mean(x / num, y / num, z / num);
        pCalc->adaptPointToCCD(vZeros[first].first, mean);
        vCCD2Point.emplace_back(vZeros[first].first, mean);
    }
}

// Where the value between two neighbouring corners is zero.
void Hole::addZero(int addressA, int addressB, std::vector<ZeroEdge>& vZeroEdges) const
{
    const Cell &src = pArray[std::size_t(addressA)], &trg = pArray[std::size_t(addressB)];
    const bool bBothSure = src.weight == WEIGHT_REL && trg.weight == WEIGHT_REL;
    const bool bNoValue = trg.val == FLT_UNDEF || trg.val == 0.0f;
    if (bBothSure || bNoValue || (src.val > 0.0f) == (trg.val > 0.0f))
        return;
    const u64 rcdA = addressToRCD(addressA), rcdB = addressToRCD(addressB);
    u64 x0, y0, z0, x1, y1, z1;
    rcdToXYZ(std::min(rcdA, rcdB), x0, y0, z0);
    rcdToXYZ(std::max(rcdA, rcdB), x1, y1, z1);
    if (std::min({x0, y0, z0}) == 0 || std::max({x1, y1, z1}) + 1 >= u64{1} << pCalc->getNumLevels())
        return; // the cells round the edge and their cubes are not all on the lattice
    const Point3 pSrc = pCalc->getCellCorner(Calc::rcdToCCD(rcdA)),
                 pTrg = pCalc->getCellCorner(Calc::rcdToCCD(rcdB));
    const double srcVal = std::fabs(double(src.val)), trgVal = std::fabs(double(trg.val));
    std::vector<u64> vRCD;
    Calc::getCbsAroundEdge(rcdA, rcdB, vRCD); // two neighbours of the first, then the one across
    vZeroEdges.push_back({pSrc + (pTrg - pSrc) * (srcVal / (srcVal + trgVal)),
                          {Calc::rcdToCCD(vRCD[0]), Calc::rcdToCCD(vRCD[1]), Calc::rcdToCCD(vRCD[3]),
                           Calc::rcdToCCD(vRCD[2])}});
}

} // namespace TESK_ZAN
