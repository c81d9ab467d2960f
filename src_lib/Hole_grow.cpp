#include "Hole.h"

#include "CMesh.h"
#include "Calc.h"
#include "Plane.h"
#include "RemoveDecider.h"
#include "Visualizer3.h"
#include "freeFunctions.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

namespace TESK_ZAN
{

namespace
{

// A new vertex nearer than this to one that is there makes needles.
constexpr double CROWDED_CELLS = 0.5;

constexpr std::size_t SQUARE_RECORD = 8; // two triangles, cube key, config

// Four cells on one face of the cube.
bool isFlat(int config)
{
    return config == 15 || config == 51 || config == 102 || config == 153 || config == 204 || config == 240;
}

std::vector<u64> codesOf(const std::vector<std::pair<u64, Point3>>& vCCD2Point)
{
    std::vector<u64> vCCD;
    for (const auto& [ccd, point] : vCCD2Point)
        vCCD.push_back(ccd);
    return vCCD;
}

void keepCodes(const std::vector<u64>& vCCD_srt, std::vector<std::pair<u64, Point3>>& vCCD2Point)
{
    std::erase_if(vCCD2Point, [&](const auto& entry) {
        return !std::binary_search(vCCD_srt.begin(), vCCD_srt.end(), entry.first);
    });
}

// True if the point lies within the three planes that stand on the edges. A triangle without area as seen
// from any of its corners has nothing over it.
bool isOverTriangle(const std::array<const Point3*, 3>& p, const Point3& point)
{
    for (std::size_t i = 0; i < 3; ++i) {
        const Point3& next = *p[(i + 1) % 3];
        const Point3& prev = *p[(i + 2) % 3];
        const Vector3 up = crossProd(normalize(next - *p[i]), normalize(prev - *p[i]));
        if (up.isDegenerate())
            return false;
        if (!Plane(next, normalize(crossProd(normalize(up), normalize(prev - next)))).isPositive(point))
            return false;
    }
    return true;
}

} // namespace

void Hole::getZeroCbs()
{
    for (const int address : vGrowAddr)
        if (pArray[std::size_t(address)].val == 0.0f)
            pArray[std::size_t(address)].val = std::numeric_limits<float>::min();
    vZeroCells.clear();
    collectZeros(vZeroCells);
    std::erase_if(vZeroCells, [this](const auto& entry) {
        return std::binary_search(vBorderCCDs.begin(), vBorderCCDs.end(), entry.first);
    });
    const std::size_t numStart = vZeroCells.size();
    prune(vZeroCells);
    say("vRemoveCandidates start: ", numStart);
    say("Doomed ones: ", numStart - vZeroCells.size());
    say("vRemoveCandidates final: ", vZeroCells.size());
    if (bWriteScenes && !vZeroCells.empty())
        Visualizer3(label + "_zeros.list", pCalc, true)
            .writePoints_VCD(codesOf(vZeroCells), 3, Visualizer3::getSceneColor(1));
}

// Thins the cells to a layer that hangs together with the cells of the surface round it: those first whose
// points lie farthest from their centres.
void Hole::prune(std::vector<std::pair<u64, Point3>>& vCCD2Point) const
{
    std::vector<std::pair<double, u64>> vCandidates;
    std::vector<u64> vAllCCD = codesOf(vCCD2Point);
    for (const auto& [ccd, point] : vCCD2Point)
        vCandidates.emplace_back(-sqDistanceToMid(ccd, point), ccd);
    std::sort(vCandidates.begin(), vCandidates.end());
    for (const CTriangle* pCT : sFirstRowT)
        for (int ici = 0; ici < 3; ++ici)
            vAllCCD.push_back(pCT->getCorner(ici));

    std::vector<u64> vOrderedCCD, vKept, vDoomed;
    for (const auto& [weight, ccd] : vCandidates)
        vOrderedCCD.push_back(ccd);
    RemoveDecider(vAllCCD, pCalc).pruneStrong(vOrderedCCD, vKept, vDoomed);
    keepCodes(vKept, vCCD2Point);
}

double Hole::sqDistanceToMid(u64 ccd, const Point3& point) const
{
    return (pCalc->getCellMid(ccd) - point).sqLength();
}

// ---- triangles -------------------------------------------------------------------------------------------

void Hole::grow()
{
    const StageTimer stage("HO_grow");
    std::vector<u64> vHoleCCDs;
    std::vector<std::pair<u64, Point3>> vCCD2Point;
    extractAndCleanHole(vHoleCCDs, vCCD2Point);
    for (const auto& [ccd, point] : vCCD2Point)
        pCMesh->addBundle(ccd, point.x(), point.y(), point.z());
    std::vector<u64> vAllCCD;
    std::merge(vHoleCCDs.begin(), vHoleCCDs.end(), vBorderCCDs.begin(), vBorderCCDs.end(),
               std::back_inserter(vAllCCD));
    makeTriangles(vHoleCCDs, vAllCCD);
}

// A square between four cells is drawn on its shorter diagonal, one with a cell that is not of the patch as a
// triangle.
void Hole::growSheet()
{
    const StageTimer stage("HO_grow");
    std::vector<std::pair<u64, Point3>> vCCD2Point;
    std::vector<ZeroEdge> vZeroEdges;
    collectZeroEdges(vZeroEdges);
    meanZeros(vZeroEdges, vCCD2Point);
    keepHoleCells(vCCD2Point);
    for (const auto& [ccd, point] : vCCD2Point)
        pCMesh->addBundle(ccd, point.x(), point.y(), point.z());
    const std::vector<u64> vHoleCCDs = codesOf(vCCD2Point);
    const auto isHole = [&](u64 ccd) { return std::binary_search(vHoleCCDs.begin(), vHoleCCDs.end(), ccd); };
    const auto isPatch = [&](u64 ccd) {
        return isHole(ccd) || std::binary_search(vBorderCCDs.begin(), vBorderCCDs.end(), ccd);
    };
    std::vector<u64> vRing;
    for (const ZeroEdge& edge : vZeroEdges) {
        vRing.clear();
        std::copy_if(edge.ring.begin(), edge.ring.end(), std::back_inserter(vRing), isPatch);
        if (vRing.size() < 3 || std::none_of(vRing.begin(), vRing.end(), isHole))
            continue;
        if (vRing.size() == 4 && sqLength(vRing[0], vRing[2]) > sqLength(vRing[1], vRing[3]))
            std::rotate(vRing.begin(), vRing.begin() + 1, vRing.end());
        for (std::size_t i = 1; i + 1 < vRing.size(); ++i)
            createT(vRing[0], vRing[i], vRing[i + 1]);
    }
}

double Hole::sqLength(u64 ccdA, u64 ccdB) const
{
    return sqDistance(*pCMesh->getVtx(ccdA), *pCMesh->getVtx(ccdB));
}

void Hole::keepHoleCells(std::vector<std::pair<u64, Point3>>& vCCD2Point) const
{
    std::erase_if(vCCD2Point, [this](const auto& entry) {
        return pCMesh->hasBundle(entry.first) || isOverSurface(entry.first, entry.second);
    });
}

// The cells that are new to the mesh.
void Hole::extractAndCleanHole(std::vector<u64>& vHoleCCDs, std::vector<std::pair<u64, Point3>>& vCCD2Point)
{
    collectZeros(vCCD2Point);
    keepHoleCells(vCCD2Point);
    const std::size_t numStart = vCCD2Point.size();
    say("vBorderCCDs: ", vBorderCCDs.size());
    say("vHoleCCDs:   ", numStart);
    prune(vCCD2Point);
    vHoleCCDs = codesOf(vCCD2Point);
    say("vHoleCCDs start: ", numStart);
    say("Doomed ones: ", numStart - vHoleCCDs.size());
    say("vHoleCCDs final: ", vHoleCCDs.size());
    zanAssert(!shareAnEntry(vHoleCCDs, vBorderCCDs));
}

// The layer round the hole is thicker than its vertices: a cell beside them belongs to the hole only if it
// lies nearest to the rim and on no triangle.
bool Hole::isOverSurface(u64 ccd, const Point3& point) const
{
    u64 array[27];
    Calc::completeArray27_RCD(Calc::ccdToRCD(ccd), array);
    std::pair<double, u64> nearest = {std::numeric_limits<double>::max(), FAILED_CODE};
    std::vector<CTriangle*> vCT;
    for (const u64 rcd : array) {
        const u64 ccdNeig = Calc::rcdToCCD(rcd);
        if (!pCMesh->hasBundle(ccdNeig))
            continue;
        nearest = std::min(nearest, {(point - *pCMesh->getVtx(ccdNeig)).sqLength(), ccdNeig});
        pCMesh->getIncidentT(ccdNeig, vCT);
    }
    if (nearest.second == FAILED_CODE)
        return false;
    if (nearest.first < CROWDED_CELLS * CROWDED_CELLS * double(stepVal) * double(stepVal))
        return true;
    if (!std::binary_search(vBorderCCDs.begin(), vBorderCCDs.end(), nearest.second))
        return true;
    return std::any_of(vCT.begin(), vCT.end(), [&](const CTriangle* pCT) {
        return isOverTriangle(
            {pCMesh->getVtx(pCT->getC0()), pCMesh->getVtx(pCT->getC1()), pCMesh->getVtx(pCT->getC2())},
            point);
    });
}

// The triangles of all cubes with a cell of the hole: first those with one answer, then the flat squares.
void Hole::makeTriangles(const std::vector<u64>& vHoleCCDs, const std::vector<u64>& vAllCCD)
{
    std::vector<u64> vVCD;
    for (const u64 ccd : vHoleCCDs) {
        u64 keys[8] = {ccd};
        pCalc->completeCubeKeys8(keys);
        vVCD.insert(vVCD.end(), keys, keys + 8);
    }
    TESK_TOOLS::sortUnique(vVCD);

    std::vector<u64> vTriCCD, vAmbiguousT;
    for (const u64 vcd : vVCD) {
        const int config = getConfig(vcd, vAllCCD);
        zanAssert(config != 0);
        u64 members[8];
        members[5] = vcd;
        pCalc->completeCubeMembers8(members);
        vTriCCD.clear();
        casx.getTriangles(config, members, vTriCCD, TUT);
        if (isFlat(config)) {
            zanAssert(vTriCCD.size() == 6);
            vAmbiguousT.insert(vAmbiguousT.end(), vTriCCD.begin(), vTriCCD.end());
            vAmbiguousT.push_back(vcd);
            vAmbiguousT.push_back(u64(config));
            continue;
        }
        for (std::size_t i = 0; i < vTriCCD.size(); i += 3)
            createT(vTriCCD[i], vTriCCD[i + 1], vTriCCD[i + 2]);
    }
    solveAmbiguousT(vAmbiguousT);
}

// A record holds the two triangles that the table draws, v0 v1 v2 and v2 v1 v3 in some order. The diagonal
// that the mesh has already is kept, or else v0-v3, so that a square comes out the same from both sides.
void Hole::solveAmbiguousT(const std::vector<u64>& vAmbiguousT)
{
    zanAssertText(vAmbiguousT.size() % SQUARE_RECORD == 0, "vAmbiguousT.size()%8==0");
    for (std::size_t i = 0; i < vAmbiguousT.size(); i += SQUARE_RECORD) {
        const u64* record = vAmbiguousT.data() + i;
        u64 v0 = record[0], v1 = record[1], v2 = record[2];
        const u64* pV3 =
            std::find_if(record + 3, record + 6, [=](u64 v) { return v != v0 && v != v1 && v != v2; });
        zanAssert(pV3 != record + 6);
        const u64 v3 = *pV3;
        if (Calc::getNeigType(v3, v0) != NT_EDGE)
            std::swap(v0, v1);
        if (Calc::getNeigType(v3, v0) != NT_EDGE)
            std::swap(v0, v2);
        zanAssert(Calc::getNeigType(v3, v0) == NT_EDGE);
        if (pCMesh->hasEdge(v1, v2)) {
            createT(v0, v1, v2);
            createT(v2, v1, v3);
        } else {
            createT(v0, v1, v3);
            createT(v0, v3, v2);
        }
    }
}

int Hole::getConfig(u64 ccd, const std::vector<u64>& vAllCCD) const
{
    u64 members[8];
    members[5] = ccd;
    pCalc->completeCubeMembers8(members);
    int config = 0;
    for (int bit = 0; bit < 8; ++bit)
        if (std::binary_search(vAllCCD.begin(), vAllCCD.end(), members[bit]))
            config |= 1 << bit;
    return config;
}

void Hole::createT(u64 a, u64 b, u64 c)
{
    CTriangle* pCT = pCMesh->createTIfMissing(a, b, c, 0, 0);
    if (pCT != nullptr)
        vNewT.push_back(pCT);
}

} // namespace TESK_ZAN
