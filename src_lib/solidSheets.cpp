#include "solidSheets.h"

#include "Bearing.h"
#include "CMesh.h"
#include "Calc.h"
#include "FreeRooms.h"
#include "SideForest.h"
#include "sortMT.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace TESK_ZAN
{

namespace
{

using Index = SideForest::Index;

constexpr Index NONE = UINT32_MAX;

constexpr std::size_t SLICE_SIZE = 16384;         // edges
constexpr std::size_t LOOKS = 64;                 // into a region: more would hardly change the kind
constexpr double BESIDE_CELLS = 0.25;             // from a triangle, for a look into what lies beside it
const Vector3 OFF_CENTRE(0.0173, 0.0239, 0.0311); // in cells: planes of parts often run through centres

constexpr std::size_t CONTRADICTION_PART = 10; // of the looks: with more of the lesser kind nothing is closed
constexpr std::size_t THIN_PART = 10; // of what bounds bodies: with more thin walls other passes decide
constexpr int CLEAR_PERCENT = 70;     // what one kind has more than the other, of the looks into a region
constexpr Index LARGE_REGION = 100;   // sides
constexpr int UNCLEAR_TURNS = 4;      // a change can bring another one; nearly all are in the first turn

// Wide is what has more triangles for each edge of its rim, and is no speck. A sheet that stands free with
// more than this part of its rim is a wall even if it is narrow, unless it is tiny.
constexpr Index MAX_SIZE_PER_RIM = 3;
constexpr Index SPECK_SIZE = 20;
constexpr Index RIM_PER_BORDER = 4;
constexpr Index LEAST_FIN = 8;

Point3 latticePlace(u64 ccd)
{
    return latticePoint(Calc::ccdToRCD(ccd));
}

// A triangle beside an edge.
struct Spoke {
    double bearing;
    Index triangle;
};

// From a region into a free cell.
struct Look {
    Index region;
    FreeRooms::FreeCell cell;
};

// Within the layer of cells.
struct LookBeside {
    Index region;
    Point3 place;
};

// A set of triangles that hang together, by its first one.
struct Sheet {
    Index size = 0;   // triangles
    Index rim = 0;    // sides of them at edges that are not regular
    Index border = 0; // of these, at borders

    bool isWall() const
    {
        return size > std::max(SPECK_SIZE, MAX_SIZE_PER_RIM * rim) ||
               (size >= LEAST_FIN && RIM_PER_BORDER * border > rim);
    }
};

// Triangle i has the sides 2 i, front, and 2 i + 1, back. A region is named by its first side.
class Regions
{
public:
    explicit Regions(const CMesh& mesh_)
        : mesh(mesh_), cellSize(mesh.getCalc()->getCellSize()), rooms(mesh.getCellsWithBundle()),
          vPlace(mesh.getT().size(), NONE)
    {
        mesh.getAliveT(vCT);
        for (Index i = 0; i < vCT.size(); ++i)
            vPlace[vCT[i]->getNumber()] = i;
        findRegions();
        lookIntoRooms();
        lookBeside();
    }

    // One kind for each room, as most of the looks into it have it. False if too many have it otherwise.
    bool decideRooms(const InsideTest& findInside)
    {
        std::vector<Point3> vPlaces;
        vPlaces.reserve(vLooks.size());
        for (const Look& look : vLooks)
            vPlaces.push_back(mesh.getCalc()->getCellMid_RCD(look.cell.rcd) + cellSize * OFF_CENTRE);
        const std::vector<char> vInside = findInside(vPlaces);
        std::vector<std::size_t> vIn(rooms.size(), 0), vOut(rooms.size(), 0);
        for (std::size_t i = 0; i < vLooks.size(); ++i)
            ++(vInside[i] != 0 ? vIn : vOut)[vLooks[i].cell.room];
        vRoomKind.assign(rooms.size(), 0);
        std::size_t numContrary = vIn[FreeRooms::OUTSIDE];
        for (std::size_t room = FreeRooms::OUTSIDE + 1; room < rooms.size(); ++room) {
            vRoomKind[room] = vIn[room] > vOut[room] ? 1 : 0;
            numContrary += std::min(vIn[room], vOut[room]);
        }
        return CONTRADICTION_PART * numContrary <= vLooks.size();
    }

    void decideRegions(const InsideTest& findInside)
    {
        std::vector<Point3> vPlaces;
        vPlaces.reserve(vBeside.size());
        for (const LookBeside& look : vBeside)
            vPlaces.push_back(look.place);
        const std::vector<char> vInside = findInside(vPlaces);
        std::vector<int> vLead(vSize.size(), 0); // looks that found inside, less those that found outside
        for (const Look& look : vLooks)
            vLead[look.region] += vRoomKind[look.cell.room] != 0 ? 1 : -1;
        for (std::size_t i = 0; i < vBeside.size(); ++i)
            vLead[vBeside[i].region] += vInside[i] != 0 ? 1 : -1;
        vKind.resize(vLead.size());
        std::transform(vLead.begin(), vLead.end(), vKind.begin(),
                       [](int lead) { return static_cast<char>(lead > 0 ? 1 : 0); });
        decideUnclear(vLead);
    }

    bool appendSurplus(std::vector<CTriangle*>& vSurplus)
    {
        SideForest sheets(vCT.size());
        const std::vector<Sheet> vSheets = findThinSheets(sheets);
        std::vector<CTriangle*> vGoing;
        std::size_t numBounding = 0, numThin = 0;
        for (Index i = 0; i < vCT.size(); ++i)
            if (kindOf(2 * i) != kindOf(2 * i + 1))
                ++numBounding;
            else if (isOutside(i) && vSheets[sheets.find(i).index].isWall())
                ++numThin;
            else
                vGoing.push_back(vCT[i]);
        if (numBounding == 0 || THIN_PART * numThin > numBounding)
            return false;
        vSurplus.insert(vSurplus.end(), vGoing.begin(), vGoing.end());
        return true;
    }

private:
    char kindOf(Index side) const { return vKind[vRegion[side]]; }
    bool isOutside(Index i) const { return kindOf(2 * i) == 0 && kindOf(2 * i + 1) == 0; } // on both sides

    using MetSides = std::pair<Index, Index>; // that face each other round an edge

    void findRegions()
    {
        const std::vector<CEdge*>& vCE = mesh.getE();
        const auto vvMet = collectMT<MetSides>(
            vCE.size(), SLICE_SIZE, [&](std::size_t begin, std::size_t end, std::vector<MetSides>& vMet) {
                std::vector<Spoke> vStar;
                for (std::size_t i = begin; i < end; ++i)
                    appendMet(vCE[i], vStar, vMet);
            });
        SideForest forest(2 * vCT.size());
        for (const auto& vMet : vvMet)
            for (const auto& [side, facing] : vMet)
                forest.join(side, facing);
        vRegion.resize(2 * vCT.size());
        vSize.assign(vRegion.size(), 0);
        for (Index side = 0; side < vRegion.size(); ++side) {
            vRegion[side] = forest.find(side).index;
            ++vSize[vRegion[side]];
        }
    }

    void appendMet(const CEdge* pCE, std::vector<Spoke>& vStar, std::vector<MetSides>& vMet) const
    {
        sortStar(pCE, vStar);
        const u64 from = pCE->getV0(), to = pCE->getV1();
        for (std::size_t i = 0; i < vStar.size(); ++i) {
            const Index next = vStar[i + 1 < vStar.size() ? i + 1 : 0].triangle;
            vMet.emplace_back(sideTowards(vStar[i].triangle, from, to, true),
                              sideTowards(next, from, to, false));
        }
    }

    // The triangles at the edge in order, as they lie between the centres of cells; any order of two is one.
    void sortStar(const CEdge* pCE, std::vector<Spoke>& vStar) const
    {
        vStar.clear();
        for (const CTriangle* pCT : pCE->getCTs())
            vStar.push_back({0.0, vPlace[pCT->getNumber()]});
        if (vStar.size() < 3)
            return;
        const u64 from = pCE->getV0(), to = pCE->getV1();
        const Bearing bearing(latticePlace(from), latticePlace(to));
        for (Spoke& spoke : vStar)
            spoke.bearing = bearing.of(latticePlace(vCT[spoke.triangle]->getThirdCCD(from, to)));
        std::sort(vStar.begin(), vStar.end(), [](const Spoke& a, const Spoke& b) {
            return a.bearing != b.bearing ? a.bearing < b.bearing : a.triangle < b.triangle;
        });
    }

    // The side that faces the next triangle round the edge, or the one before. The front of a triangle that
    // runs along the edge faces the next one.
    Index sideTowards(Index i, u64 from, u64 to, bool bNext) const
    {
        const bool bFront = (vCT[i]->getHEDirection2(from, to) == HE_SAME) == bNext;
        return 2 * i + (bFront ? 0 : 1);
    }

    // From sides spread over each region.
    template <class F>
    void forSomeSides(F f)
    {
        std::vector<Index> vSeen(vSize.size(), 0);
        for (Index side = 0; side < vSize.size(); ++side) {
            const Index region = vRegion[side];
            if (vSeen[region]++ % (1 + vSize[region] / LOOKS) == 0)
                f(side, region);
        }
    }

    void lookIntoRooms()
    {
        forSomeSides([this](Index side, Index region) {
            const auto cell = rooms.findBeside(vCT[side / 2]->getCornerRCDs(), side % 2 == 0);
            if (cell.room != FreeRooms::NO_ROOM)
                vLooks.push_back({region, cell});
        });
    }

    // Of regions that look into no room. The two sides of a sheet within one region tell nothing.
    void lookBeside()
    {
        std::vector<char> vSeesRoom(vSize.size(), 0);
        for (const Look& look : vLooks)
            vSeesRoom[look.region] = 1;
        forSomeSides([&](Index side, Index region) {
            if (vSeesRoom[region] != 0 || vRegion[side ^ 1] == region)
                return;
            const CTriangle* pCT = vCT[side / 2];
            Vector3 nnv;
            bool bOK = false;
            pCT->getNNV(&mesh, nnv, bOK);
            if (bOK)
                vBeside.push_back(
                    {region, pCT->getCentroid(&mesh, VT_REAL) +
                                 (side % 2 == 0 ? BESIDE_CELLS : -BESIDE_CELLS) * cellSize * nnv});
        });
    }

    void decideUnclear(const std::vector<int>& vLead)
    {
        std::vector<int> vNumLooks(vSize.size(), 0);
        for (const LookBeside& look : vBeside)
            ++vNumLooks[look.region];
        std::vector<std::pair<Index, Index>> vBehind; // an unclear region, and one behind a side of it
        for (Index side = 0; side < vRegion.size(); ++side) {
            const Index region = vRegion[side], behind = vRegion[side ^ 1];
            if (region != behind && 100 * std::abs(vLead[region]) < CLEAR_PERCENT * vNumLooks[region])
                vBehind.emplace_back(region, behind);
        }
        std::sort(vBehind.begin(), vBehind.end());
        bool bAny = true;
        for (int turn = 0; turn < UNCLEAR_TURNS && bAny; ++turn)
            bAny = followNeighbours(vBehind);
    }

    // Gives the regions of the pairs the kind that most of their sides have behind them, or if they are large
    // and look at both, the other one; all at once. True if a kind has changed.
    bool followNeighbours(const std::vector<std::pair<Index, Index>>& vBehind_srt)
    {
        std::vector<std::pair<Index, char>> vNew;
        for (std::size_t i = 0; i < vBehind_srt.size();) {
            const Index region = vBehind_srt[i].first;
            std::array<Index, 2> numOfKind{0, 0};
            for (; i < vBehind_srt.size() && vBehind_srt[i].first == region; ++i)
                ++numOfKind[std::size_t(vKind[vBehind_srt[i].second])];
            const auto [numOut, numIn] = numOfKind;
            if (numOut == numIn)
                continue;
            const bool bKeepMore = vSize[region] >= LARGE_REGION && numOut > 0 && numIn > 0;
            const char kind = (numIn > numOut) != bKeepMore ? 1 : 0;
            if (kind != vKind[region])
                vNew.emplace_back(region, kind);
        }
        for (const auto& [region, kind] : vNew)
            vKind[region] = kind;
        return !vNew.empty();
    }

    // Of triangles with outside on both sides, that hang together over regular edges.
    std::vector<Sheet> findThinSheets(SideForest& sheets)
    {
        for (Index i = 0; i < vCT.size(); ++i)
            for (int ici = 0; isOutside(i) && ici < 3; ++ici)
                if (const CEdge* pCE = vCT[i]->getCEdge(ici); pCE->getDegree() == 2)
                    sheets.join(i, vPlace[pCE->getOtherT(vCT[i])->getNumber()]);
        std::vector<Sheet> vSheets(vCT.size());
        for (Index i = 0; i < vCT.size(); ++i) {
            if (!isOutside(i))
                continue;
            Sheet& sheet = vSheets[sheets.find(i).index];
            ++sheet.size;
            for (int ici = 0; ici < 3; ++ici) {
                const int degree = vCT[i]->getCEdge(ici)->getDegree();
                sheet.rim += degree != 2 ? 1 : 0;
                sheet.border += degree == 1 ? 1 : 0;
            }
        }
        return vSheets;
    }

    const CMesh& mesh;
    double cellSize;
    FreeRooms rooms;
    std::vector<CTriangle*> vCT;
    std::vector<Index> vPlace;  // in vCT, by number
    std::vector<Index> vRegion; // by side
    std::vector<Index> vSize;   // by region, as vKind; 0 of other sides
    std::vector<Look> vLooks;
    std::vector<LookBeside> vBeside;
    std::vector<char> vRoomKind; // 1 inside, 0 outside
    std::vector<char> vKind;     // as of rooms
};

} // namespace

bool getSurplusOfSolids(const CMesh& mesh, const InsideTest& findInside, std::vector<CTriangle*>& vSurplus)
{
    Regions regions(mesh);
    if (!regions.decideRooms(findInside))
        return false;
    regions.decideRegions(findInside);
    return regions.appendSurplus(vSurplus);
}

} // namespace TESK_ZAN
