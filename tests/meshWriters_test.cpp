#include "meshWriters.h"

#include "Mesh.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/inFolder.h"
#include "helpers/rawBytes.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "helpers/tempDir.h"
#include "plyPoints.h"
#include "writeMesh.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

std::string plyHeader(const std::string& format, int numVertices, int numFaces, bool bColors = true)
{
    return "ply\nformat " + format + " 1.0\nelement vertex " + std::to_string(numVertices) +
           "\nproperty float x\nproperty float y\nproperty float z\n" +
           (bColors ? "property uchar red\nproperty uchar green\nproperty uchar blue\nproperty uchar alpha\n"
                    : "") +
           "element face " + std::to_string(numFaces) +
           "\nproperty list uchar uint vertex_indices\nend_header\n";
}

// Two triangles on four of five vertices; the first corner of the first triangle is not the first vertex.
IndexedMesh twoTriangles()
{
    IndexedMesh mesh{{{9, 9, 9}, {0, 0, 0}, {1, 0, 0}, {1, 1, 0.1}, {0, 1, 0}}, {2, 3, 1, 1, 3, 4}};
    mesh.vPoints[3].setColor(1, 2, 3, 255);
    return mesh;
}

std::shared_ptr<Mesh> toMesh(const IndexedMesh& indexed)
{
    return std::make_shared<Mesh>(RealMesh(indexed).pMesh.release());
}

std::string formatOf(const std::string& ply)
{
    const size_t first = ply.find('\n') + 1;
    return ply.substr(first, ply.find('\n', first) - first);
}

TEST(MeshPly, theTextFormHasTheExactBytesAndNumbersVerticesByFirstUse)
{
    TempDir dir;
    RealMesh mesh(twoTriangles());
    ASSERT_TRUE(PLY::writePly(mesh.pMesh.get(), dir.file("a.ply"), true));
    EXPECT_EQ(dir.read("a.ply"), plyHeader("ascii", 4, 2) +
                                     "1 0 0 0 0 0 0 \n1 1 0.1 1 2 3 255 \n0 0 0 0 0 0 0 \n"
                                     "0 1 0 0 0 0 0 \n3 0 1 2 \n3 2 1 3 \n");
}

TEST(MeshPly, theBinaryFormHasTheExactBytes)
{
    TempDir dir;
    RealMesh mesh(twoTriangles());
    ASSERT_TRUE(PLY::writePly(mesh.pMesh.get(), dir.file("a.ply"), false));
    const auto vertex = [](float x, float y, float z, std::string color) { return bytes(x, y, z) + color; };
    const auto face = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        return bytes(std::uint8_t(3), a, b, c);
    };
    const std::string none(4, '\0');
    EXPECT_EQ(dir.read("a.ply"), plyHeader("binary_little_endian", 4, 2) + vertex(1, 0, 0, none) +
                                     vertex(1, 1, 0.1f, "\1\2\3\xff") + vertex(0, 0, 0, none) +
                                     vertex(0, 1, 0, none) + face(0, 1, 2) + face(2, 1, 3));
}

TEST(MeshPly, cornersOfDeadTrianglesAreNotWritten)
{
    TempDir dir;
    RealMesh mesh(twoTriangles());
    aliveT(*mesh.pMesh).front()->kill(mesh.pMesh.get());
    ASSERT_TRUE(PLY::writePly(mesh.pMesh.get(), dir.file("a.ply"), true));
    EXPECT_EQ(dir.read("a.ply"),
              plyHeader("ascii", 3, 1) + "0 0 0 0 0 0 0 \n1 1 0.1 1 2 3 255 \n0 1 0 0 0 0 0 \n3 0 1 2 \n");
}

TEST(MeshPly, isReadBackAsTheSameTriangles)
{
    TempDir dir;
    CapturedMessages captured;
    RealMesh mesh(octahedron());
    std::vector<Point3*> vCorners;
    mesh->getCornerVtx(vCorners);
    for (bool bAscii : {true, false}) {
        ASSERT_TRUE(PLY::writePly(mesh.pMesh.get(), dir.file("a.ply"), bAscii));
        std::vector<Point3> vSoup;
        ASSERT_TRUE(readPly(dir.file("a.ply").c_str(), false, vSoup));
        ASSERT_EQ(vSoup.size(), vCorners.size());
        for (size_t i = 0; i < vSoup.size(); ++i)
            EXPECT_EQ(vSoup[i], *vCorners[i]);
    }
}

TEST(MeshPly, anEmptyMeshIsAValidFile)
{
    TempDir dir;
    CapturedMessages captured;
    RealMesh mesh(IndexedMesh{{{1, 2, 3}}, {}});
    for (bool bAscii : {true, false}) {
        ASSERT_TRUE(PLY::writePly(mesh.pMesh.get(), dir.file("a.ply"), bAscii));
        EXPECT_EQ(dir.read("a.ply"), plyHeader(bAscii ? "ascii" : "binary_little_endian", 0, 0));
        std::vector<Point3> vPoints;
        EXPECT_TRUE(readPly(dir.file("a.ply").c_str(), true, vPoints));
        EXPECT_TRUE(vPoints.empty());
    }
}

TEST(MeshPly, aPlaceThatTakesNoFileOrNotAllOfItIsReported)
{
    TempDir dir;
    RealMesh mesh(octahedron());
    std::vector<std::string> vNames{dir.file("missing/a.ply")};
    if (std::filesystem::exists("/dev/full"))
        vNames.push_back("/dev/full");
    for (const std::string& name : vNames) {
        for (bool bAscii : {true, false}) {
            CapturedMessages captured;
            EXPECT_FALSE(PLY::writePly(mesh.pMesh.get(), name, bAscii));
            EXPECT_TRUE(captured.has(", ERROR: Failed, filename=" + name + "\n"));
        }
    }
}

TEST(MeshPly, aMeshOnCodesIsWrittenWithoutColours)
{
    TempDir dir;
    CodeMesh code(twoTriangles());
    code.cells.vPoints[3].setColor(1, 2, 3, 4);
    ASSERT_TRUE(PLY::writePly(&code.mesh, code.cells.mCCDBundle, dir.file("a.ply"), true));
    EXPECT_EQ(dir.read("a.ply"), plyHeader("ascii", 4, 2, false) +
                                     "110.5 100.5 100.5 \n110.5 110.5 101.5 \n100.5 100.5 100.5 \n"
                                     "100.5 110.5 100.5 \n3 0 1 2 \n3 2 1 3 \n");
}

TEST(MeshPly, aCodeWithoutBundleLeavesNoFile)
{
    TempDir dir;
    CapturedMessages captured;
    CodeMesh code(twoTriangles());
    std::map<u64, Bundle*> mCCDBundle = code.cells.mCCDBundle;
    mCCDBundle.erase(code.at(4));
    EXPECT_FALSE(PLY::writePly(&code.mesh, mCCDBundle, dir.file("a.ply"), true));
    EXPECT_THROW(writeSTL(&code.mesh, mCCDBundle, dir.file("a.stl")), ZanBugException);
    EXPECT_EQ(dir.numFiles(), 0u);
}

TEST(MeshStl, hasTheExactBytes)
{
    TempDir dir;
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {0, 1.0 / 3, 0}}, {0, 1, 2}});
    ASSERT_TRUE(writeSTL(mesh.pMesh.get(), dir.file("a.stl")));
    EXPECT_EQ(dir.read("a.stl"),
              "solid - ZAN\nfacet normal 0 0 1\n outer loop\n  vertex 0 0 0\n  vertex 2 0 0\n"
              "  vertex 0 0.3333333333 0\n endloop\nendfacet\nendsolid - ZAN\n");
}

TEST(MeshStl, aTriangleWithoutNormalHasAZeroNormalAndNoTrianglesAreNoFacets)
{
    TempDir dir;
    RealMesh flat(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 1, 2}});
    ASSERT_TRUE(writeSTL(flat.pMesh.get(), dir.file("a.stl")));
    EXPECT_NE(dir.read("a.stl").find("facet normal 0 0 0\n"), std::string::npos);
    aliveT(*flat.pMesh).front()->kill(flat.pMesh.get());
    ASSERT_TRUE(writeSTL(flat.pMesh.get(), dir.file("a.stl")));
    EXPECT_EQ(dir.read("a.stl"), "solid - ZAN\nendsolid - ZAN\n");
}

TEST(MeshStl, aMeshOnCodesIsWrittenFromItsBundles)
{
    TempDir dir;
    CodeMesh code(twoTriangles());
    ASSERT_TRUE(writeSTL(&code.mesh, code.cells.mCCDBundle, dir.file("a.stl")));
    EXPECT_NE(dir.read("a.stl").find("  vertex 110.5 110.5 101.5\n  vertex 100.5 100.5 100.5\n endloop\n"),
              std::string::npos);
}

TEST(MeshStl, aPlaceThatTakesNoFileOrNotAllOfItIsReported)
{
    TempDir dir;
    RealMesh mesh(octahedron());
    CapturedMessages captured;
    const std::string name = dir.file("missing/a.stl");
    EXPECT_FALSE(writeSTL(mesh.pMesh.get(), name));
    EXPECT_TRUE(captured.has(", ERROR: Failed to open " + name + "\n"));
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(writeSTL(mesh.pMesh.get(), "/dev/full"));
        EXPECT_TRUE(captured.has(", ERROR: Failed to write /dev/full\n"));
    }
}

TEST(WriteMesh, theEndingChoosesTheFormAndAsciiIsReversedForPly)
{
    TempDir dir;
    CapturedMessages captured;
    const std::shared_ptr<Mesh> pMesh = toMesh(octahedron());
    EXPECT_TRUE(writeMesh_auto(dir.file("a.PLY"), pMesh, true));
    EXPECT_EQ(formatOf(dir.read("a.PLY")), "format binary_little_endian 1.0");
    EXPECT_TRUE(writeMesh_auto(dir.file("b.ply"), pMesh, false));
    EXPECT_EQ(formatOf(dir.read("b.ply")), "format ascii 1.0");
    EXPECT_TRUE(writeMesh_auto(dir.file("a.Stl"), pMesh, false));
    EXPECT_EQ(dir.read("a.Stl").substr(0, 12), "solid - ZAN\n");
    EXPECT_TRUE(writeMesh_auto(dir.file("a.list"), pMesh, false));
    EXPECT_EQ(dir.read("a.list").substr(0, 5), "LIST\n");
    EXPECT_FALSE(writeMesh_auto(dir.file("missing/a.stl"), pMesh, false));
}

TEST(WriteMesh, anUnknownEndingWritesTheFallbackWithItsResult)
{
    TempDir dir;
    InFolder inFolder(dir.path());
    CapturedMessages captured;
    EXPECT_TRUE(writeMesh_auto("mesh.xyz", toMesh(octahedron()), true));
    EXPECT_TRUE(captured.has("Filename [mesh.xyz] is not valid, using [zan_output.ply] instead\n"));
    EXPECT_EQ(formatOf(dir.read("zan_output.ply")), "format ascii 1.0");
    EXPECT_EQ(dir.numFiles(), 1u);
}

TEST(WriteMesh, tooShortANameAndNoMeshAreReported)
{
    TempDir dir;
    InFolder inFolder(dir.path());
    for (const char* name : {"", "a", "mesh"}) {
        CapturedMessages captured;
        EXPECT_FALSE(writeMesh_auto(name, toMesh(octahedron()), false));
        EXPECT_TRUE(captured.has(", ERROR: writing " + std::string(name) + " failed\n"));
    }
    CapturedMessages captured;
    EXPECT_FALSE(writeMesh_auto("mesh.ply", nullptr, false));
    EXPECT_TRUE(captured.has(", ERROR: writing mesh.ply failed\n"));
    EXPECT_EQ(dir.numFiles(), 0u);
}

TEST(WriteMesh, theHandleIsReleasedOnEveryPath)
{
    TempDir dir;
    CapturedMessages captured;
    const std::shared_ptr<Mesh> pMesh = toMesh(octahedron());
    for (const std::string& name : {dir.file("a.ply"), dir.file("missing/a.ply"), std::string("a")})
        writeMesh_auto(name, pMesh, false);
    EXPECT_EQ(pMesh.use_count(), 1);
}

} // namespace
