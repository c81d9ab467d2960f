// Subsystem: run (public interface). Builds on: the other public headers. Used by: hosts; this include is
// enough. The exported calls of zan, version 1.17: points in, a triangle mesh out, and the files around it.
//
// Threads: a call runs on the caller's thread and uses a pool of workers inside (setGlobalNumCPU). Calls on
// several host threads may run at once. The same input gives the same result, bit for bit, for any number of
// threads. Failures: bad input gives a warning and an empty result. A failed internal condition writes a
// report and throws ZanBugException. Either way the library stays usable, and nothing of the call is left
// behind. Cancelling: throw from your ProgressBase::progressChanged; the exception comes out of the call, and
// the next call gives what it would have given without. Vectors that the cancelled call appends to are as
// they were; a mesh that it was changing is a valid mesh on the way between before and after. Files are read
// and written without notifications. Messages go to the standard output, a few to the standard error stream,
// unless setMessageStream is called.
#pragma once

#include "Mesh.h"
#include "Point3.h"
#include "ProgressBase.h"
#include "Vector3.h"
#include "fileTypes.h"
#include "zan_export.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace TESK_ZAN
{

// ---- reconstruction -------------------------------------------------------------------------------------

// Rebuilds a triangle mesh from an unorganised point cloud; needs no normals. Open borders stay open. Colours
// of the points become colours of the vertices.
//   vPoints        not changed. Points with a coordinate that is not finite are left out, with a warning.
//   spacingFactor  cell size as a multiple of the detected spacing, above 0. 1.0 keeps the finest detail;
//                  noisy clouds are better served by 1.5 to 3.
//   fillSize       gaps up to about this many cells are bridged; 0 or less leaves every gap as it is. Runs
//                  take longer the larger it is; 2 to 5 mends an uneven scan, 20 closes occlusion holes.
// Result: empty when nothing could be built (no points, all in one place, cell size out of range); a mesh of
// no triangles is possible too. Factors that are not above 0 throw ZanBugException, as do spacings so fine
// that the extent of the cloud takes more than two million cells.
// Cost: O(n log n) in time, below 1 KB of memory a point.
ZAN_EXPORT std::shared_ptr<Mesh> reconstruct_auto(std::vector<Point3>& vPoints, double spacingFactor,
                                                  int fillSize);

// The same with a given cell size, in units of the input, above 0. Use about the distance between
// neighbouring points, or a little more.
ZAN_EXPORT std::shared_ptr<Mesh> reconstruct_abs(std::vector<Point3>& vPoints, double spacingAbs,
                                                 int fillSize);

// ---- triangle soups -------------------------------------------------------------------------------------

// Makes a clean mesh of a triangle soup: overlaps, cracks below a cell, intersections, wrong windings and bad
// triangles don't carry over. The surface is sampled, one point for each cell that it touches, and extracted
// anew; sharp edges, corners and borders have their points exactly on them. What is closer than a cell melts
// together, and so do bodies that cross or touch. A shell within another one, wound the other way, is a
// cavity.
//   vCorners      three corners a triangle, not changed. Triangles with a corner that is not finite are left
//                 out, and so are degenerate ones, each with a warning.
//   spacingAbs    cell size in units of the input, above 0.
//   featureAngle  edges where the surface turns by more degrees than this are sharp; 30 is usual. From 360 on
//                 only borders are.
// Result: empty when nothing could be built, a mesh otherwise, as after a reconstruction. A corner count that
// is no multiple of three throws ZanBugException, and so do spacings that are not above 0 or so fine that the
// extent takes more than two million cells.
// Cost: linear in triangles and touched cells, about 1 KB of memory a cell.
ZAN_EXPORT std::shared_ptr<Mesh> melt(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle);

// Turns a triangle soup into an even cloud: one point for each cell that a triangle touches, on the surface.
// Corners and edges of the soup keep their places where the faces at them turn by more than featureAngle, and
// at borders. Points are appended to vResult in the order of their cells; what stands in it stays.
//   vCorners      three a triangle; equal ones are one vertex. Winding does not matter. Not changed. A
//                 triangle with a coordinate that is not finite is left out, with a warning, as is one
//                 without area.
//   spacingAbs    the cell size in units of the input, above 0; points are about this far from each other.
//   featureAngle  in degrees; 30 is usual. From 180 on only borders are features.
// Nothing is appended, after a warning, if no triangle is left or the cells would be more than some hundred
// million. Throws ZanBugException for a spacing that is not above 0, or so fine that the extent of the soup
// takes more than two million cells (a message then says which would do), and for a number of corners that is
// no multiple of three. Cost: linear in triangles and cells, about a million points a second.
ZAN_EXPORT void toCloud(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle,
                        std::vector<Point3>& vResult);

// A mesh of these very triangles, for the calls below: equal corners become one vertex, and that is all.
// Nothing is sampled anew or mended; for triangles that need it there is melt. An extension of version 1.17.
//   vCorners  three a triangle, not changed. Triangles keep their order and winding. Those with a coordinate
//             that is not finite or beyond 1e75, with two equal corners or with the corners of an earlier
//             triangle are left out, each with a warning that counts them. A vertex has the colour of the
//             first of its corners that has one.
// The cell size of the mesh is its mean edge length. Empty, after a warning, when no triangle is left. A
// corner count that is no multiple of three throws ZanBugException. About n log n, a second a million
// triangles.
ZAN_EXPORT std::shared_ptr<Mesh> meshFromTriangles(std::vector<Point3>& vCorners);

// The same of shared vertices, which keep their order: makes a mesh again of what Mesh::getVertexIndexData
// gave. An extension of version 1.17.
//   vVertices  equal ones become one; those that no triangle uses are dropped.
//   vIndices   three a triangle. An index that is none of a vertex is an error: the result is empty then.
//   cellSize   of the mesh, in units of the input; 0.0: its mean edge length.
ZAN_EXPORT std::shared_ptr<Mesh> meshFromIndexed(const std::vector<Point3>& vVertices,
                                                 const std::vector<int>& vIndices, double cellSize);

// ---- work on a finished mesh ----------------------------------------------------------------------------
//
// These change the mesh in place: points and triangles that it has handed out before are no longer valid. An
// empty pointer gives a warning and nothing else.

// Turns edges to the other diagonal of their two triangles where that makes the surface straighter, until no
// edge of the mesh gains any more; then removes flat triangles. Sharp edges get straight, colours get clean
// borders; vertices stay where they are. New edges are not looked at, so a second call finds more to do. A
// reconstruction has made two calls already. About a second a million triangles.
ZAN_EXPORT void edgeFlips(std::shared_ptr<Mesh> pMesh);

// The same by simulated annealing: escapes from states that edgeFlips can't leave, for a rough surface.
// Takes some fifty times as long. The same mesh gives the same result.
ZAN_EXPORT void edgeFlipsSimA(std::shared_ptr<Mesh> pMesh);

// Fewer triangles, by collapsing edges: the short ones in flat places first, between points of like colour.
// The vertices that are left keep their places. Returns how many triangles the collapses removed.
//   maxLen       no edge longer than this collapses, in units of the input. Infinity: by angle alone.
//   maxAngleDeg  no collapse turns a triangle by more degrees than this; the turns of several collapses may
//                add up. 0 removes what is exactly flat; 5 to 30 are usual.
// Borders keep their shape but for bends below 10 degrees. Components, holes and handles stay: what would
// pinch a tube shut does not collapse. NaN removes nothing. About n log n.
ZAN_EXPORT int reduce(std::shared_ptr<Mesh> pMesh, double maxLen, double maxAngleDeg);

// Moves every vertex that is not on a border to the mean of its neighbours, numIterations times, and removes
// what became flat by that. Shrinks the surface a little each time. 0 or less moves nothing.
ZAN_EXPORT void laplacianSmoothing(std::shared_ptr<Mesh> pMesh, int numIterations);

// Mends the shape of the triangles: those with an angle below 10 degrees, and folds, where the surface turns
// back on itself by more than 150 degrees over an edge. An edge of theirs turns or collapses; vertices keep
// their places or vanish, and the surface moves by half a cell at the very most. Borders, components, holes
// and handles stay, and so does what cannot be mended so. Returns how many steps that took. A reconstruction
// and a melt end with it; call it after laplacianSmoothing, under which triangles become flat or turn over.
// An extension of version 1.17. Less time than edgeFlips.
ZAN_EXPORT int repairShapes(std::shared_ptr<Mesh> pMesh);

// Closes the holes of the surface. Their triangles run like those around, their new vertices continue the
// surface and its colours. Nothing else changes, but where the surface turns back on itself at a rim, some
// triangles beside it are exchanged for others. The outer rim of an open surface is no hole and stays, as do
// holes that nothing fits, which are counted in a warning. Returns how many were closed. An extension of
// version 1.17.
//   maxEdges  only holes with at most so many edges round them; 0 or less: of any size.
// A small hole takes a millisecond or less, one of 20 edges across 0.1 s, of 150 about 10 s. The shape of a
// large patch is a guess: look at it.
ZAN_EXPORT int closeHoles(std::shared_ptr<Mesh> pMesh, int maxEdges);

// Gives the sharp edges of the surface back. A mesh made of cells has no vertices on them, so they come out
// as chamfers, one to two cells wide. Here new vertices are put where the planes of the two smooth faces
// beside an edge meet, or of three at a corner, and joined along it. Old vertices stay; colours go on.
// Rounded edges, those of less than some twelve cells, and those beside faces that are very noisy or curve
// strongly, stay as they are. Returns how many vertices were added. An extension of version 1.17.
//   featureAngle  only edges where the surface turns by more degrees than this, 10 to 90; 40 is usual.
// Another angle is a warning, and nothing is done. For meshes of a reconstruction, before a reduction;
// smoothing rounds edges, before or after. Linear; less time than the reconstruction took.
ZAN_EXPORT int sharpenEdges(std::shared_ptr<Mesh> pMesh, double featureAngle);

// ---- looking at points and meshes -----------------------------------------------------------------------

// The average spacing of a surface sample as reconstruct_auto detects it, in units of the input; -1.0 when
// the points give none. Costs as much as the intake of a reconstruction.
ZAN_EXPORT double estimateAvgSpacing(std::vector<Point3>& vPoints);

// Moves the points so that the centre of their bounding box is the origin; x, y, z receive what was
// subtracted. Colours stay. An empty set gives 0. Points that are not finite do not count for the box.
ZAN_EXPORT void autoOffset(std::vector<Point3>& vPoints, double& x, double& y, double& z);

// Writes the mesh in white and its border edges in red into the Geomview scene "holes.list" in the current
// folder.
ZAN_EXPORT void findHoles(std::shared_ptr<Mesh> pMesh);

// ---- files ----------------------------------------------------------------------------------------------
//
// All readers append to vPoints, and leave it as it was when they return false. The type goes by the
// extension, see fileTypes.h. Each says on the message stream what was wrong.

// .ply, .xyz/.txt/.asc or .bin, by extension.
ZAN_EXPORT bool readPoints_auto(std::string& name, std::vector<Point3>& vPoints);

// One point a line, three numbers at its start, in the classic locale; what follows them is ignored, lines
// that do not start with three numbers are skipped. True if the file could be opened, even without points.
ZAN_EXPORT bool readPoints_ASCII(const char* name, std::vector<Point3>& vPoints);

// Little-endian: int32 typ (30: x y z, 20: x y), uint64 number of points, doubles. No colours.
ZAN_EXPORT bool readPoints_BIN(const char* name, std::vector<Point3>& vPoints);

// The corners of an ASCII STL, three a triangle. True if the file could be opened.
ZAN_EXPORT bool readSTL_ASCII(const char* name, std::vector<Point3>& vPoints);

// PLY, text or binary of either byte order. bPointsOnly: the vertices; otherwise three corners a face, from
// faces of exactly three indices named "vertex_indices". Colours need red, green, blue and alpha (or
// scalar_Intensity); they are scaled to 0..255, and used only if vPoints was empty before.
ZAN_EXPORT bool readPly(const char* name, bool bPointsOnly, std::vector<Point3>& vPoints);

// By extension: PLY, ASCII, BIN, or a Geomview scene. Any other writes "zan_output_bin.ply" and returns
// false. bAscii is for PLY. False also when the file could not be written whole.
ZAN_EXPORT bool writePoints_auto(std::string& name, std::vector<Point3>& vPoints, bool bAscii);
ZAN_EXPORT bool writePoints_ASCII(const char* name, const std::vector<Point3>& vPoints); // 18 digits
ZAN_EXPORT bool writePoints_BIN(const char* name, std::vector<Point3>& vPoints);
ZAN_EXPORT bool writePointsPly(const std::string& name, std::vector<Point3>& vPoints, bool bAscii); // floats

// By extension: STL (text), PLY, or a Geomview scene. Any other writes "zan_output.ply".
// Beware: for PLY bAscii is reversed, true gives the binary form. Hosts rely on it, so it stays.
ZAN_EXPORT bool writeMesh_auto(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii);

// ---- service --------------------------------------------------------------------------------------------

// Worker threads from the next parallel step on, in the whole process; 0: as many as the hardware has.
ZAN_EXPORT void setGlobalNumCPU(int numCPU);

// p hears of the progress of all later calls on this thread, until it is destroyed; null is ignored.
ZAN_EXPORT void subscribe(ProgressBase* p);

// Ends the worker threads; the next call that needs some starts new ones.
ZAN_EXPORT void destroySingletons();

ZAN_EXPORT void getVersion(int& major, int& minor); // 1 and 17
ZAN_EXPORT void printVersion();
ZAN_EXPORT bool isRelease();

// ---- extensions of version 1.17 -------------------------------------------------------------------------

// Files as they come from elsewhere, with all that a point can keep. These four have no surprises: bAscii
// means text, an ending that names no form is an error and nothing is written, colours survive. Each returns
// false, after a message, when it fails; readers append, and leave the vector as it was then.

// .ply, .xyz/.txt/.asc, .bin. PLY: any numeric types; colours with or without alpha; a vertex whose colour
// and alpha are 0 has none. Text: as readPoints_ASCII; a colorColumn from 4 on is the column where red
// stands, with green and blue behind it, in 0..1, 0..255 or any larger range; lines without have no colour.
ZAN_EXPORT bool loadPoints(const std::string& name, std::vector<Point3>& vPoints, int colorColumn);

// Three corners a triangle, for meshFromTriangles, melt and toCloud. .stl of both kinds, .ply with the
// colours of its vertices, .obj with those behind its coordinates; polygons become fans. True also if the
// file holds no triangle. A file that has been cut short is an error; of a text STL that ends between two
// facets but without "endsolid" that can't be known, so it is a warning.
ZAN_EXPORT bool loadTriangles(const std::string& name, std::vector<Point3>& vCorners);

// .ply (doubles where floats would lose anything, colours if there are any), .xyz/.txt/.asc (colours as three
// columns behind the coordinates if there are any), .bin and .list as writePoints_auto.
ZAN_EXPORT bool savePoints(const std::string& name, std::vector<Point3>& vPoints, bool bAscii);

// .ply (doubles where floats would move a vertex by more than a thousandth of a cell, colours if there are
// any), .stl (binary unless bAscii), .obj (with colours if there are any), .list.
ZAN_EXPORT bool saveMesh(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii);

// Sends all messages of the library to p; null silences it. p must outlive its use. In the whole process.
ZAN_EXPORT void setMessageStream(std::ostream* p);

// Appends the built-in sample: a closed, coloured, scan-like surface of about 100,000 points with a little
// noise and a few occlusion gaps; the same points everywhere.
ZAN_EXPORT void sampleScan(std::vector<Point3>& vPoints);

// As toCloud, and behind those points others that bridge the gaps between sheets: between rims that face each
// other, along slits and over small holes, a few tenths of a cell from where the sheets would go on. Give the
// whole to reconstruct_abs with the same spacing and a fill size of 2 for one surface; what is open elsewhere
// stays open.
//   growSteps  above 0, in cells: rims of up to 1.5 times as many cells from each other are joined (2 for
//              one step), wider gaps stay. About 3 to 20.
// Nothing joins sheets that face each other with their sides. Failures as of toCloud; growSteps that are not
// above 0 throw ZanBugException. Nothing is bridged, after a warning, where growSteps are so many that it
// would take more than some gigabytes. Cost: that of toCloud, some ten microseconds a cell, and about
// growSteps^2 microseconds for each cell along a rim.
ZAN_EXPORT void fillGaps(std::vector<Point3>& vCorners, double spacingAbs, double featureAngle, int growSteps,
                         std::vector<Point3>& vResult);

} // namespace TESK_ZAN
