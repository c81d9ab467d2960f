#include "plyPoints.h"

#include "helpers/captured.h"
#include "helpers/rawBytes.h"
#include "helpers/tempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

using namespace TESK_ZAN;
using zan_test::bytes;
using zan_test::CapturedMessages;
using zan_test::swappedBytes;
using zan_test::TempDir;

namespace
{

const std::string XYZ = "property float x\nproperty float y\nproperty float z\n";
const std::string RGB = "property uchar red\nproperty uchar green\nproperty uchar blue\n";
const std::string FACES = "property list uchar int vertex_indices\n";

std::string vertices(int num, const std::string& properties)
{
    return "element vertex " + std::to_string(num) + "\n" + properties;
}

std::string faces(int num)
{
    return "element face " + std::to_string(num) + "\n" + FACES;
}

std::string textPly(const std::string& header, const std::string& body)
{
    return "ply\nformat ascii 1.0\n" + header + "end_header\n" + body;
}

std::string binaryPly(const std::string& header, const std::string& body)
{
    return "ply\nformat binary_little_endian 1.0\n" + header + "end_header\n" + body;
}

// One reading of one file, with all that it said.
struct Outcome {
    Outcome(const std::string& content, bool bPointsOnly, size_t numBefore = 0) : vPoints(numBefore)
    {
        TempDir dir;
        CapturedMessages captured;
        name = dir.write("a.ply", content);
        bRead = readPly(name.c_str(), bPointsOnly, vPoints);
        said = captured.text();
    }
    bool has(const std::string& text) const { return said.find(text) != std::string::npos; }

    std::string name;
    bool bRead = false;
    std::vector<Point3> vPoints;
    std::string said;
};

std::array<int, 4> colorOf(const Point3& point)
{
    unsigned char r, g, b, a;
    point.getColor_255(r, g, b, a);
    return {r, g, b, a};
}

using Colors = std::vector<std::array<int, 4>>;

Colors colorsOf(const std::vector<Point3>& vPoints)
{
    Colors vColors;
    for (const Point3& point : vPoints)
        vColors.push_back(point.hasColor() ? colorOf(point) : std::array<int, 4>{-1, -1, -1, -1});
    return vColors;
}

// The file must be refused for points and for triangles, with a message, and the points stay what they were.
void expectRefused(const std::string& content, const std::string& part)
{
    for (bool bPointsOnly : {true, false}) {
        const Outcome outcome(content, bPointsOnly, 3);
        EXPECT_FALSE(outcome.bRead) << content;
        EXPECT_EQ(outcome.vPoints, std::vector<Point3>(3)) << content;
        EXPECT_TRUE(outcome.has(part)) << outcome.said;
    }
}

void expectTrianglesRefused(const std::string& content, const std::string& part)
{
    const Outcome outcome(content, false, 2);
    EXPECT_FALSE(outcome.bRead);
    EXPECT_EQ(outcome.vPoints.size(), 2u);
    EXPECT_TRUE(outcome.has(part)) << outcome.said;
}

// ---- vertices and faces ----

TEST(ReadPly, pointsAreAppendedAndFacesLeftAside)
{
    const Outcome outcome(textPly(vertices(2, XYZ) + faces(1), "1 2 3\n4 5 6.5\n3 0 1 0\n"), true, 1);
    EXPECT_TRUE(outcome.bRead);
    EXPECT_EQ(outcome.vPoints, (std::vector<Point3>{{0, 0, 0}, {1, 2, 3}, {4, 5, 6.5}}));
}

TEST(ReadPly, trianglesComeAsThreePointsPerFaceInTheOrderOfTheFile)
{
    const std::string body = bytes(0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f) +
                             bytes(std::uint8_t(3), 3, 1, 0) + bytes(std::uint8_t(3), 2, 3, 0);
    const Outcome outcome(binaryPly(vertices(4, XYZ) + faces(2), body), false);
    EXPECT_TRUE(outcome.bRead) << outcome.said;
    EXPECT_EQ(outcome.vPoints,
              (std::vector<Point3>{{0, 0, 1}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}));
}

template <class T>
void expectIndexWidthIsConverted(const std::string& word)
{
    const std::string header =
        vertices(3, XYZ) + "element face 1\nproperty list int " + word + " vertex_indices\n";
    const auto expectSoup = [&](const std::string& content) {
        const Outcome outcome(content, false);
        EXPECT_TRUE(outcome.bRead) << word << outcome.said;
        EXPECT_EQ(outcome.vPoints, (std::vector<Point3>{{7, 8, 9}, {1, 2, 3}, {4, 5, 6}})) << word;
    };
    const auto raw = [](auto append) {
        return append(1.f, 2.f, 3.f, 4.f, 5.f, 6.f, 7.f, 8.f, 9.f, 3, T(2), T(0), T(1));
    };
    expectSoup(binaryPly(header, raw([](auto... v) { return bytes(v...); })));
    expectSoup("ply\nformat binary_big_endian 1.0\n" + header + "end_header\n" +
               raw([](auto... v) { return swappedBytes(v...); }));
    expectSoup(textPly(header, "1 2 3 4 5 6 7 8 9 3 2 0 1"));
}

TEST(ReadPly, indicesOfAnyIntegerWidthAreConverted)
{
    expectIndexWidthIsConverted<std::int8_t>("char");
    expectIndexWidthIsConverted<std::uint8_t>("uchar");
    expectIndexWidthIsConverted<std::int16_t>("short");
    expectIndexWidthIsConverted<std::uint16_t>("ushort");
    expectIndexWidthIsConverted<std::int32_t>("int");
    expectIndexWidthIsConverted<std::uint32_t>("uint");
}

TEST(ReadPly, doublesAndIntegersLoseNothing)
{
    const Outcome doubles(binaryPly(vertices(1, "property double x\nproperty double y\nproperty double z\n"),
                                    bytes(0.1, 1e-300, -1.0 / 3)),
                          true);
    EXPECT_EQ(doubles.vPoints, (std::vector<Point3>{{0.1, 1e-300, -1.0 / 3}}));
    const Outcome ints(
        textPly(vertices(1, "property int z\nproperty int x\nproperty int y\n"), "3 -2147483648 2"), true);
    EXPECT_EQ(ints.vPoints, (std::vector<Point3>{{-2147483648.0, 2, 3}}));
}

TEST(ReadPly, whatHasNoVerticesFailsWithoutAWord)
{
    std::vector<Point3> vPoints;
    CapturedMessages captured;
    EXPECT_FALSE(readPly("/nowhere/at/all.ply", true, vPoints));
    EXPECT_EQ(captured.text(), "");
    for (const std::string& header :
         {std::string(), faces(0), vertices(0, "property float x\nproperty float y\n")}) {
        const Outcome outcome(textPly(header, ""), true);
        EXPECT_FALSE(outcome.bRead);
        EXPECT_EQ(outcome.said, "");
    }
}

TEST(ReadPly, facesUnderAnotherNameAreOnlyMissedWhereTheyAreWanted)
{
    const std::string content =
        textPly(vertices(3, XYZ) + "element face 1\nproperty list uchar int vertex_index\n",
                "0 0 0 1 0 0 0 1 0 3 0 1 2");
    EXPECT_TRUE(Outcome(content, true).bRead);
    expectTrianglesRefused(content,
                           "tinyply exception: the following property keys were not found in the header: "
                           "vertex_indices, \n");
}

// ---- refusals ----

TEST(ReadPly, facesThatAreNoTrianglesAreRefusedBeforeTheyOverrunAnything)
{
    const std::string header = vertices(4, XYZ) + faces(2);
    const std::string xyz(48, '\0');
    expectTrianglesRefused(
        binaryPly(header, xyz + bytes(std::uint8_t(3), 0, 1, 2) + bytes(std::uint8_t(4), 0, 1, 2, 3)),
        "not read");
    expectTrianglesRefused(textPly(header, "0 0 0 1 1 1 2 2 2 3 3 3\n2 0 1\n3 0 1 2\n"), "not read");
}

TEST(ReadPly, indicesThatNameNoVertexAreRefused)
{
    const std::string xyz(36, '\0');
    for (std::int32_t index : {3, -1, std::numeric_limits<std::int32_t>::max()})
        expectTrianglesRefused(
            binaryPly(vertices(3, XYZ) + faces(1), xyz + bytes(std::uint8_t(3), 0, 1, index)), "not read");
    expectTrianglesRefused(
        textPly(vertices(3, XYZ) + "element face 1\nproperty list uchar uint vertex_indices\n",
                "0 0 0 1 0 0 0 1 0 3 0 1 4294967295"),
        "not read");
    expectTrianglesRefused(binaryPly(vertices(0, XYZ) + faces(1), bytes(std::uint8_t(3), 0, 0, 0)),
                           "not read");
}

TEST(ReadPly, indicesThatAreNoIntegerListsAreUnsupported)
{
    const std::string xyz = "0 0 0 1 0 0 0 1 0 ";
    expectTrianglesRefused(
        textPly(vertices(3, XYZ) + "element face 1\nproperty list uchar float vertex_indices\n",
                xyz + "3 0 1 2"),
        "unsupported type in ");
    expectTrianglesRefused(
        textPly(vertices(3, XYZ) + "element face 1\nproperty int vertex_indices\n", xyz + "3"),
        "unsupported type in ");
}

TEST(ReadPly, coordinatesOfOtherOrMixedTypesAndListsAreUnsupported)
{
    const std::string tail = faces(0);
    for (const std::string& properties :
         {std::string("property short x\nproperty short y\nproperty short z\n"),
          std::string("property float x\nproperty double y\nproperty float z\n"),
          std::string("property list uchar float x\nproperty float y\nproperty float z\n"),
          std::string(
              "property list uchar float x\nproperty list uchar float y\nproperty list uchar float z\n")})
        expectRefused(textPly(vertices(1, properties) + tail, "1 1 1 1 1 1"),
                      "readPly, ERROR: unsupported type in ");
}

TEST(ReadPly, headersThatStopEarlyAreRefused)
{
    expectRefused("ply\nformat ascii 1.0\n" + vertices(1, XYZ) + faces(0) + "surprise\nend_header\n1 2 3\n",
                  "not read");
    expectRefused("ply\nformat ascii 1.0\n" + vertices(1, XYZ) + faces(0), "not read");
    expectRefused("ply\nformat ascii 1.0\nelement vertex many\n" + XYZ + faces(0) + "end_header\n1 2 3\n",
                  "not read");
    expectRefused("ply\nproperty float x\nend_header\n", "not read");
}

TEST(ReadPly, bodiesThatAreCutShortAreRefusedAtEveryByte)
{
    const std::string header = vertices(2, XYZ) + faces(2);
    const std::string body =
        std::string(24, '\0') + bytes(std::uint8_t(3), 0, 1, 0) + bytes(std::uint8_t(3), 1, 1, 0);
    for (size_t length = 0; length < body.size(); ++length)
        expectRefused(binaryPly(header, body.substr(0, length)), "a.ply not read\n");
    expectRefused(textPly(header, "0 0 0 1 1 1 3 0 1 0 3 1 1"), "a.ply not read\n");
}

TEST(ReadPly, announcementsBeyondTheFileAreRefused)
{
    for (const char* num : {"18446744073709551615", "6148914691236517206", "4294967296", "-1"})
        expectRefused(
            binaryPly(std::string("element vertex ") + num + "\n" + XYZ + faces(0), std::string(24, '\0')),
            "a.ply not read");
}

// ---- colours ----

std::string colored(const std::string& type, const std::string& alpha)
{
    return "property " + type + " red\nproperty " + type + " green\nproperty " + type + " blue\n" +
           (alpha.empty() ? "" : "property " + type + " " + alpha + "\n");
}

TEST(ReadPlyColours, needAnAlphaOrAnIntensityBesideThem)
{
    const auto colorsFor = [](const std::string& alpha, const std::string& row) {
        const Outcome outcome(textPly(vertices(1, XYZ + colored("uchar", alpha)), "1 2 3 10 20 30" + row),
                              true);
        EXPECT_TRUE(outcome.bRead);
        return colorsOf(outcome.vPoints);
    };
    EXPECT_EQ(colorsFor("", ""), (Colors{{-1, -1, -1, -1}}));
    EXPECT_EQ(colorsFor("other", " 40"), (Colors{{-1, -1, -1, -1}}));
    EXPECT_EQ(colorsFor("alpha", " 40"), (Colors{{10, 20, 30, 40}}));
    EXPECT_EQ(colorsFor("scalar_Intensity", " 50"), (Colors{{10, 20, 30, 50}}));
}

TEST(ReadPlyColours, alphaGoesBeforeIntensityAndStaysUnusedWithoutColours)
{
    const Outcome both(
        textPly(vertices(1, XYZ + colored("uchar", "scalar_Intensity") + "property uchar alpha\n"),
                "1 2 3 10 20 30 40 50"),
        true);
    EXPECT_EQ(colorsOf(both.vPoints), (Colors{{10, 20, 30, 50}}));
    const Outcome alone(textPly(vertices(1, XYZ + "property short alpha\n"), "1 2 3 4"), true);
    EXPECT_TRUE(alone.bRead);
    EXPECT_FALSE(alone.vPoints.at(0).hasColor());
}

TEST(ReadPlyColours, comeInFourTypesAndInAScaleOfOne)
{
    for (const char* type : {"float", "double"}) {
        const Outcome outcome(
            textPly(vertices(2, XYZ + colored(type, "alpha")), "1 2 3 0.5 0 1 0.25 4 5 6 0 0 0 1"), true);
        EXPECT_EQ(colorsOf(outcome.vPoints), (Colors{{127, 0, 255, 63}, {0, 0, 0, 255}})) << type;
    }
    for (const char* type : {"uchar", "int"}) {
        const Outcome outcome(
            textPly(vertices(2, XYZ + colored(type, "alpha")), "1 2 3 1 0 1 200 4 5 6 0 0 0 1"), true);
        EXPECT_EQ(colorsOf(outcome.vPoints), (Colors{{255, 0, 255, 200}, {0, 0, 0, 1}})) << type;
    }
}

TEST(ReadPlyColours, otherTypesAndMixturesAreUnsupportedAndKeepThePointsOut)
{
    const std::string tail = faces(0);
    expectRefused(textPly(vertices(1, XYZ + colored("ushort", "alpha")) + tail, "1 2 3 4 5 6 7"),
                  "unsupported type in ");
    expectRefused(textPly(vertices(1, XYZ + RGB + "property short alpha\n") + tail, "1 2 3 4 5 6 7"),
                  "unsupported type in ");
    expectRefused(
        textPly(vertices(1, XYZ + "property uchar red\nproperty int green\nproperty uchar blue\n") + tail,
                "1 2 3 4 5 6"),
        "unsupported type in ");
}

TEST(ReadPlyColours, thatDoNotMatchThePointsAreLeftOutWithAWarning)
{
    const std::string body = "0 0 0 1 2 3 4 1 0 0 1 2 3 4 ";
    const Outcome appended(textPly(vertices(2, XYZ + colored("uchar", "alpha")), body), true, 1);
    EXPECT_TRUE(appended.bRead);
    EXPECT_TRUE(appended.has("readPly, WARNING: numPoints=3, numColors=2 colors not used"));
    EXPECT_FALSE(appended.vPoints[1].hasColor());
    const Outcome soup(textPly(vertices(2, XYZ + colored("uchar", "alpha")) + faces(1), body + "3 0 1 0"),
                       false);
    EXPECT_TRUE(soup.bRead);
    EXPECT_TRUE(soup.has("numPoints=3, numColors=2 colors not used"));
}

TEST(ReadPlyColours, anEmptyColouredMeshIsReadAsNoPoints)
{
    for (bool bPointsOnly : {true, false}) {
        const Outcome outcome(binaryPly(vertices(0, XYZ + colored("uchar", "alpha")) + faces(0), ""),
                              bPointsOnly);
        EXPECT_TRUE(outcome.bRead);
        EXPECT_TRUE(outcome.vPoints.empty());
        EXPECT_EQ(outcome.said, "");
    }
}

TEST(ReadPlyColours, outlandishValuesBecomeDefinedBytes)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::string body =
        bytes(0.f, 0.f, 0.f, nan, -5.f, 70000.f, -inf) + bytes(1.f, 0.f, 0.f, 3e38f, -3e38f, 1.f, nan);
    const Outcome outcome(binaryPly(vertices(2, XYZ + colored("float", "alpha")), body), true);
    EXPECT_TRUE(outcome.bRead);
    EXPECT_EQ(colorsOf(outcome.vPoints), (Colors{{0, 255, 0, 0}, {255, 1, 0, 0}}));
}

TEST(ColorToByte, truncatesAndWrapsAndIsDefinedEverywhere)
{
    const std::vector<std::pair<float, int>> vCases{
        {0.f, 0},   {254.99f, 254}, {255.f, 255}, {256.f, 0},     {-5.f, 251},   {-0.9f, 0}, {300.f, 44},
        {1e10f, 0}, {1e30f, 0},     {-1e30f, 0},  {-INFINITY, 0}, {INFINITY, 0}, {NAN, 0}};
    for (const auto& [value, byte] : vCases)
        EXPECT_EQ(colorToByte(value), byte) << value;
}

TEST(AdaptTo255, eachScaleIsToldByItsLargestValue)
{
    struct Case {
        std::vector<VtxColor> vIn;
        Colors vBytes;
    };
    const std::vector<Case> vCases{
        {{{0.5f, 0.25f, 1, 1}}, {{127, 63, 255, 255}}},
        {{{0, 0, 0, 0}}, {{0, 0, 0, 0}}},
        {{{1, 1, 0, 255}, {0, 1, 1, 128}}, {{255, 255, 0, 255}, {0, 255, 255, 128}}},
        {{{512, 256, 128, 2}}, {{255, 127, 63, 2}}},
        {{{65535, 32768, 0, 65535}, {100, 200, 300, 0}}, {{255, 127, 0, 255}, {0, 0, 1, 0}}},
        {{{255, 128, 0, 1}}, {{255, 128, 0, 255}}},
        {{{1.5f, 0.5f, 0.25f, 0}}, {{1, 0, 0, 0}}},
        {{{2, 0.5f, 0.999f, 0.5f}}, {{2, 0, 0, 127}}},
        {{{300, -5, 20, 255}}, {{255, 251, 17, 255}}},
        {{{0.1f, 0.2f, 0.3f, 0.4f}, {0.9f, 0.8f, 0.7f, 1}}, {{25, 51, 76, 102}, {229, 204, 178, 255}}}};
    for (Case c : vCases) {
        adaptTo255(c.vIn);
        Colors vBytes;
        for (const VtxColor& v : c.vIn)
            vBytes.push_back({colorToByte(v.r), colorToByte(v.g), colorToByte(v.b), colorToByte(v.a)});
        EXPECT_EQ(vBytes, c.vBytes);
    }
}

TEST(AdaptTo255, theLargestValueOfAnyLargeScaleBecomes255)
{
    for (int max = 256; max < 70000; ++max) {
        std::vector<VtxColor> v{{float(max), 0, 0, 0}};
        adaptTo255(v);
        ASSERT_EQ(v[0].r, 255.0f) << max;
    }
}

// ---- writing points ----

TEST(WritePointsPly, bothFormsHaveTheExactBytes)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints{{0.1, 2, -1234567, 1, 2, 3, 4}, {1e-7, 0, 5}};
    const std::string name = dir.file("a.ply");
    ASSERT_TRUE(writePointsPly(name, vPoints, true));
    EXPECT_EQ(captured.text(), "writePointsPly, received 2 points\n");
    EXPECT_EQ(dir.read("a.ply"), textPly(vertices(2, XYZ), "0.1 2 -1.23457e+06 \n1e-07 0 5 \n"));
    ASSERT_TRUE(writePointsPly(name, vPoints, false));
    EXPECT_EQ(dir.read("a.ply"), binaryPly(vertices(2, XYZ), bytes(0.1f, 2.f, -1234567.f, 1e-7f, 0.f, 5.f)));
}

TEST(WritePointsPly, noPointsGiveAHeaderWithoutBody)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints;
    ASSERT_TRUE(writePointsPly(dir.file("a.ply"), vPoints, false));
    EXPECT_EQ(dir.read("a.ply"), binaryPly(vertices(0, XYZ), ""));
    EXPECT_TRUE(readPly(dir.file("a.ply").c_str(), true, vPoints));
}

TEST(WritePointsPly, aPlaceThatTakesNoFileOrNotAllOfItIsAFailure)
{
    TempDir dir;
    CapturedMessages captured;
    std::vector<Point3> vPoints(10);
    const std::string name = dir.file("missing/a.ply");
    EXPECT_FALSE(writePointsPly(name, vPoints, false));
    EXPECT_TRUE(captured.has("Can't write " + name + "\n"));
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(writePointsPly("/dev/full", vPoints, true));
        EXPECT_TRUE(captured.has("Can't write /dev/full\n"));
    }
}

} // namespace
