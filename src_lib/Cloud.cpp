#include "Cloud.h"

#include "Calc.h"
#include "Prepare.h"
#include "Progress.h"
#include "Timer.h"
#include "fileTypes.h"
#include "messages.h"
#include "numberText.h"
#include "plyPoints.h"
#include "pointFiles.h"
#include "sampleScan.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <new>
#include <ostream>
#include <type_traits>

namespace TESK_ZAN
{

namespace
{

constexpr const char* SAMPLE_NAME = "artificial123.xyz";
constexpr int NUM_ESTIMATE_LEVELS = 20; // of the grid on which the spacing is measured
constexpr double MARGIN_CELLS =
    10000.0; // room around the box, half on each side: neighbour codes need no range test
constexpr int MAX_GRID_CELLS = 1 << MAXLEVELS;
constexpr double MIN_ULPS_PER_CELL = 4096.0; // below, a thousandth of a cell may round to nothing

// Calibrated for surfaces: the area that a sheet of random direction has in a cell that it touches is the
// face's divided by the first; the second turns the area per point into the edge of the even triangulation's
// cell.
constexpr double TOUCHED_CELLS_PER_AREA = 1.307025;
constexpr double SPACING_PER_AREA = 1.5396;

// The highest level at which two different codes differ.
int differenceLevel(u64 codeA, u64 codeB)
{
    return (static_cast<int>(std::bit_width(codeA ^ codeB)) - 1) / 3;
}

// Median (upper, for an even count) of the levels above 1 at which neighbours in code order part; -1 for
// none. Levels 0 and 1 are left out: they are the noise floor of the local grid, or near duplicates.
int medianDifferenceLevel(const std::vector<u64>& vSortedCodes)
{
    std::vector<size_t> vCount(MAXLEVELS + 1, 0);
    size_t numLevels = 0;
    for (size_t i = 1; i < vSortedCodes.size(); ++i) {
        if (vSortedCodes[i] == vSortedCodes[i - 1])
            continue;
        const int level = differenceLevel(vSortedCodes[i - 1], vSortedCodes[i]);
        if (level <= 1)
            continue;
        ++vCount[static_cast<size_t>(level)];
        ++numLevels;
    }
    if (numLevels == 0)
        return -1;
    size_t numBelow = 0;
    for (size_t level = 0; level < vCount.size(); ++level) {
        numBelow += vCount[level];
        if (numBelow > numLevels / 2)
            return static_cast<int>(level);
    }
    return -1;
}

// Number of distinct ancestors numLevels coarser. The codes are sorted, so their ancestors are too.
u64 countAncestors(const std::vector<u64>& vSortedCodes, int numLevels)
{
    const int shift = 3 * numLevels;
    if (shift >= 64) // two or three far points: everything lies in one ancestor
        return 1;
    u64 num = 0;
    for (size_t i = 0; i < vSortedCodes.size(); ++i)
        if (i == 0 || (vSortedCodes[i] >> shift) != (vSortedCodes[i - 1] >> shift))
            ++num;
    return num;
}

// Leaves out every group of groupSize consecutive points that has one with a coordinate that is not finite. A
// last group that is not full is judged by what it has.
std::vector<Point3> finitePoints(const std::vector<Point3>& vInput, size_t groupSize)
{
    std::vector<Point3> vFinite;
    vFinite.reserve(vInput.size());
    for (size_t start = 0; start < vInput.size(); start += groupSize) {
        const auto first = vInput.begin() + static_cast<std::ptrdiff_t>(start);
        const auto last =
            vInput.begin() + static_cast<std::ptrdiff_t>(std::min(start + groupSize, vInput.size()));
        if (std::all_of(first, last, [](const Point3& p) { return p.isFinite(); }))
            vFinite.insert(vFinite.end(), first, last);
    }
    return vFinite;
}

} // namespace

// The pool frees memory without running destructors.
static_assert(std::is_trivially_destructible_v<Bundle>);

Cloud::Cloud(const std::string& name_, double spacingAbs_, double spacingFactor_, bool bMelt_, int fillSize_)
    : fillSize(fillSize_), name(name_), spacingAbs(spacingAbs_), spacingFactor(spacingFactor_),
      bMelt(bMelt_), boxMin{DBL_MAX, DBL_MAX, DBL_MAX}, boxMax{-DBL_MAX, -DBL_MAX, -DBL_MAX}
{
}

Cloud::~Cloud() = default;

void Cloud::setPoints(const std::vector<Point3>& vInput)
{
    const size_t groupSize = bMelt ? 3 : 1;
    const auto numGroups = [groupSize](size_t num) { return (num + groupSize - 1) / groupSize; };
    vPoints = finitePoints(vInput, groupSize);
    numPoints = vPoints.size();
    const size_t numDropped = vInput.size() - vPoints.size();
    if (numDropped > 0)
        ZAN_WARNING(std::to_string(numGroups(numDropped)) + " of " +
                    std::to_string(numGroups(vInput.size())) +
                    (bMelt ? " triangles left out: they have a corner that is not finite"
                           : " points left out: not finite"));
    for (const Point3& p : vPoints)
        widenBox(p);
}

bool Cloud::readPoints(const std::string& fileName, std::vector<Point3>& vRead)
{
    const Timer timer;
    const size_t numBefore = vRead.size();
    bool bRead = true;
    const FileType type = getFileType(fileName);
    if (fileName == SAMPLE_NAME) {
        makeSampleScan(vRead);
    } else if (type == FT_STL) {
        if (!bMelt)
            messageStream() << "\n Input file is of type STL, use --fmelt (-m) instead\n";
        zanAssert(bMelt);
        if (!(spacingAbs > 0))
            messageStream() << "\nFor an STL provide also the -a option please\n";
        zanAssertText(spacingAbs > 0, "spacingAbs>0");
        bRead = readSTL_ASCII(fileName.c_str(), vRead);
    } else if (type == FT_PLY) {
        bRead = readPly(fileName.c_str(), !bMelt, vRead);
    } else if (type == FT_ASCII) {
        bRead = readPoints_ASCII(fileName.c_str(), vRead);
    } else if (type == FT_BIN) {
        bRead = readPoints_BIN(fileName.c_str(), vRead);
    } else {
        messageStream() << "Unknown file format\n";
        return false;
    }
    readTime = timer.elapsed();
    if (!bRead)
        messageStream() << "void Cloud::readPoints(), Error reading file: " << fileName << '\n';
    else if (vRead.size() == numBefore)
        messageStream() << "void Cloud::readPoints(), Empty file: " << fileName << '\n';
    return bRead && vRead.size() > numBefore;
}

void Cloud::prepareScanPoints(const Calc* pGivenCalc)
{
    zanAssert(!bMelt);
    if (vPoints.empty()) {
        ZAN_WARNING("Nothing to do for cloud " + name);
        return;
    }
    if (pGivenCalc != nullptr)
        pCalc = std::make_unique<Calc>(*pGivenCalc);
    else if (!estimateSpacing() || !createCalc()) {
        ZAN_WARNING("Nothing to do for cloud " + name);
        return;
    }
    createBundles(vPoints);
}

void Cloud::getBundles(std::vector<std::pair<u64, Bundle*>>& vCCDBundle, std::vector<u64>& vZero) const
{
    vCCDBundle.reserve(vCCDBundle.size() + vBundles.size());
    for (Bundle* pBundle : vBundles)
        vCCDBundle.emplace_back(pBundle->ccd, pBundle);
    vZero = vZeroCCD;
}

void Cloud::getBundles(std::vector<Bundle*>& vOut, std::vector<u64>& vZero) const
{
    vOut = vBundles;
    vZero = vZeroCCD;
}

void Cloud::printStatistics() const
{
    std::ostream& out = messageStream();
    out << "\nCloud::printStatistics( " << name << " )\n" << std::string(60, '-') << '\n';
    out << "Input points: " << numPoints << '\n';
    if (spacingAbs > 0)
        out << "Spacing is user defined: " << spacingAbs << '\n';
    else
        out << "\nSpacing factor:  " << spacingFactor << "\nDetected spacing:    " << usedSpacing << '\n';
    out << '\n' << std::flush;
}

void Cloud::widenBox(const Point3& p)
{
    const double c[3] = {p.x(), p.y(), p.z()};
    for (int axis = 0; axis < 3; ++axis) {
        boxMin[axis] = std::min(boxMin[axis], c[axis]);
        boxMax[axis] = std::max(boxMax[axis], c[axis]);
    }
}

double Cloud::maxExtent() const
{
    return std::max({boxMax[0] - boxMin[0], boxMax[1] - boxMin[1], boxMax[2] - boxMin[2]});
}

bool Cloud::estimateSpacing()
{
    if (spacingAbs > 0) {
        usedSpacing = spacingAbs;
        return true;
    }
    const StageTimer stage("CL_eres");
    if (!detectSpacing())
        return false;
    usedSpacing = spacingFactor * detectedSpacing;
    return true;
}

bool Cloud::detectSpacing()
{
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("CL_eres", 6);
    const double side = maxExtent();
    if (!(side > 0.0)) {
        ZAN_WARNING("no spacing: all points of the cloud lie in one place");
        return false;
    }
    if (!std::isfinite(side) || !std::isfinite(side * side) ||
        !(side * std::ldexp(1.0, -NUM_ESTIMATE_LEVELS) > DBL_MIN)) {
        ZAN_WARNING("no spacing: the extent " + numberToText(side) +
                    " is out of the range of the arithmetic, scale the points");
        return false;
    }
    const Calc localCalc(boxMin[0], boxMin[1], boxMin[2], side, side, side, NUM_ESTIMATE_LEVELS);
    pProgress->tick();
    std::vector<u64> vCodes;
    transformMT(vPoints, vCodes, [&localCalc](const Point3& p) { return localCalc.getCCD(&p); });
    pProgress->tick();
    sortMT(vCodes.begin(), vCodes.end());
    pProgress->tick();
    const int median = medianDifferenceLevel(vCodes);
    pProgress->tick();
    if (median < 0) {
        ZAN_WARNING("no spacing: neighbouring points lie too near to each other for the extent of the cloud; "
                    "give a spacing, or take outliers away");
        return false;
    }
    const int coarsening = median + 2;
    const u64 numCoarseCells = countAncestors(vCodes, coarsening);
    pProgress->tick();
    const double coarseCell = std::ldexp(localCalc.getCellSize(), coarsening);
    const double area =
        static_cast<double>(numCoarseCells) * (coarseCell * coarseCell / TOUCHED_CELLS_PER_AREA);
    detectedSpacing = std::sqrt(SPACING_PER_AREA * (area / static_cast<double>(numPoints)));
    warnOfOutliers(numCoarseCells);
    pProgress->tick();
    pProgress->finish(true);
    return true;
}

// Points far away stretch the local grid until the rest of the cloud falls into a cell or two of it.
void Cloud::warnOfOutliers(u64 numCoarseCells) const
{
    constexpr u64 MANY_POINTS = 1000;
    constexpr u64 POINTS_PER_COARSE_CELL = 200; // a clean surface has 5 to 40
    if (numPoints > MANY_POINTS && numPoints > POINTS_PER_COARSE_CELL * numCoarseCells)
        ZAN_WARNING("the detected spacing " + numberToText(detectedSpacing) + " rests on " +
                    std::to_string(numCoarseCells) + " coarse cells for " + std::to_string(numPoints) +
                    " points: it may be far too large; take outliers away, or give a spacing");
}

bool Cloud::createCalc()
{
    zanAssertText(usedSpacing > 0, "usedSpacing>0");
    const double extent = maxExtent();
    const double numReqC = std::ceil(extent / usedSpacing) + MARGIN_CELLS;
    int baseLevel = std::isfinite(numReqC) ? static_cast<int>(std::log2(numReqC)) + 1 : DBL_MAX_EXP;
    if (baseLevel > MAXLEVELS) {
        ZAN_WARNING("BaseLevel out of range: " + std::to_string(baseLevel));
        baseLevel = MAXLEVELS;
    }
    const double numCReal = std::ldexp(1.0, baseLevel);
    if (numCReal < numReqC)
        ZAN_ERROR("a spacing of " + numberToText(usedSpacing) + " is too fine for an extent of " +
                  numberToText(extent) + ": use a spacing of at least " +
                  numberToText(1.001 * extent / (MAX_GRID_CELLS - MARGIN_CELLS)));
    zanAssertText(numCReal >= numReqC, "numCReal>=numReqC");
    const double side = numCReal * usedSpacing;
    for (int axis = 0; axis < 3; ++axis) {
        boxMin[axis] -= usedSpacing * 0.5 * MARGIN_CELLS;
        boxMax[axis] += usedSpacing * 0.5 * MARGIN_CELLS;
    }
    if (!isRepresentable(side))
        return false;
    pCalc = std::make_unique<Calc>(boxMin[0], boxMin[1], boxMin[2], side, side, side, baseLevel);
    return true;
}

bool Cloud::isRepresentable(double side) const
{
    double maxAbs = side;
    for (int axis = 0; axis < 3; ++axis)
        maxAbs = std::max({maxAbs, std::abs(boxMin[axis]), std::abs(boxMax[axis])});
    if (!std::isfinite(maxAbs) || !std::isfinite(maxAbs * maxAbs) || !(usedSpacing * usedSpacing > DBL_MIN)) {
        ZAN_WARNING("no grid: a spacing of " + numberToText(usedSpacing) + " and coordinates up to " +
                    numberToText(maxAbs) + " are out of the range of the arithmetic, scale the points");
        return false;
    }
    const double ulp = std::nextafter(maxAbs, DBL_MAX) - maxAbs;
    if (usedSpacing <= MIN_ULPS_PER_CELL * ulp) {
        ZAN_WARNING("no grid: coordinates up to " + numberToText(maxAbs) +
                    " are too far from the origin for a spacing of " + numberToText(usedSpacing) +
                    ", move the points with autoOffset");
        return false;
    }
    return true;
}

void Cloud::createBundles(std::vector<Point3>& vInput)
{
    const StageTimer stage("CL_creb");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("CL_creb", 6);
    {
        Prepare prepare(&vInput, fillSize, pCalc.get());
        prepare.run(vCells, vZeroCCD);
        prepare.getRimPoints(vRimPoints);
    }
    pProgress->tick();
    // A run copies what it keeps; the largest block of the intake need not outlive it.
    vPoints.clear();
    vPoints.shrink_to_fit();
    addBundles(0.1);
    pProgress->tick();
    pProgress->finish(true);
}

void Cloud::addBundles(double growth)
{
    constexpr int MIN_INCREASE = 100;
    zanAssert(vCells.size() < static_cast<size_t>(std::numeric_limits<int>::max()));
    const int num = static_cast<int>(vCells.size());
    bundlePool.init(num, std::max(MIN_INCREASE, static_cast<int>(growth * num)));
    vBundles.reserve(vCells.size());
    for (auto& [ccd, point] : vCells)
        vBundles.push_back(new (bundlePool.newObject()) Bundle{&point, ccd});
}

} // namespace TESK_ZAN
