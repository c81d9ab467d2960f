#include "Mesh.h"

#include "RMesh.h"
#include "Visualizer3.h"
#include "helpers/captured.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "helpers/tempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;
using zan_test::IndexedMesh;
using zan_test::RealMesh;
using zan_test::TempDir;

namespace
{

std::unique_ptr<Mesh> handleOf(const IndexedMesh& indexed, double cellSize = 1.0)
{
    return std::make_unique<Mesh>(RealMesh(indexed, cellSize).pMesh.release());
}

size_t countIn(const std::string& text, const std::string& part)
{
    size_t num = 0;
    for (size_t pos = text.find(part); pos != std::string::npos; pos = text.find(part, pos + 1))
        ++num;
    return num;
}

// Goes into a folder of its own: the names of some scenes are fixed and without a folder.
class InTempDir
{
public:
    InTempDir() : before(std::filesystem::current_path()) { std::filesystem::current_path(dir.path()); }
    ~InTempDir() { std::filesystem::current_path(before); }
    InTempDir(const InTempDir&) = delete;
    InTempDir& operator=(const InTempDir&) = delete;

    TempDir dir;

private:
    std::filesystem::path before;
};

} // namespace

TEST(Mesh, IndexDataDescribesTheSameTrianglesAsTheCornersAndRepeats)
{
    IndexedMesh indexed = zan_test::octahedron();
    indexed.vPoints.emplace_back(7, 7, 7); // used by no triangle
    RealMesh real(indexed);
    real->getAllT()[3]->kill(real.pMesh.get());
    const Mesh mesh(real.pMesh.release());

    std::vector<Point3*> vPoints, vCorners, vVertices, vAgain;
    std::vector<int> vIndices, vIndicesAgain;
    mesh.getPoints(vPoints);
    mesh.getTriangles(vCorners);
    mesh.getVertexIndexData(vVertices, vIndices);
    mesh.getVertexIndexData(vAgain, vIndicesAgain);
    EXPECT_EQ(mesh.getNumT(), 7u);
    EXPECT_EQ(vVertices.size(), 6u);
    EXPECT_EQ(vVertices, vPoints);
    EXPECT_EQ(vVertices, vAgain);
    EXPECT_EQ(vIndices, vIndicesAgain);
    ASSERT_EQ(vIndices.size(), 21u);
    ASSERT_EQ(vCorners.size(), 21u);
    for (size_t i = 0; i < vIndices.size(); ++i)
        EXPECT_EQ(vVertices[size_t(vIndices[i])], vCorners[i]);
}

TEST(Mesh, CornersAreAppendedAndFiguresForwarded)
{
    const auto pMesh = handleOf(zan_test::tetrahedron(), 0.25);
    std::vector<Point3*> vCorners(2, nullptr);
    pMesh->getTriangles(vCorners);
    EXPECT_EQ(vCorners.size(), 14u);
    EXPECT_EQ(pMesh->getCellSize(), 0.25);
    EXPECT_DOUBLE_EQ(pMesh->getAverageEdgeLength(), 0.5 + 0.5 * std::sqrt(2.0));
    const CapturedMessages messages;
    pMesh->printStatistics("tetra");
    EXPECT_TRUE(messages.has("RMesh::printStatistics(tetra)\n NumTriangles: 4\n Degree 2: 6\n"));
}

TEST(Mesh, PlyFormsAreTheOppositeOfTheirNames)
{
    const TempDir dir;
    const auto pMesh = handleOf(zan_test::tetrahedron());
    EXPECT_TRUE(pMesh->writePly_BIN(dir.file("a.ply")));
    EXPECT_TRUE(pMesh->writePly_ASCII(dir.file("b.ply")));
    EXPECT_EQ(dir.read("a.ply").substr(0, 21), "ply\nformat ascii 1.0\n");
    EXPECT_EQ(dir.read("b.ply").substr(0, 36), "ply\nformat binary_little_endian 1.0\n");
}

TEST(Mesh, StlHasAFacetPerAliveTriangle)
{
    const TempDir dir;
    EXPECT_TRUE(handleOf(zan_test::tetrahedron())->writeStl_ASCII(dir.file("a.stl")));
    EXPECT_EQ(countIn(dir.read("a.stl"), "facet normal "), 4u);
}

TEST(Mesh, UncolouredSceneIsGreenAndMarksOpenAndOverfullEdges)
{
    const TempDir dir;
    const CapturedMessages messages;
    EXPECT_TRUE(handleOf(zan_test::threeOnAnEdge())->writeGeomview_ASCII(dir.file("a.list")));
    const std::string text = dir.read("a.list");
    EXPECT_EQ(text.substr(0, 7), "LIST\n{\n");
    EXPECT_EQ(text.find("COFF"), std::string::npos);
    EXPECT_EQ(countIn(text, "0 1 0 0.5"), 3u);             // a line for each face
    EXPECT_EQ(countIn(text, "1 0 0 0.5"), 1u);             // one object for all of degree 1
    EXPECT_EQ(countIn(text, "0.627 0.125 0.941 0.5"), 1u); // degree 3
    EXPECT_EQ(countIn(text, "{"), countIn(text, "}"));
}

TEST(Mesh, ColouredSceneTakesTheColoursOfTheVertices)
{
    const TempDir dir;
    const CapturedMessages messages;
    IndexedMesh indexed = zan_test::tetrahedron();
    indexed.vPoints[1].setColor(255, 0, 0, 255);
    EXPECT_TRUE(handleOf(indexed)->writeGeomview_ASCII(dir.file("a.list")));
    EXPECT_NE(dir.read("a.list").find("COFF"), std::string::npos);
}

TEST(Mesh, WritingIntoAMissingFolderIsFalseNotAFailure)
{
    const TempDir dir;
    const CapturedMessages messages;
    const auto pMesh = handleOf(zan_test::tetrahedron());
    const std::string name = dir.file("missing") + "/a";
    EXPECT_FALSE(pMesh->writePly_BIN(name + ".ply"));
    EXPECT_FALSE(pMesh->writePly_ASCII(name + ".ply"));
    EXPECT_FALSE(pMesh->writeStl_ASCII(name + ".stl"));
    EXPECT_FALSE(pMesh->writeGeomview_ASCII(name + ".list"));
}

TEST(Mesh, EmptyMeshCanBeReadAndWritten)
{
    const TempDir dir;
    const CapturedMessages messages;
    const Mesh mesh(new RMesh(1.0));
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    mesh.getVertexIndexData(vVertices, vIndices);
    EXPECT_TRUE(vVertices.empty());
    EXPECT_TRUE(vIndices.empty());
    EXPECT_TRUE(mesh.writeStl_ASCII(dir.file("a.stl")));
    EXPECT_EQ(dir.read("a.stl"), "solid - ZAN\nendsolid - ZAN\n");
    EXPECT_TRUE(mesh.writeGeomview_ASCII(dir.file("a.list")));
}

TEST(Mesh, HolesSceneShowsTheMeshInWhiteAndItsBorderInRed)
{
    const InTempDir here;
    const CapturedMessages messages;
    const auto pMesh = handleOf(zan_test::openBox());
    writeHolesScene(*pMesh->getRMesh());
    const std::string text = here.dir.read("holes.list");
    EXPECT_EQ(countIn(text, "1 1 1 0.5"), 10u);
    EXPECT_GE(countIn(text, "1 0 0 0.5"), 1u);
}

TEST(Mesh, DegenerateSceneIsWrittenOnRequestOnly)
{
    const InTempDir here;
    const CapturedMessages messages;
    const RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 1, 2}});
    EXPECT_FALSE(mesh->checkNoDegenerate("a"));
    EXPECT_EQ(here.dir.numFiles(), 0u);
    EXPECT_FALSE(mesh->checkNoDegenerate("a", true));
    EXPECT_NE(here.dir.read("degenerateT.list"), "");
}

TEST(RPatch, DegreeSceneWarnsAboutDegreesItHasNoColourFor)
{
    const TempDir dir;
    const CapturedMessages messages;
    IndexedMesh book = zan_test::threeOnAnEdge();
    for (const double x : {2.0, 3.0}) {
        book.vPoints.emplace_back(x, 5, 0);
        for (const int corner : {0, 1, int(book.vPoints.size()) - 1})
            book.vTriangles.push_back(corner);
    }
    RealMesh mesh(book);
    RPatch patch(mesh.pMesh.get(), 0);
    patch.addTriangle(mesh->getAllT()[0]);
    Visualizer3 visualizer(dir.file("a.list"), nullptr, true);
    patch.showDeg(&visualizer);
    EXPECT_TRUE(visualizer.closeScene());
    EXPECT_TRUE(messages.has("Huh, degree=5"));
    EXPECT_EQ(countIn(dir.read("a.list"), "VECT"), 2u);
}
