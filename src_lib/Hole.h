// Subsystem: holes. Builds on: Chain, CMesh, Calc, Casx, RemoveDecider, Plane, sortMT. Used by: Holex,
// HolePatcher. Closes a border chain of the mesh on codes on the grid: signed distances to the surface round
// the hole grow into it, and where their sign changes stand the new cells.
#pragma once

#include "Casx.h"
#include "Point3.h"
#include "definitions.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class CEdge;
class Chain;
class CMesh;
class CTriangle;
class HoleTrend;
class Plane;

// True if two sorted vectors share an entry.
bool shareAnEntry(const std::vector<u64>& a, const std::vector<u64>& b);

// The field lives at the corners of the lattice, a corner named by the code of the cube round it (which is
// the code of the cell whose low corner it is). The surface passes between two neighbouring corners of
// different sign, and there the four cells round the lattice edge are occupied: the lattice of the cells that
// the mesh is made of.
//
//   o---o---o      o corners with a value: negative on one side of the surface, positive on the other
//   | # | # |      # cells round an edge whose ends differ in sign
//   o---o---o
//
// One chain, one thread; the filter is parallel inside. Works on a mesh whose vertices are neighbours on the
// lattice: triangles wider than a cube give no values. Everything comes in an order of codes and addresses.
// Memory: about 40 bytes for each corner of the box round the hole, which is 7 cells wider on each side; 8 of
// them last.
class Hole
{
public:
    // A box with more corners is refused, and one whose values would take minutes to compute.
    static constexpr u64 MAX_ARRAY_SIZE = 250'000'000;

    // Both must outlive this. The chain must be closed and its edges have triangles.
    Hole(CMesh* pCMesh, Chain* pChain);
    Hole(const Hole&) = delete;
    Hole& operator=(const Hole&) = delete;

    // Makes the field and finds the cells of the patch (getZeroCells). The mesh stays as it is: call grow
    // or growSheet afterwards. vCCD2Zero is not used. A box that is too large is a warning, and there are no
    // cells then. O((s + 300) v) for the v corners of the box and s steps of growth.
    void run(std::vector<std::pair<u64, Point3>>& vCCD2Zero);

    // After run: makes the patch. Its cells get bundles, and all cubes with such a cell their triangles of
    // the case table, without orientation: they connect to the chain's edges, but edges may have any degree.
    void grow();

    // The same, but the triangles come from the field: four cells round a lattice edge that the surface
    // crosses make a square. They form one sheet where the field is smooth, with more vertices than those of
    // grow.
    void growSheet();

    // What these made, by creation.
    const std::vector<CTriangle*>& getNewT() const { return vNewT; }

    // The codes and places of the cells that the surface passes within the hole, by code, thinned to a layer;
    // the chain's own codes are not among them.
    const std::vector<std::pair<u64, Point3>>& getZeroCells() const { return vZeroCells; }

    // False keeps the messages of all steps back, but for warnings. True at first.
    void setVerbose(bool b) { bVerbose = b; }

    // Writes debug scenes with the label of the hole ("hole_7") into the working folder. Off at first.
    void setWriteScenes(bool b) { bWriteScenes = b; }

    // "hole_" and a number that counts the holes of the process.
    const std::string& getLabel() const { return label; }

    // The points of the triangles in the first numRows rows round the chain, each vertex once, by code.
    void getRowPoints(int numRows, std::vector<Point3>& vRowPoints) const;

    // --- the steps of run, public for tests ---

    // The box and the steps of growth from the chain's vertices. False, after a message, if the box is too
    // large (a warning) or cells are too small for the numbers used.
    bool setRanges();
    void collectFirstRows();
    void markSharpT();
    void initArray();
    void completeInitCbs();
    void inflate();
    void inflateOneStep(int step, std::vector<int>& vCurAddr, std::vector<int>& vNextAddr);

    // Replaces the values at the sorted addresses, but for seeds, by the means over the corner and its
    // neighbours along the axes. All means of an iteration come from the values before it.
    void lowPassFor(std::vector<int>& vAddr, int numIterations, bool bWeighted);

    // Lets the values grow through the whole array and evens them and the completed corners out: in what they
    // differ from the general shape of the surface (HoleTrend), each is the mean of its neighbours. Some
    // sweeps for each cell of width.
    void settle();
    void getZeroCbs();

    // --- the steps of grow ---

    void extractAndCleanHole(std::vector<u64>& vHoleCCDs, std::vector<std::pair<u64, Point3>>& vCCD2Point);
    void solveAmbiguousT(const std::vector<u64>& vAmbiguousT);

    // Which of the cells of the cube with key ccd stand in the sorted list, as a byte in the order of Casx.
    int getConfig(u64 ccd, const std::vector<u64>& vAllCCD) const;

    // --- addressing ---

    // The place in the array. Outside the range: a message, and -1.
    int getAddress(u64 rcd) const;
    int getAddress(int x, int y, int z) const; // relative to the range's low corner
    int getAddressFromVCD(u64 vcd) const;
    u64 addressToRCD(int address) const;

    // Relative to the range's low corner, which may be negative.
    void getNormedIntFromVCD(u64 vcd, int& x, int& y, int& z) const;
    bool inRange(const CTriangle* pCT) const; // all corners

    // Every value and weight is a number; says so.
    bool checkIntegrity(const std::string& name) const;

    int getNumGrowSteps() const { return numGrowSteps; }
    u64 getArraySize() const { return arrSiz; }

    // FLT_UNDEF outside the range and where there is none.
    float getVal(u64 vcd) const;

    static constexpr float FLT_UNDEF = std::numeric_limits<float>::max(); // no value yet
    static constexpr float WEIGHT_REL = 1.002f;   // the value of a triangle in a smooth part of the surface
    static constexpr float WEIGHT_REL_LOW = 0.3f; // of a triangle at a crease

private:
    struct Cell {
        float val;
        float weight;
    };
    struct Place { // a corner and the sides on which the array goes on
        int address;
        unsigned int sides;
    };
    struct Proposal {
        int address;
        float val;
        float weight;
    };
    struct ZeroEdge { // an edge of the lattice that the surface crosses
        Point3 zero;
        std::array<u64, 4> ring; // the cells round it, in order
    };
    using Corners = std::array<int, 3>; // x, y, z relative to the range's low corner

    static bool isFlag(float weight) { return weight == WEIGHT_REL || weight == WEIGHT_REL_LOW; }
    bool isInArray(const Corners& c) const
    {
        return c[0] >= 0 && c[1] >= 0 && c[2] >= 0 && c[0] < rgx && c[1] < rgy && c[2] < rgz;
    }
    Corners cornersOf(int address) const;
    template <class F>
    void forEachNeighbour(int address, unsigned int sides, F f) const;
    unsigned int getSidesInArray(int address) const;
    std::vector<Place> getPlaces(const std::vector<int>& vAddr) const;

    bool hasUsableCells() const;
    void inflateAllSteps();
    bool isFirstRow(const CTriangle* pCT) const;
    bool isSharp(const CTriangle* pCT) const;
    void initializeFirstRow_T(const CTriangle* pCT);
    int getSides(const CTriangle* pCT, const Plane& plane, std::array<u64, 2>& vcdPair) const;
    void seed(u64 vcd, float distance, bool bSharp);
    void wishCorners(u64 rcd, std::vector<Proposal>& vWishes) const;
    Cell meanAround(const Place& place, bool bWeighted) const;
    void growOn();
    void freeCompleted();
    HoleTrend getTrend() const;
    void overRelax();
    void settleOne(const Place& place, float omega);
    bool isOverSurface(u64 ccd, const Point3& point) const;
    void collectZeros(std::vector<std::pair<u64, Point3>>& vCCD2Point) const;
    void collectZeroEdges(std::vector<ZeroEdge>& vZeroEdges) const;
    void meanZeros(const std::vector<ZeroEdge>& vZeroEdges,
                   std::vector<std::pair<u64, Point3>>& vCCD2Point) const;
    void addZero(int addressA, int addressB, std::vector<ZeroEdge>& vZeroEdges) const;
    void keepHoleCells(std::vector<std::pair<u64, Point3>>& vCCD2Point) const;
    double sqLength(u64 ccdA, u64 ccdB) const;
    void prune(std::vector<std::pair<u64, Point3>>& vCCD2Point) const;
    double sqDistanceToMid(u64 ccd, const Point3& point) const;
    bool isInSearchBox(const Corners& c) const;
    void makeTriangles(const std::vector<u64>& vHoleCCDs, const std::vector<u64>& vAllCCD);
    void createT(u64 a, u64 b, u64 c);
    void say(const std::string& text) const;
    void say(const std::string& text, std::size_t number) const;

    int id;
    std::string label;
    CMesh* pCMesh; // not owned, as all of these
    const Calc* pCalc;
    Chain* pChain;
    std::vector<CEdge*> vBorderCE;
    std::vector<CTriangle*> sFirstRowT; // sorted by number
    std::vector<CTriangle*> sBorderT;   // those of sFirstRowT that touch a vertex of the chain
    Casx casx;
    int loX = 0, loY = 0, loZ = 0, hiX = 0, hiY = 0, hiZ = 0; // of the chain, in cells
    int xlo = 0, ylo = 0, zlo = 0, xhi = 0, yhi = 0, zhi = 0; // of the array
    int rgx = 0, rgy = 0, rgz = 0, rgxy = 0;
    u64 arrSiz = 0;
    std::vector<Cell> pArray;
    int numGrowSteps = 0;
    float stepVal;
    std::vector<int> vGrowAddr; // sorted
    std::vector<int> vSeedAddr;
    std::vector<std::pair<int, int>> vEdgePairs; // neighbouring corners between which a triangle passes
    std::vector<CTriangle*> sSharpT;             // sorted by number
    std::vector<u64> vBorderCCDs;                // sorted
    std::vector<std::pair<u64, Point3>> vZeroCells;
    std::vector<CTriangle*> vNewT;
    bool bVerbose = true;
    bool bWriteScenes = false;
};

} // namespace TESK_ZAN
