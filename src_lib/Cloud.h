// Subsystem: intake. Builds on: Prepare, Pixel, Calc, pointFiles, plyPoints, sampleScan. Used by: CloudMgr.
// One input set on its way to the grid: finds the point spacing, fixes the run's Calc, and makes one Bundle
// for each working cell. Everything after it sees bundles and codes only.
#pragma once

#include "Bundle.h"
#include "CellBitSet.h"
#include "Point3.h"
#include "definitions.h"
#include "tesk_tools/SimplePool.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// Order of use: constructor, setPoints (or readPoints and setPoints), prepareScanPoints or, with bMelt,
// preparePixelsAndFeatures, then the accessors. What stands in Cloud_melt.cpp is named there.
// Owns its points, bundles and Calc; they die with it.
class Cloud
{
public:
    // spacingAbs: cell size in units of the input, or -1.0. spacingFactor: factor on the detected spacing, or
    // -1.0; only one of the two is used, spacingAbs first. fillSize: largest hole-filling distance in cells,
    // 0 for none. bMelt: the points are corners of triangles, three a triangle.
    Cloud(const std::string& name, double spacingAbs, double spacingFactor, bool bMelt, int fillSize);
    ~Cloud();
    Cloud(const Cloud&) = delete;
    Cloud& operator=(const Cloud&) = delete;

    // Keeps a copy of the points. Those with a coordinate that is not finite are left out, of a soup their
    // triangles, with one warning that gives the count of either.
    void setPoints(const std::vector<Point3>& vInput);

    // Appends the points of a file, by its type; "artificial123.xyz" is no file but the built-in sample scan.
    // False with a message for a file that cannot be read, is empty or of unknown type. An STL needs bMelt
    // and spacingAbs, otherwise a failed condition follows the message that says so.
    bool readPoints(const std::string& fileName, std::vector<Point3>& vRead);

    // The scan road: spacing, grid, bundles. Given a Calc, the cloud works on a copy of it and skips the
    // estimate. A cloud that cannot be put on a grid ends with a warning and without bundles; a spacing that
    // is not positive, or too fine for MAXLEVELS levels, is a failed condition. O(n log n).
    void prepareScanPoints(const Calc* pGivenCalc);

    // The melt road (Cloud_melt.cpp): grid, equal corners made one, then the triangles rasterised: a bundle
    // for each cell that they touch. featureAngle: see Pixel::createPixels. Ends like prepareScanPoints; a
    // number of corners that is no multiple of three is a failed condition too. A spacing must be given.
    void preparePixelsAndFeatures(double featureAngle);

    Calc* getCalc() const { return pCalc.get(); } // null until prepared, and for a cloud that came to nothing
    // Appends (code, bundle) in ascending code order, and copies the codes of cells that no point fell into.
    void getBundles(std::vector<std::pair<u64, Bundle*>>& vCCDBundle, std::vector<u64>& vZero) const;
    // The bundles alone, in the same order. Replaces both lists.
    void getBundles(std::vector<Bundle*>& vOut, std::vector<u64>& vZero) const;
    // Of a soup: the codes of each two neighbouring cells along a sharp edge or border, and along borders
    // alone, the lower code first. In the order in which the edges were walked; pairs may repeat.
    const CellPairs& getFeatures() const { return vFeatures; }
    const CellPairs& getBorders() const { return vBorders; }
    // Input points at the rims that are no bundle's: Prepare::getRimPoints.
    const std::vector<Point3>& getRimPoints() const { return vRimPoints; }
    int getFillSize() const { return fillSize; }
    bool isMelt() const { return bMelt; }
    double getDetectedSpacing() const
    {
        return detectedSpacing;
    }                                               // -1.0: not estimated, or no estimate possible
    double getReadTime() const { return readTime; } // seconds
    void printStatistics() const;

private:
    void widenBox(const Point3& p);
    double maxExtent() const;

    // Phase CL_eres. Sets detectedSpacing and usedSpacing; false with a warning when the points give no
    // spacing.
    bool estimateSpacing();
    bool detectSpacing();
    void warnOfOutliers(u64 numCoarseCells) const;

    // Fixes pCalc: a cube of 2^k cells with 5000 cells of room around the box. False with a warning when
    // doubles cannot carry such a grid.
    bool createCalc();
    bool isRepresentable(double side) const;

    // Phase CL_creb.
    void createBundles(std::vector<Point3>& vInput);
    // One for each entry of vCells, which are sorted; the pool gets room for 1 + growth times as many.
    void addBundles(double growth);

    // Cloud_melt.cpp
    void mergeCorners(std::vector<Point3*>& vCorners);
    void takeOverPixels(std::vector<Point3>&& vPixels);

    int fillSize;
    double readTime = 0.0;
    std::string name;
    double spacingAbs;
    double spacingFactor;
    bool bMelt;
    u64 numPoints = 0;
    double detectedSpacing = -1.0;
    double usedSpacing = -1.0;
    std::unique_ptr<Calc> pCalc;
    std::vector<Point3> vPoints;                // until the bundles are made
    std::vector<std::pair<u64, Point3>> vCells; // by code; does not change any more: bundles point into it
    std::vector<Bundle*> vBundles;              // by code
    std::vector<Point3> vRimPoints;
    TESK_TOOLS::SimplePool<Bundle> bundlePool;
    double boxMin[3];
    double boxMax[3];
    std::vector<u64> vZeroCCD;
    CellPairs vFeatures;
    CellPairs vBorders;
};

} // namespace TESK_ZAN
