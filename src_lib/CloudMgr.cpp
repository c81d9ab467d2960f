#include "CloudMgr.h"

#include "Calc.h"
#include "Cloud.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr double FILE_FEATURE_ANGLE = 10.0; // degrees

using BundlePos = std::vector<Bundle*>::const_iterator;

bool lessByCode(const Bundle* a, const Bundle* b)
{
    return a->ccd < b->ccd;
}

// Several clouds can hold the same cell. The last bundle of the group stands for all, in their mean colour
// when the first one has a colour.
Bundle* mergeBundles(BundlePos first, BundlePos last)
{
    Bundle* pKept = *(last - 1);
    if (!(*first)->pVtx->hasColor())
        return pKept;
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 0;
    for (auto it = first; it != last; ++it)
        (*it)->pVtx->addOwnColor(r, g, b, a);
    const float num = static_cast<float>(last - first);
    const auto mean = [num](float sum) { return static_cast<unsigned char>(sum / num); };
    pKept->pVtx->setColor(mean(r), mean(g), mean(b), mean(a));
    return pKept;
}

} // namespace

CloudMgr::CloudMgr() = default;
CloudMgr::~CloudMgr() = default;

Cloud& CloudMgr::addCloud(const std::string& name, double spacingAbs, double spacingFactor, bool bMelt,
                          int fillSize)
{
    vClouds.push_back(std::make_unique<Cloud>(name, spacingAbs, spacingFactor, bMelt, fillSize));
    return *vClouds.back();
}

double CloudMgr::inputPointsViaMemory(const std::vector<Point3>& vPoints, double spacingAbs,
                                      double spacingFactor, bool bMelt, double featureAngle,
                                      const Calc* pGivenCalc, int fillSize)
{
    Cloud& cloud = addCloud("inputPointsViaMemory", spacingAbs, spacingFactor, bMelt, fillSize);
    cloud.setPoints(vPoints);
    pInputPoints = &vPoints;
    prepare(cloud, featureAngle, pGivenCalc);
    return cloud.getDetectedSpacing();
}

void CloudMgr::readFiles(const std::vector<std::string>& vFileNames, double spacingAbs, double spacingFactor,
                         bool bMelt, int fillSize)
{
    if (vFileNames.size() > 1)
        messageStream() << "\nSorry, the current implementation state allows only one input file."
                        << "Multiple input point clouds will be supported in later versions" << std::flush;
    zanAssert(vFileNames.size() == 1);
    Cloud& cloud = addCloud(vFileNames.front(), spacingAbs, spacingFactor, bMelt, fillSize);
    std::vector<Point3> vRead;
    cloud.readPoints(vFileNames.front(), vRead); // has said what is wrong; the cloud then stays empty
    sumReadTime += cloud.getReadTime();
    cloud.setPoints(vRead);
    vRead = {};
    prepare(cloud, FILE_FEATURE_ANGLE, nullptr);
}

void CloudMgr::prepare(Cloud& cloud, double featureAngle, const Calc* pGivenCalc)
{
    if (cloud.isMelt())
        cloud.preparePixelsAndFeatures(featureAngle);
    else
        cloud.prepareScanPoints(pGivenCalc);
}

int CloudMgr::getFillSize() const
{
    return firstCloud().getFillSize();
}

const std::vector<Point3>& CloudMgr::getInputPoints() const
{
    static const std::vector<Point3> vNone;
    return pInputPoints != nullptr ? *pInputPoints : vNone;
}

const std::vector<Point3>& CloudMgr::getRimPoints() const
{
    return firstCloud().getRimPoints();
}

void CloudMgr::getBundles(std::vector<Bundle*>& vBundles_srt, Calc*& pCalc, std::vector<u64>& vZeroCCD) const
{
    const Cloud& cloud = firstCloud();
    pCalc = cloud.getCalc();
    cloud.getBundles(vBundles_srt, vZeroCCD);
    // Stable among equal codes: the later bundle of a pair has the higher position in the cloud.
    if (!std::is_sorted(vBundles_srt.begin(), vBundles_srt.end(), lessByCode))
        std::stable_sort(vBundles_srt.begin(), vBundles_srt.end(), lessByCode);
    auto itOut = vBundles_srt.begin();
    for (auto it = vBundles_srt.cbegin(); it != vBundles_srt.cend();) {
        auto itEnd = it + 1;
        while (itEnd != vBundles_srt.cend() && (*itEnd)->ccd == (*it)->ccd)
            ++itEnd;
        *itOut++ = itEnd - it == 1 ? *it : mergeBundles(it, itEnd);
        it = itEnd;
    }
    vBundles_srt.erase(itOut, vBundles_srt.end());
}

void CloudMgr::getFeatures(CellPairs& vFeatures) const
{
    const CellPairs& vFrom = firstCloud().getFeatures();
    vFeatures.insert(vFeatures.end(), vFrom.begin(), vFrom.end());
}

void CloudMgr::getBorders(CellPairs& vBorders) const
{
    const CellPairs& vFrom = firstCloud().getBorders();
    vBorders.insert(vBorders.end(), vFrom.begin(), vFrom.end());
}

const Cloud& CloudMgr::firstCloud() const
{
    zanAssert(!vClouds.empty());
    return *vClouds.front();
}

} // namespace TESK_ZAN
