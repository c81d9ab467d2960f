// Subsystem: holes. Builds on: CMesh. Used by: HolePatcher.
// Chooses among triangles that lie about in a hole those that fill it as one sheet.
#pragma once

#include "definitions.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CTriangle;

// The triangles of a volumetric patch overlap and leave gaps where they meet the rim. This grows a sheet from
// the rim inwards, at each step by the triangle that continues it flattest. The sheet has its rim on one
// side, never a third triangle on an edge, and runs like the triangles beside the rim, which must agree with
// each other. Ties go by creation, so the same mesh gives the same sheet. O(n log n).
class PatchStitcher
{
public:
    // vRimCE: edges of the mesh whose only triangle, apart from candidates, lies outside of the hole.
    // vCandidateT: alive triangles of the mesh. The mesh must outlive this.
    PatchStitcher(CMesh* pMesh, const std::vector<CEdge*>& vRimCE,
                  const std::vector<CTriangle*>& vCandidateT);

    // Kills all candidates that are not chosen and orients the others. vOpenLoops: appended to by the gaps
    // that the sheet leaves, as closed paths of edges of degree 1. Filling each makes no vertex fall apart:
    // where a gap touches itself or another one, the paths lead from fan to fan. Returns how many were
    // chosen.
    std::size_t run(std::vector<std::vector<CEdge*>>& vOpenLoops);

private:
    enum State : std::uint8_t { ST_CANDIDATE, ST_CHOSEN };

    // An edge that the sheet has reached. While it has one triangle it is part of the front, and the next one
    // must run from source to target.
    struct FrontEdge {
        CTriangle* pOwnerCT;
        u64 source;
        u64 target;
        bool bOpen;
    };
    struct Step { // a binary heap, the flattest first
        double turnDeg;
        std::size_t sequence;
        CEdge* pCE;
        CTriangle* pCT;
    };
    static bool isLater(const Step& a, const Step& b);

    void take(const Step& step);
    bool takeUpPinches();
    bool isCandidate(const CTriangle* pCT) const;
    void enterFront(CEdge* pCE, CTriangle* pOwnerCT);
    void enqueueBeyond(CEdge* pCE, const FrontEdge& front);
    bool fits(const CTriangle& triangle, u64 source, u64 target) const;
    bool fitsEdge(const CEdge& edge, u64 from, u64 to) const;
    bool cutsOffFan(u64 prev, u64 vcd, u64 next) const;
    bool pinches(const CTriangle& triangle, u64 source, u64 target) const;
    bool isOnLoop(const CEdge* pStartCE, const FrontEdge& start, u64 vcd) const;
    void choose(CTriangle* pCT, u64 source, u64 target);
    void appendOpenLoops(std::vector<std::vector<CEdge*>>& vOpenLoops);
    CEdge* getNextOpen(const CEdge* pCE, const FrontEdge& front) const;
    const CTriangle* getBeyond(const CEdge* pCE, const CTriangle* pCT) const;
    const CEdge* getEndOfFan(const CEdge* pCE, const FrontEdge& front) const;

    CMesh* pMesh; // not owned
    std::vector<CEdge*> vRimCE;
    std::vector<CTriangle*> vCandidateT;
    TESK_TOOLS::FlatMap<u64, State, TESK_TOOLS::U64Hash> mState;     // of the candidates, by number
    TESK_TOOLS::FlatMap<u64, FrontEdge, TESK_TOOLS::U64Hash> mFront; // by number of the edge
    TESK_TOOLS::FlatMap<u64, int, TESK_TOOLS::U64Hash> mNumStrands;  // open front edges that leave a vertex
    std::vector<Step> vSteps;
    std::vector<Step> vPinches;     // put off
    bool bPinch = false;            // they are next
    std::vector<CEdge*> vReachedCE; // the keys of mFront in the order in which they came
    std::size_t numSteps = 0;
};

} // namespace TESK_ZAN
