#include "pointFiles.h"

#include "helpers/captured.h"
#include "helpers/inFolder.h"
#include "helpers/rawBytes.h"
#include "helpers/tempDir.h"
#include "random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace TESK_ZAN;
using zan_test::bytes;
using zan_test::CapturedMessages;
using zan_test::InFolder;
using zan_test::TempDir;

namespace
{

std::vector<Point3> readAscii(const TempDir& dir, const std::string& content)
{
    std::vector<Point3> vPoints;
    EXPECT_TRUE(readPoints_ASCII(dir.write("points.xyz", content).c_str(), vPoints));
    return vPoints;
}

// Line by line through streams: slow and, by definition, right.
std::vector<Point3> readAsciiByStreams(const std::string& content)
{
    std::vector<Point3> vPoints;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        double x, y, z;
        if (words >> x >> y >> z)
            vPoints.emplace_back(x, y, z);
    }
    return vPoints;
}

TEST(AsciiPoints, linesWithoutThreeNumbersAreSkippedAndTheRestOfALineIsIgnored)
{
    TempDir dir;
    const std::vector<Point3> vPoints = readAscii(dir, "1 2 3 4 5\nword\n\n-1 +.5 2e1\n");
    EXPECT_EQ(vPoints, (std::vector<Point3>{{1, 2, 3}, {-1, 0.5, 20}}));
}

TEST(AsciiPoints, foreignLineEndsAndAMissingLastOneDoNoHarm)
{
    TempDir dir;
    EXPECT_EQ(readAscii(dir, "1 2 3\r\n\r\n4 5 6\r\n\t7\v8\f9x"),
              (std::vector<Point3>{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
}

TEST(AsciiPoints, acceptsAndRejectsRandomLinesAsStreamsDo)
{
    Random random(3);
    const std::string alphabet = "0123456789 123456789 .-+e,\t\r\n\nx0123456789 ";
    TempDir dir;
    for (int round = 0; round < 20; ++round) {
        std::string content;
        for (int i = 0; i < 30000; ++i)
            content += alphabet[random.below(std::uint32_t(alphabet.size()))];
        EXPECT_EQ(readAscii(dir, content), readAsciiByStreams(content)) << "round " << round;
    }
}

TEST(AsciiPoints, linesThatCrossBlocksAndLinesLongerThanABlockStayWhole)
{
    std::string content;
    for (int i = 0; i < 60000; ++i) {
        content += std::to_string(i) + ".25 -" + std::to_string(i) + " 1e-3\n";
        if (i % 20000 == 7)
            content += std::string(700000, ' ') + "1 2." + std::string(900000, i == 7 ? ' ' : '0') + " 3\n";
    }
    TempDir dir;
    const std::vector<Point3> vPoints = readAscii(dir, content);
    EXPECT_EQ(vPoints.size(), 60003u);
    EXPECT_EQ(vPoints, readAsciiByStreams(content));
}

TEST(AsciiPoints, everyDoubleSurvivesARoundTrip)
{
    Random random(4);
    std::vector<Point3> vPoints{{0.1, -1.0 / 3.0, 1e300},
                                {std::numeric_limits<double>::denorm_min(), -0.0, 1e22}};
    for (int i = 0; i < 20000; ++i)
        vPoints.emplace_back(random.uniform() - 0.5, random.uniform() * 1e6, random.uniform() * 1e-9);
    TempDir dir;
    ASSERT_TRUE(writePoints_ASCII(dir.file("a.xyz").c_str(), vPoints));
    std::vector<Point3> vBack;
    ASSERT_TRUE(readPoints_ASCII(dir.file("a.xyz").c_str(), vBack));
    EXPECT_EQ(vBack, vPoints);
}

TEST(AsciiPoints, writesEighteenDigitsInTheDefaultFloatForm)
{
    TempDir dir;
    ASSERT_TRUE(writePoints_ASCII(dir.file("a.xyz").c_str(), {{0.1, 2, -1e30}, {0, 1.5, 1e-5}}));
    EXPECT_EQ(dir.read("a.xyz"),
              "0.100000000000000006 2 -1.00000000000000002e+30\n0 1.5 1.00000000000000008e-05\n");
}

TEST(PointFiles, readersAppend)
{
    TempDir dir;
    std::vector<Point3> vPoints{{9, 9, 9}};
    ASSERT_TRUE(writePoints_BIN(dir.file("a.bin").c_str(), vPoints));
    std::string name = dir.write("a.asc", "1 2 3\n");
    EXPECT_TRUE(readPoints_auto(name, vPoints));
    name = dir.file("a.bin");
    EXPECT_TRUE(readPoints_auto(name, vPoints));
    EXPECT_EQ(vPoints, (std::vector<Point3>{{9, 9, 9}, {1, 2, 3}, {9, 9, 9}}));
}

TEST(PointFiles, whatCanNotBeOpenedIsNamedAndChangesNothing)
{
    TempDir dir;
    CapturedMessages captured;
    const std::string missing = dir.file("missing");
    std::vector<Point3> vPoints{{9, 9, 9}};
    EXPECT_FALSE(readPoints_ASCII(missing.c_str(), vPoints));
    EXPECT_TRUE(captured.has(missing + " is unreadable\n"));
    EXPECT_FALSE(readPoints_BIN(missing.c_str(), vPoints));
    EXPECT_TRUE(captured.has(missing + " can't be read"));
    EXPECT_FALSE(readSTL_ASCII(missing.c_str(), vPoints));
    EXPECT_TRUE(captured.has("readSTL(): " + missing + " is unreadable"));
    const std::string inMissing = missing + "/a";
    EXPECT_FALSE(writePoints_ASCII(inMissing.c_str(), vPoints));
    EXPECT_FALSE(writePoints_BIN(inMissing.c_str(), vPoints));
    EXPECT_TRUE(captured.has(inMissing + " can't be written\n" + inMissing + " can't be written\n"));
    EXPECT_EQ(vPoints, (std::vector<Point3>{{9, 9, 9}}));
}

TEST(PointFiles, aFolderIsNoPointFile)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints{{9, 9, 9}};
    EXPECT_FALSE(readPoints_ASCII(dir.path().c_str(), vPoints));
    EXPECT_FALSE(readPoints_BIN(dir.path().c_str(), vPoints));
    EXPECT_FALSE(readSTL_ASCII(dir.path().c_str(), vPoints));
    EXPECT_EQ(vPoints.size(), 1u);
}

TEST(PointFiles, aFullDiskIsNoSuccess)
{
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no device that is always full";
    CapturedMessages captured;
    std::vector<Point3> vFew{{1, 2, 3}};
    std::vector<Point3> vMany(100000, Point3(0.1, 0.2, 0.3));
    for (std::vector<Point3>* p : {&vFew, &vMany}) {
        captured.clear();
        EXPECT_FALSE(writePoints_ASCII("/dev/full", *p));
        EXPECT_TRUE(captured.has("/dev/full can't be written"));
        captured.clear();
        EXPECT_FALSE(writePoints_BIN("/dev/full", *p));
        EXPECT_TRUE(captured.has("/dev/full can't be written"));
    }
}

TEST(BinaryPoints, theLayoutIsThePublishedOne)
{
    TempDir dir;
    std::vector<Point3> vPoints{{1.5, -2, 3}, {4, 5, 6}};
    ASSERT_TRUE(writePoints_BIN(dir.file("a.bin").c_str(), vPoints));
    EXPECT_EQ(dir.read("a.bin"), bytes(std::int32_t(30), std::uint64_t(2), 1.5, -2.0, 3.0, 4.0, 5.0, 6.0));

    std::vector<Point3> vFlat;
    const std::string flat = bytes(std::int32_t(20), std::uint64_t(2), 1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(flat.size(), 44u);
    ASSERT_TRUE(readPoints_BIN(dir.write("flat.bin", flat).c_str(), vFlat));
    EXPECT_EQ(vFlat, (std::vector<Point3>{{1, 2, 0}, {3, 4, 0}}));
}

TEST(BinaryPoints, noPointsAreTwelveBytes)
{
    TempDir dir;
    std::vector<Point3> vPoints;
    ASSERT_TRUE(writePoints_BIN(dir.file("a.bin").c_str(), vPoints));
    EXPECT_EQ(dir.read("a.bin").size(), 12u);
    EXPECT_TRUE(readPoints_BIN(dir.file("a.bin").c_str(), vPoints));
    EXPECT_TRUE(vPoints.empty());
}

TEST(BinaryPoints, moreThanABlockOfPointsSurvivesARoundTripBitByBit)
{
    Random random(5);
    std::vector<Point3> vPoints;
    for (int i = 0; i < 50000; ++i)
        vPoints.emplace_back(random.uniform(), -random.uniform(), random.uniform() * 1e-200);
    TempDir dir;
    ASSERT_TRUE(writePoints_BIN(dir.file("a.bin").c_str(), vPoints));
    std::vector<Point3> vBack;
    ASSERT_TRUE(readPoints_BIN(dir.file("a.bin").c_str(), vBack));
    EXPECT_EQ(vBack, vPoints);
}

TEST(BinaryPoints, anUnknownTypeIsNamed)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints{{9, 9, 9}};
    const std::string name = dir.write("a.bin", bytes(std::int32_t(10), std::uint64_t(1), 1.0, 2.0, 3.0));
    EXPECT_FALSE(readPoints_BIN(name.c_str(), vPoints));
    EXPECT_TRUE(captured.has(name + " has wrong filetype 10, expected: 30 or 20"));
    EXPECT_EQ(vPoints.size(), 1u);
}

TEST(BinaryPoints, cutShortOrBoastfulFilesAreRefusedWithoutAllocatingForThem)
{
    TempDir dir;
    std::vector<Point3> vPoints{{9, 9, 9}};
    const std::string whole = bytes(std::int32_t(30), std::uint64_t(2), 1.0, 2.0, 3.0, 4.0, 5.0, 6.0);
    std::vector<std::string> vContents;
    for (size_t length = 0; length < whole.size(); ++length)
        vContents.push_back(whole.substr(0, length));
    for (int shift : {33, 60, 61, 62, 63})
        vContents.push_back(bytes(std::int32_t(30), std::uint64_t(1) << shift) + whole);
    vContents.push_back(bytes(std::int32_t(20), ~std::uint64_t(0)));
    for (const std::string& content : vContents) {
        CapturedMessages captured;
        EXPECT_FALSE(readPoints_BIN(dir.write("a.bin", content).c_str(), vPoints)) << content.size();
        EXPECT_TRUE(captured.has("can't be read")) << content.size();
    }
    EXPECT_EQ(vPoints.size(), 1u);
    EXPECT_EQ(vPoints.capacity(), 1u);
}

TEST(StlPoints, eachFacetGivesItsThreeCornersInOrder)
{
    TempDir dir;
    std::vector<Point3> vPoints;
    const std::string name =
        dir.write("a.stl", "solid vertex\nfacet normal 0 0 1\n outer loop\n"
                           "  vertex 0 0 0\n  vertex 1 0 0\r\n\tvertex 0 1 1e0\n endloop\n"
                           "endfacet\nvertex 7 7 7\nfacet normal 0 0 1\nOUTER LOOP\n"
                           "  vertex 1 1 1\n  vertex 2 1 1\n  vertex 1 2 1\n endloop\n"
                           "endfacet\nendsolid");
    ASSERT_TRUE(readSTL_ASCII(name.c_str(), vPoints));
    EXPECT_EQ(vPoints,
              (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 1}, {1, 1, 1}, {2, 1, 1}, {1, 2, 1}}));
}

TEST(StlPoints, capitalVerticesAndUnreadableOnesAreSkipped)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints;
    const std::string name =
        dir.write("a.stl", "outer loop\nVERTEX 0 0 0\nvertex 1 2\nvertex 1 2 3\nx vertex 4 5 6\nendloop\n");
    ASSERT_TRUE(readSTL_ASCII(name.c_str(), vPoints));
    EXPECT_EQ(vPoints, (std::vector<Point3>{{1, 2, 3}}));
    EXPECT_TRUE(captured.has("1 facets without exactly three vertices"));
}

TEST(PointsByName, unknownEndingsAreComplaintsAndReadNothing)
{
    CapturedMessages captured;
    std::vector<Point3> vPoints;
    for (std::string name : {"scan.stl", "scan", "a", "scan.list"}) {
        captured.clear();
        EXPECT_FALSE(readPoints_auto(name, vPoints));
        EXPECT_EQ(captured.text(),
                  "Filename extension of [" + name + "] is not valid, expected *.ply, *.xyz or *.bin\n");
    }
}

TEST(PointsByName, theEndingChoosesTheForm)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints{{1, 2, 3}};
    std::string name = dir.file("a.xyz");
    EXPECT_TRUE(writePoints_auto(name, vPoints, false));
    EXPECT_EQ(dir.read("a.xyz"), "1 2 3\n");
    name = dir.file("a.bin");
    EXPECT_TRUE(writePoints_auto(name, vPoints, true));
    EXPECT_EQ(dir.read("a.bin").size(), 36u);
    name = dir.file("a.ply");
    EXPECT_TRUE(writePoints_auto(name, vPoints, true));
    EXPECT_NE(dir.read("a.ply").find("format ascii 1.0"), std::string::npos);
    EXPECT_TRUE(writePoints_auto(name, vPoints, false));
    EXPECT_NE(dir.read("a.ply").find("format binary_little_endian 1.0"), std::string::npos);
    name = dir.file("a.list");
    EXPECT_TRUE(writePoints_auto(name, vPoints, false));
    EXPECT_EQ(dir.read("a.list").substr(0, 5), "LIST\n");
    EXPECT_NE(dir.read("a.list").find("linewidth 10}"), std::string::npos);
    EXPECT_NE(dir.read("a.list").find("1 0 0 0.5"), std::string::npos);
    name = dir.file("missing/a.list");
    EXPECT_FALSE(writePoints_auto(name, vPoints, false));
}

TEST(PointsByName, anUnknownEndingWritesTheFallbackAndStillFails)
{
    TempDir dir;
    InFolder inFolder(dir.path());
    CapturedMessages captured;
    std::vector<Point3> vPoints{{1, 2, 3}};
    std::string name = "mesh.stl";
    EXPECT_FALSE(writePoints_auto(name, vPoints, true));
    EXPECT_TRUE(captured.has("Filename [mesh.stl] is not valid, using [zan_output_bin.ply] instead\n"));
    EXPECT_NE(dir.read("zan_output_bin.ply").find("\n1 2 3 \n"), std::string::npos);
    EXPECT_EQ(dir.numFiles(), 1u);
}

} // namespace
