#include "SheetChoice.h"

#include "CMesh.h"
#include "SideForest.h"
#include "tesk_tools/sortUnique.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <queue>
#include <utility>

namespace TESK_ZAN
{

namespace
{

using Index = SideForest::Index;
constexpr Index NONE = UINT32_MAX;

// Only what has few triangles for each edge of its rim, or few at all, may be taken out.
constexpr std::size_t MAX_SIZE_PER_RIM = 3;
constexpr std::size_t SPECK_SIZE = 20;

// Two pieces at a time are looked for among those that meet others in few edges, and so often.
constexpr std::size_t MAX_RIM_IN_PAIR = 32;
constexpr int MAX_PAIR_ROUNDS = 4; // the first finds nearly all

// The pieces, and the edges where they meet. A piece that has an even number of triangles at an edge makes no
// difference there.
class PieceGraph
{
public:
    PieceGraph(CMesh* pMesh_, const std::vector<CTriangle*>& vCT_, const std::vector<u64>& vBorderCCD_srt)
        : pMesh(pMesh_), vCT(vCT_)
    {
        findPieces();
        findRims(vBorderCCD_srt);
    }

    void run()
    {
        for (Index piece = 0; piece < vPieces.size(); ++piece)
            enqueue(piece);
        takeSingles();
        for (int round = 0; round < MAX_PAIR_ROUNDS && takePairs(); ++round)
            ;
    }

    // Brings the mesh up to the choice.
    void apply()
    {
        for (std::size_t i = 0; i < vCT.size(); ++i) {
            CTriangle* pCT = vCT[i];
            const bool bWanted = vPieces[vPieceOfT[i]].bIn;
            if (bWanted == pCT->isAlive())
                continue;
            if (bWanted)
                pMesh->createTIfMissing(pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(),
                                        pCT->getCfg());
            else
                pCT->kill(pMesh);
        }
    }

private:
    struct Piece {
        std::vector<Index> vRims;  // ascending
        std::size_t size = 0;      // triangles
        std::size_t rimLength = 0; // sides of its triangles that lie on rims, whatever they count
        int gain = 0;              // odd edges that would become even, less those that would become odd
        bool bIn = false;

        bool mayGo() const { return size <= std::max(SPECK_SIZE, MAX_SIZE_PER_RIM * rimLength); }
    };
    struct Rim {
        std::vector<Index> vPieces; // that make a difference, ascending
        bool bOdd;
    };
    struct Step {
        int gain;
        Index piece;
        bool operator<(const Step& other) const
        {
            return gain != other.gain ? gain < other.gain : piece > other.piece;
        }
    };

    void findPieces()
    {
        const std::size_t numE = pMesh->getE().size();
        vNumAtE.assign(numE, 0);
        for (const CTriangle* pCT : vCT)
            for (int ici = 0; ici < 3; ++ici)
                ++vNumAtE[pCT->getCEdge(ici)->getNumber()];
        SideForest forest(vCT.size());
        std::vector<Index> vFirstAtE(numE, NONE);
        for (Index i = 0; i < vCT.size(); ++i)
            for (int ici = 0; ici < 3; ++ici) {
                const std::uint32_t e = vCT[i]->getCEdge(ici)->getNumber();
                if (vNumAtE[e] != 2)
                    continue;
                if (vFirstAtE[e] == NONE) {
                    vFirstAtE[e] = i;
                    continue;
                }
                if (vCT[i]->isAlive() != vCT[vFirstAtE[e]]->isAlive()) {
                    vNumAtE[e] = 0; // a rim
                    continue;
                }
                forest.join(i, vFirstAtE[e]);
            }
        vPieceOfT.resize(vCT.size());
        for (Index i = 0; i < vCT.size(); ++i) {
            const Index root = forest.find(i).index; // the first triangle of the piece
            if (root == i) {
                vPieceOfT[i] = static_cast<Index>(vPieces.size());
                vPieces.emplace_back();
                vPieces.back().bIn = vCT[i]->isAlive();
            }
            vPieceOfT[i] = vPieceOfT[root];
            ++vPieces[vPieceOfT[i]].size;
        }
    }

    void findRims(const std::vector<u64>& vBorderCCD_srt)
    {
        const auto isBorder = [&](u64 ccd) {
            return std::binary_search(vBorderCCD_srt.begin(), vBorderCCD_srt.end(), ccd);
        };
        std::vector<std::pair<std::uint32_t, Index>> vSides; // edge, piece
        for (std::size_t i = 0; i < vCT.size(); ++i)
            for (int ici = 0; ici < 3; ++ici) {
                const std::uint32_t e = vCT[i]->getCEdge(ici)->getNumber();
                if (vNumAtE[e] == 2)
                    continue;
                vSides.emplace_back(e, vPieceOfT[i]);
                ++vPieces[vPieceOfT[i]].rimLength;
            }
        std::sort(vSides.begin(), vSides.end());
        for (std::size_t first = 0, last = 0; first < vSides.size(); first = last) {
            const CEdge* pCE = pMesh->getE()[vSides[first].first];
            std::vector<Index> vDiffering;
            for (; last < vSides.size() && vSides[last].first == vSides[first].first; ++last)
                if (!vDiffering.empty() && vDiffering.back() == vSides[last].second)
                    vDiffering.pop_back();
                else
                    vDiffering.push_back(vSides[last].second);
            if (vDiffering.empty() || (isBorder(pCE->getV0()) && isBorder(pCE->getV1())))
                continue;
            const bool bOdd = pCE->getDegree() % 2 == 1;
            for (const Index piece : vDiffering) {
                vPieces[piece].vRims.push_back(static_cast<Index>(vRims.size()));
                vPieces[piece].gain += bOdd ? 1 : -1;
            }
            vRims.push_back({std::move(vDiffering), bOdd});
        }
    }

    bool mayTurn(const Piece& piece) const { return !piece.bIn || piece.mayGo(); }

    void enqueue(Index piece)
    {
        if (vPieces[piece].gain > 0 && mayTurn(vPieces[piece]))
            queue.push({vPieces[piece].gain, piece});
    }

    void takeSingles()
    {
        while (!queue.empty()) {
            const Step step = queue.top();
            queue.pop();
            if (step.gain == vPieces[step.piece].gain) // else stale: it is in there again if it is worth it
                turn(step.piece);
        }
    }

    void turn(Index piece)
    {
        vPieces[piece].bIn = !vPieces[piece].bIn;
        for (const Index rim : vPieces[piece].vRims) {
            vRims[rim].bOdd = !vRims[rim].bOdd;
            for (const Index other : vRims[rim].vPieces) {
                vPieces[other].gain += vRims[rim].bOdd ? 2 : -2;
                if (vRims[rim].bOdd)
                    enqueue(other);
            }
        }
        enqueue(piece);
    }

    bool takePairs()
    {
        bool bAny = false;
        for (const Rim& rim : vRims)
            while (rim.bOdd && takePairAt(rim)) {
                takeSingles();
                bAny = true;
            }
        return bAny;
    }

    // The first pair that is worth it.
    bool takePairAt(const Rim& rim)
    {
        for (const Index a : rim.vPieces) {
            if (!mayPair(vPieces[a]))
                continue;
            gatherNeighbours(a);
            for (const Index b : vNeigs)
                if (mayPair(vPieces[b]) && gainOf(a, b) > 0) {
                    turn(a);
                    turn(b);
                    return true;
                }
        }
        return false;
    }

    bool mayPair(const Piece& piece) const { return piece.vRims.size() <= MAX_RIM_IN_PAIR && mayTurn(piece); }

    void gatherNeighbours(Index piece)
    {
        vNeigs.clear();
        for (const Index rim : vPieces[piece].vRims)
            for (const Index neig : vRims[rim].vPieces)
                if (neig != piece)
                    vNeigs.push_back(neig);
        TESK_TOOLS::sortUnique(vNeigs);
    }

    // Where both make a difference they make none together.
    int gainOf(Index a, Index b) const
    {
        const std::vector<Index>&vA = vPieces[a].vRims, &vB = vPieces[b].vRims;
        int gain = vPieces[a].gain + vPieces[b].gain;
        for (std::size_t i = 0, j = 0; i < vA.size() && j < vB.size();)
            if (vA[i] == vB[j]) {
                gain -= vRims[vA[i]].bOdd ? 2 : -2;
                ++i;
                ++j;
            } else if (vA[i] < vB[j])
                ++i;
            else
                ++j;
        return gain;
    }

    CMesh* pMesh;
    const std::vector<CTriangle*>& vCT;
    std::vector<std::uint32_t> vNumAtE; // triangles at an edge, dead and alive; never 2 at a rim
    std::vector<Index> vPieceOfT;       // by place in vCT
    std::vector<Piece> vPieces;         // by their first triangles
    std::vector<Rim> vRims;             // by edges
    std::priority_queue<Step> queue;
    std::vector<Index> vNeigs; // scratch
};

} // namespace

SheetChoice::SheetChoice(CMesh* pMesh_) : pMesh(pMesh_)
{
    pMesh->getAliveT(vCT);
}

void SheetChoice::settle(const std::vector<u64>& vBorderCCD_srt)
{
    const bool bAllEven = std::none_of(pMesh->getE().begin(), pMesh->getE().end(),
                                       [](const CEdge* pCE) { return pCE->getDegree() % 2 == 1; });
    if (bAllEven)
        return; // no step gains
    PieceGraph graph(pMesh, vCT, vBorderCCD_srt);
    graph.run();
    graph.apply();
}

} // namespace TESK_ZAN
