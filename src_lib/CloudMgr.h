// Subsystem: intake. Builds on: Cloud. Used by: Hal, zan_api_functions.
// The input side of one run: makes the run's cloud from memory or from a file and hands out its bundles.
#pragma once

#include "Bundle.h"
#include "CellBitSet.h"
#include "Point3.h"
#include "definitions.h"

#include <memory>
#include <string>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class Cloud;

// Owns the cloud, and with it the Calc, the points and the bundles of a run. Whatever holds one of these (a
// Hal) is declared after the manager, so that it goes first.
class CloudMgr
{
public:
    CloudMgr();
    ~CloudMgr();
    CloudMgr(const CloudMgr&) = delete;
    CloudMgr& operator=(const CloudMgr&) = delete;

    // Makes the run's cloud from a copy of the points and prepares it; the spacing that is not in use is
    // -1.0. With bMelt the points are corners of triangles, see Cloud::preparePixelsAndFeatures; otherwise
    // featureAngle has no meaning. With pGivenCalc a cloud of points works on a copy of that lattice. Returns
    // the detected spacing, -1.0 for none.
    double inputPointsViaMemory(const std::vector<Point3>& vPoints, double spacingAbs, double spacingFactor,
                                bool bMelt, double featureAngle, const Calc* pGivenCalc, int fillSize);

    // The same from a file: exactly one name, otherwise a failed condition. A file that cannot be read leaves
    // a cloud without bundles, after a message. With bMelt edges are sharp from 10 degrees on.
    void readFiles(const std::vector<std::string>& vFileNames, double spacingAbs, double spacingFactor,
                   bool bMelt, int fillSize);

    // vBundles_srt: the bundles in ascending code order, one for each code. pCalc: null for a cloud that came
    // to nothing. vZeroCCD: codes of the cells that no point fell into, sorted.
    void getBundles(std::vector<Bundle*>& vBundles_srt, Calc*& pCalc, std::vector<u64>& vZeroCCD) const;

    // Append the codes of neighbouring cells along sharp edges and borders of a soup, see
    // Cloud::getFeatures.
    void getFeatures(CellPairs& vFeatures) const;
    void getBorders(CellPairs& vBorders) const;
    // The largest distance that holes were filled over, in cells.
    int getFillSize() const;
    // What inputPointsViaMemory was given, which must still be there; empty after readFiles. Extension
    // of 1.17.
    const std::vector<Point3>& getInputPoints() const;
    // The input points at the rims that are no bundle's, in input order. Extension of 1.17.
    const std::vector<Point3>& getRimPoints() const;

    double getReadTime() const { return sumReadTime; } // seconds, over the files read

private:
    static void prepare(Cloud& cloud, double featureAngle, const Calc* pGivenCalc);
    const Cloud& firstCloud() const;
    Cloud& addCloud(const std::string& name, double spacingAbs, double spacingFactor, bool bMelt,
                    int fillSize);

    double sumReadTime = 0.0;
    const std::vector<Point3>* pInputPoints = nullptr; // the host's
    std::vector<std::unique_ptr<Cloud>> vClouds;       // a run has exactly one
};

} // namespace TESK_ZAN
