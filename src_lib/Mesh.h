// Subsystem: run, public interface. Builds on: Point3. Used by: the host, zan_api_functions, files.
// The handle of a finished mesh: what a host keeps in a std::shared_ptr<Mesh>.
#pragma once

#include "Point3.h"
#include "zan_export.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace TESK_ZAN
{

class RMesh;

// Owns the mesh behind it. The points that it hands out lie inside that mesh: they stay valid as long as the
// Mesh lives and is not changed by a post-processing call. Read from several threads only while none changes
// it.
class ZAN_EXPORT Mesh
{
public:
    // Takes the pointer over. It must not be null.
    explicit Mesh(RMesh* pRMesh);
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // --- What it holds ---

    // The number of triangles. One pass over all of them.
    size_t getNumT() const;

    // Appends three corner pointers per triangle, in the order of the triangles; their order gives the
    // orientation.
    void getTriangles(std::vector<Point3*>& vCorners) const;

    // All vertices that a triangle uses, once each, in a fixed order. vPoints must be empty.
    void getPoints(std::vector<Point3*>& vPoints) const;

    // vVertices: as getPoints, must be empty. vIndices: replaced by three indices into it per triangle, in
    // the order of getTriangles. Linear.
    void getVertexIndexData(std::vector<Point3*>& vVertices, std::vector<int>& vIndices) const;

    // The mean length of all edges, in units of the input; -1.0 without triangles.
    double getAverageEdgeLength() const;

    // The edge length of the cells of the grid that the mesh came from, in units of the input. Extension
    // of 1.17.
    double getCellSize() const;

    // Writes the number of triangles and the edges by degree as a message.
    void printStatistics(const std::string& name) const;

    // --- Colours, in place ---

    // Gives vertices without colour the mean colour of their coloured neighbours, in waves from the coloured
    // ones outward. What hangs together with no coloured vertex stays colourless. Linear.
    void colorizeFilledHoles();

    // Stretches the colours so that they use the whole range. All channels follow one curve, alpha stays.
    // lowFraction, highFraction: the part of the channel values, 0 to below 0.5, that may be cut off at
    // either end; 0.01 is usual. A range of at most 20 is stretched from its own ends. Nothing changes where
    // there is no range: a single value, fractions that meet, NaN.
    void contrastSpread(double lowFraction, double highFraction);

    // --- Files: true if written ---

    // The PLY form that each of these two writes is the opposite of its name, as it has always been: the
    // first writes text, the second binary.
    bool writePly_BIN(const std::string& name) const;
    bool writePly_ASCII(const std::string& name) const;

    bool writeStl_ASCII(const std::string& name) const;

    // A Geomview LIST scene: the colours of the vertices if there are any, else green; open and overfull
    // edges marked.
    bool writeGeomview_ASCII(const std::string& name) const;

    // For the library itself: the host does not know this type.
    RMesh* getRMesh() const { return pRMesh; }

private:
    RMesh* pRMesh; // owned
};

} // namespace TESK_ZAN
