// Subsystem: real mesh. Builds on: RMesh, REdgeEnergy, Progress. Used by: RTop, zan_api_functions.
// The two ways of flipping edges until a mesh is straighter: greedy descent, and sweeps of simulated
// annealing.
#pragma once

#include "REdgeEnergy.h"

#include <cstdint>
#include <string>
#include <vector>

namespace TESK_ZAN
{

class RMesh;

// Flips edges, the greatest improvement first, until no edge that the mesh has now improves by a flip any
// more. Values are looked at again only when an edge comes to the top: a value that has shrunk goes back into
// the queue while it is above 0.005. Edges that flips make are not looked at; a second call does. Of equal
// values the edge with the higher number comes first. The energy of the mesh does not rise, colour and angle
// terms included. n log n; the first rating of all edges runs in parallel. Progress "RM_gEfCandMT", "efLoop".
void greedyFlips(RMesh* pRMesh);

// One sweep of annealing at a temperature above 0: every edge is rated, good flips are chosen always, bad
// ones with the probability exp(improvement / temperature); then all chosen edges are flipped in random
// order, as far as they still can be. The same mesh and temperature give the same flips.
void edgeFlipsSimA(RMesh* pRMesh, double temperature);

// The temperatures of a whole annealing, falling: 0.018 down to about 0.00094, 29 of them.
std::vector<double> annealingTemperatures();

// The phase in which edges are rated at a temperature: "RM_gEfCandMT", above 0 with "_" and the temperature.
std::string flipCandidatesPhase(double temperature);

// Edges by improvement, the largest first, of equal ones the one that came last: the order of a multimap that
// is read from its end. Most entries are known at the start, so they stay a sorted array, and only those that
// come later form a heap.
class FlipQueue
{
public:
    // vSorted: ascending by improvement. None may be NaN.
    explicit FlipQueue(std::vector<RECandidate> vSorted);

    bool empty() const { return vSorted.empty() && vHeap.empty(); }
    RECandidate pop(); // must not be empty
    void push(const RECandidate& candidate);

    // The edge that comes k pops later, as far as nothing is pushed; null if none is known.
    const REdge* getAhead(size_t k) const
    {
        return k < vSorted.size() ? vSorted[vSorted.size() - 1 - k].pRE : nullptr;
    }

private:
    struct Entry {
        RECandidate candidate;
        std::uint64_t sequence;
    };
    static bool comesLater(const Entry& entry0, const Entry& entry1);

    std::vector<RECandidate> vSorted; // came before all of the heap
    std::vector<Entry> vHeap;
    std::uint64_t numPushed = 0;
};

} // namespace TESK_ZAN
