#include "Calc.h"
#include "Pixel.h"
#include "Progress.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ostream>
#include <string>

namespace TESK_ZAN
{

namespace
{

constexpr double ALL_SHARP_ANGLE = 360.0; // a limit from here on leaves borders only
constexpr int PARALLEL = -1;              // in place of the number of cuts

u64 codeDistance(u64 a, u64 b)
{
    return a > b ? a - b : b - a;
}

// Three times the cells between two cells on all axes. Far more turns than a walk from wall to wall takes,
// unless rounding holds it up.
u64 maxTurns(u64 startRCD, u64 stopRCD)
{
    u64 x0, y0, z0, x1, y1, z1;
    rcdToXYZ(startRCD, x0, y0, z0);
    rcdToXYZ(stopRCD, x1, y1, z1);
    return 3 * (codeDistance(x0, x1) + codeDistance(y0, y1) + codeDistance(z0, z1)) + 16;
}

// A walk along a segment from cell wall to cell wall.
class WallWalk
{
public:
    WallWalk(const Point3& p0, const Point3& p1, const Point3& cellCorner, double spacing_)
        : spacing(spacing_), last{p0.x(), p0.y(), p0.z()}, stop{p1.x(), p1.y(), p1.z()},
          bound{cellCorner.x(), cellCorner.y(), cellCorner.z()}, master{stop[0] - last[0], stop[1] - last[1],
                                                                        stop[2] - last[2]}
    {
    }

    // Steps to the next wall and gives the middle of the step.
    Point3 next()
    {
        const double factor = nextFactor();
        double middle[3];
        for (int axis = 0; axis < 3; ++axis) {
            const double boundPoint = last[axis] + master[axis] * factor;
            middle[axis] = 0.5 * (last[axis] + boundPoint);
            last[axis] = boundPoint;
        }
        return Point3(middle[0], middle[1], middle[2]);
    }

    bool isPastEnd(const Point3& p) const
    {
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis)
            if (isUpward(axis) ? c[axis] > stop[axis] : c[axis] < stop[axis])
                return true;
        return false;
    }

private:
    bool isUpward(int axis) const { return master[axis] > 0.0; }

    // How much of the segment it is to the nearest wall ahead. A bound that has been reached moves on by a
    // cell.
    double nextFactor()
    {
        constexpr double FAR_AWAY = 1e300;
        double minFactor = DBL_MAX;
        for (int axis = 0; axis < 3; ++axis) {
            if (isUpward(axis) && last[axis] >= bound[axis])
                bound[axis] += spacing;
            else if (!isUpward(axis) && bound[axis] >= last[axis])
                bound[axis] -= spacing;
            if (master[axis] == 0.0)
                continue;
            // Denormal numbers make a quotient 0, as a gap of 0 is, or infinite: far past the end of the
            // segment.
            const double length = std::fabs(master[axis]);
            const double factor = std::fabs(bound[axis] - last[axis]) / length;
            minFactor = std::min({minFactor, factor > 0.0 ? factor : spacing / length, FAR_AWAY});
        }
        zanAssertText(minFactor != DBL_MAX && minFactor > 0,
                      "minFactor!=1.7976931348623158e+308 && minFactor>0");
        return minFactor;
    }

    double spacing;
    double last[3]; // how far the walk is
    double stop[3];
    double bound[3]; // the wall ahead of last on each axis
    double master[3];
};

std::pair<u64, u64> orderedPair(u64 a, u64 b)
{
    return {std::min(a, b), std::max(a, b)};
}

} // namespace

// Cells of which getMidOfCutPlane gave no point. Along a face that lies in the cell walls, but for rounding,
// all of them can be: they are told together.
struct Pixel::CutFailures {
    size_t numParallel = 0;
    size_t numFew = 0;
    int firstNumCuts = 0;

    void add(int numCuts)
    {
        if (numCuts == PARALLEL)
            ++numParallel;
        else if (numFew++ == 0)
            firstNumCuts = numCuts;
    }

    void report() const
    {
        if (numParallel > 0)
            ZAN_WARNING("!aBools" + timesText(numParallel));
        if (numFew == 0)
            return;
        ZAN_WARNING("Not enough intersections" + timesText(numFew));
        messageStream() << "numCuts: " << firstNumCuts << std::endl;
    }

private:
    static std::string timesText(size_t num)
    {
        return num == 1 ? "" : ", in " + std::to_string(num) + " cells";
    }
};

// Stages dih2e, reo, rFins, feate, nfeate. Cells are taken in this order: the vertices at features, the rest
// of the features, the other edges.
void Pixel::pixelAllEdges(double featureAngle, std::vector<RasterEntry>& vEdges, CellPairs& vFeatures,
                          CellPairs& vBorders)
{
    std::vector<FeatureRecord> vRecords;
    std::vector<const Edge2Tri*> vOrdinary; // the first entry of each edge that is no feature
    sortOutEdges(featureAngle, vRecords, vOrdinary);
    reorderFeatures(featureAngle, vRecords);
    takeFeatureEnds(vRecords, vEdges);
    takeFeatureEdges(vRecords, vEdges, vFeatures, vBorders);
    vRecords = {};
    takeOrdinaryEdges(vOrdinary, vEdges);
}

void Pixel::sortOutEdges(double featureAngle, std::vector<FeatureRecord>& vRecords,
                         std::vector<const Edge2Tri*>& vOrdinary) const
{
    const StageTimer stage("dih2e");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("dih2e", vEdge2Tri.size());
    const Edge2Tri* pEndAll = vEdge2Tri.data() + vEdge2Tri.size();
    for (const Edge2Tri* pFirst = vEdge2Tri.data(); pFirst != pEndAll;) {
        const Edge2Tri* pEnd = pFirst + 1;
        while (pEnd != pEndAll && pEnd->first == pFirst->first)
            ++pEnd;
        const double angle = largestTurn(pFirst, pEnd);
        if (angle == BORDER_ANGLE || angle > featureAngle)
            vRecords.emplace_back(angle, pFirst->first);
        else
            vOrdinary.push_back(pFirst);
        pProgress->tickN(static_cast<u64>(pEnd - pFirst));
        pFirst = pEnd;
    }
    sortMT(vRecords.begin(), vRecords.end());
    pProgress->finish(true);
}

// Of the triangles at one edge: the largest angle by which one turns against the first, the mark of a border
// if there is but one.
double Pixel::largestTurn(const Edge2Tri* pFirst, const Edge2Tri* pEnd)
{
    if (pEnd - pFirst == 1)
        return BORDER_ANGLE;
    const auto [p1, p2] = pFirst->first;
    const Vector3 nnv0 = pFirst->second->getNNV(p1, p2);
    double angle = -1.0;
    for (const Edge2Tri* pOther = pFirst + 1; pOther != pEnd; ++pOther)
        angle = std::max(angle, getAngleDegree(nnv0, -1.0 * pOther->second->getNNV(p1, p2)));
    return angle;
}

void Pixel::reorderFeatures(double featureAngle, std::vector<FeatureRecord>& vRecords)
{
    const StageTimer stage("reo");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("reo", 1);
    {
        const FeatureMgr featureMgr(vRecords);
        vRecords.clear();
        featureMgr.getOrderedPairs(vRecords);
    }
    if (featureAngle >= ALL_SHARP_ANGLE)
        std::reverse(vRecords.begin(), vRecords.end());
    pProgress->tick();
    pProgress->finish(true);
}

void Pixel::takeFeatureEnds(const std::vector<FeatureRecord>& vRecords, std::vector<RasterEntry>& vEdges)
{
    const StageTimer stage("rFins");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("rFins", vRecords.size());
    for (const auto& [angle, ends] : vRecords) {
        for (const Point3* pEnd : {ends.first, ends.second}) {
            const u64 rcd = pCalc->getRCD(pEnd);
            if (sUsedRCD.insert(rcd))
                vEdges.emplace_back(rcd, *pEnd);
        }
        pProgress->tick();
    }
    pProgress->finish(true);
}

void Pixel::takeFeatureEdges(const std::vector<FeatureRecord>& vRecords, std::vector<RasterEntry>& vEdges,
                             CellPairs& vFeatures, CellPairs& vBorders)
{
    const StageTimer stage("feate");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("feate", vRecords.size());
    std::vector<RasterEntry> vEdgeRaster;
    for (const auto& [angle, ends] : vRecords) {
        vEdgeRaster.clear();
        rasterizeEdge(*ends.first, *ends.second, vEdgeRaster);
        for (size_t i = 0; i < vEdgeRaster.size(); ++i) {
            if (sUsedRCD.insert(vEdgeRaster[i].first))
                vEdges.push_back(vEdgeRaster[i]);
            if (i == 0)
                continue;
            const u64 ccd0 = pCalc->getCCD(&vEdgeRaster[i - 1].second);
            const u64 ccd1 = pCalc->getCCD(&vEdgeRaster[i].second);
            zanAssertText(ccd0 != ccd1, "ccd0!=ccd1");
            vFeatures.push_back(orderedPair(ccd0, ccd1));
            if (angle == BORDER_ANGLE)
                vBorders.push_back(orderedPair(ccd0, ccd1));
        }
        pProgress->tick();
    }
    pProgress->finish(true);
}

void Pixel::takeOrdinaryEdges(const std::vector<const Edge2Tri*>& vOrdinary, std::vector<RasterEntry>& vEdges)
{
    const StageTimer stage("nfeate");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("nfeate", vOrdinary.size());
    std::vector<RasterEntry> vEdgeRaster;
    CutFailures failures;
    for (const Edge2Tri* pEntry : vOrdinary) {
        const auto [p1, p2] = pEntry->first;
        vEdgeRaster.clear();
        rasterizeEdge(*p1, *p2, vEdgeRaster);
        const Plane plane(*p1, pEntry->second->getNNV(p1, p2));
        for (RasterEntry& entry : vEdgeRaster) {
            if (!sUsedRCD.insert(entry.first))
                continue;
            moveToPlane(plane, entry, failures);
            vEdges.push_back(entry);
        }
        pProgress->tick();
    }
    failures.report();
    pProgress->finish(true);
}

// An ordinary edge is nothing that the surface should show: its cell gets the point that a face would give
// it.
void Pixel::moveToPlane(const Plane& plane, RasterEntry& entry, CutFailures& failures) const
{
    const Point3 projected = plane.projectPoint(pCalc->getCellMid_RCD(entry.first));
    if (pCalc->getRCD(&projected) == entry.first) {
        entry.second = projected;
        return;
    }
    bool bOK = false;
    int numCuts = 0;
    const Point3 mid = getMidOfCutPlane(entry.first, plane, bOK, numCuts);
    if (!bOK)
        failures.add(numCuts);
    else if (pCalc->getRCD(&mid) == entry.first) // may round to the upper wall: another cell's, that is taken
        entry.second = mid;
}

Point3 Pixel::getMidOfCutPlane(u64 rcd, const Plane& plane, bool& bOK, int& numCuts) const
{
    const Point3 low = pCalc->getCellCorner(Calc::rcdToCCD(rcd));
    const double x[2] = {low.x(), low.x() + spacingAbs};
    const double y[2] = {low.y(), low.y() + spacingAbs};
    const double z[2] = {low.z(), low.z() + spacingAbs};
    const Point3 corners[8] = {{x[0], y[0], z[0]}, {x[1], y[0], z[0]}, {x[1], y[0], z[1]},
                               {x[0], y[0], z[1]}, {x[0], y[1], z[0]}, {x[1], y[1], z[0]},
                               {x[1], y[1], z[1]}, {x[0], y[1], z[1]}};
    constexpr int CELL_EDGES[12][2] = {{0, 1}, {0, 3}, {0, 4}, {5, 1}, {5, 4}, {5, 6},
                                       {7, 4}, {7, 6}, {7, 3}, {2, 1}, {2, 3}, {2, 6}};
    bool bPositive[8];
    for (int i = 0; i < 8; ++i)
        bPositive[i] = plane.isPositive(corners[i]);
    double sum[3] = {0.0, 0.0, 0.0};
    numCuts = 0;
    bOK = false;
    for (const auto& [from, to] : CELL_EDGES) {
        if (bPositive[from] == bPositive[to])
            continue;
        bool bCut = false;
        plane.cutSegment(corners[from], corners[to], bCut).addOwnCoords(sum[0], sum[1], sum[2]);
        ++numCuts;
        if (!bCut) {
            numCuts = PARALLEL;
            return Point3();
        }
    }
    bOK = numCuts >= 3;
    return bOK ? Point3(sum[0] / numCuts, sum[1] / numCuts, sum[2] / numCuts) : Point3();
}

void Pixel::rasterizeEdge(const Point3& p0, const Point3& p1, std::vector<RasterEntry>& vEdgeRaster) const
{
    const u64 startRCD = pCalc->getRCD(&p0);
    const u64 stopRCD = pCalc->getRCD(&p1);
    if (startRCD == stopRCD)
        return;
    WallWalk walk(p0, p1, pCalc->getCellCorner(Calc::rcdToCCD(startRCD)), spacingAbs);
    vEdgeRaster.emplace_back(startRCD, p0);
    for (u64 turnsLeft = maxTurns(startRCD, stopRCD); turnsLeft > 0; --turnsLeft) {
        const Point3 middle = walk.next();
        const u64 currentRCD = pCalc->getRCD(&middle);
        if (currentRCD == startRCD)
            continue;
        if (currentRCD == stopRCD || walk.isPastEnd(middle))
            break;
        if (currentRCD != vEdgeRaster.back().first)
            vEdgeRaster.emplace_back(currentRCD, middle);
    }
    zanAssertText(vEdgeRaster.back().first != stopRCD, "vEdgeRaster.back().first!=stopRCD");
    vEdgeRaster.emplace_back(stopRCD, p1);
}

} // namespace TESK_ZAN
