#include "Hal.h"

#include "CMesh.h"
#include "CloudMgr.h"
#include "Mesh.h"
#include "Progress.h"
#include "RMesh.h"
#include "Voro.h"
#include "messages.h"
#include "stageTrace.h"
#include "zanAssert.h"

namespace TESK_ZAN
{

Hal::Hal(CloudMgr* pCldMgr_) : pCldMgr(pCldMgr_) {}

Hal::~Hal() = default;

std::shared_ptr<Mesh> Hal::reconstruct()
{
    if (!takeBundles()) {
        ZAN_ERROR("Nothing to do (bad input? wrong resolution?)");
        return {};
    }
    extractSurface();
    std::unique_ptr<RMesh> pRMesh = takeOverToRealMesh();
    return std::make_shared<Mesh>(pRMesh.release());
}

CMesh* Hal::getCMesh() const
{
    zanAssertText(pCMesh != nullptr, "pCMesh!=0");
    return pCMesh.get();
}

bool Hal::takeBundles()
{
    const StageTimer stage("HL_st");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("HL_st", 9);
    pCldMgr->getBundles(vBundles, pCalc, vZeroCCD);
    if (vBundles.empty())
        return false;
    pProgress->tick();
    for (Bundle* pBundle : vBundles) // in code order, so each insertion is at the end
        mCCDBundle.emplace_hint(mCCDBundle.end(), pBundle->ccd, pBundle);
    pProgress->tick();
    pProgress->finish(true);
    return true;
}

// The raw surface through the cells: not yet a manifold where the layer is thick.
void Hal::extractSurface()
{
    Voro voro(pCalc, &mCCDBundle, &vZeroCCD, TM_FAT);
    voro.fatExtractTriangles();
    pCMesh.reset(voro.getCMesh());
}

// The surface on real coordinates, without twins, consistently oriented, without needles and caps.
std::unique_ptr<RMesh> Hal::takeOverToRealMesh() const
{
    const StageTimer stage("RM_take");
    auto pRMesh = std::make_unique<RMesh>(getCMesh());
    pRMesh->killDuplicateTriangles();
    pRMesh->createPatchesOrient();
    pRMesh->killDegenerate();
    return pRMesh;
}

} // namespace TESK_ZAN
