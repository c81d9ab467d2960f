#include "surplusStrips.h"

#include "Bearing.h"
#include "CMesh.h"
#include "CPatch.h"
#include "Calc.h"
#include "FreeRooms.h"
#include "sideClues.h"
#include "sortMT.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <tuple>
#include <utility>

namespace TESK_ZAN
{

namespace
{

using Index = std::uint32_t;

// Narrow is what has few triangles for each edge of its rim: a strip that is three cells wide has three.
// Specks are in any case.
constexpr std::size_t MAX_SIZE_PER_RIM = 3;
constexpr std::size_t SPECK_SIZE = 20;

constexpr std::size_t RIM_PER_BORDER = 4; // a fin that stands free with more than this part of its rim stays
constexpr std::size_t CONTRADICTION_PART = 10; // of the clues of a narrow patch: with more it is split
constexpr int MAX_SPLITS =
    6; // a split can show contradictions in other patches: the first two find nearly all
constexpr std::size_t LEAK_PART = 4;   // of the looks into a room: with more from the wrong sides it leaks
constexpr std::size_t LOOKS = 256;     // of a patch; with some more triangles each one counts for several
constexpr double ONE_DIRECTION = 1e-6; // radians: triangles nearer to each other than this have no order

// A triangle beside an edge.
struct Spoke {
    double bearing;
    const CTriangle* pCT;
};

// How often the sides of a patch look into a room.
struct View {
    Index patch; // by place
    Index room;
    std::size_t numFront, numBack;

    std::size_t stray() const { return std::min(numFront, numBack); }
    std::size_t net() const { return std::max(numFront, numBack) - stray(); }
};

// What is kept or goes as a whole: a patch, or one triangle of a narrow patch whose clues contradict each
// other. Such a patch came together through a crack in a sheet that it meets, and only a part of it is
// surplus.
//
// Piece i has the sides 2 i, front, and 2 i + 1, back.
class Pieces
{
public:
    Pieces(CMesh* pMesh_, const FreeRooms& rooms_) : pMesh(pMesh_), rooms(rooms_)
    {
        for (CPatch* pPatch : pMesh->getPatches())
            if (pPatch->isAlive())
                vPatches.push_back({pPatch});
        pMesh->getDegN(-5, vIrregularCE);
        for (const CEdge* pCE : vIrregularCE)
            for (const CTriangle* pCT : pCE->getCTs()) {
                Patch& patch = vPatches[placeOf(pCT)];
                ++patch.numRim;
                patch.numBorder += pCE->isBorder() ? 1 : 0;
            }
        for (Patch& patch : vPatches)
            patch.bNarrow = patch.pPatch->getSize() <= std::max(SPECK_SIZE, MAX_SIZE_PER_RIM * patch.numRim);
        orientTwisted();
        lookIntoRooms();
    }

    void appendSurplus(std::vector<CTriangle*>& vSurplus)
    {
        decide();
        for (int turn = 0; turn < MAX_SPLITS && splitContradictory(); ++turn)
            decide();
        for (Index piece = 0; piece < vPieces.size(); ++piece) {
            const auto& [pPatch, pCT] = vPieces[piece];
            if (kindOf(2 * piece) != kindOf(2 * piece + 1) || pPatch->isFin() || !pPatch->bNarrow)
                continue;
            if (pCT != nullptr)
                vSurplus.push_back(pCT);
            else
                vSurplus.insert(vSurplus.end(), pPatch->pPatch->getMembers().begin(),
                                pPatch->pPatch->getMembers().end());
        }
    }

private:
    struct Patch {
        CPatch* pPatch;
        std::size_t numRim = 0;          // triangle sides at edges that are not regular
        std::size_t numBorder = 0;       // of these, at borders
        std::size_t numContradicted = 0; // clues at the rim
        Index piece = 0;                 // the first one
        bool bNarrow = false;
        bool bSplit = false;
        bool bTwisted = false;

        bool isFin() const { return RIM_PER_BORDER * numBorder > numRim; }
    };
    struct Piece {
        const Patch* pPatch;
        CTriangle* pCT; // null: all of the patch
    };

    void decide()
    {
        makePieces();
        gatherClues();
        vKind = decideKinds(2 * vPieces.size() + rooms.size(), vClues);
    }

    void makePieces()
    {
        vPieces.clear();
        mSplitPiece.clear();
        for (Patch& patch : vPatches) {
            patch.piece = static_cast<Index>(vPieces.size());
            if (!patch.bSplit) {
                vPieces.push_back({&patch, nullptr});
                continue;
            }
            for (CTriangle* pCT : patch.pPatch->getMembers()) {
                mSplitPiece.tryEmplace(pCT->getNumber(), static_cast<Index>(vPieces.size()));
                vPieces.push_back({&patch, pCT});
            }
        }
    }

    bool splitContradictory()
    {
        for (Patch& patch : vPatches)
            patch.numContradicted = 0;
        const Index firstRoom = sideOfRoom(0);
        for (const SideClue& clue : vClues) {
            if (clue.bDiffer || kindOf(clue.a) == kindOf(clue.b))
                continue;
            for (const Index side : {clue.a, clue.b})
                if (side < firstRoom)
                    vPatches[placeOf(vPieces[side / 2])].numContradicted += clue.weight;
        }
        bool bAny = false;
        for (Patch& patch : vPatches) {
            if (patch.bSplit || !patch.bNarrow || CONTRADICTION_PART * patch.numContradicted <= patch.numRim)
                continue;
            patch.bSplit = bAny = true;
        }
        return bAny;
    }

    // Comparable for sides that clues connect; that a piece has two sides is one.
    bool kindOf(Index side) const { return vKind[side] != 0; }

    std::size_t placeOf(const Piece& piece) const { return std::size_t(piece.pPatch - vPatches.data()); }

    std::size_t placeOf(const CTriangle* pCT) const
    {
        const auto it = std::lower_bound(
            vPatches.begin(), vPatches.end(), pCT->getPatch(),
            [](const Patch& a, const CPatch* b) { return a.pPatch->getLabel() < b->getLabel(); });
        return std::size_t(it - vPatches.begin());
    }

    Index pieceOf(const CTriangle* pCT) const
    {
        const Index* pPiece = mSplitPiece.find(pCT->getNumber());
        return pPiece != nullptr ? *pPiece : vPatches[placeOf(pCT)].piece;
    }

    // The division into patches has left neighbours at odds in patches with one side only, as a Moebius
    // strip. So does this, though not the same ones.
    void orientTwisted()
    {
        const std::vector<CEdge*> vTwistedCE = selectMT(pMesh->getE(), [](const CEdge* pCE) {
            return pCE->getDegree() == 2 && pCE->getCTs()[0]->needFlip(pCE->getCTs()[1]);
        });
        if (vTwistedCE.empty())
            return;
        for (const CEdge* pCE : vTwistedCE)
            vPatches[placeOf(pCE->getCTs()[0])].bTwisted = true;
        pMesh->clearVisited();
        for (const Patch& patch : vPatches)
            if (patch.bTwisted)
                orient(patch.pPatch);
        pMesh->clearVisited();
    }

    void orient(CPatch* pPatch)
    {
        vStack.assign(1, pPatch->getMembers().front());
        vStack.front()->setVisited(true);
        while (!vStack.empty()) {
            const CTriangle* pCT = vStack.back();
            vStack.pop_back();
            for (int ici = 0; ici < 3; ++ici) {
                const CEdge* pCE = pCT->getCEdge(ici);
                CTriangle* pNeig = pCE->getDegree() == 2 ? pCE->getOtherT(pCT) : nullptr;
                if (pNeig == nullptr || pNeig->isVisited())
                    continue;
                if (pNeig->needFlip(pCT))
                    pNeig->flipOrientation();
                pNeig->setVisited(true);
                vStack.push_back(pNeig);
            }
        }
    }

    // In the order in which equally strong ones count. Those within a split patch, that its triangles go on
    // alike, come after those at rims, and that a narrow piece has two sides comes last.
    void gatherClues()
    {
        vClues.clear();
        for (const CEdge* pCE : vIrregularCE)
            if (!pCE->isBorder())
                lookRound(pCE);
        countEqualClues(vClues);
        for (const Piece& piece : vPieces)
            if (piece.pCT != nullptr)
                lookBeside(piece.pCT);
        for (Index piece = 0; piece < vPieces.size(); ++piece) {
            const Patch* pPatch = vPieces[piece].pPatch;
            vClues.push_back(
                {2 * piece, 2 * piece + 1, pPatch->bNarrow ? 0 : pPatch->pPatch->getSize(), true});
        }
        for (const View& view : vViews) {
            const Patch& patch = vPatches[view.patch];
            const Index side = 2 * patch.piece + (view.numFront > view.numBack ? 0 : 1);
            if (!patch.bSplit)
                vClues.push_back({side, sideOfRoom(view.room), view.net(), false});
        }
    }

    // Rooms come after the sides of all pieces.
    Index sideOfRoom(Index room) const { return static_cast<Index>(2 * vPieces.size()) + room; }

    // Finds the views that are clues: of patches that look into a room from one side mostly, and of rooms
    // that most patches look into from one side.
    void lookIntoRooms()
    {
        for (Index place = 0; place < vPatches.size(); ++place)
            lookFrom(place);
        std::vector<std::size_t> vStray(rooms.size(), 0), vNet(rooms.size(), 0);
        for (const View& view : vViews) {
            vStray[view.room] += view.stray();
            vNet[view.room] += view.net();
        }
        std::erase_if(vViews, [&](const View& view) {
            return LEAK_PART * view.stray() > view.net() || LEAK_PART * vStray[view.room] > vNet[view.room];
        });
    }

    void lookFrom(Index place)
    {
        const auto& vCT = vPatches[place].pPatch->getMembers();
        const std::size_t step = 1 + vCT.size() / LOOKS;
        vLooks.clear();
        for (std::size_t i = 0; i < vCT.size(); i += step)
            for (const int side : {1, -1}) {
                const Index room = rooms.findBeside(vCT[i]->getCornerRCDs(), side > 0).room;
                if (room != FreeRooms::NO_ROOM)
                    vLooks.emplace_back(room, side);
            }
        std::sort(vLooks.begin(), vLooks.end());
        for (const auto& [room, side] : vLooks) {
            if (vViews.empty() || vViews.back().patch != place || vViews.back().room != room)
                vViews.push_back({place, room, 0, 0});
            (side > 0 ? vViews.back().numFront : vViews.back().numBack) += step;
        }
    }

    // Where two triangles lie on each other nobody knows what is between them and the others.
    void lookRound(const CEdge* pCE)
    {
        const u64 from = pCE->getV0(), to = pCE->getV1();
        if (!sortStar(pCE, areAsExtracted(pCE)))
            return;
        for (std::size_t i = 1; i < vStar.size(); ++i) {
            const auto [a, b] = std::minmax(
                {sideTowards(vStar[i - 1].pCT, from, to, true), sideTowards(vStar[i].pCT, from, to, false)});
            vClues.push_back({a, b, 1, false});
        }
    }

    // Between neighbouring cells. Where a flat triangle was split the corners lie in a line of cells.
    bool areAsExtracted(const CEdge* pCE) const
    {
        const Point3 from = latticePoint(Calc::ccdToRCD(pCE->getV0()));
        return std::all_of(pCE->getCTs().begin(), pCE->getCTs().end(), [&](const CTriangle* pCT) {
            const u64 ccdThird = pCT->getThirdCCD(pCE->getV0(), pCE->getV1());
            const Vector3 v = latticePoint(Calc::ccdToRCD(ccdThird)) - from;
            return std::max({std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())}) < 1.5;
        });
    }

    // The triangles at the edge in order, the first one again as the last. Between cell centres they lie as
    // they were extracted, without folds; else their points tell. False if two have one direction.
    bool sortStar(const CEdge* pCE, bool bByCells)
    {
        const u64 from = pCE->getV0(), to = pCE->getV1();
        const auto place = [&](u64 ccd) {
            return bByCells ? latticePoint(Calc::ccdToRCD(ccd)) : pMesh->getAvgPoint(ccd);
        };
        const Bearing bearing(place(from), place(to));
        vStar.clear();
        for (const CTriangle* pCT : pCE->getCTs())
            vStar.push_back({bearing.of(place(pCT->getThirdCCD(from, to))), pCT});
        std::sort(vStar.begin(), vStar.end(),
                  [](const Spoke& a, const Spoke& b) { return a.bearing < b.bearing; });
        vStar.push_back({vStar.front().bearing + 2.0 * std::numbers::pi, vStar.front().pCT});
        return std::adjacent_find(vStar.begin(), vStar.end(), [](const Spoke& a, const Spoke& b) {
                   return !(b.bearing - a.bearing >= ONE_DIRECTION);
               }) == vStar.end();
    }

    // Of the triangle's piece, the side that faces the next triangle round the edge, or the one before. The
    // front of a triangle that runs along the edge faces the next one.
    Index sideTowards(const CTriangle* pCT, u64 from, u64 to, bool bNext) const
    {
        const bool bFront = (pCT->getHEDirection2(from, to) == HE_SAME) == bNext;
        return 2 * pieceOf(pCT) + (bFront ? 0 : 1);
    }

    void lookBeside(const CTriangle* pCT)
    {
        const Index piece = pieceOf(pCT);
        for (int ici = 0; ici < 3; ++ici) {
            const CEdge* pCE = pCT->getCEdge(ici);
            const CTriangle* pNeig = pCE->getDegree() == 2 ? pCE->getOtherT(pCT) : nullptr;
            if (pNeig == nullptr || pNeig->getNumber() < pCT->getNumber()) // from the other one
                continue;
            const Index neigPiece = pieceOf(pNeig);
            const auto [low, high] = std::minmax({piece, neigPiece});
            vClues.push_back({2 * low, 2 * high, 0, false});
            vClues.push_back({2 * low + 1, 2 * high + 1, 0, false});
        }
    }

    CMesh* pMesh;
    const FreeRooms& rooms;
    std::vector<View> vViews;    // by patch; see lookIntoRooms
    std::vector<Patch> vPatches; // by label; does not grow once there are pieces
    std::vector<Piece> vPieces;
    TESK_TOOLS::FlatMap<u64, Index, TESK_TOOLS::U64Hash> mSplitPiece; // by triangle number
    std::vector<char> vKind;                                          // of the sides, then of the rooms
    std::vector<CEdge*> vIrregularCE;
    std::vector<SideClue> vClues;
    std::vector<CTriangle*> vStack;            // scratch
    std::vector<Spoke> vStar;                  // scratch
    std::vector<std::pair<Index, int>> vLooks; // scratch: room, side
};

} // namespace

void getSurplusTriangles(CMesh* pMesh, const FreeRooms& rooms, std::vector<CTriangle*>& vSurplus)
{
    Pieces(pMesh, rooms).appendSurplus(vSurplus);
}

} // namespace TESK_ZAN
