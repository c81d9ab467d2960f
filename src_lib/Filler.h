// Subsystem: volumes. Builds on: Component, PointIndex3, gridComponents, SideForest. Used by: fillGaps.
// From cells to cells: grows the sheets of a rasterised surface beyond their rims, so that sheets near each
// other meet. Connected parts become components; those whose rims are near each other are related and turned
// so that upper side meets upper side; related ones make a master, over which a signed field is inflated.
#pragma once

#include "AffiData.h"
#include "Component.h"
#include "ConnectionStruct.h"
#include "definitions.h"
#include "tesk_locate3/PointIndex3.h"
#include "tesk_tools/FlatMap.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

class Filler
{
public:
    using AffiPair = std::pair<AffiData*, AffiData*>; // lower address first

    // numGrowSteps: how far sheets grow, in cells. Condition "numGrowSteps>0". The border cells, which lie at
    // the rims of sheets, are sorted and made unique in place; the area cells are all others. vGlobalRCDPoint
    // is sorted and has one point for each cell of both: else a message with the three sizes, and a failed
    // condition. The references and pCalc must outlive this.
    Filler(int numGrowSteps, std::vector<u64>& vGlobalBorderRCD, const std::vector<u64>& vGlobalAreaRCD,
           const CellPoints& vGlobalRCDPoint, const Calc* pCalc);
    ~Filler();
    Filler(const Filler&) = delete;
    Filler& operator=(const Filler&) = delete;

    // All steps. vResultPoints becomes the new cells with a point each, ascending, each once; they lie where
    // sheets go on beyond their rims, toward others or not. vAffilEdges is appended to by each master in
    // turn: a new cell, and how many lattice edges of it the surface crosses. Once only. About linear in the
    // cells and in the cells within the grow steps of rims.
    void run(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges);

    // The steps, in the order of run.
    void createComponents();
    // The pairs of border cells of different components, at most radius cells apart, that are about as near
    // as these cells have neighbours; ascending, each once.
    void determineAffiliation(int radius, std::vector<AffiPair>& vPairs);
    // Relates the components of each pair and flips some, so that as many related ones as possible agree.
    void orient(const std::vector<AffiPair>& vPairs);
    void createMasters();

    // In order of their smallest cells.
    const std::vector<std::unique_ptr<Component>>& getComponents() const { return vComponents; }
    // In order of their first members; run lets each go when it is done with it.
    const std::vector<std::unique_ptr<Component>>& getMasters() const { return vMasters; }
    // In order of their pairs.
    const std::deque<ConnectionStruct>& getConnections() const { return vConnections; }

    // How far apart rims may be that are related, in cells.
    static int affiliationRadius(int numGrowSteps);

private:
    struct Neighbour {
        AffiData* pOther = nullptr; // null: none within the radius
        float dist = 0.0f;
    };

    Neighbour findNeighbour(const AffiData& affi, double maxSqDist) const;
    ConnectionStruct& connectionOf(Component* pComponent0, Component* pComponent1);
    void createConnections(const std::vector<AffiPair>& vPairs);
    void flipBySurestTree();
    void flipByWeight();
    static void flip(Component& component);

    const int numGrowSteps;
    std::vector<u64>& vGlobalBorderRCD;
    std::vector<u64> vGlobalAreaRCD;
    const CellPoints& vGlobalRCDPoint;
    const Calc* pCalc;
    int numCreated = 0; // components and masters: the next id
    std::vector<std::unique_ptr<Component>> vComponents;
    std::vector<std::unique_ptr<Component>> vMasters;
    std::vector<AffiData> vAffiData; // has its final size before the first address is taken
    PointIndex3<AffiData*> affiIndex;
    std::deque<ConnectionStruct> vConnections; // addresses stay
    TESK_TOOLS::FlatMap<u64, ConnectionStruct*, TESK_TOOLS::U64Hash> mIdsConnection;
};

} // namespace TESK_ZAN
