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
#include <bit>
#include <cfloat>
#include <iterator>
#include <ostream>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr int KEY_BIT = 5; // of a config: the cube's own key cell

// The rotations of configuration 27, in which the thin row depends on what the neighbours draw.
constexpr std::array<int, 8> CASE_27 = {27, 39, 78, 114, 141, 177, 216, 228};

constexpr std::size_t SQUARE_RECORD = 8; // two triangles, cube key, config

// By the axes on which a member and the key agree, as 4 x + 2 y + z.
constexpr std::array<int, 7> VALUE_BY_AGREEMENT = {8, 1, 128, 16, 4, 2, 64};

bool hasEdgeBelowDegree2(const CTriangle* pCT)
{
    return pCT->getCEdge(0)->getDegree() < 2 || pCT->getCEdge(1)->getDegree() < 2 ||
           pCT->getCEdge(2)->getDegree() < 2;
}

} // namespace

Voro::Voro(const Calc* pCalcGiven, std::map<u64, Bundle*>* pCCDBundleGiven,
           const std::vector<u64>* pZeroCCDGiven, TriMode tm)
    : Voro(pCalcGiven, pCCDBundleGiven, bundlesOf(*pCCDBundleGiven), pZeroCCDGiven, tm)
{
}

Voro::Voro(const Calc* pCalcGiven, std::map<u64, Bundle*>* pCCDBundleGiven, std::vector<Bundle*> vBundles_srt,
           const std::vector<u64>* pZeroCCDGiven, TriMode tm)
    : pCalc(pCalcGiven), pCCDBundle(pCCDBundleGiven), vBundles(std::move(vBundles_srt)),
      pZeroCCD(pZeroCCDGiven), casx(tm, false), cubeRows(casx)
{
    transformMT(vBundles, vCCD, [](const Bundle* pBundle) { return pBundle->ccd; });
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
    std::vector<TriangleSeed> vSeeds;
    vSeeds.reserve(2 * vCCD.size());
    std::vector<std::uint8_t> vFaces(vCCD.size(), 0);
    {
        const StageTimer timer("VO_ftx");
        Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_ftx", 8 * vCCD.size());
        extractCubes(vSeeds, vFaces, [pProgress](int config) {
            pProgress->tickN(u64(Calc::getNumSet8(static_cast<unsigned int>(config))));
        });
        pProgress->finish(true);
    }
    const StageTimer timer("VO_amb");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_amb", 2);
    extractSquares(vSeeds, vFaces);
    pProgress->tick();
    pMesh->createSortedT(vCCD, vSeeds);
    pProgress->tick();
    pProgress->finish(true);
}

void Voro::createMesh()
{
    if (pMesh != nullptr) // which can have changed the map
        vBundles = bundlesOf(*pCCDBundle);
    pMeshOwned = std::make_unique<CMesh>(this, pCalc, pCCDBundle, vBundles, *pZeroCCD);
    vBundles = {};
    pMesh = pMeshOwned.get();
}

// Of the members of a cube that are occupied the places in vCCD, by the bits of its configuration.
void Voro::getCubeCorners(u64 vcd, int config, const CubeBlocks::Members& members,
                          std::uint32_t corners[8]) const
{
    u64 array[8];
    array[KEY_BIT] = vcd;
    pCalc->completeCubeMembers8(array);
    for (unsigned bits = unsigned(config); bits != 0; bits &= bits - 1) {
        const auto bit = std::size_t(std::countr_zero(bits));
        corners[bit] = members.getRank(bit, array[bit]);
    }
}

// Draws all cubes but the flat ones; tick(config) is called for each cube. vFaces: by the place of the lowest
// cell of a face, the tribits of the faces with a diagonal.
template <class Tick>
void Voro::extractCubes(std::vector<TriangleSeed>& vSeeds, std::vector<std::uint8_t>& vFaces, Tick tick) const
{
    cubeBlocks.forEachCubeWithMembers([&](u64 vcd, int config, const CubeBlocks::Members& members) {
        tick(config);
        const CubeRows::Row& row = cubeRows.getRow(config);
        if (row.numCorners == 0)
            return;
        std::uint32_t corners[8];
        getCubeCorners(vcd, config, members, corners);
        for (std::size_t i = 0; i < row.numCorners; i += 3)
            vSeeds.push_back(
                {vcd,
                 {corners[row.corners[i]], corners[row.corners[i + 1]], corners[row.corners[i + 2]]},
                 config});
        for (std::size_t i = 0; i < row.numFaces; ++i) {
            const CubeFace& face = CubeRows::FACES[row.faces[i]];
            vFaces[corners[face.lowest]] |= face.tribit;
        }
    });
}

// The flat cubes, in a walk of their own: a record of each would take more memory than it saves time. A
// square takes the diagonal of the table if that is drawn already, else the other one, whether or not that is
// drawn.
void Voro::extractSquares(std::vector<TriangleSeed>& vSeeds, std::vector<std::uint8_t>& vFaces) const
{
    cubeBlocks.forEachCubeWithMembers([&](u64 vcd, int config, const CubeBlocks::Members& members) {
        const std::uint8_t flatFace = cubeRows.getFlatFace(config);
        if (flatFace == CubeRows::NO_FACE)
            return;
        const CubeFace& face = CubeRows::FACES[flatFace];
        std::uint32_t corners[8];
        getCubeCorners(vcd, config, members, corners);
        std::uint8_t& faces = vFaces[corners[face.lowest]];
        const auto drawnBit = std::uint8_t(face.tribit << 3);
        if ((faces & drawnBit) != 0)
            return; // from the other side of the sheet
        faces |= drawnBit;
        const auto cut = cubeRows.getSquare(flatFace).cut((faces & face.tribit) != 0);
        for (std::size_t i = 0; i < cut.size(); i += 3)
            vSeeds.push_back({vcd, {corners[cut[i]], corners[cut[i + 1]], corners[cut[i + 2]]}, config});
    });
}

void Voro::solveAmbiguousT(const std::vector<u64>& vAmbiguousT)
{
    zanAssertText(vAmbiguousT.size() % SQUARE_RECORD == 0, "vAmbiguousT.size()%8==0");
    for (std::size_t i = 0; i < vAmbiguousT.size(); i += SQUARE_RECORD) {
        const u64* record = vAmbiguousT.data() + i;
        const Square<u64> square = orderSquare(record);
        const auto cut = square.cut(pMesh->hasEdge(square.v1, square.v2));
        for (std::size_t k = 0; k < cut.size(); k += 3)
            pMesh->createTIfMissing(cut[k], cut[k + 1], cut[k + 2], record[6], int(record[7]));
    }
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
    sortUniqueMT(vExtraCCD);
    sortUniqueMT(vRemoveCCD);
}

CMesh* Voro::extractWithExtraCCDs(const std::vector<u64>& vGeneratingVCDs)
{
    std::vector<u64> vExtraCCD, vRemoveCCD;
    createExtraCCDs_borderFix(vGeneratingVCDs, vExtraCCD, vRemoveCCD);
    vCCD.insert(vCCD.end(), vExtraCCD.begin(), vExtraCCD.end());
    sortUniqueMT(vCCD);
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
    std::vector<TriangleSeed> vSeeds;
    std::vector<std::uint8_t> vFaces(vCCD.size(), 0);
    extractCubes(vSeeds, vFaces, [](int) {});
    extractSquares(vSeeds, vFaces);
    pMesh->createSortedT(vCCD, vSeeds);
    pruneCase27();
}

void Voro::pruneCase27()
{
    std::vector<CTriangle*> vAliveT;
    pMesh->getAliveT(vAliveT);
    messageStream() << "before pruneCase27(): numT=" << vAliveT.size() << std::endl;
    killOpenCase27(*pMesh);
}

void killOpenCase27(CMesh& mesh)
{
    std::array<std::vector<CTriangle*>, 256> vCfgCT;
    std::vector<CTriangle*> vAliveT;
    mesh.getAliveT(vAliveT);
    std::sort(vAliveT.begin(), vAliveT.end(),
              [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
    for (CTriangle* pCT : vAliveT) {
        const int cfg = std::max(pCT->getCfg(), 0);
        zanAssertText(cfg < 256, "cfg<256");
        vCfgCT[std::size_t(cfg)].push_back(pCT);
    }
    for (const int config : CASE_27)
        for (CTriangle* pCT : vCfgCT[std::size_t(config)])
            if (hasEdgeBelowDegree2(pCT))
                pCT->kill(&mesh);
}

} // namespace TESK_ZAN
