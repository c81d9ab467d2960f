#include "holeRows.h"

#include "CMesh.h"
#include "CloudMgr.h"
#include "Hal.h"
#include "Hole.h"
#include "Visualizer3.h"

#include <vector>

namespace TESK_ZAN
{

std::size_t reconstructHoleRows(const Hole& hole, int numRows, const std::string& sceneName)
{
    constexpr double SPACING_DETECTED = -1.0, NO_FEATURES = 361.0;
    constexpr int NO_FILL = 0;
    std::vector<Point3> vRowPoints;
    hole.getRowPoints(numRows, vRowPoints);
    CloudMgr cldMgr; // before the Hal, which reads the cloud's Calc to its end
    cldMgr.inputPointsViaMemory(vRowPoints, SPACING_DETECTED, 1.0, false, NO_FEATURES, nullptr, NO_FILL);
    Hal hal(&cldMgr);
    const CMesh* pCMesh = hal.reconstructInHole();
    if (pCMesh == nullptr)
        return 0;
    std::vector<CTriangle*> vCT;
    pCMesh->getAliveT(vCT);
    std::vector<Visualizer3::Triangle> vTriangles;
    for (const CTriangle* pCT : vCT)
        vTriangles.push_back(
            {pCMesh->getVtx(pCT->getC0()), pCMesh->getVtx(pCT->getC1()), pCMesh->getVtx(pCT->getC2())});
    Visualizer3(sceneName, pCMesh->getCalc(), true).writeTriangles(vTriangles, Visualizer3::getSceneColor(2));
    return vCT.size();
}

} // namespace TESK_ZAN
