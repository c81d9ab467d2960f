// Subsystem: real mesh. Builds on: RMesh, colorDistance, tesk_tools/FixedPower. Used by: RMesh flips,
// flipLoops. What the flip of an edge gains: an energy that is low where the surface is straight.
#pragma once

#include <cstddef>
#include <initializer_list>

namespace TESK_ZAN
{

class LabCache;
class REdge;
class RMesh;

// An edge with what its flip gains.
struct RECandidate {
    double improvement = 0.0;
    REdge* pRE = nullptr; // null marks an empty slot
};

// Rates the flip of an edge: the energy of the edge and of the four edges around it, before minus after. The
// energy of one edge is (d * length) to the power 0.335, where d is 1 minus the cosine of the angle between
// the two normals: one sharp edge is cheaper than many soft ones. Flips that make large angles larger pay a
// penalty; flips that turn an edge along a border between colours get a bonus. An
// extension of 1.17: no bonus for a flip that makes a needle or a fold.
//
// improvement is -DBL_MAX where the flip is impossible or forbidden: the degree is not 2, the new edge exists
// already, a triangle has no normal or would have none, or the fold would be sharper than 170 degrees and
// sharper than it is. Else it is a number, never NaN, and positive if the flip is an improvement.
class REdgeEnergy
{
public:
    // The mesh must not be null. An edge that is not null is rated at once. pLab: the colours of the mesh if
    // there is a cache, which must outlive this object; without one they are converted each time.
    REdgeEnergy(RMesh* pRMesh, REdge* pRE, const LabCache* pLab = nullptr);

    // Settles the surroundings of the edge, rates it and returns the improvement. O(degree of its vertices).
    double getImprovement(REdge* pRE);

    // The same as a pure reader, for several threads at once, in two steps, since the second is needed for
    // few. The caller has settled the edge before (settle, and the normals of all triangles): then the
    // improvement is that of getImprovement, unless hasAlternative.
    double getSettledImprovement(REdge* pRE);
    bool hasAlternative() const; // the new edge of the flip of the edge rated last exists already

    REdge* getRE() const { return pRE; } // the one rated last
    double getImprovement() const { return improvement; }

    // Without a change: does settle have anything to do at this edge?
    static bool isSettled(const REdge& edge);

    // Brings an edge of degree 2 into the state that a rating needs: its triangles run alike (the second one
    // is flipped if need be), and the two corners opposite the edge have different places (they are moved
    // apart if need be, which happens only if a host has moved vertices).
    static void settle(RMesh* pRMesh, REdge* pRE);

    // Ratings wait for memory: what one reads lies in some twenty places, far from each other once flips have
    // made new edges and triangles. A loop that knows which edges come next calls this before each rating,
    // with a function that gives the edge k places ahead or null.
    template <class F>
    static void prefetch(F edgeAhead)
    {
        for (int stage = 0; stage < NUM_PREFETCH_STAGES; ++stage)
            if (const REdge* pAheadRE = edgeAhead(PREFETCH_DISTANCE * size_t(NUM_PREFETCH_STAGES - stage)))
                prefetchStage(stage, *pAheadRE);
    }

    // The same for a loop that also asks for the new edges of the flips (getImprovement, hasAlternative),
    // which are looked for among the triangles at a corner.
    template <class F>
    void prefetchAll(F edgeAhead) const
    {
        prefetch([&](size_t ahead) { return edgeAhead(ahead + PREFETCH_DISTANCE); });
        for (const bool bRecords : {false, true})
            if (const REdge* pAheadRE = edgeAhead(bRecords ? PREFETCH_DISTANCE : 2 * PREFETCH_DISTANCE))
                prefetchRing(bRecords, *pAheadRE);
    }

private:
    struct Quad;
    struct Shape;

    static constexpr int NUM_PREFETCH_STAGES = 4;
    static constexpr size_t PREFETCH_DISTANCE = 6; // ratings that pass until memory has answered
    static void prefetchStage(int stage, const REdge& edge);
    void prefetchRing(bool bRecords, const REdge& edge) const;

    void compute();
    void fillNormals() const;
    double rate() const;
    double energyGain(const Quad& quad, const Shape& shape) const;
    double colorBonus(const Quad& quad) const;
    static bool spoilsShape(const Quad& quad, const Shape& shape);

    RMesh* pRMesh;
    REdge* pRE;
    double improvement;
    const LabCache* pLab; // not owned, may be null
};

} // namespace TESK_ZAN
