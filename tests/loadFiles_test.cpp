#include "loadFiles.h"

#include "RMesh.h"
#include "helpers/captured.h"
#include "helpers/tempDir.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;
using zan_test::TempDir;

namespace
{

class LoadFiles : public testing::Test
{
protected:
    std::vector<Point3> points(const std::string& name, const std::string& content, int colorColumn = 0)
    {
        dir.write(name, content);
        std::vector<Point3> vPoints;
        bOK = loadPoints(dir.file(name), vPoints, colorColumn);
        return vPoints;
    }

    std::vector<Point3> triangles(const std::string& name)
    {
        std::vector<Point3> vCorners;
        bOK = loadTriangles(dir.file(name), vCorners);
        return vCorners;
    }

    TempDir dir;
    CapturedMessages messages;
    bool bOK = false;
};

std::string colorOf(const Point3& p)
{
    unsigned char c[4];
    p.getColor_255(c[0], c[1], c[2], c[3]);
    return p.hasColor() ? std::to_string(c[0]) + ' ' + std::to_string(c[1]) + ' ' + std::to_string(c[2]) +
                              ' ' + std::to_string(c[3])
                        : "none";
}

std::string plyOfPoints(const std::string& colorProperties, const std::string& rows, int num)
{
    return "ply\nformat ascii 1.0\nelement vertex " + std::to_string(num) +
           "\nproperty double x\nproperty double y\nproperty double z\n" + colorProperties + "end_header\n" +
           rows;
}

} // namespace

TEST_F(LoadFiles, PlyColoursNeedNoAlphaAndBytesAreNotScaled)
{
    const std::string bytes = "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    std::vector<Point3> v = points("a.ply", plyOfPoints(bytes, "0 0 0 0 1 0\n1 0 0 0 0 0\n", 2));
    ASSERT_EQ(v.size(), 2U);
    EXPECT_EQ(colorOf(v[0]), "0 1 0 255");
    EXPECT_EQ(colorOf(v[1]), "0 0 0 255"); // black is a colour

    v = points("b.ply", plyOfPoints(bytes + "property uchar alpha\n", "0 0 0 9 8 7 6\n1 0 0 0 0 0 0\n", 2));
    ASSERT_EQ(v.size(), 2U);
    EXPECT_EQ(colorOf(v[0]), "9 8 7 6");
    EXPECT_EQ(colorOf(v[1]), "none"); // as this library writes a vertex without

    v = points("c.ply", plyOfPoints("property float red\nproperty float green\nproperty float blue\n",
                                    "0 0 0 1 0.5 0\n", 1));
    ASSERT_EQ(v.size(), 1U);
    EXPECT_EQ(colorOf(v[0]), "255 127 0 255");
}

TEST_F(LoadFiles, PlyFacesMayBePolygonsOfOtherNamesAndKeepColours)
{
    dir.write("a.ply", "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\nproperty float y\n"
                       "property float z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
                       "element face 4\nproperty list uchar int vertex_index\nend_header\n"
                       "0 0 0 9 9 9\n1 0 0 8 8 8\n1 1 0 7 7 7\n0 1 0 6 6 6\n0.5 2 0 5 5 5\n"
                       "4 0 1 2 3\n3 3 2 4\n2 0 1\n5 0 1 2 4 3\n");
    const std::vector<Point3> v = triangles("a.ply");
    ASSERT_TRUE(bOK) << messages.text();
    ASSERT_EQ(v.size(), 3U * (2 + 1 + 0 + 3));
    EXPECT_EQ(v[3], Point3(0, 0, 0));
    EXPECT_EQ(v[5], Point3(0, 1, 0));
    EXPECT_EQ(colorOf(v[5]), "6 6 6 255");
    EXPECT_EQ(v[8], Point3(0.5, 2, 0));
}

TEST_F(LoadFiles, WhatIsWrongIsSaidAndNothingIsAppended)
{
    dir.write("far.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                         "property float z\nelement face 2\nproperty list uchar int vertex_indices\n"
                         "end_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n3 0 1 -3\n");
    dir.write("none.stl", "solid x\nendsolid x\n");
    dir.write("bad.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 2 4\n");
    dir.write("wrong.foo", "");
    for (const char* name : {"far.ply", "none.stl", "bad.obj", "wrong.foo", "gone.ply", "gone.obj"}) {
        std::vector<Point3> v(2);
        EXPECT_FALSE(loadTriangles(dir.file(name), v)) << name;
        EXPECT_EQ(v.size(), 2U) << name;
    }
    EXPECT_TRUE(messages.has("a face has the vertex -3 of 3")) << messages.text();
    EXPECT_TRUE(messages.has("a face names vertex 4 of 3")) << messages.text();
    std::vector<Point3> v(1);
    EXPECT_FALSE(savePoints(dir.file("a.foo"), v, false));
    EXPECT_FALSE(saveMesh(dir.file("a.foo"), nullptr, false));
    EXPECT_FALSE(savePoints(dir.file("no/folder.ply"), v, false));
}

TEST_F(LoadFiles, TextPointsTakeColoursFromTheirColumns)
{
    std::vector<Point3> v = points("a.xyz", "1 2 3 0.7 255 0 10\n# 1\n4 5 6 0.1\n7 8 9 x 1 2 3\n", 5);
    ASSERT_EQ(v.size(), 3U);
    EXPECT_EQ(colorOf(v[0]), "255 0 10 255");
    EXPECT_EQ(colorOf(v[1]), "none");
    EXPECT_EQ(colorOf(v[2]), "1 2 3 255");
    v = points("b.txt", "1 2 3 0.5 1 0\n", 4);
    EXPECT_EQ(colorOf(v.at(0)), "127 255 0 255");
    EXPECT_EQ(colorOf(points("c.txt", "1 2 3 0.5 1 0\n").at(0)), "none");
}

TEST_F(LoadFiles, PointsComeBackExactlyFromEachKindOfFile)
{
    std::vector<Point3> vPoints = {{0.1, 1e-300, 850000.123456789}, {1.0 / 3.0, -0.0, 2}, {5, 6, 7}};
    for (std::size_t i = 0; i < vPoints.size(); ++i)
        vPoints[i].setColor(static_cast<unsigned char>(40 * i), 3, 2, 255);
    for (const char* name : {"a.ply", "b.xyz", "c.bin"}) {
        for (const bool bAscii : {false, true}) {
            ASSERT_TRUE(savePoints(dir.file(name), vPoints, bAscii)) << name;
            std::vector<Point3> vBack;
            ASSERT_TRUE(loadPoints(dir.file(name), vBack, 4)) << name;
            EXPECT_EQ(vBack, vPoints) << name;
            for (std::size_t i = 0; i < vBack.size() && name[0] != 'c'; ++i)
                EXPECT_EQ(colorOf(vBack[i]), colorOf(vPoints[i])) << name;
        }
    }
    vPoints = {{0.5, 1, 2}};
    ASSERT_TRUE(savePoints(dir.file("float.ply"), vPoints, false));
    EXPECT_NE(dir.read("float.ply").find("property float x"), std::string::npos);
}

TEST_F(LoadFiles, MeshesComeBackFromEachKindOfFile)
{
    const double far = 850000.0, step = 0.01; // a float is coarser than the mesh there
    std::vector<Point3> vCorners = {{far, 0, 0},    {far + step, 0, 0}, {far, step, 0},
                                    {far, step, 0}, {far + step, 0, 0}, {far, 0, step}};
    vCorners[0].setColor(255, 0, 51, 255);
    const auto pMesh = meshFromTriangles(vCorners);
    for (const char* name : {"a.ply", "b.obj", "c.stl"}) {
        for (const bool bAscii : {false, true}) {
            ASSERT_TRUE(saveMesh(dir.file(name), pMesh, bAscii)) << name;
            const std::vector<Point3> vBack = triangles(name);
            ASSERT_TRUE(bOK) << name;
            EXPECT_EQ(vBack.size(), 6U) << name;
            EXPECT_TRUE(vBack == vCorners || (name[0] == 'c' && !bAscii)) << name << bAscii; // floats
            EXPECT_EQ(colorOf(vBack[0]), name[0] == 'c' ? "none" : colorOf(vCorners[0])) << name;
        }
    }
}

// Sheets that were parted by copies of their vertices, a rounding step away, must not come back as one.
TEST_F(LoadFiles, VerticesThatDifferBelowAFloatStayApart)
{
    const double up = std::nextafter(1.0, 2.0);
    std::vector<Point3> vCorners = {{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {up, 0, 0}, {2, 0, 1}, {2, 1, 1}};
    const auto pMesh = meshFromTriangles(vCorners);
    for (const char* name : {"a.ply", "c.stl", "b.obj"}) {
        for (const bool bAscii : {false, true}) {
            ASSERT_TRUE(saveMesh(dir.file(name), pMesh, bAscii));
            const std::vector<Point3> vBack = triangles(name);
            ASSERT_EQ(vBack.size(), 6U) << name;
            EXPECT_NE(vBack[0], vBack[3]) << name;
        }
    }
}

TEST_F(LoadFiles, TextStlTakesCapitalsAndLeavesOutWhatIsNoTriangle)
{
    dir.write("a.stl", "SOLID x\nFACET NORMAL 0 0 1\nOUTER LOOP\nVERTEX 0 0 0\nVERTEX 1 0 0\nVERTEX 0 1 0\n"
                       "ENDLOOP\nENDFACET\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                       "endloop\nendfacet\n");
    EXPECT_EQ(triangles("a.stl"), (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_TRUE(messages.has("1 facets without exactly three vertices"));
}
