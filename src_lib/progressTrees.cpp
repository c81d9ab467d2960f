#include "progressTrees.h"

#include "Progress.h"
#include "RMesh.h"
#include "flipLoops.h"

#include <algorithm>

namespace TESK_ZAN
{

const std::vector<PhaseWeight>& reconstructPhases()
{
    static const std::vector<PhaseWeight> vPhases = {
        {"CL_eres", 3},          {"SM_run", 3},         {"CL_creb", 3},       {"HL_st", 3},
        {"VO_ftx", 3},           {"VO_amb", 3},         {"TP_unif", 10},      {"TP_pps", 100},
        {"PREP_fillHoles", 100}, {"TP_cbcpl", 100},     {"TP_itr", 50},       {"TP_fin", 30},
        {"RM_cpo", 10},          {"RM_kdeg", 10},       {"RM_gEfCandMT", 10}, {"efLoop", 10},
        {"PREP_createRCD", 2},   {"PREP_integFill", 2},
    };
    return vPhases;
}

const std::vector<PhaseWeight>& meltPhases()
{
    static const std::vector<PhaseWeight> vPhases = {
        {"dih2e", 0.061},        {"reo", 0.013},         {"rFins", 0.002},        {"feate", 0.019},
        {"nfeate", 0.084},       {"ar4", 0.092},         {"oifc", 0.025},         {"mandiffe", 0.042},
        {"mandiffa", 0.943},     {"VO_ftx", 3},          {"VO_amb", 3},           {"TP_cbcpl", 6},
        {"TP_pps", 5},           {"RM_cpo", 1.09},       {"RM_kdeg", 4},          {"hal-part", 10},
        {"CL_eres", 3},          {"SM_run", 3},          {"CL_creb", 3},          {"HL_st", 3},
        {"TP_unif", 0.6},        {"TP_itr", 1},          {"TP_fin", 1.7},         {"efLoop", 5},
        {"RM_redborder", 0.263}, {"RM_redprioq", 0.824}, {"RM_redprocprioq", 15}, {"RM_gEfCandMT", 2},
    };
    return vPhases;
}

const std::vector<PhaseWeight>& toCloudPhases()
{
    static const std::vector<PhaseWeight> vPhases = {
        {"CL_eres", 3},   {"dih2e", 3}, {"reo", 3},   {"rFins", 3},     {"feate", 10},     {"nfeate", 50},
        {"hal-part", 10}, {"ar4", 100}, {"oifc", 10}, {"mandiffe", 10}, {"mandiffa", 100},
    };
    return vPhases;
}

const std::vector<PhaseWeight>& fillGapsPhases()
{
    static const std::vector<PhaseWeight> vPhases = [] {
        std::vector<PhaseWeight> v = toCloudPhases();
        v.push_back({"FI_comps", 300});
        v.push_back({"FI_masters", 300});
        return v;
    }();
    return vPhases;
}

const std::vector<PhaseWeight>& densityPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"CL_eres", 3}, {"SM_run", 3}, {"CL_creb", 3}};
    return vPhases;
}

const std::vector<PhaseWeight>& edgeFlipsPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"RM_kdeg", 10}, {"RM_gEfCandMT", 10}, {"efLoop", 10}};
    return vPhases;
}

const std::vector<PhaseWeight>& edgeFlipsSimAPhases()
{
    static const std::vector<PhaseWeight> vPhases = [] {
        std::vector<PhaseWeight> v = {{"RM_kdeg", 10}};
        for (const double temperature : annealingTemperatures())
            v.push_back({flipCandidatesPhase(temperature), 10});
        v.push_back({"RM_gEfCandMT", 10});
        v.push_back({"efLoop", 3});
        return v;
    }();
    return vPhases;
}

const std::vector<PhaseWeight>& reducePhases()
{
    static const std::vector<PhaseWeight> vPhases = {
        {"RM_kdeg", 3}, {"RM_redborder", 1}, {"RM_redprioq", 3}, {"RM_redprocprioq", 93}};
    return vPhases;
}

const std::vector<PhaseWeight>& closeHolesPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"HO_close", 10}};
    return vPhases;
}

const std::vector<PhaseWeight>& sharpenEdgesPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"SH_edges", 10}};
    return vPhases;
}

const std::vector<PhaseWeight>& repairShapesPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"RM_shapes", 10}};
    return vPhases;
}

const std::vector<PhaseWeight>& meshFromTrianglesPhases()
{
    static const std::vector<PhaseWeight> vPhases = {{"RM_smVtx", 5}, {"RM_smT", 10}};
    return vPhases;
}

std::vector<PhaseWeight> smoothingPhases(int numIterations)
{
    std::vector<PhaseWeight> vPhases = {{"border", 1}, {"list", 2}};
    for (int i = 0; i < std::min(numIterations, MAX_SMOOTHING_PHASES); ++i)
        vPhases.push_back({"it%" + std::to_string(i), 10});
    vPhases.push_back({"RM_kdeg", 10});
    return vPhases;
}

ProgressTree::ProgressTree(const std::string& name, const std::vector<PhaseWeight>& vPhases)
    : bOwner(getRootProgress()->getName() == "empty")
{
    if (!bOwner)
        return;
    Progress* pRoot = getRootProgress();
    pRoot->clear();
    pRoot->setName(name);
    for (const PhaseWeight& phase : vPhases)
        pRoot->createChild(phase.name, phase.weight);
}

ProgressTree::~ProgressTree()
{
    if (bOwner)
        getRootProgress()->clear();
}

void ProgressTree::finish()
{
    if (!bOwner)
        return;
    getRootProgress()->finish(true);
    getRootProgress()->clear();
    bOwner = false;
}

} // namespace TESK_ZAN
