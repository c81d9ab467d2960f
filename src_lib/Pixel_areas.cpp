#include "Calc.h"
#include "Pixel.h"
#include "Progress.h"
#include "freeFunctions.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr double MIN_BASE_ANGLE = 1e-5; // degrees; a flatter triangle is all edge

// Added to a point it turns -0.0 into 0.0, which would compare equal and yet be another result.
const Vector3 NO_NEGATIVE_ZERO;

constexpr double SAMPLES_PER_BLOCK = 60000.0; // a block's cells fit a cache
constexpr size_t BLOCKS_PER_WAVE = 256;       // what is in memory before it is reduced: 15 million samples

// The rows of one triangle, parallel to its longest side and at a distance of rise: row i runs from
// getStart(i) to getStop(i).
class TriangleRows
{
public:
    TriangleRows(Point3 p0, Point3 p1, Point3 p2, double rise) : plane(p0, p1, p2)
    {
        double len0 = (p1 - p2).length();
        double len1 = (p0 - p2).length();
        double len2 = (p1 - p0).length();
        if (len1 > len0) {
            std::swap(len0, len1);
            std::swap(p0, p1);
        }
        if (len2 > len0) {
            std::swap(len0, len2);
            std::swap(p0, p2);
        }
        // From here on p1-p2 is the longest side and p0 the apex.
        base1 = p1;
        base2 = p2;
        vec10 = normalize(p0 - p1);
        vec20 = normalize(p0 - p2);
        const Vector3 vec12 = normalize(p2 - p1);
        const double angle1 = getAngleDegree(vec12, vec10);
        const double angle2 = getAngleDegree(-1.0 * vec12, vec20);
        if (angle1 < MIN_BASE_ANGLE || angle2 < MIN_BASE_ANGLE)
            return;
        // By the lengths and not by the sine of an arc cosine: the last digits of those differ from one
        // processor to another.
        lift1 = rise / crossProd(vec12, vec10).length();
        lift2 = rise / crossProd(vec12, vec20).length();
        numRows = static_cast<int>(std::ceil(len2 / lift1));
    }

    const Plane& getPlane() const { return plane; }
    int getNumRows() const { return numRows; }
    Point3 getStart(int row) const { return base1 + vec10 * (row * lift1); }
    Point3 getStop(int row) const { return base2 + vec20 * (row * lift2); }

private:
    Plane plane;
    Point3 base1;
    Point3 base2;
    Vector3 vec10;
    Vector3 vec20;
    double lift1 = 0.0;
    double lift2 = 0.0;
    int numRows = 0;
};

TriangleRows rowsOf(const Tri& tri, double rise)
{
    return TriangleRows(*tri.pVtx0, *tri.pVtx1, *tri.pVtx2, rise);
}

// Of two samples in one cell the least counts, whichever came first.
class LeastPoints
{
public:
    explicit LeastPoints(std::vector<RasterEntry>& vLeast_) : vLeast(vLeast_) {}

    void add(const RasterEntry& entry)
    {
        const auto [pIndex, bNew] =
            mCell2Index.tryEmplace(entry.first, static_cast<std::uint32_t>(vLeast.size()));
        if (bNew)
            vLeast.push_back(entry);
        else if (entry.second < vLeast[*pIndex].second)
            vLeast[*pIndex].second = entry.second;
    }

private:
    std::vector<RasterEntry>& vLeast;
    TESK_TOOLS::FlatMap<u64, std::uint32_t, TESK_TOOLS::U64Hash> mCell2Index;
};

} // namespace

// Some triangles, or some rows of one: a task that is neither too small nor too large.
struct Pixel::AreaBlock {
    size_t firstTri;
    size_t endTri;
    int firstRow = 0;
    int endRow = -1;                      // -1: all rows
    std::vector<RasterEntry> vLeast = {}; // each cell of the block once
};

// Stage ar4. Blocks run on all threads. Of the samples only (cell, least point) is kept, in each block and
// again over the blocks: so neither the cut into blocks nor their order shows, and memory follows the cells.
std::vector<RasterEntry> Pixel::rasterizeAllTriangles() const
{
    const StageTimer stage("ar4");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("ar4", vTri.size());
    const std::vector<AreaBlock> vBlocks = cutIntoBlocks();
    std::vector<RasterEntry> vAreas;
    size_t numReduced = 0; // entries of vAreas when it was last reduced
    for (size_t first = 0; first < vBlocks.size(); first += BLOCKS_PER_WAVE) {
        const size_t end = std::min(first + BLOCKS_PER_WAVE, vBlocks.size());
        std::vector<AreaBlock> vWave(vBlocks.begin() + static_cast<std::ptrdiff_t>(first),
                                     vBlocks.begin() + static_cast<std::ptrdiff_t>(end));
        size_t numDone = 0;
        forBlocksMT(
            vWave, [this](AreaBlock& block) { rasterizeBlock(block); },
            [&] {
                const AreaBlock& block = vWave[numDone++];
                if (block.firstRow == 0)
                    pProgress->tickN(block.endTri - block.firstTri);
            });
        for (AreaBlock& block : vWave) {
            vAreas.insert(vAreas.end(), block.vLeast.begin(), block.vLeast.end());
            block.vLeast = {};
        }
        if (vAreas.size() > 2 * numReduced + static_cast<size_t>(SAMPLES_PER_BLOCK) * BLOCKS_PER_WAVE) {
            reduceToLeast(vAreas);
            numReduced = vAreas.size();
        }
    }
    pProgress->finish(true);
    return vAreas;
}

std::vector<Pixel::AreaBlock> Pixel::cutIntoBlocks() const
{
    std::vector<AreaBlock> vBlocks;
    size_t first = 0;
    double numSamples = 0.0;
    const auto closeBlock = [&](size_t end) {
        if (end > first)
            vBlocks.push_back({first, end});
        first = end;
        numSamples = 0.0;
    };
    for (size_t i = 0; i < vTri.size(); ++i) {
        const double num = 1.0 + numFaceSamples(*vTri[i]);
        if (numSamples + num > SAMPLES_PER_BLOCK)
            closeBlock(i);
        numSamples += num;
        if (num <= SAMPLES_PER_BLOCK)
            continue;
        // Too large for one block: rows get shorter towards the apex, but not by orders of magnitude.
        const int numRows = rowsOf(*vTri[i], SAMPLE_DISTANCE * spacingAbs).getNumRows();
        const int step = std::max(1, static_cast<int>(numRows * SAMPLES_PER_BLOCK / num));
        for (int row = 0; row < numRows; row += step)
            vBlocks.push_back({i, i + 1, row, std::min(row + step, numRows)});
        first = i + 1;
        numSamples = 0.0;
    }
    closeBlock(vTri.size());
    return vBlocks;
}

void Pixel::rasterizeBlock(AreaBlock& block) const
{
    LeastPoints leastPoints(block.vLeast);
    std::vector<RasterEntry> vRow;
    for (size_t i = block.firstTri; i < block.endTri; ++i) {
        const TriangleRows rows = rowsOf(*vTri[i], SAMPLE_DISTANCE * spacingAbs);
        const int endRow = block.endRow < 0 ? rows.getNumRows() : block.endRow;
        for (int row = block.firstRow; row < endRow; ++row) {
            vRow.clear();
            rasterizePlane(rows.getPlane(), rows.getStart(row), rows.getStop(row), vRow);
            for (const auto& [rcd, point] : vRow)
                if (!sUsedRCD.contains(rcd))
                    leastPoints.add({rcd, point + NO_NEGATIVE_ZERO});
        }
    }
}

// Sorts by cell and keeps the least point of each.
void Pixel::reduceToLeast(std::vector<RasterEntry>& vAreas)
{
    sortMT(vAreas.begin(), vAreas.end());
    const auto last =
        std::unique(vAreas.begin(), vAreas.end(),
                    [](const RasterEntry& a, const RasterEntry& b) { return a.first == b.first; });
    vAreas.erase(last, vAreas.end());
}

// Stage oifc.
void Pixel::keepLeastPoints(std::vector<RasterEntry>& vAreas)
{
    const StageTimer stage("oifc");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("oifc", 1);
    reduceToLeast(vAreas);
    pProgress->tick();
    pProgress->finish(true);
}

void Pixel::rasterizeTriangle(const Point3& p0, const Point3& p1, const Point3& p2,
                              std::vector<RasterEntry>& vAreas) const
{
    const TriangleRows rows(p0, p1, p2, SAMPLE_DISTANCE * spacingAbs);
    for (int row = 0; row < rows.getNumRows(); ++row)
        rasterizePlane(rows.getPlane(), rows.getStart(row), rows.getStop(row), vAreas);
}

void Pixel::rasterizePlane(const Plane& plane, const Point3& pStart, const Point3& pStop,
                           std::vector<RasterEntry>& vRaster) const
{
    Vector3 moveVec = pStop - pStart;
    const double totalLen = moveVec.length();
    if (totalLen == 0.0)
        return;
    const double maxComponent = moveVec.getMaxAbsComponent();
    zanAssertText(maxComponent != 0, "maxComponent!=0");
    moveVec *= SAMPLE_DISTANCE * spacingAbs / maxComponent;
    const int numSteps = static_cast<int>(std::ceil(totalLen / moveVec.length()));
    u64 lastRCD = pCalc->getRCD(&pStart);
    for (int i = 0; i < numSteps; ++i) {
        const Point3 sample = pStart + moveVec * i;
        const u64 rcd = pCalc->getRCD(&sample);
        if (rcd == lastRCD)
            continue;
        const Point3 projected = plane.projectPoint(pCalc->getCellMid_RCD(rcd));
        const Point3 p = pCalc->getRCD(&projected) == rcd ? projected : sample;
        if (i == numSteps - 1 && (p - pStart).length() > totalLen)
            return;
        vRaster.emplace_back(rcd, p);
        lastRCD = rcd;
    }
}

} // namespace TESK_ZAN
