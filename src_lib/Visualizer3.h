// Subsystem: files. Builds on: Calc, freeFunctions, numberText, messages. Used by: pointFiles, RMesh,
// findHoles, debug scenes of all floors above. Writer of Geomview LIST scenes: points, segments, triangles,
// faces, cells.
#pragma once

#include "Point3.h"
#include "definitions.h"

#include <array>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class Calc;

// An open scene file; each write... call adds one object to it. A scene that cannot be written never fails a
// run: it gives a warning, isOpen() is false and every write is without effect. Belongs to one thread.
//
// A colour is a text of four numbers, "r g b a", each 0 to 1. Pointers handed in are only read, and not kept.
class Visualizer3 : public std::ofstream
{
public:
    // As a colour of points and triangles: each vertex has its own; one without colour is black.
    static constexpr const char* VERTEXCOLORS = "VERTEXCOLORS";

    using Segment = std::pair<const Point3*, const Point3*>;
    using Triangle = std::array<const Point3*, 3>;

    // pCalc is not owned and may be null: only the operations on grid codes need it. bAuthorized tells that a
    // caller asked for this file; false is a failed condition and no file is made, so that debug scenes are
    // no part of an ordinary run. An existing file is overwritten.
    Visualizer3(const std::string& name_, const Calc* pCalc_, bool bAuthorized);
    ~Visualizer3() override; // closes the scene

    bool isOpen() const { return bOpen; }

    // Writes the end of the scene and closes the file. False, with a warning, if anything of it could not be
    // written; false if it is not open.
    bool closeScene();

    // Faces with their edges drawn, and a dark back side (so at first), or without.
    void setEdges(bool bEdges_) { bEdges = bEdges_; }

    // The table of 27 scene colours, index 0 to 26; and the next one of those that are easy to tell apart, by
    // a counter that the whole process shares.
    static const char* getSceneColor(int index);
    static const char* nextSceneColor();

    // --- points; size in pixels. An empty list is a warning. ---
    void writePoints(const std::vector<Point3>& vPoints, int size, const std::string& color);
    void writePoints(const std::vector<const Point3*>& vPoints, int size, const std::string& color);
    void writePoint(const Point3& point, int size, const std::string& color);

    // --- segments; an empty list writes nothing. One colour for all, not VERTEXCOLORS. ---
    void writeSegments(const std::vector<Segment>& vSegments, int width, const std::string& color);
    void writeSegment(const Point3& p0, const Point3& p1, int width, const std::string& color);

    // --- faces; an empty list writes nothing. bNormals adds a segment from each centroid along the normal.
    // ---
    void writeTriangles(const std::vector<Triangle>& vTriangles, const std::string& color,
                        bool bNormals = false);
    void writeTriangle(const Point3& p0, const Point3& p1, const Point3& p2, const std::string& color);
    void writeFace(const std::vector<const Point3*>& vCorners, const std::string& color);
    void writeSphere(const Point3& center, double radius, const std::string& color); // transparent

    // --- grid codes; these need a Calc (a failed condition otherwise) ---
    // Cells as points: at their centres, or ("Ref") at their low corners.
    void writePoints_VCD(const std::vector<u64>& vVCD, int size, const std::string& color);
    void writePointsRef_VCD(const std::vector<u64>& vVCD, int size, const std::string& color);
    void writePoint_VCD(u64 vcd, int size, const std::string& color);
    void writePointsMid_RCD(const std::vector<u64>& vRCD, int size, const std::string& color);
    void writePointMid_RCD(u64 rcd, int size, const std::string& color);
    // Lattice corners as points.
    void writeVCorners(const std::vector<u64>& vRCC, int size, const std::string& color);

    // Cells as boxes, many of them as one object; a lattice corner as a small box.
    void writeCbs(const std::vector<u64>& vRCD, const std::string& color);
    void writeCbs8(const u64 aRCD[8], const std::string& color);
    void writeRCD(u64 rcd, const std::string& color);
    void writeRCC(u64 rcc, const std::string& color);

private:
    struct Box {
        Point3 mid;
        double halfX, halfY, halfZ;
    };

    const Calc& calc() const; // a failed condition if there is none
    Point3 cornerOf(u64 rcc) const;
    Box boxOf(u64 rcd) const;
    void writeBoxes(const std::vector<Box>& vBoxes, const std::string& color);
    void writeNormals(const std::vector<Triangle>& vTriangles);

    void writeVectHeader(int size, std::size_t numLines, int numVerticesEach, bool bColorEach);
    void writeOffHeader(bool bVertexColors, std::size_t numVertices, std::size_t numFaces);
    void writeCoords(const Point3& point);
    void writeVertexColor(const Point3& point);

    bool bEdges = true;
    const Calc* pCalc;
    bool bOpen = false;
    std::string name;
};

} // namespace TESK_ZAN
