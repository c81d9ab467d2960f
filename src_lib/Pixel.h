// Subsystem: intake. Builds on: Tri, FeatureMgr, CellBitSet, Plane, Calc, sortMT. Used by: Cloud.
// The rasteriser: turns a triangle soup into points on it, at most one a cell. What comes after a melt's
// intake sees these points only, so this decides where its surface lies: on sharp edges and borders first,
// then on the other edges, then on the faces.
#pragma once

#include "CellBitSet.h"
#include "FeatureMgr.h"
#include "Plane.h"
#include "Point3.h"
#include "Tri.h"
#include "definitions.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// A cell (RCD) and a point in it.
using RasterEntry = std::pair<u64, Point3>;

// Lives for one createPixels. Corners are one vertex exactly when their pointers are equal; orders go by the
// addresses of the corners, so these must stand in one array. Neither the winding of triangles nor their
// order matters, but for which of two features owns a cell that both cross.
class Pixel
{
public:
    // Three corners a triangle; they are not owned and must not move or change. Triangles without area are
    // dropped, with a warning that counts them. Conditions "!vTriangleCorners.empty()",
    // "vTriangleCorners.size()%3==0" and "spacingAbs>0".
    Pixel(const std::vector<Point3*>& vTriangleCorners, const Calc* pCalc);
    Pixel(const Pixel&) = delete;
    Pixel& operator=(const Pixel&) = delete;

    // The one working call, made once. Appends the points, in the order of the edges, then of the codes.
    // vFeatures, vBorders: CCDs of each two neighbouring cells along a feature edge, lower code first; the
    // second those of borders only. featureAngle: an edge is sharp if the faces at it turn by more than this,
    // in degrees; from 180 on only borders are features, below 0 every edge is. A soup that would take far
    // more memory than a machine has is refused with a warning, and gives nothing. Cost: touched cells and
    // triangles.
    void createPixels(std::vector<Point3>& vPixels, CellPairs& vFeatures, CellPairs& vBorders,
                      double featureAngle);

    // --- The pieces: Pixel_edges.cpp and Pixel_areas.cpp ---

    // Appends the cells that the segment crosses, in order: the ends with p0 and p1, the others with the
    // middle of the piece inside. Nothing if both ends lie in one cell. Constant time a cell; ends on any
    // input, but may skip cells where these are no more than a few digits of the coordinates wide.
    void rasterizeEdge(const Point3& p0, const Point3& p1, std::vector<RasterEntry>& vEdgeRaster) const;

    // The mean of the points where the plane cuts the edges of the cell. bOK false, and the origin, when it
    // cuts fewer than three; numCuts says how many, -1 for an edge in the plane.
    Point3 getMidOfCutPlane(u64 rcd, const Plane& plane, bool& bOK, int& numCuts) const;

    // Appends the cells that rows parallel to the longest side cross, but for those at the row's starts: the
    // edges have these. Cells can repeat. Nothing for a triangle that is too thin for a row.
    void rasterizeTriangle(const Point3& p0, const Point3& p1, const Point3& p2,
                           std::vector<RasterEntry>& vAreas) const;

    // Appends the cells of one row, but for that of its start: each with the projection of its centre on the
    // plane where this lies in the cell, otherwise with a point of the row.
    void rasterizePlane(const Plane& plane, const Point3& pStart, const Point3& pStop,
                        std::vector<RasterEntry>& vRaster) const;

    const std::vector<Tri*>& getTriangles() const { return vTri; }

private:
    using Edge2Tri = std::pair<std::pair<Point3*, Point3*>, Tri*>;
    struct AreaBlock;
    struct CutFailures;

    // Of the rows on a face, and of the samples on a row along its largest axis, in cells: near 1/sqrt(3), so
    // that no cell lies between them.
    static constexpr double SAMPLE_DISTANCE = 0.577;

    // --- Pixel.cpp ---
    void linkEdge2T(const std::vector<Point3*>& vTriangleCorners);
    void addTriangle(Point3* const corners[3]);
    void bfsSort();
    std::vector<std::uint32_t> edgeGroups() const;
    bool isAffordable() const;
    double numFaceSamples(const Tri& tri) const;
    double numEdgeCells(const Tri& tri) const;
    static void appendPixels(const char* nameStage, std::vector<RasterEntry>& vRaster,
                             std::vector<Point3>& vPixels);

    // --- Pixel_edges.cpp ---
    void pixelAllEdges(double featureAngle, std::vector<RasterEntry>& vEdges, CellPairs& vFeatures,
                       CellPairs& vBorders);
    void sortOutEdges(double featureAngle, std::vector<FeatureRecord>& vRecords,
                      std::vector<const Edge2Tri*>& vOrdinary) const;
    static double largestTurn(const Edge2Tri* pFirst, const Edge2Tri* pEnd);
    static void reorderFeatures(double featureAngle, std::vector<FeatureRecord>& vRecords);
    void takeFeatureEnds(const std::vector<FeatureRecord>& vRecords, std::vector<RasterEntry>& vEdges);
    void takeFeatureEdges(const std::vector<FeatureRecord>& vRecords, std::vector<RasterEntry>& vEdges,
                          CellPairs& vFeatures, CellPairs& vBorders);
    void takeOrdinaryEdges(const std::vector<const Edge2Tri*>& vOrdinary, std::vector<RasterEntry>& vEdges);
    void moveToPlane(const Plane& plane, RasterEntry& entry, CutFailures& failures) const;

    // --- Pixel_areas.cpp ---
    std::vector<RasterEntry> rasterizeAllTriangles() const;
    std::vector<AreaBlock> cutIntoBlocks() const;
    void rasterizeBlock(AreaBlock& block) const;
    static void reduceToLeast(std::vector<RasterEntry>& vAreas);
    static void keepLeastPoints(std::vector<RasterEntry>& vAreas);

    const Calc* pCalc; // not owned
    double spacingAbs;
    std::vector<Tri> vTriStore;      // does not grow: there are pointers into it
    std::vector<Tri*> vTri;          // breadth-first over shared edges
    std::vector<Edge2Tri> vEdge2Tri; // three a triangle, lower address first; sorted
    CellBitSet sUsedRCD;             // cells that an edge has taken
};

} // namespace TESK_ZAN
