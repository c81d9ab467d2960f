#include "Filler.h"

#include "Calc.h"
#include "Progress.h"
#include "SideForest.h"
#include "gridComponents.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <ostream>
#include <queue>

namespace TESK_ZAN
{

namespace
{

constexpr double RADIUS_FACTOR = 1.5; // both sheets grow, but seldom straight toward each other
constexpr int MAX_RADIUS = 1 << 21;   // the whole lattice
// Specks are related to what is near only, lest they bridge sheets that have nothing to do with each other.
constexpr size_t MIN_CELLS = 5;
constexpr double SQ_SPECK_REACH = 5.0 * 5.0; // in cells
constexpr double PAIR_SLACK = 3.0;           // in cells: a pair may be by so much wider than the nearest one
constexpr double WEIGHT_SPAN = 100.0;        // in cells: a nearer pair weighs more by the difference
constexpr double MIN_WEIGHT = 0.1;

double cellDistance(const AffiData& a, const AffiData& b)
{
    return (latticePoint(a.rcd) - latticePoint(b.rcd)).length();
}

// How much a pair of cells speaks for their components agreeing as they stand: by the facets round both that
// look the same way.
double pairScore(const AffiData& a, const AffiData& b)
{
    int lower0[6], upper0[6], lower1[6], upper1[6];
    a.pComponent->getOrientationCount(a.rcd, lower0, upper0);
    b.pComponent->getOrientationCount(b.rcd, lower1, upper1);
    int numSame = 0, numDiff = 0;
    for (int side = 0; side < 6; ++side) {
        numSame += std::min(lower0[side], lower1[side]) + std::min(upper0[side], upper1[side]);
        numDiff += std::min(lower0[side], upper1[side]) + std::min(upper0[side], lower1[side]);
    }
    return std::max(WEIGHT_SPAN - cellDistance(a, b), MIN_WEIGHT) * (numSame - numDiff);
}

// How sure the side of a component is that its relations speak for: above 0 as it stands.
double weightOf(const Component& component)
{
    double sum = 0.0;
    for (const ConnectionStruct* pConnection : component.vConnections)
        sum += pConnection->score;
    return sum;
}

} // namespace

Filler::Filler(int numGrowSteps_, std::vector<u64>& vGlobalBorderRCD_,
               const std::vector<u64>& vGlobalAreaRCD_, const CellPoints& vGlobalRCDPoint_,
               const Calc* pCalc_)
    : numGrowSteps(numGrowSteps_), vGlobalBorderRCD(vGlobalBorderRCD_), vGlobalAreaRCD(vGlobalAreaRCD_),
      vGlobalRCDPoint(vGlobalRCDPoint_), pCalc(pCalc_)
{
    zanAssertText(numGrowSteps > 0, "numGrowSteps>0");
    sortUniqueMT(vGlobalBorderRCD);
    sortUniqueMT(vGlobalAreaRCD);
    if (vGlobalBorderRCD.size() + vGlobalAreaRCD.size() != vGlobalRCDPoint.size())
        messageStream() << "border cells: " << vGlobalBorderRCD.size()
                        << ", area cells: " << vGlobalAreaRCD.size() << ", points: " << vGlobalRCDPoint.size()
                        << std::endl;
    zanAssert(vGlobalBorderRCD.size() + vGlobalAreaRCD.size() == vGlobalRCDPoint.size());
}

Filler::~Filler() = default;

int Filler::affiliationRadius(int numGrowSteps)
{
    // Cells of different components are two cells apart at least: a single step could not reach any.
    const int radius = static_cast<int>(std::min(RADIUS_FACTOR * numGrowSteps, double{MAX_RADIUS}));
    return std::max(radius, 2);
}

void Filler::run(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges)
{
    createComponents();
    std::vector<AffiPair> vPairs;
    determineAffiliation(affiliationRadius(numGrowSteps), vPairs);
    orient(vPairs);
    createMasters();

    const StageTimer stage("FI_masters");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("FI_masters", vMasters.size());
    vResultPoints.clear();
    for (std::unique_ptr<Component>& pMaster : vMasters) {
        CellPoints vOfMaster;
        if (!pMaster->runForMasters(vOfMaster, vAffilEdges))
            ZAN_WARNING(pMaster->getName() + " gave no result");
        for (const auto& entry : vOfMaster)
            if (!std::binary_search(vGlobalRCDPoint.begin(), vGlobalRCDPoint.end(), entry))
                vResultPoints.push_back(entry);
        pMaster.reset(); // its field is the largest thing of the run
        pProgress->tick();
    }
    vMasters.clear();
    pProgress->finish(true);
    sortMT(vResultPoints.begin(), vResultPoints.end());
    const auto sameCell = [](const auto& a, const auto& b) { return a.first == b.first; };
    vResultPoints.erase(std::unique(vResultPoints.begin(), vResultPoints.end(), sameCell),
                        vResultPoints.end());
    messageStream() << "Filler output: " << vResultPoints.size() << std::endl;
}

void Filler::createComponents()
{
    const StageTimer stage("FI_comps");
    ZAN_INFO("THIS IS createComponents()");
    std::vector<u64> vAllRCD;
    vAllRCD.reserve(vGlobalRCDPoint.size());
    std::merge(vGlobalAreaRCD.begin(), vGlobalAreaRCD.end(), vGlobalBorderRCD.begin(), vGlobalBorderRCD.end(),
               std::back_inserter(vAllRCD));
    std::vector<std::vector<u64>> vvCC;
    createCC_RCD(vAllRCD, vvCC);

    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("FI_comps", vvCC.size());
    vAffiData.reserve(vGlobalBorderRCD.size());
    affiIndex.reserve(vGlobalBorderRCD.size());
    for (const std::vector<u64>& vCompRCD : vvCC) {
        const std::vector<u64> vCompBorderRCD = selectMT(vCompRCD, [this](u64 rcd) {
            return std::binary_search(vGlobalBorderRCD.begin(), vGlobalBorderRCD.end(), rcd);
        });
        const auto label = static_cast<std::uint32_t>(numCreated);
        vComponents.push_back(
            std::make_unique<Component>(numCreated++, vCompRCD, vCompBorderRCD, vGlobalRCDPoint, pCalc));
        for (const u64 rcd : vCompBorderRCD) {
            vAffiData.push_back({rcd, vComponents.back().get()});
            affiIndex.add(latticePoint(rcd), &vAffiData.back(), label);
        }
        pProgress->tick();
    }
    pProgress->finish(true);
    affiIndex.build();
}

void Filler::determineAffiliation(int radius, std::vector<AffiPair>& vPairs)
{
    const StageTimer stage("FI_affi");
    const double maxSqDist = static_cast<double>(radius) * radius;
    std::vector<Neighbour> vNeighbours;
    transformMT(vAffiData, vNeighbours, [&](const AffiData& affi) { return findNeighbour(affi, maxSqDist); });

    vPairs.clear();
    for (size_t i = 0; i < vAffiData.size(); ++i) {
        AffiData* pOther = vNeighbours[i].pOther;
        if (pOther == nullptr)
            continue;
        for (AffiData* pAffi : {&vAffiData[i], pOther})
            pAffi->minDist = std::min(pAffi->minDist, vNeighbours[i].dist);
        vPairs.push_back(std::minmax(&vAffiData[i], pOther));
    }
    sortUniqueMT(vPairs);
    std::erase_if(vPairs, [](const AffiPair& pr) {
        zanAssertText(pr.first < pr.second, "pr.first<pr.second");
        const double limit = cellDistance(*pr.first, *pr.second) - PAIR_SLACK;
        return pr.first->minDist <= limit || pr.second->minDist <= limit;
    });
}

// The nearest border cell of another component.
Filler::Neighbour Filler::findNeighbour(const AffiData& affi, double maxSqDist) const
{
    const auto counts = [](double sqDist, const AffiData* pOther) {
        return pOther->pComponent->getAllRCD().size() >= MIN_CELLS || sqDist < SQ_SPECK_REACH;
    };
    std::pair<double, AffiData*> nearest;
    const auto label = static_cast<std::uint32_t>(affi.pComponent->getId());
    if (!affiIndex.getNearestOther(latticePoint(affi.rcd), maxSqDist, label, counts, nearest))
        return {};
    return {nearest.second, static_cast<float>(std::sqrt(nearest.first))};
}

void Filler::orient(const std::vector<AffiPair>& vPairs)
{
    const StageTimer stage("FI_orient");
    createConnections(vPairs);
    flipBySurestTree();
    flipByWeight();
    for (const std::unique_ptr<Component>& pComp : vComponents)
        zanAssertText(pComp->isOriented(), "pComp->isOriented()");
}

void Filler::createConnections(const std::vector<AffiPair>& vPairs)
{
    std::vector<double> vScores;
    transformMT(vPairs, vScores, [](const AffiPair& pr) { return pairScore(*pr.first, *pr.second); });
    for (size_t i = 0; i < vPairs.size(); ++i)
        connectionOf(vPairs[i].first->pComponent, vPairs[i].second->pComponent).score += vScores[i];
}

ConnectionStruct& Filler::connectionOf(Component* pComponent0, Component* pComponent1)
{
    zanAssertText(pComponent0->getId() < pComponent1->getId(), "pComponent0<pComponent1");
    const u64 ids = static_cast<u64>(pComponent0->getId()) << 32 | static_cast<u64>(pComponent1->getId());
    const auto [ppConnection, bNew] = mIdsConnection.tryEmplace(ids, nullptr);
    if (bNew) {
        vConnections.push_back({pComponent0, pComponent1, 0.0});
        *ppConnection = &vConnections.back();
        pComponent0->vConnections.push_back(*ppConnection);
        pComponent1->vConnections.push_back(*ppConnection);
    }
    return **ppConnection;
}

// Surest relations first, components join to groups, in each of which all agree along the relations that made
// it. A doubt between two that agree well with others is so never paid for by the sure ones, which weights of
// single components alone would not see.
void Filler::flipBySurestTree()
{
    std::vector<const ConnectionStruct*> vSurest;
    for (const ConnectionStruct& connection : vConnections)
        vSurest.push_back(&connection);
    std::stable_sort(vSurest.begin(), vSurest.end(),
                     [](const ConnectionStruct* a, const ConnectionStruct* b) {
                         return std::fabs(a->score) > std::fabs(b->score);
                     });
    SideForest forest(vComponents.size());
    for (const ConnectionStruct* pConnection : vSurest) {
        const auto id0 = static_cast<SideForest::Index>(pConnection->pComponent0->getId());
        const auto id1 = static_cast<SideForest::Index>(pConnection->pComponent1->getId());
        const SideForest::Root root0 = forest.find(id0), root1 = forest.find(id1);
        const bool bAgainst = pConnection->score < 0.0;
        if (root0.index != root1.index)
            forest.attach(root1.index, root0.index, (root0.bTurned != root1.bTurned) != bAgainst);
    }
    for (const std::unique_ptr<Component>& pComp : vComponents)
        if (forest.find(static_cast<SideForest::Index>(pComp->getId())).bTurned)
            flip(*pComp);
}

// What is left of disagreement: components whose relations speak against them more than for them, surest
// first.
void Filler::flipByWeight()
{
    using Entry = std::pair<double, int>; // absolute weight, negated id: of equal ones the first comes first
    std::priority_queue<Entry> queue;
    const auto enter = [&](const Component& component) {
        queue.emplace(std::fabs(weightOf(component)), -component.getId());
    };
    for (const std::unique_ptr<Component>& pComp : vComponents)
        enter(*pComp);
    while (!queue.empty()) {
        const auto [weightThen, negatedId] = queue.top();
        queue.pop();
        Component& component = *vComponents[static_cast<size_t>(-negatedId)];
        if (component.isOriented())
            continue;
        const double weight = weightOf(component);
        if (std::fabs(weight) != weightThen) {
            enter(component); // stale: another one was flipped
            continue;
        }
        component.setOriented();
        if (weight > 0.0)
            continue;
        flip(component);
        for (const ConnectionStruct* pConnection : component.vConnections)
            if (const Component* pOther = pConnection->getOther(&component); !pOther->isOriented())
                enter(*pOther);
    }
}

void Filler::flip(Component& component)
{
    for (ConnectionStruct* pConnection : component.vConnections)
        pConnection->score = -pConnection->score;
    component.flip();
}

void Filler::createMasters()
{
    const StageTimer stage("FI_groups");
    std::vector<char> vReached(vComponents.size(), 0);
    for (const std::unique_ptr<Component>& pFirst : vComponents) {
        std::vector<Component*> vMembers; // the queue of the search at the same time
        const auto reach = [&](Component* pComp) {
            char& reached = vReached[static_cast<size_t>(pComp->getId())];
            if (reached == 0)
                vMembers.push_back(pComp);
            reached = 1;
        };
        reach(pFirst.get());
        for (size_t i = 0; i < vMembers.size(); ++i)
            for (const ConnectionStruct* pConnection : vMembers[i]->vConnections)
                reach(pConnection->getOther(vMembers[i]));
        if (!vMembers.empty())
            vMasters.push_back(
                std::make_unique<Component>(numCreated++, vMembers, numGrowSteps, vGlobalRCDPoint, pCalc));
    }
}

} // namespace TESK_ZAN
