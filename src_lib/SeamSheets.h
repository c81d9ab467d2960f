// Subsystem: real mesh. Builds on: RMesh, FanSplitter, SideForest. Used by: manifoldRepair.
// Decides which triangles stay together where more than two meet at an edge.
#pragma once

#include "FanSplitter.h"
#include "RMesh.h"
#include "SideForest.h"

#include <cstddef>
#include <cstdint>
#include <queue>
#include <vector>

namespace TESK_ZAN
{

// A seam is an edge with more than two triangles; the patches are what hangs together over edges of degree 2.
// Seams are few and patches know them, so all that follows works on a small graph of patches:
//
// 1. Patch after patch is detached, as long as that leaves no triangle of another patch alone at a seam:
//    first those that lose nothing themselves (two closed surfaces that touch), then the cheapest, which are
//    small and turn much away from what they hang on: fins, walls, one of the two skins of a pocket. Where
//    two triangles are left at a seam their patches become one.
// 2. What still meets in a seam is joined in pairs: never crosswise, those first that belong to one patch and
//    turn least.
//
// A small patch that has been detached and would end at a seam is a scrap.
class SeamSheets
{
public:
    // vSeamRE: all seams, by number. If there are any the patches must be fresh: createPatchesOrient. The
    // mesh must not change while this lives.
    SeamSheets(const RMesh& mesh, std::vector<REdge*> vSeamRE);

    // Both steps. Call it once. O(s log s) in the number of seams, cubic in the triangles that meet in one of
    // them: the lattice of cells allows few.
    void decide();

    const std::vector<REdge*>& getSeams() const { return vSeamRE; } // by number
    const EdgeJoints& getJoints() const { return joints; }

    // Appends the triangles of the scraps.
    void getScrapT(std::vector<RTriangle*>& vRT);

private:
    using Index = SideForest::Index;
    static constexpr Index OPEN = UINT32_MAX;

    // A triangle at a seam.
    struct Slot {
        RTriangle* pRT;
        Index patch;     // where it lay at the start
        Index group;     // OPEN, or the detached patch that it went with
        double angle;    // radians round the seam, 0 to 2 pi, from the first slot on
        bool bAlongEdge; // the triangle runs from endpoint 0 to endpoint 1
    };
    struct Seam {
        std::vector<Slot> vSlots;
        size_t numOpen; // slots whose group is OPEN
    };

    // What detaching would do at the seams of a patch.
    struct Effect {
        int numSolved = 0;  // seams that have too many triangles now
        int numAlone = 0;   // triangles of others that would be left alone, or could only be joined twisted
        int numOwnEnds = 0; // triangles of the patch itself that would end at a seam
        u64 sumTurns = 0;   // microradians from each of its triangles to the flattest continuation
        u64 numTurns = 0;

        void add(const Effect& other, int sign);
    };
    struct Patch {
        bool bDetached = false;
        bool bScrap = false;
        size_t numT;
        std::vector<Index> vSeams; // of all its parts; may repeat
        Effect effect;
    };
    struct Candidate {
        bool bEnds; // it would end at seams
        double cost;
        Index patch;
        bool operator>(const Candidate& other) const;
    };

    // Two of the triangles that meet, by their places in the order of the angles.
    struct Pair {
        double cost;
        size_t first;
        size_t second;
        bool crosses(const Pair& other) const; // or shares a triangle with it
    };

    void addSeam(REdge* pRE);
    static void setAngles(const REdge& edge, std::vector<Slot>& vSlots);

    Index sheetOf(const Slot& slot) { return forest.find(slot.patch).index; }
    bool fitTogether(const Slot& slot0, const Slot& slot1);
    void addEffects(const Seam& seam, int sign);
    Effect effectAt(const Seam& seam, Index root);
    void becomeOne(const Slot& slot0, const Slot& slot1);

    void detachPatches();
    void pushCandidate(Index root);
    double costOf(Index root) const;
    bool mayDetach(Index root) const;
    void detach(Index root);
    void detachAt(Seam& seam, Index root);

    void joinGroups();
    std::vector<Pair> findPairs(const std::vector<Slot*>& vpSlots);
    void joinPairs(const REdge* pRE, std::vector<Slot*>& vpSlots);

    const RMesh& mesh;
    std::vector<REdge*> vSeamRE;
    std::vector<Seam> vSeams; // parallel to vSeamRE
    std::vector<Patch> vPatches;
    SideForest forest; // of patches: what has become one
    std::priority_queue<Candidate, std::vector<Candidate>, std::greater<>> queue;
    EdgeJoints joints;
};

} // namespace TESK_ZAN
