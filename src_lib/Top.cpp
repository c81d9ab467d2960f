#include "Top.h"

#include "CMesh.h"
#include "CPatch.h"
#include "Progress.h"
#include "Rotx.h"
#include "stageTrace.h"

namespace TESK_ZAN
{

namespace
{

// Pieces of surface up to these sizes may go when they are mostly border.
constexpr u64 MAX_TINY_T = 40;       // before the sheets are decided for good
constexpr u64 MAX_TINY_T_LAST = 100; // afterwards

} // namespace

Top::Top(CMesh* pMeshGiven, const Calc* pCalcGiven)
    : pMesh(pMeshGiven), pCalc(pCalcGiven), pRotx(std::make_unique<Rotx>(pMeshGiven, true))
{
}

Top::~Top() = default;

void Top::runReconstruct(Voro* pVoro)
{
    settleSquares();
    decideSheets(pVoro);
}

void Top::runInHole(Voro* pVoro)
{
    unifyDiagonals();
    killDegenerate();
    decideSheets(pVoro);
}

void Top::decideSheets(Voro* pVoro)
{
    dividePatches();
    solvePatchPairs(true); // what it kills comes back, but no rim of a double sheet makes new cells
    cbsComplete(pVoro);
    killDegenerate();
    integrateBorders(MAX_TINY_T);
    dividePatches();
    solvePatchPairs(false);
    while (killSmallMembranes()) {
        updatePatches();
        solvePatchPairs(false);
    }
    finishOriented();
}

void Top::settleSquares()
{
    const StageTimer timer("TP_unif");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_unif", 2);
    unifyDiagonals();
    pProgress->tick();
    killDegenerate();
    pProgress->tick();
    pProgress->finish(true);
}

// Each round can expose new pairs. A true round has killed something, so this ends.
void Top::solvePatchPairs(bool bFirst)
{
    const StageTimer timer("TP_pps");
    Progress* pProgress = bFirst ? nullptr : getRootProgress()->getChildProgressSetTodo("TP_pps", 5);
    bool bAgain = true;
    while (bAgain) {
        bAgain = solveRound(bFirst) && !vKilledT.empty();
        updatePatches();
        if (pProgress != nullptr)
            pProgress->tick();
    }
    if (pProgress != nullptr)
        pProgress->finish(true);
}

void Top::integrateBorders(u64 maxTinyT)
{
    const StageTimer timer("TP_itr");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_itr", 3);
    std::vector<CEdge*> vBorders;
    getBordersKillDeg1nn(vBorders);
    pProgress->tick();
    for (CEdge* pCE : vBorders)
        integrateCCD(pCE);
    pProgress->tick();
    killTinyBorderPatches(maxTinyT);
    pProgress->tick();
    pProgress->finish(true);
}

void Top::finishOriented()
{
    const StageTimer timer("TP_fin");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_fin", 3);
    killTinyBorderPatches(MAX_TINY_T_LAST);
    pProgress->tick();
    killAtDeg3(false); // the other edges of degree 3 are left for the real mesh, where sheets can be parted
    pProgress->tick();
    orientPatches();
    pProgress->tick();
    pProgress->finish(true);
}

void Top::orientPatches()
{
    std::vector<CTriangle*> vAliveT;
    pMesh->getAliveT(vAliveT);
    std::vector<CPatch*> vPatches;
    createPatchesOrient(vAliveT, vPatches);
    for (const CPatch* pPatch : vPatches)
        delete pPatch;
}

} // namespace TESK_ZAN
