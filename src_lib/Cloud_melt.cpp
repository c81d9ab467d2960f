#include "Calc.h"
#include "Cloud.h"
#include "Pixel.h"
#include "PointVertexMap.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

namespace TESK_ZAN
{

void Cloud::preparePixelsAndFeatures(double featureAngle)
{
    zanAssert(bMelt);
    if (vPoints.empty()) {
        ZAN_WARNING("Nothing to do for cloud " + name);
        return;
    }
    usedSpacing = spacingAbs; // corners of triangles have no spacing that could be detected
    if (!createCalc()) {
        ZAN_WARNING("Nothing to do for cloud " + name);
        return;
    }
    std::vector<Point3> vPixels;
    {
        std::vector<Point3*> vCorners;
        mergeCorners(vCorners);
        Pixel pix(vCorners, pCalc.get());
        vCorners = {};
        pix.createPixels(vPixels, vFeatures, vBorders, featureAngle);
    }
    takeOverPixels(std::move(vPixels));
}

// For each corner the address of the first one of its position.
void Cloud::mergeCorners(std::vector<Point3*>& vCorners)
{
    const StageTimer stage("CL_merge");
    PointVertexMap mPointVtx;
    vCorners.reserve(vPoints.size());
    for (Point3& corner : vPoints) {
        Point3* pFirst = mPointVtx.find(corner);
        if (pFirst == nullptr) {
            pFirst = &corner;
            mPointVtx.insert(pFirst);
        }
        vCorners.push_back(pFirst);
    }
}

// The points take the place of the corners, in the order of their cells, which all later stages walk in.
void Cloud::takeOverPixels(std::vector<Point3>&& vPixels)
{
    const StageTimer stage("CL_pix");
    vPoints = {};
    transformMT(vPixels, vCells, [this](const Point3& p) { return std::make_pair(pCalc->getCCD(&p), p); });
    vPixels = {};
    sortMT(vCells.begin(), vCells.end());
    addBundles(0.2);
}

} // namespace TESK_ZAN
