#include "zan_api_functions.h"

#include "AppendedPoints.h"
#include "CloudMgr.h"
#include "Hal.h"
#include "Progress.h"
#include "RMesh.h"
#include "TaskPool.h"
#include "edgeSharpening.h"
#include "flipLoops.h"
#include "holeClosing.h"
#include "messages.h"
#include "numberText.h"
#include "progressTrees.h"
#include "sampleScan.h"
#include "shapeRepair.h"
#include "soupMesh.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int VERSION_MAJOR = 1;
constexpr int VERSION_MINOR = 17;
constexpr double UNUSED_SPACING = -1.0;
constexpr double NO_FEATURES = 361.0; // no two faces turn by as much
constexpr int NO_FILL = -1;

std::shared_ptr<Mesh> reconstruct(const std::vector<Point3>& vPoints, double spacingAbs, double spacingFactor,
                                  int fillSize)
{
    ProgressTree tree("Reconstruct", reconstructPhases());
    std::shared_ptr<Mesh> pMesh;
    {
        CloudMgr cldMgr; // before the Hal, which reads the cloud's Calc to its end
        cldMgr.inputPointsViaMemory(vPoints, spacingAbs, spacingFactor, false, NO_FEATURES, nullptr,
                                    fillSize);
        Hal hal(&cldMgr);
        pMesh = hal.reconstruct();
    }
    tree.finish();
    return pMesh;
}

void inputSoup(CloudMgr& cldMgr, const std::vector<Point3>& vCorners, double spacingAbs, double featureAngle)
{
    cldMgr.inputPointsViaMemory(vCorners, spacingAbs, UNUSED_SPACING, true, featureAngle, nullptr, NO_FILL);
}

// The handle of what was made; the end of the tree if there is any.
std::shared_ptr<Mesh> finished(ProgressTree& tree, std::unique_ptr<RMesh> pRMesh)
{
    if (pRMesh == nullptr)
        return {};
    auto pMesh = std::make_shared<Mesh>(pRMesh.get());
    pRMesh.release(); // not before there is another owner
    tree.finish();
    return pMesh;
}

} // namespace

std::shared_ptr<Mesh> reconstruct_auto(std::vector<Point3>& vPoints, double spacingFactor, int fillSize)
{
    return reconstruct(vPoints, UNUSED_SPACING, spacingFactor, fillSize);
}

std::shared_ptr<Mesh> reconstruct_abs(std::vector<Point3>& vPoints, double spacingAbs, int fillSize)
{
    return reconstruct(vPoints, spacingAbs, UNUSED_SPACING, fillSize);
}

std::shared_ptr<Mesh> melt(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle)
{
    ProgressTree tree("Melt", meltPhases());
    std::shared_ptr<Mesh> pMesh;
    {
        CloudMgr cldMgr; // before the Hal, which reads the cloud's Calc to its end
        inputSoup(cldMgr, vCorners, spacingAbs, featureAngle);
        Hal hal(&cldMgr);
        pMesh = hal.oneMelt();
    }
    tree.finish();
    return pMesh;
}

void toCloud(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle,
             std::vector<Point3>& vResult)
{
    AppendedPoints appended(vResult);
    ProgressTree tree("ToCloud", toCloudPhases());
    {
        CloudMgr cldMgr; // before the Hal; the points are its cloud's
        inputSoup(cldMgr, vCorners, spacingAbs, featureAngle);
        std::vector<Point3*> vPoints;
        Hal(&cldMgr).toCloud(vPoints);
        vResult.reserve(vResult.size() + vPoints.size());
        for (const Point3* pPoint : vPoints)
            vResult.push_back(*pPoint);
    }
    tree.finish(); // the subscriber can throw once more
    appended.keep();
}

std::shared_ptr<Mesh> meshFromTriangles(std::vector<Point3>& vCorners)
{
    ProgressTree tree("MeshFromTriangles", meshFromTrianglesPhases());
    return finished(tree, makeSoupMesh(vCorners));
}

std::shared_ptr<Mesh> meshFromIndexed(const std::vector<Point3>& vVertices, const std::vector<int>& vIndices,
                                      double cellSize)
{
    ProgressTree tree("MeshFromTriangles", meshFromTrianglesPhases());
    return finished(tree, makeIndexedMesh(vVertices, vIndices, cellSize));
}

void edgeFlips(std::shared_ptr<Mesh> pMesh)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return;
    }
    ProgressTree tree("EdgeFlips", edgeFlipsPhases());
    greedyFlips(pMesh->getRMesh());
    pMesh->getRMesh()->killDegenerate(true);
    tree.finish();
}

void edgeFlipsSimA(std::shared_ptr<Mesh> pMesh)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return;
    }
    ProgressTree tree("EdgeFlipsS", edgeFlipsSimAPhases());
    edgeFlips(pMesh);
    for (const double temperature : annealingTemperatures())
        edgeFlipsSimA(pMesh->getRMesh(), temperature);
    edgeFlips(pMesh);
    tree.finish();
}

double estimateAvgSpacing(std::vector<Point3>& vPoints)
{
    ProgressTree tree("Density Estimation", densityPhases());
    CloudMgr cldMgr;
    const double spacing =
        cldMgr.inputPointsViaMemory(vPoints, UNUSED_SPACING, 1.0, false, NO_FEATURES, nullptr, NO_FILL);
    tree.finish();
    return spacing;
}

void autoOffset(std::vector<Point3>& vPoints, double& x, double& y, double& z)
{
    double low[3] = {DBL_MAX, DBL_MAX, DBL_MAX};
    double high[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
    for (const Point3& p : vPoints) {
        if (!p.isFinite())
            continue;
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], c[axis]);
            high[axis] = std::max(high[axis], c[axis]);
        }
    }
    double offset[3] = {0.0, 0.0, 0.0};
    for (int axis = 0; axis < 3; ++axis)
        if (low[axis] <= high[axis])
            offset[axis] = low[axis] + 0.5 * (high[axis] - low[axis]);
    x = offset[0];
    y = offset[1];
    z = offset[2];
    for (Point3& p : vPoints)
        p.set(p.x() - x, p.y() - y, p.z() - z);
}

void findHoles(std::shared_ptr<Mesh> pMesh)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return;
    }
    writeHolesScene(*pMesh->getRMesh());
}

int reduce(std::shared_ptr<Mesh> pMesh, double maxLen, double maxAngleDeg)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return 0;
    }
    ProgressTree tree("Reduce", reducePhases());
    const int numRemoved = pMesh->getRMesh()->reduce(maxLen * maxLen, maxAngleDeg);
    pMesh->getRMesh()->killDegenerate(true);
    tree.finish();
    return numRemoved;
}

int closeHoles(std::shared_ptr<Mesh> pMesh, int maxEdges)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return 0;
    }
    ProgressTree tree("CloseHoles", closeHolesPhases());
    const HoleReport report = closeHoles(*pMesh->getRMesh(), maxEdges);
    pMesh->getRMesh()->colorizeFilledHoles();
    tree.finish();
    return static_cast<int>(report.numClosed);
}

int sharpenEdges(std::shared_ptr<Mesh> pMesh, double featureAngle)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return 0;
    }
    constexpr double MIN_ANGLE = 10.0, MAX_ANGLE = 90.0;
    if (!(featureAngle >= MIN_ANGLE && featureAngle <= MAX_ANGLE)) {
        ZAN_WARNING("a feature angle of " + numberToText(featureAngle) +
                    " degrees is not from 10 to 90: no edge is sharpened");
        return 0;
    }
    ProgressTree tree("SharpenEdges", sharpenEdgesPhases());
    const size_t numAdded = sharpenEdges(*pMesh->getRMesh(), featureAngle);
    pMesh->getRMesh()->colorizeFilledHoles();
    tree.finish();
    return static_cast<int>(numAdded);
}

int repairShapes(std::shared_ptr<Mesh> pMesh)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return 0;
    }
    ProgressTree tree("RepairShapes", repairShapesPhases());
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_shapes", 2);
    pProgress->tick();
    const ShapeReport report = repairShapes(*pMesh->getRMesh());
    pProgress->finish(true);
    tree.finish();
    return static_cast<int>(report.numFlips + report.numCollapses);
}

void laplacianSmoothing(std::shared_ptr<Mesh> pMesh, int numIterations)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return;
    }
    ProgressTree tree("Smoothing", smoothingPhases(numIterations));
    pMesh->getRMesh()->laplacianSmoothing(numIterations, true);
    tree.finish();
}

void setGlobalNumCPU(int numCPU)
{
    if (numCPU < 0) {
        ZAN_WARNING("numCPU<0 not used");
        return;
    }
    setNumCPU(numCPU);
}

void subscribe(ProgressBase* p)
{
    if (p == nullptr)
        return;
    Progress* pProgress = getRootProgress();
    zanAssertText(pProgress != nullptr, "pProgress!=0");
    pProgress->setSubscriber(p);
}

void destroySingletons()
{
    getTaskPool(true);
}

void getVersion(int& major, int& minor)
{
    major = VERSION_MAJOR;
    minor = VERSION_MINOR;
}

void printVersion()
{
    messageStream() << "ZAN, version " << VERSION_MAJOR << '.' << (VERSION_MINOR < 10 ? "0" : "")
                    << VERSION_MINOR << '\n'
                    << std::flush;
}

bool isRelease()
{
    return false;
}

void setMessageStream(std::ostream* p)
{
    redirectMessages(p);
}

void sampleScan(std::vector<Point3>& vPoints)
{
    makeSampleScan(vPoints);
}

void fillGaps(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle, int growSteps,
              std::vector<Point3>& vResult)
{
    AppendedPoints appended(vResult);
    ProgressTree tree("FillGaps", fillGapsPhases());
    {
        CloudMgr cldMgr; // before the Hal; the points are its cloud's
        inputSoup(cldMgr, vCorners, spacingAbs, featureAngle);
        Hal(&cldMgr).fillGaps(growSteps, vResult);
    }
    tree.finish(); // the subscriber can throw once more
    appended.keep();
}

} // namespace TESK_ZAN
