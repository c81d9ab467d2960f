#include "Prepare.h"

#include "Calc.h"
#include "FillPass.h"
#include "Progress.h"
#include "Thinning.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <string>

namespace TESK_ZAN
{

namespace
{

// A point's cell and its index in the input: sorted, the points of a cell stand together in input order, and
// the order does not depend on the sort.
using RCDIndex = std::pair<u64, u64>;

// The input point of a cell that lies nearest to the mean of all of them; of equally near ones the first. The
// mean is summed in input order: with two points both are equally near up to rounding, so the order decides.
Point3* getRepresentative(std::vector<Point3>& vPoints, const RCDIndex* pBegin, const RCDIndex* pEnd)
{
    const auto num = static_cast<double>(pEnd - pBegin);
    double x = 0.0, y = 0.0, z = 0.0;
    for (const RCDIndex* p = pBegin; p != pEnd; ++p)
        vPoints[p->second].addOwnCoords(x, y, z);
    const Point3 mean(x / num, y / num, z / num);

    Point3* pBest = &vPoints[pBegin->second];
    double minSqDist = std::numeric_limits<double>::max();
    for (const RCDIndex* p = pBegin; p != pEnd; ++p) {
        const Vector3 diff = vPoints[p->second] - mean;
        const double sqDist = diff.x() * diff.x() + diff.y() * diff.y() + diff.z() * diff.z();
        if (sqDist < minSqDist) {
            minSqDist = sqDist;
            pBest = &vPoints[p->second];
        }
    }
    return pBest;
}

// Sorted lists without repetition.
std::vector<u64> getDifference(const std::vector<u64>& vA, const std::vector<u64>& vB)
{
    std::vector<u64> vResult;
    vResult.reserve(vA.size());
    std::set_difference(vA.begin(), vA.end(), vB.begin(), vB.end(), std::back_inserter(vResult));
    return vResult;
}

std::vector<u64> getUnion(const std::vector<u64>& vA, const std::vector<u64>& vB)
{
    std::vector<u64> vResult;
    vResult.reserve(vA.size() + vB.size());
    std::set_union(vA.begin(), vA.end(), vB.begin(), vB.end(), std::back_inserter(vResult));
    return vResult;
}

} // namespace

Prepare::Prepare(std::vector<Point3>* pPoints_, int fillSize_, const Calc* pCalc_)
    : pPoints(pPoints_), fillSize(fillSize_), pCalc(pCalc_)
{
    if (fillSize > MAX_FILL_SIZE) {
        ZAN_WARNING("a fill size of " + std::to_string(fillSize) + " is too large, " +
                    std::to_string(MAX_FILL_SIZE) + " is used");
        fillSize = MAX_FILL_SIZE;
    }
}

void Prepare::run(std::vector<std::pair<u64, Point3>>& vResult, std::vector<u64>& vZeroCCD)
{
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("PREP_createRCD", 2);
    pProgress->tick();
    createRCDs();
    pProgress->tick();
    pProgress->finish(true);

    if (fillSize > 0)
        fillHoles();

    pProgress = getRootProgress()->getChildProgressSetTodo("PREP_integFill", 2);
    pProgress->tick();
    deliver(vResult, vZeroCCD);
    pProgress->tick();
    pProgress->finish(true);
}

void Prepare::createRCDs()
{
    const StageTimer stage("createRCDs");
    RCDPoints vFat = createRepresentatives();
    const std::vector<CellPos> vFatPos = createLayers(vFat);
    thin(vFat, vFatPos);
    takeKeptCells(std::move(vFat), vFatPos);
    zanAssert(vRCD2Vtxsrt.size() == vAllRCDsrt.size());
    zanAssert(vAllRCDsrt.size() == vAreaRCDsrt.size() + vBorderRCDsrt.size());
}

// Each cell that holds points with its representative, ascending.
RCDPoints Prepare::createRepresentatives() const
{
    const StageTimer stage("createRCDs_representatives");
    std::vector<Point3>& vPoints = *pPoints;
    std::vector<RCDIndex> vRCD2Index(vPoints.size());
    forRangeMT(vPoints.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vRCD2Index[i] = {pCalc->getRCD(&vPoints[i]), i};
    });
    sortMT(vRCD2Index.begin(), vRCD2Index.end());

    const auto startsCell = [&](size_t i) {
        return i == 0 || vRCD2Index[i].first != vRCD2Index[i - 1].first;
    };
    size_t numCells = 0;
    for (size_t i = 0; i < vRCD2Index.size(); ++i)
        numCells += startsCell(i) ? 1 : 0;
    std::vector<size_t> vStart; // of each cell's group, and the end of the last one
    vStart.reserve(numCells + 1);
    for (size_t i = 0; i < vRCD2Index.size(); ++i)
        if (startsCell(i))
            vStart.push_back(i);
    vStart.push_back(vRCD2Index.size());

    RCDPoints vFat(numCells);
    forRangeMT(numCells, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            const RCDIndex* pGroup = vRCD2Index.data();
            vFat[i] = {pGroup[vStart[i]].first,
                       getRepresentative(vPoints, pGroup + vStart[i], pGroup + vStart[i + 1])};
        }
    });
    return vFat;
}

// All cells come alive; gives their positions.
std::vector<CellPos> Prepare::createLayers(const RCDPoints& vFat)
{
    const StageTimer stage("createRCDs_layers");
    blocks.reserve(vFat.size());
    std::vector<CellPos> vFatPos;
    vFatPos.reserve(vFat.size());
    for (const auto& entry : vFat)
        vFatPos.push_back(blocks.touch(entry.first));
    blocks.fit(alive);
    blocks.fit(border);
    for (const CellPos pos : vFatPos)
        alive.set(pos);
    return vFatPos;
}

// Points near the middle of their cell give way first. Borders stay: with them free to go, an open sheet is
// eaten from its rim to nothing.
void Prepare::thin(const RCDPoints& vFat, const std::vector<CellPos>& vFatPos)
{
    const StageTimer stage("createRCDs_prune");
    const CellRanks ranks(alive);
    std::vector<double> vWeights(vFat.size());
    forRangeMT(vFat.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vWeights[ranks(vFatPos[i])] = (*vFat[i].second - pCalc->getCellMid_RCD(vFat[i].first)).length();
    });
    Thinning(blocks, alive, ranks, vWeights).run();
}

// Splits what is left into area and border. The list of all cells becomes that of the kept ones.
void Prepare::takeKeptCells(RCDPoints&& vFat, const std::vector<CellPos>& vFatPos)
{
    const StageTimer stage("createRCDs_take");
    const RemovalRules& rules = RemovalRules::get();
    enum Kind : unsigned char { DOOMED, AREA, BORDER };
    std::vector<unsigned char> vKinds(vFat.size());
    forRangeMT(vFat.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            if (alive.test(vFatPos[i]))
                vKinds[i] = rules.isBorder(blocks.getConfiguration(alive, vFatPos[i])) ? BORDER : AREA;
    });

    constexpr int AUTOMATIC_GROWTH = -1;
    const size_t numKept = alive.count();
    zanAssert(numKept < static_cast<size_t>(std::numeric_limits<int>::max()));
    poolPoints.init(static_cast<int>(numKept / 8), AUTOMATIC_GROWTH);
    vAllRCDsrt.reserve(numKept);
    vAreaRCDsrt.reserve(numKept);
    for (size_t i = 0; i < vFat.size(); ++i) {
        if (vKinds[i] == DOOMED)
            continue;
        const u64 rcd = vFat[i].first;
        vFat[vAllRCDsrt.size()] = vFat[i];
        vAllRCDsrt.push_back(rcd);
        (vKinds[i] == BORDER ? vBorderRCDsrt : vAreaRCDsrt).push_back(rcd);
        if (vKinds[i] == BORDER)
            border.set(vFatPos[i]);
    }
    vFat.resize(numKept);
    vRCD2Vtxsrt = std::move(vFat);
}

// --- fill ---

std::vector<FillRound> Prepare::getFillRounds(int fillSize)
{
    std::vector<FillRound> vRounds;
    for (int n = 1; fillSize > 0 && (vRounds.empty() || n < fillSize);) {
        n *= 2;
        if (n > 2 && static_cast<double>(fillSize - n) / fillSize < 0.25)
            n = fillSize; // the rest is not worth a round of its own
        n = std::min(n, fillSize);
        vRounds.push_back({n, n == 2 || n == fillSize});
    }
    return vRounds;
}

void Prepare::fillHoles()
{
    const std::vector<FillRound> vRounds = getFillRounds(getUsefulFillSize());
    u64 numTodo = 0;
    for (const FillRound& round : vRounds)
        numTodo += static_cast<u64>(round.dist);
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("PREP_fillHoles", numTodo);
    for (const FillRound& round : vRounds) {
        fillPass(round.dist, round.bFullClean);
        pProgress->tickN(static_cast<u64>(round.dist));
    }
    pProgress->finish(true);
}

// A fill that reaches further than the layer extends closes nothing that a shorter one leaves open, but looks
// at a space that grows with its cube.
int Prepare::getUsefulFillSize() const
{
    constexpr int ALWAYS_USEFUL = 50;
    int min[3] = {std::numeric_limits<int>::max(), std::numeric_limits<int>::max(),
                  std::numeric_limits<int>::max()};
    int max[3] = {0, 0, 0};
    for (const u64 rcd : vAllRCDsrt) {
        int coords[3];
        rcdToXYZ(rcd, coords[0], coords[1], coords[2]);
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], coords[axis]);
            max[axis] = std::max(max[axis], coords[axis]);
        }
    }
    int extent = ALWAYS_USEFUL;
    for (int axis = 0; axis < 3; ++axis)
        extent = std::max(extent, max[axis] - min[axis] + 1);
    return std::min(fillSize, extent);
}

void Prepare::fillPass(int dist, bool bFullClean)
{
    if (vBorderRCDsrt.empty())
        return; // nothing to close, and no border that could be false
    const std::string name = "PD_" + std::to_string(dist);
    const StageTimer stage(name.c_str());
    std::vector<u64> vAdded;
    std::vector<u64> vRemoved;
    FillPass pass(blocks, alive, border);
    pass.run(vRCD2Vtxsrt, pCalc, dist, bFullClean, 2 * fillSize, vAdded, vRemoved);
    takeFilledCells(vAdded, vRemoved);
}

// Brings the lists up to date with the layers. A removed cell takes its point along: one that stayed in the
// list would come back as a vertex.
void Prepare::takeFilledCells(const std::vector<u64>& vAdded, const std::vector<u64>& vRemoved)
{
    vAllRCDsrt = getUnion(getDifference(vAllRCDsrt, vRemoved), vAdded);
    vZeroRCDsrt = getUnion(getDifference(vZeroRCDsrt, vRemoved), vAdded);
    vBorderRCDsrt.clear();
    border.forEach([&](CellPos pos) { vBorderRCDsrt.push_back(blocks.getRCD(pos)); });
    sortMT(vBorderRCDsrt.begin(), vBorderRCDsrt.end());
    vAreaRCDsrt = getDifference(vAllRCDsrt, vBorderRCDsrt);

    RCDPoints vNew;
    vNew.reserve(vAllRCDsrt.size());
    auto itOld = vRCD2Vtxsrt.begin();
    for (const u64 rcd : vAllRCDsrt) {
        while (itOld != vRCD2Vtxsrt.end() && itOld->first < rcd)
            ++itOld;
        if (itOld != vRCD2Vtxsrt.end() && itOld->first == rcd)
            vNew.push_back(*itOld);
        else
            vNew.emplace_back(rcd, new (poolPoints.newObject()) Point3(pCalc->getCellMid_RCD(rcd)));
    }
    vRCD2Vtxsrt.swap(vNew);
    zanAssert(vAllRCDsrt.size() == vAreaRCDsrt.size() + vBorderRCDsrt.size());
}

// --- output ---

void Prepare::deliver(std::vector<std::pair<u64, Point3>>& vResult, std::vector<u64>& vZeroCCD) const
{
    const StageTimer stage("PREP_integFill");
    vZeroCCD.resize(vZeroRCDsrt.size());
    std::transform(vZeroRCDsrt.begin(), vZeroRCDsrt.end(), vZeroCCD.begin(), Calc::rcdToCCD);
    sortMT(vZeroCCD.begin(), vZeroCCD.end());

    // Sorted as pointers, so that the points move once.
    std::vector<std::pair<u64, const Point3*>> vCCD2Vtx(vRCD2Vtxsrt.size());
    std::transform(vRCD2Vtxsrt.begin(), vRCD2Vtxsrt.end(), vCCD2Vtx.begin(), [](const auto& entry) {
        return std::pair<u64, const Point3*>(Calc::rcdToCCD(entry.first), entry.second);
    });
    sortMT(vCCD2Vtx.begin(), vCCD2Vtx.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    vResult.clear();
    vResult.reserve(vCCD2Vtx.size());
    for (const auto& [ccd, pPoint] : vCCD2Vtx)
        vResult.emplace_back(ccd, *pPoint);
}

void Prepare::getRimPoints(std::vector<Point3>& vRimPoints) const
{
    if (vBorderRCDsrt.empty())
        return;
    const StageTimer stage("PREP_rimPoints");
    const auto isDelivered = [&](u64 rcd, const Point3* pPoint) {
        const auto it = std::lower_bound(vRCD2Vtxsrt.begin(), vRCD2Vtxsrt.end(), rcd,
                                         [](const auto& entry, u64 code) { return entry.first < code; });
        return it->second == pPoint;
    };
    std::vector<char> vAtRim(pPoints->size());
    forRangeMT(vAtRim.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            const Point3* pPoint = &(*pPoints)[i];
            const u64 rcd = pCalc->getRCD(pPoint);
            const CellPos pos = blocks.find(rcd);
            bool bAtRim = border.test(pos) && !isDelivered(rcd, pPoint);
            if (!alive.test(pos))
                blocks.forEachNeig(border, pos, CONFIG27_ALL, [&](CellPos, int) { bAtRim = true; });
            vAtRim[i] = bAtRim ? 1 : 0;
        }
    });
    for (size_t i = 0; i < vAtRim.size(); ++i)
        if (vAtRim[i] != 0)
            vRimPoints.push_back((*pPoints)[i]);
}

} // namespace TESK_ZAN
