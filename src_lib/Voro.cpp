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

namespace TESK_ZAN
{

namespace
{

constexpr int KEY_BIT = 5; // of a config: the cube's own key cell

// The rotations of configuration 27, in which the thin row depends on what the neighbours draw.
constexpr std::array<int, 8> CASE_27 = {27, 39, 78, 114, 141, 177, 216, 228};

constexpr std::size_t SQUARE_RECORD = 8; // two triangles, cube key, config

// In the place of codes: the table then gives corners by their bits.
constexpr u64 CORNER_BITS[8] = {0, 1, 2, 3, 4, 5, 6, 7};

// Four cells on one face of the cube.
bool isFlat(int config)
{
    return config == 15 || config == 51 || config == 102 || config == 153 || config == 204 || config == 240;
}

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
    pMesh->getVertexNumbers(vCCD, vNumbers);
    {
        const StageTimer timer("VO_ftx");
        Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_ftx", 8 * vCCD.size());
        extractCubes([pProgress](int config) {
            pProgress->tickN(u64(Calc::getNumSet8(static_cast<unsigned int>(config))));
        });
        pProgress->finish(true);
    }
    const StageTimer timer("VO_amb");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("VO_amb", 2);
    extractSquares();
    pProgress->tick();
    pMesh->killDuplicateTriangles();
    pProgress->tick();
    pProgress->finish(true);
    vNumbers = {};
}

void Voro::createMesh()
{
    pMeshOwned = std::make_unique<CMesh>(this, pCalc, pCCDBundle, *pZeroCCD);
    pMesh = pMeshOwned.get();
}

// The members of a cube that are occupied, by the bits of its configuration.
void Voro::getCubeCorners(u64 vcd, int config, const CubeBlocks::Members& members, Corner corners[8]) const
{
    u64 array[8];
    array[KEY_BIT] = vcd;
    pCalc->completeCubeMembers8(array);
    for (unsigned bits = unsigned(config); bits != 0; bits &= bits - 1) {
        const auto bit = std::size_t(std::countr_zero(bits));
        const std::uint32_t rank = members.getRank(bit, array[bit]);
        corners[bit] = {array[bit], vNumbers.empty() ? rank : vNumbers[rank]};
    }
}

// Draws all cubes but the flat ones; tick(config) is called for each cube.
template <class Tick>
void Voro::extractCubes(Tick tick)
{
    std::vector<u64> vTriBits;
    cubeBlocks.forEachCubeWithMembers([&](u64 vcd, int config, const CubeBlocks::Members& members) {
        tick(config);
        const int numMembers = Calc::getNumSet8(static_cast<unsigned int>(config));
        if (numMembers < 3 || numMembers > 7 || isFlat(config))
            return;
        vTriBits.clear();
        casx.getTriangles(config, CORNER_BITS, vTriBits, TUT);
        if (vTriBits.empty())
            return;
        Corner corners[8];
        getCubeCorners(vcd, config, members, corners);
        for (std::size_t i = 0; i < vTriBits.size(); i += 3) {
            const std::uint32_t vtx[3] = {corners[vTriBits[i]].number, corners[vTriBits[i + 1]].number,
                                          corners[vTriBits[i + 2]].number};
            pMesh->createTIfMissing_numbers(vtx, vcd, config);
        }
    });
}

// The flat cubes, in a walk of their own: a record of each would take more memory than it saves time.
void Voro::extractSquares()
{
    std::vector<u64> vTriBits;
    cubeBlocks.forEachCubeWithMembers([&](u64 vcd, int config, const CubeBlocks::Members& members) {
        if (!isFlat(config))
            return;
        vTriBits.clear();
        casx.getTriangles(config, CORNER_BITS, vTriBits, TUT);
        zanAssertText(vTriBits.size() == 6, "vTriVCD.size()==6");
        Corner corners[8], square[6];
        getCubeCorners(vcd, config, members, corners);
        for (std::size_t i = 0; i < 6; ++i)
            square[i] = corners[vTriBits[i]];
        solveSquare(square, vcd, config);
    });
}

void Voro::solveAmbiguousT(const std::vector<u64>& vAmbiguousT)
{
    zanAssertText(vAmbiguousT.size() % SQUARE_RECORD == 0, "vAmbiguousT.size()%8==0");
    for (std::size_t i = 0; i < vAmbiguousT.size(); i += SQUARE_RECORD) {
        const u64* record = vAmbiguousT.data() + i;
        Corner square[6];
        for (std::size_t k = 0; k < 6; ++k)
            square[k] = {record[k], pMesh->getVertexNumber(record[k])};
        solveSquare(square, record[6], int(record[7]));
    }
}

// With v0 and v3 opposite each other, v1-v2 is the diagonal of the table:
//
//     v0 --- v1          it is taken if it is there already; if it is not, but v0-v3 is, or if there is
//     neither,
//      |   / |           then v0-v3. So a square takes the diagonal of a neighbour that was drawn before, and
//      | /   |           a square on both sides of a sheet comes out the same from both.
//     v2 --- v3
//
// square: the corners of the table's two triangles.
void Voro::solveSquare(const Corner square[6], u64 vcd, int config)
{
    Corner v0 = square[0], v1 = square[1], v2 = square[2];
    const Corner* pB = std::find_if(square + 3, square + 6, [=](const Corner& v) {
        return v.ccd != v0.ccd && v.ccd != v1.ccd && v.ccd != v2.ccd;
    });
    const bool bFound = pB != square + 6;
    zanAssert(bFound);
    const Corner v3 = *pB;
    if (Calc::getNeigType(v3.ccd, v0.ccd) != NT_EDGE)
        std::swap(v0, v1);
    if (Calc::getNeigType(v3.ccd, v0.ccd) != NT_EDGE)
        std::swap(v0, v2);
    zanAssertText(Calc::getNeigType(v3.ccd, v0.ccd) == NT_EDGE, "pCalc->getNeigType(v3,v0)==NT_EDGE");

    const auto draw = [&](const Corner& a, const Corner& b, const Corner& c) {
        const std::uint32_t vtx[3] = {a.number, b.number, c.number};
        pMesh->createTIfMissing_numbers(vtx, vcd, config);
    };
    if (pMesh->hasEdge_numbers(v1.number, v2.number)) {
        draw(v0, v1, v2);
        draw(v2, v1, v3);
        return;
    }
    draw(v0, v1, v3);
    draw(v0, v3, v2);
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
    pMesh->getVertexNumbers(vCCD, vNumbers);
    extractCubes([](int) {});
    extractSquares();
    pruneCase27();
    vNumbers = {};
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
