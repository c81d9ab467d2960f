// The writer of scenes: the file as bytes, and what a broken or forbidden file does.
#include "Visualizer3.h"

#include "Calc.h"
#include "helpers/captured.h"
#include "helpers/tempDir.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

// The text of a scene that holds what the writer puts into it, between "LIST\n{\n" and the last "}\n".
std::string sceneOf(const std::function<void(Visualizer3&)>& writer, const Calc* pCalc = nullptr)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    const std::string name = dir.file("scene.list");
    {
        Visualizer3 scene(name, pCalc, true);
        EXPECT_TRUE(scene.isOpen());
        writer(scene);
    }
    std::ifstream file(name);
    std::stringstream content;
    content << file.rdbuf();
    const std::string text = content.str();
    const std::string head = "LIST\n{\n", tail = "}\n";
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    return text.substr(head.size(), text.size() - head.size() - tail.size());
}

const std::string RED = "1 0 0 0.5";

} // namespace

TEST(Visualizer3, EmptySceneIsComplete)
{
    EXPECT_EQ(sceneOf([](Visualizer3&) {}), "");
}

TEST(Visualizer3, TellsWhatItWritesOnTheInfoChannel)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    const std::string name = dir.file("scene.list");
    Visualizer3 scene(name, nullptr, true);
    EXPECT_TRUE(messages.has("INFO: Writing " + name + "\n"));
    EXPECT_TRUE(scene.closeScene());
    EXPECT_FALSE(scene.closeScene());
    EXPECT_FALSE(scene.isOpen());
}

TEST(Visualizer3, UnauthorizedSceneFailsAndLeavesNoFile)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    const std::string name = dir.file("debug.list");
    EXPECT_THROW(Visualizer3(name, nullptr, false), ZanBugException);
    EXPECT_TRUE(messages.has("Unauthorized write of " + name));
    EXPECT_TRUE(messages.has("Condition [ bAuthorized failed ]"));
    EXPECT_FALSE(std::filesystem::exists(name));
}

TEST(Visualizer3, FileThatCannotBeOpenedWarnsAndSwallowsWrites)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    const std::string name = dir.file("no_such_folder/scene.list");
    Visualizer3 scene(name, nullptr, true);
    EXPECT_FALSE(scene.isOpen());
    EXPECT_TRUE(messages.has("Visualizer3::openFile(), WARNING: " + name + " not writeable"));
    scene.writePoint(Point3(1, 2, 3), 10, RED);
    scene.writeTriangle(Point3(0, 0, 0), Point3(1, 0, 0), Point3(0, 1, 0), RED);
    EXPECT_FALSE(scene.closeScene());
}

TEST(Visualizer3, FullDiskIsToldAndNotTakenForSuccess)
{
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "needs /dev/full";
    CapturedMessages messages;
    Visualizer3 scene("/dev/full", nullptr, true);
    scene.writePoint(Point3(1, 2, 3), 10, RED);
    EXPECT_FALSE(scene.closeScene());
    EXPECT_TRUE(messages.has("/dev/full could not be written completely"));
}

TEST(Visualizer3, PointsOfOneColour)
{
    EXPECT_EQ(sceneOf([](Visualizer3& scene) {
                  scene.writePoints(std::vector<Point3>{Point3(0, 0.1, -2), Point3(1e-20, 123456789012, 1)},
                                    10, RED);
              }),
              "\n{\nappearance{linewidth 10}\nVECT\n2 2 1\n1 1 \n1 0 \n0 0.1 -2\n1e-20 123456789012 1\n"
              "1 0 0 0.5\n}\n");
}

TEST(Visualizer3, PointsOfTheirOwnColourAndBlackWithoutOne)
{
    EXPECT_EQ(sceneOf([](Visualizer3& scene) {
                  scene.writePoints(std::vector<Point3>{Point3(1, 2, 3, 255, 51, 0, 255), Point3(4, 5, 6)}, 1,
                                    Visualizer3::VERTEXCOLORS);
              }),
              "\n{\nappearance{linewidth 1}\nVECT\n2 2 2\n1 1 \n1 1 \n1 2 3\n4 5 6\n1 0.2 0 1\n0 0 0 0\n}\n");
}

TEST(Visualizer3, NoPointsIsAWarningAndNoObject)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    Visualizer3 scene(dir.file("scene.list"), nullptr, true);
    scene.writePoints(std::vector<Point3>{}, 10, RED);
    EXPECT_TRUE(messages.has("WARNING: Visualizer3::writePoints: no points"));
}

TEST(Visualizer3, SegmentsShareOneColour)
{
    const Point3 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
    EXPECT_EQ(
        sceneOf([&](Visualizer3& scene) {
            scene.writeSegments({{&a, &b}, {&b, &c}}, 3, RED);
        }),
        "\n{\nappearance{linewidth 3}\nVECT\n2 4 1\n2 2 \n1 0 \n0 0 0 1 0 0\n1 0 0 0 1 0\n1 0 0 0.5\n}\n");
    EXPECT_EQ(sceneOf([](Visualizer3& scene) { scene.writeSegments({}, 3, RED); }), "");
}

TEST(Visualizer3, TrianglesWithEdgesAndFaceColour)
{
    EXPECT_EQ(sceneOf([](Visualizer3& scene) {
                  scene.writeTriangle(Point3(0, 0, 0), Point3(1, 0, 0), Point3(0, 1, 0), RED);
              }),
              "\n{\nappearance { +edge material { backdiffuse 0 0 0 } lighting {ambient 0 0 1 } }\nOFF\n"
              "3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2 1 0 0 0.5\n}\n");
}

TEST(Visualizer3, TrianglesWithVertexColoursAndWithoutEdges)
{
    const Point3 a(0, 0, 0, 255, 0, 0, 255), b(1, 0, 0), c(0, 1, 0), d(1, 1, 0);
    EXPECT_EQ(sceneOf([&](Visualizer3& scene) {
                  scene.setEdges(false);
                  scene.writeTriangles({{&a, &b, &c}, {&b, &d, &c}}, Visualizer3::VERTEXCOLORS);
              }),
              "\n{\nappearance { -edge  material  }\nCOFF\n6 2 0\n"
              "0 0 0 1 0 0 1\n1 0 0 0 0 0 0\n0 1 0 0 0 0 0\n1 0 0 0 0 0 0\n1 1 0 0 0 0 0\n0 1 0 0 0 0 0\n"
              "3 0 1 2\n3 3 4 5\n}\n");
}

TEST(Visualizer3, NormalsAreSegmentsOfTheTrianglesThatHaveOne)
{
    const Point3 a(0, 0, 0), b(2, 0, 0), c(0, 4, 0), onLine(3, 0, 0);
    const std::string text = sceneOf([&](Visualizer3& scene) {
        scene.writeTriangles({{&a, &b, &c}, {&a, &b, &onLine}}, RED, true);
    });
    EXPECT_NE(text.find("VECT\n1 2 1\n"), std::string::npos);
    EXPECT_NE(text.find(" 0 0.666666666666667 1.33333333333333 2\n"), std::string::npos);
}

TEST(Visualizer3, CellsAreDrawnWhereTheGridHasThem)
{
    const Calc calc(10, 20, 30, 16, 32, 64, 4); // cells of 1 x 2 x 4
    const u64 rcd = xyzToRCD(1, 2, 3);
    const u64 ccd = Calc::rcdToCCD(rcd);
    const auto pointAt = [](const std::string& coordinates) {
        return "\n{\nappearance{linewidth 5}\nVECT\n1 1 1\n1 \n1 \n" + coordinates + "\n1 0 0 0.5\n}\n";
    };
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writePointMid_RCD(rcd, 5, RED); }, &calc),
              pointAt("11.5 25 44"));
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writePointsMid_RCD({rcd}, 5, RED); }, &calc),
              pointAt("11.5 25 44"));
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writePoint_VCD(ccd, 5, RED); }, &calc), pointAt("11.5 25 44"));
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writePoints_VCD({ccd}, 5, RED); }, &calc),
              pointAt("11.5 25 44"));
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writePointsRef_VCD({ccd}, 5, RED); }, &calc),
              pointAt("11 24 42"));
    EXPECT_EQ(sceneOf([&](Visualizer3& s) { s.writeVCorners({rcd}, 5, RED); }, &calc), pointAt("11 24 42"));
    const std::string box = sceneOf([&](Visualizer3& s) { s.writeRCD(rcd, RED); }, &calc);
    EXPECT_NE(box.find("OFF\n8 6 0\n11 24 42\n11 24 46\n"), std::string::npos);
    EXPECT_NE(box.find("12 26 46\n4 0 1 3 2 1 0 0 0.5\n"), std::string::npos);
    const u64 aCells[8] = {rcd, rcd + 1, rcd + 2, rcd + 3, rcd + 4, rcd + 5, rcd + 6, rcd + 7};
    EXPECT_NE(sceneOf([&](Visualizer3& s) { s.writeCbs8(aCells, RED); }, &calc).find("OFF\n64 48 0\n"),
              std::string::npos);
    EXPECT_NE(sceneOf([&](Visualizer3& s) { s.writeRCC(rcd, RED); }, &calc).find("\n10.95 23.9 41.8\n"),
              std::string::npos);
}

TEST(Visualizer3, GridCodesNeedACalc)
{
    CapturedMessages messages;
    zan_test::TempDir dir;
    Visualizer3 scene(dir.file("scene.list"), nullptr, true);
    EXPECT_THROW(scene.writeRCD(0, RED), ZanBugException);
    EXPECT_THROW(scene.writePoint_VCD(0, 5, RED), ZanBugException);
}

TEST(Visualizer3, FacesAndSpheres)
{
    const Point3 a(0, 0, 0), b(1, 0, 0), c(1, 1, 0), d(0, 1, 0);
    EXPECT_NE(sceneOf([&](Visualizer3& s) {
                  s.writeFace({&a, &b, &c, &d}, RED);
              }).find("\n4 0 1 2 3 1 0 0 0.5\n}\n"),
              std::string::npos);
    EXPECT_NE(sceneOf([&](Visualizer3& s) {
                  s.writeSphere(c, 0.25, RED);
              }).find("alpha 0.5 diffuse 1 0 0 } }\nSPHERE\n0.25\n1 1 0\n}\n"),
              std::string::npos);
}

TEST(Visualizer3, NextColourRunsThroughTheTableWithoutTheReservedTones)
{
    CapturedMessages messages;
    std::set<std::string> sSeen;
    const std::string first = Visualizer3::nextSceneColor();
    sSeen.insert(first);
    for (int i = 1; i < 23; ++i)
        EXPECT_TRUE(sSeen.insert(Visualizer3::nextSceneColor()).second);
    EXPECT_EQ(Visualizer3::nextSceneColor(), first);
    for (int reserved : {4, 8, 10, 13})
        EXPECT_EQ(sSeen.count(Visualizer3::getSceneColor(reserved)), 0u);
    EXPECT_STREQ(Visualizer3::getSceneColor(18), "0.49\t0.99 0.00 0.5");
    EXPECT_THROW(Visualizer3::getSceneColor(27), ZanBugException);
}
