// Subsystem: volumes. Builds on: Facet, SheetCells, CornerStore, gridSets, sortMT. Used by: Filler.
// One connected sheet of cells, as thick as rasterising made it, whose two sides are told apart; and, made of
// several such sheets, a master, over whose rims a signed distance is inflated. The zero level of that field
// gives new cells.
//
// The sides are told on the facets: those of one side end with componentIndex 0, the lower side, those of the
// other with 1, the upper one. Facets where the sides meet, near the rim, end with -1.
#pragma once

#include "CornerStore.h"
#include "Facet.h"
#include "Point3.h"
#include "definitions.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;
struct CornerBox;
class RemoveDecider_RCD;
class SheetCells;
struct ConnectionStruct;

// A point for each cell, sorted by cell.
using CellPoints = std::vector<std::pair<u64, Point3>>;

class Component
{
public:
    // A sheet, coloured at once. vAllRCD is sorted and unique, vBorderRCD the cells of its rims among them,
    // sorted too; the rest are inner cells. vRCDPoint has a point for each cell. id is the running number of
    // the component in its run: it orders components and shows in the name. vRCDPoint and pCalc must outlive
    // the component. Linear in the cells, but for sorts; parallel inside.
    Component(int id, const std::vector<u64>& vAllRCD, const std::vector<u64>& vBorderRCD,
              const CellPoints& vRCDPoint, const Calc* pCalc);

    // A master: the union of the members' cells and facets, which are copied as they are now. The members
    // share no cell.
    Component(int id, const std::vector<Component*>& vMembers, int numGrowSteps, const CellPoints& vRCDPoint,
              const Calc* pCalc);

    ~Component();
    Component(const Component&) = delete; // facets hold addresses of facets
    Component& operator=(const Component&) = delete;

    // --- Component.cpp ---

    int getId() const { return id; }
    const std::string& getName() const { return name; }
    const std::vector<u64>& getAllRCD() const { return vAllRCD; }
    const std::vector<u64>& getBorderRCD() const { return vBorderRCD; }
    const std::vector<u64>& getInnerRCD() const { return vInnerRCD; }
    const std::vector<Facet>& getVisibleFacets() const { return vVisibleFacets; }

    // False for a sheet of which only one side was found: all its facets have -1.
    bool isColored() const { return bColored; }

    bool isOriented() const { return bOriented; }
    void setOriented() { bOriented = true; }

    // The upper side becomes the lower one and the reverse.
    void flip();

    // The facets of the 27 cells round rcd, counted by side of the cell: those of the lower side of the sheet
    // and those of the upper one.
    void getOrientationCount(u64 rcd, int aLower[6], int aUpper[6]) const;

    // The relations to other components, in order of creation. Not owned.
    std::vector<ConnectionStruct*> vConnections;

    // --- Component_inflate.cpp, Component_zero.cpp: masters only ---

    // Builds the signed field round the rims and appends a point for each new cell on its zero level, sorted
    // by cell, and to vAffilEdges how many lattice edges with a change of sign the cell has. Gives true.
    // Condition "numGrowSteps>0". The cost is that of the cells within the grow steps of a rim.
    bool runForMasters(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges);

    // The field after runForMasters; null before.
    const CornerStore* getCornerStore() const { return pCornerStore.get(); }

private:
    using FacetPtrs = std::vector<Facet*>;

    // --- Component_facets.cpp ---
    void createFacets();
    void coloring_setFacetNeigs();
    void coloring_removeInnerVisibleFacets();
    void setThickness();
    void setNormals();

    // --- Component_coloring.cpp ---
    bool color();
    int coloring_assignUpperLowerCI();
    int flood(const FacetPtrs& vSeeds, const RemoveDecider_RCD* pDecider, int nextIndex);
    bool retreat(FacetPtrs& vSeeds, int numIndices);
    Facet* findOpposite(const Facet& facet, const RemoveDecider_RCD& decider) const;
    bool findMainGroups(int numIndices, int& evenMainIndex, int& oddMainIndex) const;
    void mergeIntoMainGroups(int numIndices, int evenMainIndex, int oddMainIndex);
    void paintRest(int evenMainIndex, int oddMainIndex);
    void setFinalIndices(int evenMainIndex, int oddMainIndex);
    void adoptAgreedNeigs();

    // --- Component_inflate.cpp ---
    CornerBox fieldBox() const;
    void assignFirstDistances();
    void getBorderStrip(int side, FacetPtrs& vStrip, int numRounds);
    void createStripCorners(const FacetPtrs& vLowerStrip, const FacetPtrs& vUpperStrip);
    void markBorderCorners();
    void assignDistancesToSideStrip(const FacetPtrs& vStrip, float sign);

    // --- Component_zero.cpp ---
    void icn_getZeroRCD(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges) const;

    int id;
    int numGrowSteps = 0;
    std::string name;
    const Calc* pCalc;           // not owned
    const CellPoints& vRCDPoint; // not owned
    float spacing;
    bool bColored = false;
    bool bOriented = false;
    std::vector<u64> vAllRCD; // this and the next two sorted
    std::vector<u64> vBorderRCD;
    std::vector<u64> vInnerRCD;
    std::vector<Facet> vVisibleFacets; // sorted; never reordered once neighbours are set
    std::unique_ptr<SheetCells> pCells;
    std::unique_ptr<CornerStore> pCornerStore;
};

} // namespace TESK_ZAN
