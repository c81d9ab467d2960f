#include "Voro.h"

#include "Bundle.h"
#include "CMesh.h"
#include "Calc.h"
#include "Progress.h"
#include "RemoveDecider.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <iterator>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int KEY_BIT = 5; // of a config: the cube's own key cell

// The rotations of configuration 27, in which the thin row depends on what the neighbours draw.
constexpr std::array<int, 8> CASE_27 = {27, 39, 78, 114, 141, 177, 216, 228};

constexpr std::size_t SQUARE_RECORD = 8; // two triangles, cube key, config

// Four cells on one face of the cube.
bool isFlat(int config)
{
    return config == 15 || config == 51 || config == 102 || config == 153 || config == 204 || config == 240;
}

// By the axes on which a member and the key agree, as 4 x + 2 y + z.
constexpr std::array<int, 7> VALUE_BY_AGREEMENT = {8, 1, 128, 16, 4, 2, 64};

void sortUnique(std::vector<u64>& v)
{
    sortMT(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
}

bool hasEdgeBelowDegree2(const CTriangle* pCT)
{
    return pCT->getCEdge(0)->getDegree() < 2 || pCT->getCEdge(1)->getDegree() < 2 ||
           pCT->getCEdge(2)->getDegree() < 2;
}

} // namespace

Voro::Voro(const Calc* pCalcGiven, std::map<u64, Bundle*>* pCCDBundleGiven,
           const std::vector<u64>* pZeroCCDGiven, TriMode tm)
    : pCalc(pCalcGiven), pCCDBundle(pCCDBundleGiven), pZeroCCD(pZeroCCDGiven), casx(tm, false)
{
    vCCD.reserve(pCCDBundle->size());
    for (const auto& entry : *pCCDBundle)
        vCCD.push_back(entry.first);
    rebuildBlocks();
}

Voro::~Voro() = default;

CMesh* Voro::getCMesh()
{
    static_cast<void>(pMeshOwned.release()); // the caller's from now on
    return pMesh;
}

void Voro::rebuildBlocks()
{
    cubeBlocks.build(vCCD, pCalc->getNumLevels());
}

int Voro::getConfig(u64 vcd, const std::vector<u64>& vMemberCBS) const
{
    int config = 0;
    for (const u64 ccd : vMemberCBS) {
        if (ccd == vcd) {
            config += 1 << KEY_BIT;
            continue;
        }
        const u64 res_xor = ccd ^ vcd;
        zanAssertText(res_xor != 0, "res_xor!=0");
        const std::size_t sx = (res_xor & CCD_X) == 0, sy = (res_xor & CCD_Y) == 0,
                          sz = (res_xor & CCD_Z) == 0;
        const std::size_t agreement = sz + 2 * sy + 4 * sx;
        if (agreement == VALUE_BY_AGREEMENT.size())
            zanFail(); // a code with bit 63
        config += VALUE_BY_AGREEMENT[agreement];
    }
    return config;
}

// ---- extraction ------------------------------------------------------------------------------------------

void Voro::fatExtractTriangles()
{
    if (pMesh == nullptr)
        createMesh();
    else
        pMesh->clear();
    pMesh->reserve(vCCD.size());

    std::vector<u64> vAmbiguousT;
    {
        const StageTimer timer("VO_ftx");
        Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_ftx", 8 * vCCD.size());
        extractCubes(vAmbiguousT, [pProgress](int config) {
            pProgress->tickN(u64(Calc::getNumSet8(static_cast<unsigned int>(config))));
        });
        pProgress->finish(true);
    }
    const StageTimer timer("VO_amb");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_amb", 2);
    solveAmbiguousT(vAmbiguousT);
    pProgress->tick();
    pMesh->killDuplicateTriangles();
    pProgress->tick();
    pProgress->finish(true);
}

void Voro::createMesh()
{
    pMeshOwned = std::make_unique<CMesh>(this, pCalc, pCCDBundle, *pZeroCCD);
    pMesh = pMeshOwned.get();
}

// Draws all cubes but the flat ones, which become records in vAmbiguousT; tick(config) is called for each
// cube.
template <class Tick>
void Voro::extractCubes(std::vector<u64>& vAmbiguousT, Tick tick)
{
    std::vector<u64> vTriVCD;
    cubeBlocks.forEachCube([&](u64 vcd, int config) {
        tick(config);
        const int numMembers = Calc::getNumSet8(static_cast<unsigned int>(config));
        if (numMembers < 3 || numMembers > 7)
            return;
        u64 array[8];
        array[KEY_BIT] = vcd;
        pCalc->completeCubeMembers8(array);
        vTriVCD.clear();
        casx.getTriangles(config, array, vTriVCD, TUT);
        if (isFlat(config)) {
            zanAssertText(vTriVCD.size() == 6, "vTriVCD.size()==6");
            vAmbiguousT.insert(vAmbiguousT.end(), vTriVCD.begin(), vTriVCD.end());
            vAmbiguousT.push_back(vcd);
            vAmbiguousT.push_back(u64(config));
            return;
        }
        for (std::size_t i = 0; i < vTriVCD.size(); i += 3)
            pMesh->createTIfMissing(vTriVCD[i], vTriVCD[i + 1], vTriVCD[i + 2], vcd, config);
    });
}

void Voro::solveAmbiguousT(const std::vector<u64>& vAmbiguousT)
{
    zanAssertText(vAmbiguousT.size() % SQUARE_RECORD == 0, "vAmbiguousT.size()%8==0");
    for (std::size_t i = 0; i < vAmbiguousT.size(); i += SQUARE_RECORD)
        solveSquare(vAmbiguousT.data() + i);
}

// With v0 and v3 opposite each other, v1-v2 is the diagonal of the table:
//
//     v0 --- v1          it is taken if it is there already; if it is not, but v0-v3 is, or if there is
//     neither,
//      |   / |           then v0-v3. So a square takes the diagonal of a neighbour that was drawn before, and
//      | /   |           a square on both sides of a sheet comes out the same from both.
//     v2 --- v3
void Voro::solveSquare(const u64* record)
{
    u64 v0 = record[0], v1 = record[1], v2 = record[2];
    const u64 vcd = record[6];
    const int config = int(record[7]);
    const u64* pB =
        std::find_if(record + 3, record + 6, [=](u64 v) { return v != v0 && v != v1 && v != v2; });
    const bool bFound = pB != record + 6;
    zanAssert(bFound);
    const u64 v3 = *pB;
    if (Calc::getNeigType(v3, v0) != NT_EDGE)
        std::swap(v0, v1);
    if (Calc::getNeigType(v3, v0) != NT_EDGE)
        std::swap(v0, v2);
    zanAssertText(Calc::getNeigType(v3, v0) == NT_EDGE, "pCalc->getNeigType(v3,v0)==NT_EDGE");

    if (pMesh->hasEdge(v1, v2)) {
        pMesh->createTIfMissing(v0, v1, v2, vcd, config);
        pMesh->createTIfMissing(v2, v1, v3, vcd, config);
        return;
    }
    pMesh->createTIfMissing(v0, v1, v3, vcd, config);
    pMesh->createTIfMissing(v0, v3, v2, vcd, config);
}

// ---- extraction with extra cells -------------------------------------------------------------------------

void Voro::createExtraCCDs_borderFix(const std::vector<u64>& vVCD, std::vector<u64>& vExtraCCD,
                                     std::vector<u64>& vRemoveCCD) const
{
    for (const u64 vcd : vVCD) {
        const int config = cubeBlocks.getConfig(vcd);
        zanAssertText(config != 0, "q_it!=vStaticVCD2CCD.end()");
        const int numMembers = Calc::getNumSet8(static_cast<unsigned int>(config));
        if (numMembers < 3 || numMembers > 7)
            continue;
        const int extra = casx.getExtraMask(config);
        const int opp = extra > 0 ? casx.getOppositeMask(config) : 0;
        u64 array[8];
        array[KEY_BIT] = vcd;
        pCalc->completeCubeMembers8(array);
        for (int bit = 0; bit < 8; ++bit) {
            if (extra >> bit & 1)
                vExtraCCD.push_back(array[bit]);
            if (opp >> bit & 1)
                vRemoveCCD.push_back(array[bit]);
        }
    }
    sortUnique(vExtraCCD);
    sortUnique(vRemoveCCD);
}

CMesh* Voro::extractWithExtraCCDs(const std::vector<u64>& vGeneratingVCDs)
{
    std::vector<u64> vExtraCCD, vRemoveCCD;
    createExtraCCDs_borderFix(vGeneratingVCDs, vExtraCCD, vRemoveCCD);
    vCCD.insert(vCCD.end(), vExtraCCD.begin(), vExtraCCD.end());
    sortUnique(vCCD);
    removeCells(vRemoveCCD, vExtraCCD);
    rebuildBlocks();
    fatExtractTriangles();
    addMissingBundles();
    pMesh->removeLooseBundles();
    pMesh->averageAllBundles();
    return pMesh;
}

// Takes those cells out of vCCD that the decider lets go; a cell that was just added stays.
void Voro::removeCells(const std::vector<u64>& vRemoveCCD, const std::vector<u64>& vExtraCCD)
{
    std::vector<u64> vCandidates;
    std::set_difference(vRemoveCCD.begin(), vRemoveCCD.end(), vExtraCCD.begin(), vExtraCCD.end(),
                        std::back_inserter(vCandidates));
    if (vCandidates.empty())
        return;
    RemoveDecider decider(vCCD, pCalc);
    std::size_t numBefore = 0;
    do { // a removal can make another one possible
        numBefore = vCandidates.size();
        std::erase_if(vCandidates, [&decider](u64 ccd) {
            if (!decider.mayRemove(ccd))
                return false;
            decider.remove(ccd);
            return true;
        });
    } while (vCandidates.size() < numBefore);
    std::erase_if(vCCD, [&decider](u64 ccd) { return !decider.exists(ccd); });
}

// In the first such extraction these are the extra cells; later also extra cells of before whose bundle was
// found loose.
void Voro::addMissingBundles()
{
    for (const u64 ccd : vCCD)
        if (!pMesh->hasBundle(ccd))
            pMesh->addBundle(ccd, DBL_MAX, DBL_MAX, DBL_MAX);
}

// ---- thin variant ----------------------------------------------------------------------------------------

void Voro::thinNewExtractTriangles()
{
    messageStream() << "This is thinNewExtractTriangles" << std::endl;
    createMesh();
    std::vector<u64> vAmbiguousT;
    extractCubes(vAmbiguousT, [](int) {});
    solveAmbiguousT(vAmbiguousT);
    pruneCase27();
}

void Voro::pruneCase27()
{
    std::array<std::vector<CTriangle*>, 256> vCfgCT;
    std::vector<CTriangle*> vAliveT;
    pMesh->getAliveT(vAliveT);
    for (CTriangle* pCT : vAliveT) {
        const int cfg = std::max(pCT->getCfg(), 0);
        zanAssertText(cfg < 256, "cfg<256");
        vCfgCT[std::size_t(cfg)].push_back(pCT);
    }
    messageStream() << "before pruneCase27(): numT=" << vAliveT.size() << std::endl;
    for (const int config : CASE_27)
        for (CTriangle* pCT : vCfgCT[std::size_t(config)])
            if (hasEdgeBelowDegree2(pCT))
                pCT->kill(pMesh);
}

} // namespace TESK_ZAN
