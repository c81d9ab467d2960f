#include "pointFiles.h"

#include "AppendedPoints.h"
#include "Visualizer3.h"
#include "blockStreams.h"
#include "fileTypes.h"
#include "messages.h"
#include "plyPoints.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <optional>
#include <ostream>
#include <string_view>

namespace TESK_ZAN
{

namespace
{

constexpr std::int32_t TYP_XYZ = 30;
constexpr std::int32_t TYP_XY = 20;

// Significant digits that bring every double back.
constexpr int ASCII_PRECISION = 18;

// The name that points go to when theirs says nothing about the form.
constexpr const char* FALLBACK_NAME = "zan_output_bin.ply";

constexpr int SCENE_RED = 0;
constexpr int SCENE_POINT_SIZE = 10;

bool say(const char* name, const std::string& what)
{
    messageStream() << name << what << '\n';
    return false;
}

// Three numbers at p. False where a stream would fail.
bool extractPoint(const char* p, const char* end, Point3& point)
{
    double a[3];
    for (double& value : a) {
        p = extractNumber(p, end, value);
        if (p == nullptr)
            return false;
    }
    point = Point3(a[0], a[1], a[2]);
    return true;
}

// Makes room for as many points as the file will hold if it goes on as it began, but never for more than four
// times what it has shown to hold.
void growForFile(const BlockReader& reader, std::uint64_t fileSize, AppendedPoints& appended)
{
    const double numSoFar = double(appended.size());
    const double numExpected = numSoFar * double(fileSize) / double(reader.consumed());
    appended.reserve(std::uint64_t(std::clamp(1.02 * numExpected, numSoFar + 1.0, 4.0 * numSoFar + 1000.0)));
}

void readLines(BlockReader& reader, std::uint64_t fileSize, std::vector<Point3>& vPoints,
               AppendedPoints& appended)
{
    std::string_view line;
    Point3 point;
    while (reader.nextLine(line)) {
        if (!extractPoint(line.data(), line.data() + line.size(), point))
            continue;
        if (vPoints.size() == vPoints.capacity())
            growForFile(reader, fileSize, appended);
        vPoints.push_back(point);
    }
}

// The points of one block of packed doubles.
void decodePoints(const char* p, size_t num, bool bHasZ, std::vector<Point3>& vPoints)
{
    const size_t numCoords = bHasZ ? 3 : 2;
    for (size_t i = 0; i < num; ++i) {
        double a[3] = {0.0, 0.0, 0.0};
        std::memcpy(a, p + i * numCoords * sizeof(double), numCoords * sizeof(double));
        vPoints.emplace_back(a[0], a[1], a[2]);
    }
}

// Hands the rows of a binary file to vPoints. False if the file ends before.
bool readRows(BlockReader& reader, std::uint64_t num, bool bHasZ, std::vector<Point3>& vPoints)
{
    const size_t rowSize = (bHasZ ? 3 : 2) * sizeof(double);
    while (num > 0) {
        const std::uint64_t numThere = std::min<std::uint64_t>(num, reader.fill(rowSize) / rowSize);
        if (numThere == 0)
            return false;
        decodePoints(reader.data(), size_t(numThere), bHasZ, vPoints);
        reader.skip(size_t(numThere) * rowSize);
        num -= numThere;
    }
    return true;
}

bool hasWord(std::string_view line, std::string_view word, std::string_view capitals)
{
    return line.find(word) != line.npos || line.find(capitals) != line.npos;
}

// What the two calls for text STL take.
struct StlRules {
    bool bCapitals = false;      // of the words within a loop
    bool bTrianglesOnly = false; // loops without exactly three vertices give nothing
    bool bWholeOnly = false;     // a file that ends within a loop is refused, one without "endsolid" suspect
};

struct LoopRead {
    size_t numVertices = 0;
    bool bEnded = false; // false: the file ends within
};

// Step 2 of the STL reader: the vertices up to "endloop".
LoopRead readLoop(BlockReader& reader, const StlRules& rules, std::vector<Point3>& vPoints)
{
    const std::string_view endWord = rules.bCapitals ? "ENDLOOP" : "endloop";
    const std::string_view vertexWord = rules.bCapitals ? "VERTEX" : "vertex";
    LoopRead loop;
    std::string_view line;
    Point3 point;
    while (reader.nextLine(line)) {
        loop.bEnded = hasWord(line, "endloop", endWord);
        if (loop.bEnded)
            break;
        if (!hasWord(line, "vertex", vertexWord))
            continue;
        const char* p = line.data();
        const char* end = p + line.size();
        p = std::find_if_not(p, end, isSpace);
        p = std::find_if(p, end, isSpace); // over the first word
        if (!extractPoint(p, end, point))
            continue;
        vPoints.push_back(point);
        ++loop.numVertices;
    }
    if (rules.bTrianglesOnly && loop.numVertices != 3)
        vPoints.resize(vPoints.size() - loop.numVertices);
    return loop;
}

bool readStl(const char* name, const StlRules& rules, std::vector<Point3>& vPoints)
{
    std::ifstream in(name, std::ios::binary);
    if (!in) {
        messageStream() << "readSTL(): " << name << " is unreadable\n";
        return false;
    }
    AppendedPoints appended(vPoints);
    BlockReader reader(in);
    size_t numOddLoops = 0;
    LoopRead loop{.bEnded = true};
    bool bSolidEnded = false;
    std::string_view line;
    while (reader.nextLine(line)) {
        bSolidEnded = bSolidEnded || hasWord(line, "endsolid", "ENDSOLID");
        if (!hasWord(line, "outer loop", "OUTER LOOP"))
            continue;
        bSolidEnded = false;
        loop = readLoop(reader, rules, vPoints);
        numOddLoops += loop.numVertices == 3 ? 0 : 1;
    }
    if (reader.failed()) {
        messageStream() << "readSTL(): " << name << " is unreadable\n";
        return false;
    }
    if (rules.bWholeOnly && !loop.bEnded) {
        messageStream() << "readSTL(): " << name << " ends within a facet, it has been cut short\n";
        return false;
    }
    if (rules.bWholeOnly && !bSolidEnded)
        zanWarning("readSTL()",
                   std::string(name) + " has no endsolid at its end, it may have been cut short");
    if (numOddLoops > 0)
        zanWarning("readSTL()", std::string(name) + ": " + std::to_string(numOddLoops) +
                                    " facets without exactly three vertices");
    appended.keep();
    return true;
}

bool closeWritten(std::ofstream& out, const char* name)
{
    out.close(); // reports what the system could not store until now
    return out ? true : say(name, " can't be written completely");
}

bool writeScene(const std::string& name, const std::vector<Point3>& vPoints)
{
    Visualizer3 vis(name, nullptr, true);
    if (!vis.isOpen())
        return false;
    vis.writePoints(vPoints, SCENE_POINT_SIZE, Visualizer3::getSceneColor(SCENE_RED));
    return vis.closeScene();
}

} // namespace

bool readPoints_auto(std::string& name, std::vector<Point3>& vPoints)
{
    switch (getFileType(name)) {
    case FT_PLY:
        return readPly(name.c_str(), true, vPoints);
    case FT_ASCII:
        return readPoints_ASCII(name.c_str(), vPoints);
    case FT_BIN:
        return readPoints_BIN(name.c_str(), vPoints);
    default:
        complaintStream() << "Filename extension of [" << name
                          << "] is not valid, expected *.ply, *.xyz or *.bin\n";
        return false;
    }
}

bool readPoints_ASCII(const char* name, std::vector<Point3>& vPoints)
{
    std::ifstream in(name, std::ios::binary); // the CR of foreign line ends is white space like any other
    if (!in)
        return say(name, " is unreadable");
    AppendedPoints appended(vPoints);
    BlockReader reader(in);
    readLines(reader, remainingBytes(in).value_or(0), vPoints, appended);
    if (reader.failed())
        return say(name, " is unreadable");
    appended.keep();
    return true;
}

bool readPoints_BIN(const char* name, std::vector<Point3>& vPoints)
{
    std::ifstream in(name, std::ios::binary);
    if (!in)
        return say(name, " can't be read");
    const std::optional<std::uint64_t> fileSize = remainingBytes(in);
    BlockReader reader(in);
    std::int32_t typ = 0;
    std::uint64_t num = 0;
    if (reader.fill(sizeof(typ)) < sizeof(typ))
        return say(name, " can't be read, it is too short for a header");
    std::memcpy(&typ, reader.data(), sizeof(typ));
    reader.skip(sizeof(typ));
    if (typ != TYP_XYZ && typ != TYP_XY)
        return say(name, " has wrong filetype " + std::to_string(typ) + ", expected: 30 or 20");
    if (reader.fill(sizeof(num)) < sizeof(num))
        return say(name, " can't be read, it is too short for a header");
    std::memcpy(&num, reader.data(), sizeof(num));
    reader.skip(sizeof(num));

    const bool bHasZ = typ == TYP_XYZ;
    const std::uint64_t rowSize = (bHasZ ? 3 : 2) * sizeof(double);
    const std::string tooShort = " can't be read, it ends before its " + std::to_string(num) + " points";
    if (fileSize && num > (*fileSize - reader.consumed()) / rowSize)
        return say(name, tooShort); // before any room is made for them
    AppendedPoints appended(vPoints);
    if (fileSize)
        appended.reserve(num);
    if (!readRows(reader, num, bHasZ, vPoints))
        return say(name, tooShort);
    appended.keep();
    return true;
}

bool readSTL_ASCII(const char* name, std::vector<Point3>& vPoints)
{
    return readStl(name, {}, vPoints);
}

bool readSTLTriangles(const char* name, std::vector<Point3>& vPoints)
{
    return readStl(name, {.bCapitals = true, .bTrianglesOnly = true, .bWholeOnly = true}, vPoints);
}

bool writePoints_ASCII(const char* name, const std::vector<Point3>& vPoints)
{
    std::ofstream out(name);
    if (!out)
        return say(name, " can't be written");
    BlockWriter writer(out);
    for (const Point3& point : vPoints) {
        char* p = writer.room(3 * (MAX_NUMBER_CHARS + 1));
        p = printNumber(p, point.x(), ASCII_PRECISION);
        *p++ = ' ';
        p = printNumber(p, point.y(), ASCII_PRECISION);
        *p++ = ' ';
        p = printNumber(p, point.z(), ASCII_PRECISION);
        *p++ = '\n';
        writer.advanceTo(p);
    }
    writer.flush();
    return closeWritten(out, name);
}

bool writePoints_BIN(const char* name, std::vector<Point3>& vPoints)
{
    std::ofstream out(name, std::ios::binary);
    if (!out)
        return say(name, " can't be written");
    BlockWriter writer(out);
    const std::int32_t typ = TYP_XYZ;
    const std::uint64_t num = vPoints.size();
    char* p = writer.room(sizeof(typ) + sizeof(num));
    std::memcpy(p, &typ, sizeof(typ));
    std::memcpy(p + sizeof(typ), &num, sizeof(num));
    writer.advanceTo(p + sizeof(typ) + sizeof(num));
    for (const Point3& point : vPoints) {
        double a[3];
        point.xyz(a[0], a[1], a[2]);
        p = writer.room(sizeof(a));
        std::memcpy(p, a, sizeof(a));
        writer.advanceTo(p + sizeof(a));
    }
    writer.flush();
    return closeWritten(out, name);
}

bool writePoints_auto(std::string& name, std::vector<Point3>& vPoints, bool bAscii)
{
    switch (getFileType(name)) {
    case FT_PLY:
        return writePointsPly(name, vPoints, bAscii);
    case FT_ASCII:
        return writePoints_ASCII(name.c_str(), vPoints);
    case FT_BIN:
        return writePoints_BIN(name.c_str(), vPoints);
    case FT_LIST:
        return writeScene(name, vPoints);
    default:
        complaintStream() << "Filename [" << name << "] is not valid, using [" << FALLBACK_NAME
                          << "] instead\n";
        writePointsPly(FALLBACK_NAME, vPoints, bAscii);
        return false;
    }
}

} // namespace TESK_ZAN
