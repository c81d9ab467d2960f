// The command line program, run as a user runs it: arguments in, exit code, streams and files out.
#include "helpers/tempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <set>
#include <sstream>

#include <sys/wait.h>

using zan_test::TempDir;

namespace
{

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

// Each test has a folder "dir" for its files and another one for the streams of the program.
class Cli : public testing::Test
{
protected:
    // limits: a command of the shell that runs before.
    Outcome zan(const std::string& arguments, const std::string& limits = "true")
    {
        const std::string command = std::string("cd '") + dir.path() + "' && " + limits +
                                    " && '" ZAN_PROGRAM "' " + arguments + " > '" + streams.file("out") +
                                    "' 2> '" + streams.file("err") + "'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, streams.read("out"), streams.read("err")};
    }

    // An even sphere as a text file in the folder; returns the name.
    std::string writeSphere(const std::string& name, int numPoints = 2000)
    {
        std::ostringstream text;
        text.precision(17);
        for (int i = 0; i < numPoints; ++i) {
            const double z = 1.0 - (2.0 * i + 1.0) / numPoints;
            const double angle = i * std::numbers::pi * (3.0 - std::sqrt(5.0));
            const double ring = std::sqrt(1.0 - z * z);
            text << ring * std::cos(angle) << ' ' << ring * std::sin(angle) << ' ' << z << '\n';
        }
        dir.write(name, text.str());
        return name;
    }

    // A text PLY of the given vertices and faces of three indices.
    void writePly(const std::string& name, const std::vector<std::string>& vVertices,
                  const std::vector<std::string>& vFaces)
    {
        std::ostringstream text;
        text << "ply\nformat ascii 1.0\nelement vertex " << vVertices.size()
             << "\nproperty float x\nproperty float y\nproperty float z\nelement face " << vFaces.size()
             << "\nproperty list uchar uint vertex_indices\nend_header\n";
        for (const std::string& vertex : vVertices)
            text << vertex << '\n';
        for (const std::string& face : vFaces)
            text << "3 " << face << '\n';
        dir.write(name, text.str());
    }

    // The cube from 0 to 1 in the forms in which triangles come: an OBJ of squares with all that may stand
    // beside them, STL of both kinds, a PLY.
    void writeCubes()
    {
        const int corner[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                  {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
        const int square[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                  {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
        std::ostringstream obj, stl;
        std::vector<float> vBinary;
        std::vector<std::string> vVertices, vFaces;
        obj << "# squares\r\nmtllib none\n";
        for (const auto& p : corner) {
            std::ostringstream xyz;
            xyz << p[0] << ' ' << p[1] << ' ' << p[2];
            vVertices.push_back(xyz.str());
            obj << "v  " << xyz.str() << " 0.5 0.25 1\r\n";
        }
        stl << "solid cube\n";
        for (int i = 0; i < 6; ++i) {
            const auto& s = square[i];
            for (const int c : {s[0], s[1], s[2], s[0], s[2], s[3]}) {
                if (vBinary.size() % 9 == 0)
                    stl << "facet normal 0 0 0\nouter loop\n";
                stl << "vertex " << vVertices[size_t(c)] << '\n';
                vBinary.insert(vBinary.end(),
                               {float(corner[c][0]), float(corner[c][1]), float(corner[c][2])});
                if (vBinary.size() % 9 == 0)
                    stl << "endloop\nendfacet\n";
            }
            for (const int k : {1, 2})
                vFaces.push_back(std::to_string(s[0]) + ' ' + std::to_string(s[k]) + ' ' +
                                 std::to_string(s[k + 1]));
            obj << (i == 0 ? "f 1//1 4//1 \\\n3//1 2//1\n" : "f"); // the first one over two lines
            for (int k = 0; i > 0 && k < 4; ++k)
                obj << ' ' << (k % 2 == 0 ? s[k] + 1 : s[k] - 8) << "/7";
            obj << '\n';
        }
        stl << "endsolid cube\n";
        dir.write("cube.obj", obj.str());
        dir.write("text.stl", stl.str());
        dir.write("binary.stl", binaryStl(vBinary));
        writePly("cube.ply", vVertices, vFaces);
    }

    // The header begins as a text would.
    static std::string binaryStl(const std::vector<float>& vCoords)
    {
        std::string bytes = "solid but binary";
        bytes.resize(80, ' ');
        const auto num = static_cast<std::uint32_t>(vCoords.size() / 9);
        bytes.append(reinterpret_cast<const char*>(&num), sizeof(num));
        for (size_t i = 0; i < num; ++i) {
            bytes.append(12, '\0');
            bytes.append(reinterpret_cast<const char*>(vCoords.data() + 9 * i), 36);
            bytes.append(2, '\0');
        }
        return bytes;
    }

    // The value behind a label of the report, empty without that label.
    static std::string valueOf(const std::string& label, const std::string& report)
    {
        std::istringstream lines(report);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(label + " ", 0) == 0 && line.find_first_not_of(' ', label.size()) >= 20)
                return line.substr(line.find_first_not_of(' ', label.size()));
        }
        return {};
    }

    TempDir dir;
    TempDir streams;
};

} // namespace

// --- reconstruct: what comes out ---

TEST_F(Cli, ReconstructWritesABinaryPlyUnlessAskedForText)
{
    writeSphere("in.xyz");
    ASSERT_EQ(zan("reconstruct in.xyz binary.ply").code, 0);
    ASSERT_EQ(zan("reconstruct in.xyz text.ply --ascii").code, 0);
    EXPECT_EQ(dir.read("binary.ply").rfind("ply\nformat binary_little_endian 1.0\n", 0), 0U);
    EXPECT_EQ(dir.read("text.ply").rfind("ply\nformat ascii 1.0\n", 0), 0U);
}

TEST_F(Cli, ReconstructReportsWhatItDid)
{
    writeSphere("in.xyz");
    const Outcome outcome = zan("reconstruct in.xyz out.ply");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("points", outcome.out), "2000");
    EXPECT_EQ(valueOf("written to", outcome.out), "out.ply");
    for (const char* label : {"detected spacing", "triangles", "time", "peak memory"})
        EXPECT_NE(valueOf(label, outcome.out), "") << label;
}

TEST_F(Cli, ReconstructTakesTheGivenCellSize)
{
    writeSphere("in.xyz");
    const Outcome outcome = zan("reconstruct in.xyz out.stl --spacing 0.25");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("cell size", outcome.out), "0.25");
    EXPECT_EQ(dir.read("out.stl").size(), 84 + 50 * std::stoul(valueOf("triangles", outcome.out)));
}

TEST_F(Cli, FinishingStepsAreTakenAndReported)
{
    writeSphere("in.xyz");
    const int numRaw = std::stoi("0" + valueOf("triangles", zan("reconstruct in.xyz raw.ply").out));
    const Outcome outcome = zan("reconstruct in.xyz out.ply --contrast 0.01 0.01 --reduce inf 20 --smooth 2 "
                                "--anneal --close-holes 0 --sharpen");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_LT(std::stoi("0" + valueOf("triangles", outcome.out)), numRaw / 2);
    EXPECT_GT(std::stoi("0" + valueOf("reduced by", outcome.out)), numRaw / 2);
    EXPECT_EQ(valueOf("smoothed", outcome.out).rfind("2 rounds", 0), 0U);
    EXPECT_EQ(valueOf("holes closed", outcome.out), "0");
    EXPECT_EQ(valueOf("vertices on edges", outcome.out), "0");
    const std::string time = valueOf("time", outcome.out);
    size_t last = 0; // in the order in which they are taken, whatever order they are asked for in
    for (const char* stage : {"reading", "reconstructing", "closing holes", "annealing", "smoothing",
                              "sharpening", "reducing", "contrast"}) {
        const size_t pos = time.find(stage);
        ASSERT_NE(pos, std::string::npos) << stage;
        EXPECT_GT(pos, last) << stage;
        last = pos;
    }
}

TEST_F(Cli, QuietSaysNothingWhenAllGoesWell)
{
    writeSphere("in.xyz");
    const Outcome outcome = zan("reconstruct in.xyz out.ply --quiet");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(Cli, BuiltInSampleNeedsNoFile)
{
    const Outcome outcome = zan("reconstruct artificial123.xyz out.ply");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_GT(std::stoi("0" + valueOf("triangles", outcome.out)), 100000);
}

TEST_F(Cli, ThreadsDoNotChangeAByte)
{
    writeSphere("in.xyz", 20000);
    ASSERT_EQ(zan("reconstruct in.xyz one.ply --threads 1").code, 0);
    for (const char* num : {"2", "3", "8"}) {
        ASSERT_EQ(zan(std::string("reconstruct in.xyz more.ply --threads ") + num).code, 0);
        EXPECT_TRUE(dir.read("one.ply") == dir.read("more.ply")) << num << " threads";
    }
}

TEST_F(Cli, NoProgressBarWhereNobodyLooks)
{
    writeSphere("in.xyz");
    EXPECT_EQ(zan("reconstruct in.xyz out.ply").err.find('\r'), std::string::npos);
}

// --- reconstruct: what goes wrong. The exit code tells the kind, an old output survives, nothing is left
// over.

TEST_F(Cli, FailuresHaveTheirExitCodes)
{
    writeSphere("in.xyz");
    dir.write("one.xyz", "1 2 3\n");
    dir.write("words.xyz", "no numbers here\n");
    dir.write("broken.ply", "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\n");
    dir.write("soup.stl", "solid x\nendsolid x\n");

    EXPECT_EQ(zan("reconstruct one.xyz out.ply").code, 1) << "one point gives no surface";
    EXPECT_EQ(zan("reconstruct words.xyz out.ply").code, 1) << "no points";
    EXPECT_EQ(zan("").code, 2) << "no subcommand";
    EXPECT_EQ(zan("reconstruct in.xyz").code, 2) << "no output";
    EXPECT_EQ(zan("reconstruct in.xyz out.foo").code, 2) << "ending of the output";
    EXPECT_EQ(zan("reconstruct in.xyz out.xyz").code, 2) << "points are no mesh";
    EXPECT_EQ(zan("reconstruct in.foo out.ply").code, 2) << "ending of the input";
    EXPECT_EQ(zan("reconstruct soup.stl out.ply").code, 2) << "triangles are no points";
    EXPECT_EQ(zan("reconstruct gone.xyz out.ply").code, 3) << "no such input";
    EXPECT_EQ(zan("reconstruct broken.ply out.ply").code, 3) << "input cut off";
    EXPECT_EQ(zan("reconstruct in.xyz gone/out.ply").code, 3) << "no such folder";
    const std::string tooLong = std::string(300, 'x') + ".ply"; // the system does not even look for it
    EXPECT_EQ(zan("reconstruct in.xyz " + tooLong).code, 3) << "no possible output";
    EXPECT_EQ(zan("info " + tooLong).code, 3) << "no possible input";
    EXPECT_EQ(zan("reconstruct in.xyz out.ply --spacing 1e-9").code, 4) << "too fine for the grid";
    EXPECT_FALSE(std::filesystem::exists(dir.file("out.ply")));
}

TEST_F(Cli, ValuesThatMakeNoSenseAreRefused)
{
    writeSphere("in.xyz");
    for (const char* option : {"--spacing 0",
                               "--spacing -1",
                               "--spacing nan",
                               "--spacing inf",
                               "--spacing x",
                               "--spacing-factor 0",
                               "--spacing 0.1 --spacing-factor 2",
                               "--fill -1",
                               "--fill 1.5",
                               "--threads -1",
                               "--unknown",
                               "--smooth -1",
                               "--smooth 1.5",
                               "--reduce 1",
                               "--reduce nan 20",
                               "--reduce 1 -5",
                               "--reduce 1 2c",
                               "--reduce-length -1c",
                               "--reduce-length 2cc",
                               "--reduce-length c",
                               "--reduce-angle 1c",
                               "--color-column 3",
                               "--quiet --verbose",
                               "--close-holes -1",
                               "--close-holes x",
                               "--sharpen 5",
                               "--sharpen nan",
                               "--contrast 0.1",
                               "--contrast 0.01 0.5",
                               "--contrast nan 0"})
        EXPECT_EQ(zan(std::string("reconstruct in.xyz out.ply ") + option).code, 2) << option;
}

TEST_F(Cli, FailureKeepsTheOldOutputAndLeavesNothingBehind)
{
    writeSphere("in.xyz");
    dir.write("one.xyz", "1 2 3\n");
    dir.write("out.ply", "precious");
    for (const char* arguments : {"one.xyz out.ply", "gone.xyz out.ply", "in.xyz out.ply --spacing 1e-9",
                                  "in.xyz out.ply --spacing nan"}) {
        EXPECT_NE(zan(std::string("reconstruct ") + arguments).code, 0) << arguments;
        EXPECT_EQ(dir.read("out.ply"), "precious") << arguments;
        EXPECT_EQ(dir.numFiles(), 3U) << arguments;
    }
    ASSERT_EQ(zan("reconstruct in.xyz out.ply").code, 0);
    EXPECT_NE(dir.read("out.ply"), "precious");
    EXPECT_EQ(dir.numFiles(), 3U);
}

// A limit of file size, in blocks of 1024 bytes, fails where a full disk would.
TEST_F(Cli, FullDiskIsTroubleWithAFileAndKeepsTheOldOutput)
{
    writeSphere("in.xyz");
    writeCubes();
    for (const char* arguments :
         {"reconstruct in.xyz out.ply", "reconstruct in.xyz out.stl", "reconstruct in.xyz out.obj --ascii",
          "reconstruct in.xyz out.list", "cloud cube.obj out.xyz", "cloud cube.obj out.bin",
          "convert in.xyz out.ply", "render in.xyz out.png"}) {
        const std::string arguments_(arguments);
        const std::string out = arguments_.substr(arguments_.find("out."), 8);
        dir.write(out, "precious");
        const size_t numFiles = dir.numFiles();
        const Outcome outcome = zan(arguments_, "ulimit -f 4");
        EXPECT_EQ(outcome.code, 3) << arguments;
        EXPECT_NE(outcome.err.find("zan: "), std::string::npos) << arguments;
        EXPECT_EQ(dir.read(out), "precious") << arguments;
        EXPECT_EQ(dir.numFiles(), numFiles) << arguments;
    }
    EXPECT_EQ(std::system("'" ZAN_PROGRAM "' --version > /dev/full 2> /dev/null") >> 8, 3);
}

// Whatever it is doing when it is killed, what stands under the name of the output is old or whole.
TEST_F(Cli, KilledAtAnyMomentLeavesNoHalfFileUnderTheName)
{
    writeSphere("in.xyz", 20000);
    ASSERT_EQ(zan("convert in.xyz whole.ply --ascii").code, 0);
    const std::string whole = dir.read("whole.ply");
    for (int milliseconds = 4; milliseconds < 100; milliseconds += 8) {
        dir.write("out.ply", "precious");
        const std::string command = std::string("cd '") + dir.path() + "' && timeout -s KILL 0.0" +
                                    (milliseconds < 10 ? "0" : "") + std::to_string(milliseconds) +
                                    " '" ZAN_PROGRAM "' convert in.xyz out.ply --ascii --quiet 2> /dev/null";
        static_cast<void>(std::system(command.c_str()));
        const std::string found = dir.read("out.ply");
        EXPECT_TRUE(found == "precious" || found == whole) << milliseconds << " ms: " << found.size();
    }
}

// A sanitizer needs more address space than any limit.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(Cli, EndOfMemoryIsAFailureWithASentenceAndLeavesNothingBehind)
{
    writeCubes();
    dir.write("out.ply", "precious");
    const size_t numFiles = dir.numFiles();
    std::set<int> sCodes;
    for (int kilobytes = 20000; kilobytes < 200000; kilobytes += kilobytes / 5) {
        const Outcome outcome =
            zan("melt cube.obj out.ply --spacing 0.02 --threads 3", "ulimit -v " + std::to_string(kilobytes));
        if (outcome.code == 127)
            continue; // the system did not even load it
        sCodes.insert(outcome.code);
        EXPECT_EQ(dir.numFiles(), numFiles) << kilobytes;
        if (outcome.code == 4) {
            EXPECT_NE(outcome.err.find("zan: out of memory"), std::string::npos) << outcome.err;
        }
    }
    EXPECT_EQ(sCodes, (std::set<int>{0, 4}));
}
#endif

TEST_F(Cli, OutputBehindALinkIsReplacedAndTheLinkStays)
{
    writeSphere("in.xyz");
    dir.write("real.ply", "old");
    std::filesystem::create_symlink("real.ply", dir.file("link.ply"));
    ASSERT_EQ(zan("reconstruct in.xyz link.ply").code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link.ply")));
    EXPECT_NE(dir.read("real.ply"), "old");
}

TEST_F(Cli, QuietStillShowsTheMessagesOfAFailure)
{
    dir.write("one.xyz", "1 2 3\n");
    const Outcome outcome = zan("reconstruct one.xyz out.ply --quiet");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("zan: ERROR: "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("zan: no triangle came out"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
}

// --- melt and cloud ---

TEST_F(Cli, MeltTakesEachKindOfTriangleFileAndGivesTheSameSurface)
{
    writeCubes();
    ASSERT_EQ(zan("melt cube.ply expected.ply --spacing 0.1").code, 0);
    for (const char* in : {"cube.obj", "text.stl", "binary.stl"}) {
        const Outcome outcome = zan(std::string("melt ") + in + " out.ply --spacing 0.1");
        ASSERT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(valueOf("input triangles", outcome.out), "12") << in;
        const bool bColoured = std::string(in) == "cube.obj"; // keeps the colours of its corners
        EXPECT_EQ(dir.read("out.ply") == dir.read("expected.ply"), !bColoured) << in;
        const Outcome seen = zan("info out.ply");
        EXPECT_EQ(valueOf("coloured", seen.out), bColoured ? "8" : "0") << in;
    }
    const Outcome seen = zan("info out.ply");
    EXPECT_EQ(valueOf("border edges", seen.out), "0");
    EXPECT_EQ(valueOf("components", seen.out), "1");
}

TEST_F(Cli, MeltProposesASpacingAndSaysSo)
{
    writeCubes();
    const Outcome outcome = zan("melt cube.ply out.ply");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("cell size", outcome.out), "0.0173205 (a hundredth of the box diagonal)");
    EXPECT_EQ(zan("melt cube.ply out.ply --quiet").out, "");
}

TEST_F(Cli, ReconstructWithFmeltIsMelt)
{
    writeCubes();
    ASSERT_EQ(zan("melt text.stl melted.ply --spacing 0.1").code, 0);
    for (const char* options : {"-m -a 0.1", "--fmelt --spacing 0.1"}) {
        ASSERT_EQ(zan(std::string("reconstruct text.stl out.ply ") + options).code, 0) << options;
        EXPECT_TRUE(dir.read("out.ply") == dir.read("melted.ply")) << options;
    }
    EXPECT_EQ(zan("reconstruct text.stl out.ply -m --fill 3").code, 2);
}

TEST_F(Cli, FeatureAngleDecidesWhatStaysSharp)
{
    writeCubes();
    ASSERT_EQ(zan("melt cube.ply sharp.ply --spacing 0.1 --feature-angle 89").code, 0);
    ASSERT_EQ(zan("melt cube.ply blunt.ply --spacing 0.1 --feature-angle 360").code, 0);
    EXPECT_FALSE(dir.read("sharp.ply") == dir.read("blunt.ply"));
}

TEST_F(Cli, CloudHasPointsOnTheTriangles)
{
    writeCubes();
    const Outcome outcome = zan("cloud binary.stl out.xyz --spacing 0.1");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const Outcome seen = zan("info out.xyz");
    EXPECT_EQ(valueOf("points", seen.out), valueOf("points", outcome.out));
    EXPECT_EQ(valueOf("z", seen.out), "0 to 1, extent 1");
    EXPECT_EQ(zan("cloud cube.obj out.stl").code, 2) << "points are no triangles";
}

TEST_F(Cli, CloudBridgesGapsBetweenSheets)
{
    dir.write("sheets.obj", "v 0 0 0\nv 20 6 0\nv 20 6 20\nv 0 0 20\nv 25 7.5 0\nv 45 13.5 0\nv 45 13.5 20\n"
                            "v 25 7.5 20\nf 1 2 3 4\nf 5 6 7 8\n");
    const Outcome plain = zan("cloud sheets.obj plain.ply --spacing 1");
    const Outcome bridged = zan("cloud sheets.obj bridged.ply --spacing 1 --bridge 6");
    ASSERT_EQ(bridged.code, 0) << bridged.err;
    EXPECT_GT(std::stoi(valueOf("points", bridged.out)), std::stoi(valueOf("points", plain.out)) + 60);
    for (const auto& [in, components] : {std::pair("plain.ply", "2"), std::pair("bridged.ply", "1")}) {
        ASSERT_EQ(zan(std::string("reconstruct ") + in + " out.ply --spacing 1").code, 0);
        EXPECT_EQ(valueOf("components", zan("info out.ply").out), components);
    }
    EXPECT_EQ(zan("cloud sheets.obj out.ply --bridge -1").code, 2);
}

TEST_F(Cli, TriangleFilesThatAreWrongAreRefusedWithTheirExitCodes)
{
    writeCubes();
    dir.write("short.stl", dir.read("binary.stl").substr(0, 300));
    dir.write("many.stl", dir.read("binary.stl").replace(80, 4, "\xff\xff\xff\xff"));
    dir.write("none.stl", std::string(84, '\0'));
    dir.write("cut.stl", dir.read("text.stl").substr(0, 300));
    dir.write("beyond.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
    dir.write("before.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 -4\n");
    dir.write("zero.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n");
    dir.write("words.obj", "v 0 0\n");
    dir.write("points.obj", "v 0 0 0\np 1\n");
    dir.write("flat.obj", "v 1 1 1\nv 1 1 1\nv 1 1 1\nf 1 2 3\n");
    for (const char* in : {"short.stl", "many.stl", "beyond.obj", "before.obj", "zero.obj", "words.obj",
                           "gone.stl", "cut.stl"})
        EXPECT_EQ(zan(std::string("melt ") + in + " out.ply").code, 3) << in;
    for (const char* in : {"none.stl", "points.obj", "flat.obj"})
        EXPECT_EQ(zan(std::string("melt ") + in + " out.ply").code, 1) << in;
    EXPECT_EQ(zan("melt cube.xyz out.ply").code, 2) << "points are no triangles";
    EXPECT_EQ(zan("melt cube.obj out.ply --feature-angle nan").code, 2);
    EXPECT_EQ(zan("melt cube.obj out.ply --spacing 1e-9").code, 4) << "too fine for the grid";
    EXPECT_FALSE(std::filesystem::exists(dir.file("out.ply")));
}

// --- info ---

TEST_F(Cli, InfoOfACloudTellsCountBoxAndSpacing)
{
    writeSphere("in.xyz");
    const Outcome outcome = zan("info in.xyz");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("kind", outcome.out), "point cloud");
    EXPECT_EQ(valueOf("points", outcome.out), "2000");
    EXPECT_EQ(valueOf("coloured", outcome.out), "0");
    EXPECT_EQ(valueOf("z", outcome.out), "-0.9995 to 0.9995, extent 1.999");
    EXPECT_NEAR(std::stod("0" + valueOf("estimated spacing", outcome.out)), 0.08, 0.04);
}

TEST_F(Cli, InfoOfOnePointHasNoSpacingAndDoesNotFail)
{
    dir.write("one.xyz", "1 2 3\n");
    const Outcome outcome = zan("info one.xyz");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("estimated spacing", outcome.out), "none");
}

TEST_F(Cli, InfoOfAMeshCountsEdgesByDegreeAndComponents)
{
    // Three triangles on one edge, and a tetrahedron apart from them.
    writePly("mesh.ply", {"0 0 0", "1 0 0", "0 1 0", "0 -1 0", "0 0 1", "9 0 0", "8 0 0", "8 1 0", "8 0 1"},
             {"0 1 2", "0 1 3", "0 1 4", "5 6 7", "5 7 8", "5 8 6", "6 8 7"});
    const Outcome outcome = zan("info mesh.ply");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("vertices", outcome.out), "9");
    EXPECT_EQ(valueOf("triangles", outcome.out), "7");
    EXPECT_EQ(valueOf("degenerate", outcome.out), "0");
    EXPECT_EQ(valueOf("edges", outcome.out), "13");
    EXPECT_EQ(valueOf("border edges", outcome.out), "6");
    EXPECT_EQ(valueOf("non-manifold edges", outcome.out), "1");
    EXPECT_EQ(valueOf("components", outcome.out), "2");
}

TEST_F(Cli, InfoOfATriangleWithEqualCornersCallsItDegenerate)
{
    writePly("mesh.ply", {"0 0 0", "1 0 0", "0 0 0"}, {"0 1 2"});
    const Outcome outcome = zan("info mesh.ply");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("degenerate", outcome.out), "1");
    EXPECT_EQ(valueOf("components", outcome.out), "0");
}

TEST_F(Cli, InfoOfItsOwnMeshAgreesWithTheReportOfTheRun)
{
    writeSphere("in.xyz");
    const Outcome made = zan("reconstruct in.xyz out.ply");
    ASSERT_EQ(made.code, 0) << made.err;
    const Outcome seen = zan("info out.ply");
    ASSERT_EQ(seen.code, 0) << seen.err;
    EXPECT_EQ(valueOf("triangles", seen.out), valueOf("triangles", made.out));
    EXPECT_EQ(valueOf("degenerate", seen.out), "0");
}

// --- flip, reduce, smooth, holes, convert ---

TEST_F(Cli, MeshesFromFilesAreImproved)
{
    writeSphere("in.xyz");
    ASSERT_EQ(zan("reconstruct in.xyz mesh.stl").code, 0);
    const int numRaw = std::stoi("0" + valueOf("triangles", zan("info mesh.stl").out));
    const auto run = [&](const std::string& arguments) {
        const Outcome outcome = zan(arguments);
        EXPECT_EQ(outcome.code, 0) << arguments << outcome.err;
        EXPECT_EQ(valueOf("input triangles", outcome.out), std::to_string(numRaw)) << arguments;
        return std::stoi("0" + valueOf("triangles", outcome.out));
    };
    EXPECT_EQ(run("flip mesh.stl out.obj"), numRaw);
    EXPECT_EQ(run("flip mesh.stl out.obj --anneal"), numRaw);
    EXPECT_EQ(run("smooth mesh.stl out.ply --rounds 2"), numRaw);
    EXPECT_LT(run("reduce mesh.stl out.ply --reduce-angle 20"), numRaw / 2);
    const int numInCells = run("reduce mesh.stl out.ply --reduce-length 1.5c --reduce-angle 20");
    const double edge = std::stod(valueOf("mean edge length", zan("reduce mesh.stl out.ply").out));
    EXPECT_NEAR(
        run("reduce mesh.stl out.ply --reduce-angle 20 --reduce-length " + std::to_string(1.5 * edge)),
        numInCells, 5);
    EXPECT_GT(numInCells, run("reduce mesh.stl out.ply --reduce-angle 20"));
    EXPECT_EQ(zan("flip in.xyz out.ply").code, 2) << "points are no mesh";
    EXPECT_EQ(zan("smooth mesh.stl out.ply --rounds -1").code, 2);
}

TEST_F(Cli, HolesAreClosedUpToTheSizeThatIsAskedFor)
{
    // An octahedron without one face.
    writePly("small.ply", {"1 0 0", "0 1 0", "-1 0 0", "0 -1 0", "0 0 1", "0 0 -1"},
             {"0 1 4", "1 2 4", "2 3 4", "3 0 4", "1 0 5", "2 1 5", "3 2 5"});
    const Outcome closed = zan("holes small.ply out.ply");
    ASSERT_EQ(closed.code, 0) << closed.err;
    EXPECT_EQ(valueOf("border edges before", closed.out), "3");
    EXPECT_EQ(valueOf("holes closed", closed.out), "1");
    EXPECT_EQ(valueOf("border edges", closed.out), "0");
    EXPECT_EQ(valueOf("holes closed", zan("holes small.ply out.ply --max-edges 2").out), "0");
}

TEST_F(Cli, ConvertKeepsWhatBothKindsOfFileCanHold)
{
    writeCubes();
    ASSERT_EQ(zan("convert cube.obj a.stl").code, 0);
    ASSERT_EQ(zan("convert a.stl b.ply --ascii").code, 0);
    EXPECT_EQ(zan("convert b.ply c.xyz").code, 0);
    EXPECT_EQ(valueOf("points", zan("info c.xyz").out), "8");
    EXPECT_EQ(valueOf("triangles", zan("info a.stl").out), "12");
    ASSERT_EQ(zan("convert cube.obj d.ply").code, 0);
    EXPECT_EQ(valueOf("coloured", zan("info d.ply").out), "8");

    dir.write("far.txt", "1000000.25 2 3 10 20 30\n1000002.25 2 3 40 50 60\n");
    const Outcome outcome = zan("convert far.txt near.xyz --center --color-column 4");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(valueOf("moved by", outcome.out), "-1000001.25 -2 -3");
    EXPECT_EQ(dir.read("near.xyz"), "-1 0 0 10 20 30\n1 0 0 40 50 60\n");
    EXPECT_EQ(zan("convert far.txt out.stl").code, 2) << "points have no triangles";
    EXPECT_EQ(zan("convert far.txt out.foo").code, 2);
}

// --- render ---

TEST_F(Cli, RenderDrawsMeshesAndCloudsOfAnyKind)
{
    writeSphere("in.xyz");
    writeCubes();
    ASSERT_EQ(zan("render in.xyz a.png --size 64").code, 0);
    ASSERT_EQ(zan("render in.xyz b.png --size 64 --beside cube.obj --view 100,-30 --up y --edges").code, 0);
    const std::string one = dir.read("a.png"), two = dir.read("b.png");
    const std::string header("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0", 19);
    EXPECT_EQ(one.substr(0, 24), header + std::string("\x40\0\0\0\x30", 5)); // 64 by 48
    EXPECT_EQ(two.substr(0, 24), header + std::string("\x80\0\0\0\x30", 5));
    ASSERT_EQ(zan("render in.xyz again.png --size 64 --threads 3").code, 0);
    EXPECT_TRUE(dir.read("again.png") == one);
    ASSERT_EQ(zan("render in.xyz turned.png --size 64 --view 10,80").code, 0);
    EXPECT_FALSE(dir.read("turned.png") == one);

    ASSERT_EQ(zan("render cube.obj small.png --size 256 --small").code, 0);
    ASSERT_EQ(zan("render cube.obj large.png --size 256").code, 0);
    EXPECT_LT(dir.read("small.png").size(), dir.read("large.png").size());

    dir.write("one.xyz", "1 2 3\n");
    EXPECT_EQ(zan("render one.xyz c.png --size 64").code, 0);
    dir.write("huge.obj", "v 1e308 0 0\nv -1e308 0 0\nv 0 1e308 0\nf 1 2 3\n");
    EXPECT_EQ(zan("render huge.obj d.png").code, 1);
    EXPECT_EQ(zan("render in.xyz d.jpg").code, 2);
    EXPECT_EQ(zan("render in.xyz d.png --view 1").code, 2);
    EXPECT_EQ(zan("render in.xyz d.png --view nan,0").code, 2);
    EXPECT_EQ(zan("render in.xyz d.png --size 0").code, 2);
}

// --- what all commands have ---

TEST_F(Cli, JsonIsOneObjectWithTheFigures)
{
    writeSphere("in.xyz");
    const Outcome outcome = zan("reconstruct in.xyz 'a \"b\".ply' --json");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.front(), '{');
    EXPECT_EQ(outcome.out.substr(outcome.out.size() - 2), "}\n");
    for (const char* part :
         {"\"command\": \"reconstruct\"", "\"points\": 2000", "\"detected_spacing\": 0.",
          "\"seconds\": {\"reading\": ", "\"peak_memory\": ", "\"written_to\": \"a \\\"b\\\".ply\""})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << outcome.out;
    EXPECT_NE(zan("info in.xyz --json").out.find("\"min_x\": -0.99"), std::string::npos);
    EXPECT_NE(outcome.out.find("\"warnings\": [],"), std::string::npos) << outcome.out;
    writeCubes();
    dir.write("open.stl", dir.read("text.stl").substr(0, dir.read("text.stl").find("endsolid")));
    EXPECT_NE(zan("info open.stl --json --quiet").out.find("\"warnings\": [\"open.stl has no endsolid"),
              std::string::npos);
}

TEST_F(Cli, VerboseShowsTheStagesAndOtherwiseWarningsAreShort)
{
    writeSphere("in.xyz");
    EXPECT_NE(zan("reconstruct in.xyz out.ply --verbose").err.find("RM_takeover"), std::string::npos);
    writePly("twice.ply", {"0 0 0", "1 0 0", "0 1 0"}, {"0 1 2", "2 1 0"});
    const Outcome outcome = zan("flip twice.ply out.ply");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err,
              "zan: WARNING: 1 duplicate triangles (the corners of an earlier one) are left out\n");
}

TEST_F(Cli, CtrlCCancelsAndLeavesNothingBehind)
{
    dir.write("out.ply", "precious");
    const std::string command = std::string("cd '") + dir.path() +
                                "' && timeout --preserve-status -s INT 0.3 '" ZAN_PROGRAM
                                "' reconstruct artificial123.xyz out.ply --anneal 2> '" +
                                streams.file("err") + "'";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(dir.read("out.ply"), "precious");
    EXPECT_EQ(dir.numFiles(), 1U);
}

TEST_F(Cli, CtrlCEndsTheReadingOfAFileAtOnce)
{
    dir.write("out.ply", "precious");
    const std::string command =
        std::string("cd '") + dir.path() +
        "' && mkfifo never.xyz && timeout -k 5 --preserve-status -s INT 0.3 '" ZAN_PROGRAM
        "' reconstruct never.xyz out.ply 2> '" +
        streams.file("err") + "'";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_NE(streams.read("err").find("Nothing was written."), std::string::npos);
    EXPECT_EQ(dir.read("out.ply"), "precious");
    EXPECT_EQ(dir.numFiles(), 2U) << "no half-written file beside the pipe";
}

TEST_F(Cli, ShellCompletesCommandsAndOptions)
{
    const auto complete = [&](const std::string& words, int index) {
        const std::string script = "source '" ZAN_COMPLETION "'; COMP_WORDS=('" ZAN_PROGRAM "' " + words +
                                   "); COMP_CWORD=" + std::to_string(index) +
                                   "; _zan; echo \\${COMPREPLY[@]}";
        const std::string command = "bash -c \"" + script + "\" > '" + streams.file("out") + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return streams.read("out");
    };
    EXPECT_EQ(complete("re", 1), "reconstruct reduce render\n");
    EXPECT_EQ(complete("help c", 2), "cloud convert\n");
    EXPECT_EQ(complete("reduce --red", 2), "--reduce-length --reduce-angle\n");
}

TEST_F(Cli, VersionAndHelpAreNoFailures)
{
    const Outcome version = zan("--version");
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out, "zan " ZAN_VERSION "\n");
    EXPECT_EQ(zan("--help").code, 0);
    for (const char* command :
         {"reconstruct", "melt", "cloud", "flip", "reduce", "smooth", "holes", "info", "convert", "render"}) {
        const Outcome outcome = zan(std::string("help ") + command);
        EXPECT_EQ(outcome.code, 0) << command;
        EXPECT_NE(outcome.out.find("Example"), std::string::npos) << command;
        EXPECT_EQ(zan(std::string(command) + " --help").out, outcome.out) << command;
        EXPECT_NE(zan("help").out.find(command), std::string::npos) << command;
    }
    EXPECT_EQ(zan("help nothing").code, 2);
}
