#include "soupFiles.h"

#include "CommandError.h"
#include "HeldMessages.h"
#include "inputFiles.h"

#include <zan/zan_api_functions.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

using namespace TESK_ZAN;

namespace
{

constexpr const char* SOUP_EXTENSIONS = ".stl, .ply or .obj";

bool isObjName(const std::string& name)
{
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".obj";
}

[[noreturn]] void failToRead(const std::string& name, const std::string& why)
{
    throw CommandError(ExitCode::FileTrouble, "'" + name + "' could not be read: " + why);
}

std::uint64_t sizeOf(const std::string& name)
{
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(name, error);
    if (error)
        failToRead(name, error.message() + ".");
    return size;
}

std::string readWhole(const std::string& name)
{
    std::string text(sizeOf(name), '\0');
    std::ifstream file(name, std::ios::binary);
    if (!file.read(text.data(), static_cast<std::streamsize>(text.size())))
        failToRead(name, "the disk does not give all of it.");
    return text;
}

// --- STL

constexpr std::uint64_t STL_HEADER = 80;
constexpr std::uint64_t STL_START = 84; // of the triangles, behind their count
constexpr std::uint64_t STL_RECORD = 50;
constexpr std::size_t STL_CORNERS = 12; // in a record, behind the normal

// The count that a binary STL has behind its header; 0 for a file too short for one.
std::uint32_t announcedTriangles(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    std::uint32_t num = 0;
    file.seekg(STL_HEADER);
    if (!file.read(reinterpret_cast<char*>(&num), sizeof(num)))
        return 0;
    return num;
}

bool isBinaryStl(const std::string& name)
{
    const std::uint64_t size = sizeOf(name);
    return size >= STL_START && size == STL_START + STL_RECORD * announcedTriangles(name);
}

void appendBinaryStl(const std::string& name, std::vector<Point3>& vCorners)
{
    static_assert(std::endian::native == std::endian::little, "the numbers of the file are little-endian");
    const std::string bytes = readWhole(name);
    const std::size_t num = (bytes.size() - STL_START) / STL_RECORD;
    vCorners.reserve(3 * num);
    for (std::size_t i = 0; i < num; ++i) {
        float xyz[9];
        std::memcpy(xyz, bytes.data() + STL_START + i * STL_RECORD + STL_CORNERS, sizeof(xyz));
        for (int k = 0; k < 9; k += 3)
            vCorners.emplace_back(xyz[k], xyz[k + 1], xyz[k + 2]);
    }
}

void appendStl(const std::string& name, std::vector<Point3>& vCorners)
{
    if (isBinaryStl(name)) {
        appendBinaryStl(name, vCorners);
        return;
    }
    if (!readSTL_ASCII(name.c_str(), vCorners))
        failToRead(name, "a message above may tell why.");
    if (vCorners.empty())
        failToRead(name, "it has no facets of a text STL, and as a binary one of " +
                             std::to_string(announcedTriangles(name)) +
                             " triangles it would have another size.");
}

// --- OBJ

// Reads an OBJ file line by line; knows where it is for the messages.
class ObjReader
{
public:
    explicit ObjReader(const std::string& name_) : name(name_), text(readWhole(name_)) {}

    void appendTo(std::vector<Point3>& vCorners)
    {
        const char* p = text.data();
        const char* end = p + text.size();
        while (p != end) {
            ++lineNumber;
            const char* lineEnd = findLineEnd(p, end);
            readLine(p, lineEnd);
            lineNumber += static_cast<std::size_t>(std::count(p, lineEnd, '\n'));
            p = lineEnd == end ? end : lineEnd + 1;
        }
        if (!vIndices.empty() && largestIndex >= vVertices.size())
            failToRead(name, "a face names vertex " + std::to_string(largestIndex + 1) + " of " +
                                 std::to_string(vVertices.size()) + ".");
        vCorners.reserve(vIndices.size());
        for (const std::size_t index : vIndices)
            vCorners.push_back(vVertices[index]);
    }

private:
    // A backslash at the end of a line goes on with the next one.
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\\' || c == '\n'; }

    static const char* findLineEnd(const char* p, const char* end)
    {
        const char* lineEnd = std::find(p, end, '\n');
        while (lineEnd != end && lineEnd != p && lineEnd[-1] == '\\')
            lineEnd = std::find(lineEnd + 1, end, '\n');
        return lineEnd;
    }

    static const char* skipBlanks(const char* p, const char* end)
    {
        return std::find_if_not(p, end, isBlank);
    }

    [[noreturn]] void failHere(const std::string& why) const
    {
        failToRead(name, "line " + std::to_string(lineNumber) + " " + why);
    }

    // Lines of other kinds (normals, groups, lines of points) tell nothing of triangles.
    void readLine(const char* p, const char* end)
    {
        p = skipBlanks(p, end);
        if (end - p < 2 || !isBlank(p[1]))
            return;
        if (*p == 'v')
            readVertex(p + 1, end);
        else if (*p == 'f')
            readFace(p + 1, end);
    }

    // What follows the three numbers, a weight or a colour, is not needed.
    void readVertex(const char* p, const char* end)
    {
        double xyz[3];
        for (double& value : xyz) {
            p = skipBlanks(p, end);
            if (p != end && *p == '+')
                ++p;
            const auto [pBehind, error] = std::from_chars(p, end, value);
            if (error != std::errc())
                failHere("has no three numbers for a vertex.");
            p = pBehind;
        }
        vVertices.emplace_back(xyz[0], xyz[1], xyz[2]);
    }

    // A corner is "vertex", "vertex/texture", "vertex//normal" or "vertex/texture/normal"; negative ones
    // count back from the last vertex so far. The fan has its tip at the first corner.
    void readFace(const char* p, const char* end)
    {
        std::size_t num = 0, first = 0, previous = 0;
        for (p = skipBlanks(p, end); p != end; p = skipBlanks(p, end), ++num) {
            std::int64_t number = 0;
            const auto [pBehind, error] = std::from_chars(p, end, number);
            if (error != std::errc())
                failHere("has a face corner that is no vertex number.");
            const std::size_t index = indexOf(number);
            if (num == 0)
                first = index;
            if (num >= 2)
                vIndices.insert(vIndices.end(), {first, previous, index});
            previous = index;
            p = std::find_if(pBehind, end, isBlank);
        }
    }

    std::size_t indexOf(std::int64_t number)
    {
        const auto numSoFar = static_cast<std::int64_t>(vVertices.size());
        if (number == 0 || number < -numSoFar)
            failHere("names vertex " + std::to_string(number) + ", which there is not.");
        const auto index = static_cast<std::size_t>(number > 0 ? number - 1 : numSoFar + number);
        largestIndex = std::max(largestIndex, index);
        return index;
    }

    std::string name;
    std::string text;
    std::size_t lineNumber = 0;
    std::vector<Point3> vVertices;
    std::vector<std::size_t> vIndices; // of vVertices, three a triangle
    std::size_t largestIndex = 0;      // a face may name vertices that come later
};

// --- PLY

void appendPly(const std::string& name, std::vector<Point3>& vCorners)
{
    // A soup has more corners than the file has colours. The reader warns of it, and it means nothing here.
    HeldMessages messages;
    if (!readPly(name.c_str(), false, vCorners))
        failToRead(name, "a message above may tell why. Faces need exactly three indices, in a list named "
                         "vertex_indices.");
    messages.drop();
}

} // namespace

bool isSoupName(const std::string& name)
{
    const FileType type = getFileType(name);
    return type == FT_STL || type == FT_PLY || isObjName(name);
}

std::vector<Point3> readSoup(const std::string& name)
{
    if (!isSoupName(name))
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell what is in it. Triangle files end in " +
                                                SOUP_EXTENSIONS + ".");
    checkReadable(name);
    std::vector<Point3> vCorners;
    if (isObjName(name))
        ObjReader(name).appendTo(vCorners);
    else if (getFileType(name) == FT_STL)
        appendStl(name, vCorners);
    else
        appendPly(name, vCorners);
    if (vCorners.empty())
        throw CommandError(ExitCode::NothingCameOut, "'" + name + "' holds no triangles.");
    return vCorners;
}
