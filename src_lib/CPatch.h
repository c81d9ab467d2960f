// Subsystem: mesh on codes. Builds on: CMesh. Used by: Top, holes.
// A piece of surface that can be walked without crossing a non-manifold edge: the unit in which Top compares,
// orients and kills.
#pragma once

#include "definitions.h"

#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CPatch;
class CTriangle;
class Point3;

// For each edge of degree above 2 that a patch touches, the corner opposite the edge in the patch's triangle,
// with the patch; sorted by code, then by label.
using BorderPatches = std::vector<std::pair<u64, CPatch*>>;

// Made by CMesh::createPatches and CMesh::createCCPatches, in the mesh's pool, or on the heap by
// Top::createPatchesOrient. Lives for one pass: it must go before the triangles of its mesh go.
//
// CTriangle::getPatch names the patch of a triangle, so of several divisions of one mesh only the newest can
// be asked for boundaries, closedness and sides. Members that died one by one stay in the list; everything
// below looks at the alive ones, but for getSize.
class CPatch
{
public:
    // label: unique among the patches of one division and ascending in order of making, or of the first
    // members. The order of patches wherever one shows.
    CPatch(CMesh* pMesh, int label);

    // Triangles that still name this patch name none afterwards.
    ~CPatch();
    CPatch(const CPatch&) = delete;
    CPatch& operator=(const CPatch&) = delete;

    int getLabel() const { return label; }
    bool isAlive() const { return bAlive; }

    // Whether the members stand in the order of a walk, or one could go another way now:
    // CMesh::settleMembers.
    bool isSettled() const { return bSettled; }
    void unsettle() { bSettled = false; }
    std::size_t getSize() const { return vMemberCT.size(); }
    const std::vector<CTriangle*>& getMembers() const { return vMemberCT; }

    // Makes the triangle a member and notes the patch in it.
    void addMember(CTriangle* pCT);

    // Takes triangles that name this patch already as its members.
    void setMembers(const std::vector<CTriangle*>& vCT);

    // What a walk over the members found: the edges that may be held by one member alone, each once for every
    // member that holds it. The next setOuterBoundary needs no walk of its own then. A new member voids it.
    void setRim(const std::vector<CEdge*>& vCE);

    // --- measures ---

    double getArea() const;

    // Of a closed, consistently oriented patch: positive if it faces outward.
    double getVolume() const;

    // --- changes ---

    // Kills all members and forgets them. The patch is dead afterwards.
    void kill();

    // Lets go of all members, alive ones too. The patch is dead afterwards.
    void dissolve();

    // Takes over the members of the other patch, which is dead afterwards, and its label if that is less. All
    // members must be alive. The boundaries are laid together: dropInnerBoundary must follow, once for any
    // number of patches taken in.
    void takeIn(CPatch* pOther);
    void dropInnerBoundary();

    void flip(); // turns every member round

    // Makes the members consistently oriented: grows over regular edges from the first member, then crosses
    // the others. Then turns all of them if the highest vertex would face down, so that a closed patch faces
    // outward. A warning "reorientation failed" if some neighbours stay inconsistent. O(size).
    void orient();

    // --- boundary: the edges that exactly one member holds, by creation number ---

    // The patch must be alive. O(size), or O(b log b) for a rim of b edges after setRim.
    void setOuterBoundary();

    bool knowsOuterBoundary() const { return bBoundaryKnown; }

    // As of the last setOuterBoundary; empty for a closed patch.
    const std::vector<CEdge*>& getOuterBoundary() const { return vOuterBoundary; }

    // 0 for an empty boundary. Equal boundaries have equal keys; different ones nearly always differ.
    u64 getBoundaryKey() const { return boundaryKey; }

    // Computed afresh; the patch must be alive. The second form appends.
    void getPatchBoundaryCE(std::set<CEdge*>& sCE) const;
    void getPatchBoundaryCE(std::vector<CEdge*>& vCE) const;
    std::size_t getPatchBoundarySize() const;

    // At least 4 members are listed, and every edge of a member is held by two or more of them: as of the
    // last setOuterBoundary, or else computed in O(size).
    bool isClosed() const;

    // Some edge is held by one member alone, and at every such edge, and wherever else others meet the patch,
    // it leaves exactly two of them: without the patch the surface would go on regularly. Needs no boundary.
    bool isMembrane() const;

    // Vertices of the members that do not lie on the boundary. -1 until setNumInnerVtx and after kill.
    void setNumInnerVtx();
    int getNumInnerVtx() const { return numInnerVtx; }

    // --- pockets ---

    // For a closed patch: decides whether it is a flat pocket between two sheets, and if so divides it along
    // its folds and kills the side with fewer triangles. A patch without a fold, where others hang on it,
    // stays. bFlag protects a pocket whose two sides both carry others, which holds for every one: nothing is
    // killed then. True if triangles were killed. Orientations may have changed in any case.
    // O(size log size).
    bool splitClosedPatchKill(bool bFlag);

    // --- advice that no pass of Top asks for: CPatch_advice.cpp ---

    // Whether every edge at which the patch meets others, or that it borders alone, would be regular or gone
    // without it. Tells its finding.
    bool canKillLeaveDeg2() const;

    // Where the patch meets exactly two triangles of others, looks up the corners opposite the edge in
    // mCCDPatch, which must hold them. The partner is the patch named most often (of equals the one with the
    // lower label), the certainty its share of all that were named; null and 0.0 if none was.
    void setPartnerCertainty(const std::map<u64, CPatch*>& mCCDPatch);
    CPatch* getPartner() const { return pPartner; }
    double getPartnerCertainty() const { return partnerCertainty; }

    // The shortest chain of the patch's edges from its first rim (that of the lowest edge number) to another
    // one, by the lengths between the points of mCCDPoint, which must hold every vertex of the patch. False,
    // with vPath untouched, for fewer than two rims. Appends in order from the first rim. O(n log n).
    bool findPartitioningPath(std::vector<CEdge*>& vPath, const std::map<u64, Point3>& mCCDPoint) const;

private:
    friend class CMesh;

    struct Consistency {
        bool bRegular = true; // over regular edges
        bool bFolds = true;   // where two members meet at an edge of higher degree
    };

    const std::vector<CTriangle*>& walkOrder() const;
    bool isAliveMember(const CTriangle* pCT) const;
    template <class F>
    double sumOverAlive(F f) const;
    void forgetMembers(); // for an owner that clears all patches at once
    int countMembersAt(const CEdge* pCE) const;
    void setBoundaryKey();
    void collectRim(std::vector<CEdge*>& vRim) const;
    Consistency consistencyAt(const CTriangle* pCT) const;
    Consistency getConsistency() const;
    bool orientMembers();
    void orientPatch();
    CEdge* foldAt(const CTriangle* pCT) const; // an edge where the members fold over; null if none
    bool hasFold() const;
    double getCoarseThickness() const;
    bool isBulky();
    bool isFlatPocket() const;

    CMesh* pMesh;                       // not owned
    std::vector<CTriangle*> vMemberCT;  // not owned
    std::vector<CEdge*> vRimCE;         // see setRim; meaningful if bRimKnown
    std::vector<CEdge*> vOuterBoundary; // not owned
    u64 boundaryKey = 0;
    CPatch* pPartner = nullptr; // not owned
    double partnerCertainty = 0.0;
    int label;
    int numInnerVtx = -1;
    bool bAlive = true;
    bool bSettled = true;
    bool bJudged = false;  // no flat pocket, as the members are
    bool bRegular = false; // the members hang together over regular edges
    bool bMayFold = true;  // false: no edge of degree above 2 has two members
    bool bRimKnown = false;
    bool bBoundaryKnown = false;
};

// By size, then by label.
bool lessBySize(const CPatch* a, const CPatch* b);

} // namespace TESK_ZAN
