// Subsystem: run. Builds on: Progress, flipLoops, RMesh. Used by: zan_api_functions.
// The named progress trees of the exported calls, and the guard that opens one and always closes it.
#pragma once

#include <string>
#include <vector>

namespace TESK_ZAN
{

struct PhaseWeight {
    std::string name; // the phase code by which a stage opens it
    double weight;    // relative to the sum over all phases of the tree
};

// The phases of each call, in the order in which they enter the tree.
const std::vector<PhaseWeight>& reconstructPhases();
const std::vector<PhaseWeight>& meltPhases();
const std::vector<PhaseWeight>& toCloudPhases();
const std::vector<PhaseWeight>& fillGapsPhases();
const std::vector<PhaseWeight>& densityPhases();
const std::vector<PhaseWeight>& edgeFlipsPhases();
const std::vector<PhaseWeight>& edgeFlipsSimAPhases();
const std::vector<PhaseWeight>& reducePhases();
const std::vector<PhaseWeight>& closeHolesPhases();
const std::vector<PhaseWeight>& sharpenEdgesPhases();
const std::vector<PhaseWeight>& repairShapesPhases();
const std::vector<PhaseWeight>& meshFromTrianglesPhases();
std::vector<PhaseWeight> smoothingPhases(int numIterations); // at most MAX_SMOOTHING_PHASES for the rounds

// Opens a tree on the calling thread's progress root for the length of a call. Whatever way the call ends, a
// subscriber that throws included, the root is "empty" afterwards. When a tree is open already (the call is
// made from within another one on this thread), the call reports into that tree and touches neither its name
// nor its end.
class ProgressTree
{
public:
    ProgressTree(const std::string& name, const std::vector<PhaseWeight>& vPhases);
    ~ProgressTree();
    ProgressTree(const ProgressTree&) = delete;
    ProgressTree& operator=(const ProgressTree&) = delete;

    // The regular end of the call: the subscriber hears the last fraction, then the tree is cleared.
    void finish();

private:
    bool bOwner; // this guard opened the tree and has not cleared it yet
};

} // namespace TESK_ZAN
