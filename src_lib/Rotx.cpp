#include "Rotx.h"

#include "CMesh.h"
#include "freeFunctions.h"
#include "messages.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr u64 LAST_COORD = 3;         // third cells have coordinates 0 to 3
constexpr double ON_PLANE = 1e-9;     // cell widths; nearer counts as in the plane of the first third cell
constexpr double ONE_DIRECTION = 1.0; // degrees by which a new direction differs from the one before

// The three cells in six bits each; FAILED_CODE, which is no key, if one lies outside the block.
u64 encode(u64 rcd0, u64 rcd1, u64 rcd2)
{
    u64 key = 0;
    for (const u64 rcd : {rcd0, rcd1, rcd2}) {
        u64 x, y, z;
        rcdToXYZ(rcd, x, y, z);
        if (std::max({x, y, z}) > LAST_COORD)
            return FAILED_CODE;
        key = key << 6 | x << 4 | y << 2 | z;
    }
    return key;
}

// The centre of a cell on a lattice of its own: the table must not depend on the origin and size of a run.
Point3 midOf(u64 rcd)
{
    u64 x, y, z;
    rcdToXYZ(rcd, x, y, z);
    return Point3(double(x), double(y), double(z));
}

// Angles around a pair of cells, in degrees from 0 to below 360, from the half-plane of the first third cell.
class AngleRound
{
public:
    AngleRound(u64 rcd0, u64 rcd1, u64 firstThird)
        : mid0(midOf(rcd0)), mid1(midOf(rcd1)), refPlane(mid0, mid1, midOf(firstThird))
    {
    }

    double of(u64 third) const
    {
        const Point3 thirdMid = midOf(third);
        bool bOK = false;
        const Vector3 nnv = getNormalVector(&mid0, &mid1, &thirdMid, bOK);
        zanAssertText(bOK, "bOK");
        const double angle = getAngleDegree(refPlane.getNormal(), nnv);
        return refPlane.signedDistance(thirdMid) < -ON_PLANE ? 360.0 - angle : angle;
    }

private:
    Point3 mid0;
    Point3 mid1;
    Plane refPlane;
};

void sortedCorners(u64 rcd, std::vector<u64>& vRCC)
{
    vRCC.assign(8, rcd);
    Calc::completeCellCorners8(vRCC.data());
    std::sort(vRCC.begin(), vRCC.end());
}

std::vector<u64> intersection(const std::vector<u64>& a, const std::vector<u64>& b)
{
    std::vector<u64> vOut;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(vOut));
    return vOut;
}

// The cells that touch both cells of a pair in one common lattice corner, ascending.
std::vector<u64> thirdCells(u64 rcd0, u64 rcd1)
{
    std::vector<u64> vCorners0, vCorners1, vCornersThird;
    sortedCorners(rcd0, vCorners0);
    sortedCorners(rcd1, vCorners1);
    const std::vector<u64> vCommonRCC = intersection(vCorners0, vCorners1);
    std::vector<u64> vNeigRCD(2 * 26);
    Calc::completeArray26_RCD(rcd0, vNeigRCD.data());
    Calc::completeArray26_RCD(rcd1, vNeigRCD.data() + 26);
    TESK_TOOLS::sortUnique(vNeigRCD);
    std::vector<u64> vThirdRCDs;
    for (const u64 rcd : vNeigRCD) {
        sortedCorners(rcd, vCornersThird);
        if (rcd != rcd0 && rcd != rcd1 && !intersection(vCornersThird, vCommonRCC).empty())
            vThirdRCDs.push_back(rcd);
    }
    return vThirdRCDs;
}

std::vector<u64> blockOf8()
{
    std::vector<u64> vRCD;
    for (u64 x = 1; x <= 2; ++x)
        for (u64 y = 1; y <= 2; ++y)
            for (u64 z = 1; z <= 2; ++z)
                vRCD.push_back(xyzToRCD(x, y, z));
    return vRCD;
}

// Moves a pair of touching cells into the block of the table, and third cells along with it.
class BlockFrame
{
public:
    BlockFrame(const Calc* pCalcGiven, u64 ccd0, u64 ccd1) : pCalc(pCalcGiven)
    {
        u64 x0, y0, z0, x1, y1, z1;
        pCalc->ccdToXYZ(ccd0, x0, y0, z0);
        pCalc->ccdToXYZ(ccd1, x1, y1, z1);
        low[0] = std::min(x0, x1);
        low[1] = std::min(y0, y1);
        low[2] = std::min(z0, z1);
    }

    u64 moved(u64 ccd) const
    {
        u64 x, y, z;
        pCalc->ccdToXYZ(ccd, x, y, z);
        return xyzToRCD(moved(x, low[0]), moved(y, low[1]), moved(z, low[2]));
    }

private:
    // The lower coordinate of the pair becomes 1. Everything outside the block stays outside.
    static u64 moved(u64 coord, u64 lowest)
    {
        return coord + 1 < lowest ? LAST_COORD + 1 : std::min(coord + 1 - lowest, LAST_COORD + 1);
    }

    const Calc* pCalc;
    u64 low[3];
};

struct StarEntry {
    int index; // of the direction
    CTriangle* pCT;
};

bool isEarlier(const StarEntry& a, const StarEntry& b)
{
    return a.index < b.index;
}

} // namespace

Rotx::Rotx(CMesh* pMeshGiven, bool bBuild) : pMesh(pMeshGiven)
{
    if (bBuild)
        buildTable();
}

void Rotx::buildTable()
{
    const std::vector<u64> vBlock = blockOf8();
    for (const u64 rcd0 : vBlock)
        for (const u64 rcd1 : vBlock)
            if (rcd0 != rcd1)
                vPairs.emplace_back(rcd0, rcd1);
    for (const auto& [rcd0, rcd1] : vPairs)
        enterThirds(rcd0, rcd1);
}

void Rotx::enterThirds(u64 rcd0, u64 rcd1)
{
    std::vector<u64> vThirdRCDs = thirdCells(rcd0, rcd1);
    sortThirdRCDs(rcd0, rcd1, vThirdRCDs);
    const AngleRound angles(rcd0, rcd1, vThirdRCDs.front());
    int index = 0;
    double before = 0.0;
    for (const u64 rcd : vThirdRCDs) {
        const double angle = angles.of(rcd);
        if (angle - before > ONE_DIRECTION)
            ++index;
        before = angle;
        mEncoded2Index.tryEmplace(encode(rcd0, rcd1, rcd), index);
    }
}

void Rotx::sortThirdRCDs(u64 rcd0, u64 rcd1, std::vector<u64>& vThirdRCDs) const
{
    if (vThirdRCDs.empty())
        return;
    const AngleRound angles(rcd0, rcd1, vThirdRCDs.front());
    std::vector<std::pair<double, u64>> vAngle2RCD;
    for (const u64 rcd : vThirdRCDs)
        vAngle2RCD.emplace_back(angles.of(rcd), rcd);
    std::stable_sort(vAngle2RCD.begin(), vAngle2RCD.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(vAngle2RCD.begin(), vAngle2RCD.end(), vThirdRCDs.begin(),
                   [](const auto& entry) { return entry.second; });
}

int Rotx::getIdx(u64 rcd0, u64 rcd1, u64 rcd2) const
{
    const int* pIndex = mEncoded2Index.find(encode(rcd0, rcd1, rcd2));
    zanAssertText(pIndex != nullptr, "q_it!=mEncoded2Index.end()");
    return *pIndex;
}

bool Rotx::sortStar(CTriangle* pRefCT, CEdge* pCE)
{
    zanAssertText(pRefCT->isAlive(), "pRefCT->isAlive()");
    u64 vcd0 = pCE->getV0(), vcd1 = pCE->getV1();
    if (pRefCT->getHEDirection2(vcd0, vcd1) == HE_OPPOSITE)
        std::swap(vcd0, vcd1);
    zanAssertText(pRefCT->getHEDirection2(vcd0, vcd1) == HE_SAME,
                  "pRefCT->getHEDirection2(vcd0,vcd1)==HE_SAME");
    const BlockFrame frame(pMesh->getCalc(), vcd0, vcd1);
    const u64 rcd0 = frame.moved(vcd0), rcd1 = frame.moved(vcd1);
    std::vector<StarEntry> vStar;
    for (CTriangle* pCT : pCE->getCTs())
        vStar.push_back({getIdx(rcd0, rcd1, frame.moved(pCT->getThirdCCD(vcd0, vcd1))), pCT});
    std::stable_sort(vStar.begin(), vStar.end(), isEarlier);
    const auto pSame =
        std::adjacent_find(vStar.begin(), vStar.end(),
                           [](const StarEntry& a, const StarEntry& b) { return a.index == b.index; });
    const bool bOrdered = pSame == vStar.end();
    if (!bOrdered)
        messageStream() << "ROTX-BUG: " << *pSame->pCT << " / " << *std::next(pSame)->pCT << std::endl;

    const auto pRef =
        std::find_if(vStar.begin(), vStar.end(), [&](const StarEntry& entry) { return entry.pCT == pRefCT; });
    zanAssertText(pRef != vStar.end(), "bHaveRef");
    std::rotate(vStar.begin(), pRef, vStar.end());
    CEdge::TriangleList vOrdered;
    for (const StarEntry& entry : vStar)
        vOrdered.push_back(entry.pCT);
    pCE->reorder(vOrdered);
    return bOrdered;
}

} // namespace TESK_ZAN
