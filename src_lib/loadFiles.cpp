#include "loadFiles.h"

#include "AppendedPoints.h"
#include "blockStreams.h"
#include "fileTypes.h"
#include "messages.h"
#include "numberText.h"
#include "objFiles.h"
#include "plyForms.h"
#include "plyPoints.h"
#include "pointFiles.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace TESK_ZAN
{

namespace
{

constexpr int FIRST_COLOR_COLUMN = 4; // the coordinates stand before

// Runs a reader or writer that throws; what it says becomes an error message.
template <class F>
bool guarded(const char* call, const std::string& name, F work)
{
    try {
        work();
        return true;
    } catch (const std::exception& e) {
        zanError(call, name + ": " + e.what());
        return false;
    }
}

[[noreturn]] void throwUnknown(const char* expected)
{
    throw std::runtime_error(std::string("the ending does not tell what is in it, expected one of ") +
                             expected);
}

// The other readers and writers have said why.
void throwUnless(bool bDone)
{
    if (!bDone)
        throw std::runtime_error("failed, see above");
}

// --- Text with colours

class ColouredLines
{
public:
    explicit ColouredLines(int colorColumn_) : colorColumn(colorColumn_) {}

    void read(const std::string& name, std::vector<Point3>& vPoints)
    {
        std::ifstream in(name, std::ios::binary);
        if (!in)
            throw std::runtime_error("it can't be opened");
        AppendedPoints appended(vPoints);
        BlockReader reader(in);
        std::string_view line;
        while (reader.nextLine(line))
            takeLine(line, vPoints);
        if (reader.failed())
            throw std::runtime_error("the disk does not give all of it");
        applyColors(vPoints);
        appended.keep();
    }

private:
    void takeLine(std::string_view line, std::vector<Point3>& vPoints)
    {
        const char* p = line.data();
        const char* end = p + line.size();
        double xyz[3];
        if (!takeNumbers(p, end, xyz))
            return;
        vPoints.emplace_back(xyz[0], xyz[1], xyz[2]);
        for (int column = FIRST_COLOR_COLUMN; column < colorColumn; ++column)
            p = std::find_if(std::find_if_not(p, end, isSpace), end, isSpace);
        double rgb[3];
        if (!takeNumbers(p, end, rgb))
            return;
        vColors.push_back({float(rgb[0]), float(rgb[1]), float(rgb[2]), 255.0f});
        vColored.push_back(vPoints.size() - 1);
    }

    static bool takeNumbers(const char*& p, const char* end, double (&numbers)[3])
    {
        for (double& number : numbers) {
            p = extractNumber(p, end, number);
            if (p == nullptr)
                return false;
        }
        return true;
    }

    void applyColors(std::vector<Point3>& vPoints)
    {
        if (vColors.empty())
            return;
        adaptTo255(vColors);
        for (std::size_t i = 0; i < vColors.size(); ++i)
            vPoints[vColored[i]].setColor(colorToByte(vColors[i].r), colorToByte(vColors[i].g),
                                          colorToByte(vColors[i].b), colorToByte(vColors[i].a));
    }

    const int colorColumn;
    std::vector<VtxColor> vColors;     // of the points that have one
    std::vector<std::size_t> vColored; // their indices
};

void writeColouredLines(const std::string& name, const std::vector<Point3>& vPoints)
{
    constexpr int PRECISION = 17;
    std::ofstream out(name);
    BlockWriter writer(out);
    for (const Point3& point : vPoints) {
        unsigned char bytes[4];
        point.getColor_255(bytes[0], bytes[1], bytes[2], bytes[3]);
        for (const double value : {point.x(), point.y(), point.z(), double(bytes[0]), double(bytes[1])}) {
            writer.number(value, PRECISION);
            writer.text(" ");
        }
        writer.number(double(bytes[2]), PRECISION);
        writer.text("\n");
    }
    writer.flush();
    out.close(); // reports what the system could not store until now
    if (!out)
        throw std::runtime_error("it can't be written whole");
}

// --- STL

constexpr std::uint64_t STL_HEADER = 80;
constexpr std::uint64_t STL_START = 84; // of the triangles, behind their count
constexpr std::uint64_t STL_RECORD = 50;
constexpr std::size_t STL_CORNERS = 12; // in a record, behind the normal

// A binary STL is told by its size, which is the one that the count in its header announces; the word at the
// start tells nothing, for both kinds may begin with it. Empty for other files.
std::optional<std::uint32_t> countOfBinaryStl(std::istream& in)
{
    const std::uint64_t size = remainingBytes(in).value_or(0);
    std::uint32_t num = 0;
    in.seekg(STL_HEADER);
    if (size < STL_START || !in.read(reinterpret_cast<char*>(&num), sizeof(num)) ||
        size != STL_START + STL_RECORD * num)
        return std::nullopt;
    return num;
}

void loadBinaryStl(std::istream& in, std::uint32_t num, std::vector<Point3>& vCorners)
{
    AppendedPoints appended(vCorners);
    appended.reserve(3 * std::uint64_t(num));
    BlockReader reader(in); // behind the count
    for (std::uint32_t i = 0; i < num; ++i) {
        if (reader.fill(STL_RECORD) < STL_RECORD)
            throw std::runtime_error("the disk does not give all of it");
        float xyz[9];
        std::memcpy(xyz, reader.data() + STL_CORNERS, sizeof(xyz));
        for (int k = 0; k < 9; k += 3)
            vCorners.emplace_back(xyz[k], xyz[k + 1], xyz[k + 2]);
        reader.skip(STL_RECORD);
    }
    appended.keep();
}

void loadStl(const std::string& name, std::vector<Point3>& vCorners)
{
    {
        std::ifstream in(name, std::ios::binary);
        if (!in)
            throw std::runtime_error("it can't be opened");
        if (const std::optional<std::uint32_t> oNum = countOfBinaryStl(in))
            return loadBinaryStl(in, *oNum, vCorners);
    }
    const std::size_t numBefore = vCorners.size();
    throwUnless(readSTLTriangles(name.c_str(), vCorners));
    if (vCorners.size() == numBefore)
        throw std::runtime_error("it has no facets of a text STL, and not the size of a binary one");
}

} // namespace

bool isObjName(const std::string& name)
{
    constexpr std::string_view ENDING = ".obj";
    return name.size() >= ENDING.size() &&
           std::equal(ENDING.begin(), ENDING.end(), name.end() - ENDING.size(), [](char expected, char c) {
               return expected == std::tolower(static_cast<unsigned char>(c));
           });
}

bool loadPoints(const std::string& name, std::vector<Point3>& vPoints, int colorColumn)
{
    return guarded("loadPoints", name, [&] {
        switch (getFileType(name)) {
        case FT_PLY:
            return PLY::loadPoints(name, vPoints);
        case FT_ASCII:
            if (colorColumn >= FIRST_COLOR_COLUMN)
                return ColouredLines(colorColumn).read(name, vPoints);
            return throwUnless(readPoints_ASCII(name.c_str(), vPoints));
        case FT_BIN:
            return throwUnless(readPoints_BIN(name.c_str(), vPoints));
        default:
            throwUnknown(".ply, .xyz, .txt, .asc, .bin");
        }
    });
}

bool loadTriangles(const std::string& name, std::vector<Point3>& vCorners)
{
    return guarded("loadTriangles", name, [&] {
        if (isObjName(name))
            return readObj(name, vCorners);
        switch (getFileType(name)) {
        case FT_PLY:
            return PLY::loadTriangles(name, vCorners);
        case FT_STL:
            return loadStl(name, vCorners);
        default:
            throwUnknown(".ply, .stl, .obj");
        }
    });
}

bool savePoints(const std::string& name, std::vector<Point3>& vPoints, bool bAscii)
{
    return guarded("savePoints", name, [&] {
        switch (getFileType(name)) {
        case FT_PLY:
            return PLY::savePoints(name, vPoints, bAscii);
        case FT_ASCII:
            if (std::any_of(vPoints.begin(), vPoints.end(), [](const Point3& p) { return p.hasColor(); }))
                return writeColouredLines(name, vPoints);
            return throwUnless(writePoints_ASCII(name.c_str(), vPoints));
        case FT_BIN:
        case FT_LIST: {
            std::string nameForWriter = name;
            return throwUnless(writePoints_auto(nameForWriter, vPoints, bAscii));
        }
        default:
            throwUnknown(".ply, .xyz, .txt, .asc, .bin, .list");
        }
    });
}

} // namespace TESK_ZAN
