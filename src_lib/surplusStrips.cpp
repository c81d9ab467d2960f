#include "surplusStrips.h"

#include "CMesh.h"
#include "CPatch.h"
#include "Calc.h"
#include "SideForest.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

using Index = SideForest::Index;

// Narrow is what has few triangles for each edge of its rim: a strip that is three cells wide has three.
// Specks are in any case.
constexpr std::size_t MAX_SIZE_PER_RIM = 3;
constexpr std::size_t SPECK_SIZE = 20;

constexpr std::size_t RIM_PER_BORDER = 4; // a fin that stands free with more than this part of its rim stays
constexpr std::size_t CONTRADICTION_PART = 10; // of the clues of a narrow patch: with more it is split
constexpr double ONE_DIRECTION = 1e-6; // radians: triangles nearer to each other than this have no order

// Directions around an edge as angles that grow counterclockwise for who looks against the edge. Between cell
// centres, not points: so the triangles lie as they were extracted, without folds.
class Bearing
{
public:
    Bearing(const Calc* pCalc_, u64 from, u64 to) : pCalc(pCalc_), origin(centreOf(from))
    {
        const Vector3 axis = centreOf(to) - origin;
        const std::array<double, 3> size{std::fabs(axis.x()), std::fabs(axis.y()), std::fabs(axis.z())};
        const auto least = std::min_element(size.begin(), size.end()) - size.begin();
        const Vector3 off(least == 0 ? 1.0 : 0.0, least == 1 ? 1.0 : 0.0, least == 2 ? 1.0 : 0.0);
        right = normalize(crossProd(axis, off));
        up = normalize(crossProd(axis, right));
    }

    double of(u64 ccd) const
    {
        const Vector3 v = centreOf(ccd) - origin;
        return std::atan2(v * up, v * right);
    }

private:
    Point3 centreOf(u64 ccd) const
    {
        u64 x, y, z;
        pCalc->ccdToXYZ(ccd, x, y, z);
        return Point3(double(x), double(y), double(z));
    }

    const Calc* pCalc;
    Point3 origin;
    Vector3 right, up;
};

// A triangle beside an edge.
struct Spoke {
    double bearing;
    const CTriangle* pCT;
};

// That two sides see the same kind of space, or different kinds.
struct Clue {
    Index a, b; // a <= b
    std::size_t weight;
    bool bDiffer;
};

bool hasLowerSides(const Clue& x, const Clue& y)
{
    return std::tie(x.a, x.b) < std::tie(y.a, y.b);
}

bool isStronger(const Clue& x, const Clue& y)
{
    return x.weight > y.weight;
}

// What is kept or goes as a whole: a patch, or one triangle of a narrow patch whose clues contradict each
// other. Such a patch came together through a crack in a sheet that it meets, and only a part of it is
// surplus.
//
// Piece i has the sides 2 i, front, and 2 i + 1, back.
class Pieces
{
public:
    explicit Pieces(CMesh* pMesh_) : pMesh(pMesh_)
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
        for (Patch& patch : vPatches) {
            patch.bNarrow = patch.pPatch->getSize() <= std::max(SPECK_SIZE, MAX_SIZE_PER_RIM * patch.numRim);
            orient(patch.pPatch);
        }
        pMesh->clearVisited();
    }

    void appendSurplus(std::vector<CTriangle*>& vSurplus)
    {
        decide();
        if (splitContradictory())
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
        forest = SideForest(2 * vPieces.size());
        for (const Clue& clue : vClues) {
            const SideForest::Root a = forest.find(clue.a), b = forest.find(clue.b);
            if (a.index != b.index)
                forest.attach(a.index, b.index, (a.bTurned != b.bTurned) != clue.bDiffer);
        }
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
        for (const Clue& clue : vClues)
            if (!clue.bDiffer && kindOf(clue.a) != kindOf(clue.b))
                for (const Index side : {clue.a, clue.b})
                    vPatches[placeOf(vPieces[side / 2])].numContradicted += clue.weight;
        bool bAny = false;
        for (Patch& patch : vPatches) {
            patch.bSplit = patch.bNarrow && CONTRADICTION_PART * patch.numContradicted > patch.numRim;
            bAny = bAny || patch.bSplit;
        }
        return bAny;
    }

    // Comparable for sides that clues connect; that a piece has two sides is one.
    bool kindOf(Index side) { return forest.find(side).bTurned; }

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

    // A patch with one side only, as a Moebius strip, ends with some triangles at odds.
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

    // Strongest first. Those within a split patch, that its triangles go on alike, come after those at rims,
    // and that a narrow piece has two sides comes last.
    void gatherClues()
    {
        vClues.clear();
        for (const CEdge* pCE : vIrregularCE)
            if (!pCE->isBorder())
                lookRound(pCE);
        std::sort(vClues.begin(), vClues.end(), hasLowerSides);
        std::size_t numKept = 0;
        for (const Clue& clue : vClues)
            if (numKept > 0 && vClues[numKept - 1].a == clue.a && vClues[numKept - 1].b == clue.b)
                ++vClues[numKept - 1].weight;
            else
                vClues[numKept++] = clue;
        vClues.resize(numKept);
        for (const Piece& piece : vPieces)
            if (piece.pCT != nullptr)
                lookBeside(piece.pCT);
        for (Index piece = 0; piece < vPieces.size(); ++piece) {
            const Patch* pPatch = vPieces[piece].pPatch;
            vClues.push_back(
                {2 * piece, 2 * piece + 1, pPatch->bNarrow ? 0 : pPatch->pPatch->getSize(), true});
        }
        std::stable_sort(vClues.begin(), vClues.end(), isStronger);
    }

    // Where two triangles lie on each other nobody knows what is between them and the others.
    void lookRound(const CEdge* pCE)
    {
        const u64 from = pCE->getV0(), to = pCE->getV1();
        const Bearing bearing(pMesh->getCalc(), from, to);
        vStar.clear();
        for (const CTriangle* pCT : pCE->getCTs())
            vStar.push_back({bearing.of(pCT->getThirdCCD(from, to)), pCT});
        std::sort(vStar.begin(), vStar.end(),
                  [](const Spoke& a, const Spoke& b) { return a.bearing < b.bearing; });
        vStar.push_back({vStar.front().bearing + 2.0 * std::numbers::pi, vStar.front().pCT});
        for (std::size_t i = 1; i < vStar.size(); ++i)
            if (vStar[i].bearing - vStar[i - 1].bearing < ONE_DIRECTION)
                return;
        for (std::size_t i = 1; i < vStar.size(); ++i) {
            const auto [a, b] = std::minmax(
                {sideTowards(vStar[i - 1].pCT, from, to, true), sideTowards(vStar[i].pCT, from, to, false)});
            vClues.push_back({a, b, 1, false});
        }
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
    std::vector<Patch> vPatches; // by label; does not grow once there are pieces
    std::vector<Piece> vPieces;
    TESK_TOOLS::FlatMap<u64, Index, TESK_TOOLS::U64Hash> mSplitPiece; // by triangle number
    SideForest forest;                                                // of the sides
    std::vector<CEdge*> vIrregularCE;
    std::vector<Clue> vClues;
    std::vector<CTriangle*> vStack; // scratch
    std::vector<Spoke> vStar;       // scratch
};

} // namespace

void getSurplusTriangles(CMesh* pMesh, std::vector<CTriangle*>& vSurplus)
{
    pMesh->clearVisited();
    Pieces(pMesh).appendSurplus(vSurplus);
}

} // namespace TESK_ZAN
