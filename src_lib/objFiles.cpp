#include "objFiles.h"

#include "plyPoints.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <stdexcept>

namespace TESK_ZAN
{

namespace
{

std::string readWhole(const std::string& name)
{
    std::ifstream in(name, std::ios::binary | std::ios::ate);
    if (!in)
        throw std::runtime_error("it can't be opened");
    std::string text(static_cast<std::size_t>(std::max<std::streamoff>(0, in.tellg())), '\0');
    in.seekg(0);
    if (!in.read(text.data(), static_cast<std::streamsize>(text.size())))
        throw std::runtime_error("the disk does not give all of it");
    return text;
}

// Goes through the text line by line; knows where it is for the messages.
class ObjReader
{
public:
    explicit ObjReader(const std::string& name) : text(readWhole(name)) {}

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
            throw std::runtime_error("a face names vertex " + std::to_string(largestIndex + 1) + " of " +
                                     std::to_string(vVertices.size()));
        applyColors();
        vCorners.reserve(vCorners.size() + vIndices.size());
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
        throw std::runtime_error("line " + std::to_string(lineNumber) + " " + why);
    }

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

    // x y z, x y z weight, or x y z red green blue.
    void readVertex(const char* p, const char* end)
    {
        constexpr std::size_t MAX_NUMBERS = 6;
        double a[MAX_NUMBERS];
        std::size_t num = 0;
        for (; num < MAX_NUMBERS; ++num) {
            p = skipBlanks(p, end);
            if (p != end && *p == '+')
                ++p;
            const auto [pBehind, error] = std::from_chars(p, end, a[num]);
            if (error != std::errc())
                break;
            p = pBehind;
        }
        if (num < 3)
            failHere("has no three numbers for a vertex");
        vVertices.emplace_back(a[0], a[1], a[2]);
        if (num < MAX_NUMBERS)
            return;
        vColors.push_back({float(a[3]), float(a[4]), float(a[5]), 255.0f});
        vColored.push_back(vVertices.size() - 1);
    }

    // A corner is "vertex", "vertex/texture", "vertex//normal" or "vertex/texture/normal"; negative ones
    // count back from the last vertex so far.
    void readFace(const char* p, const char* end)
    {
        std::size_t num = 0, first = 0, previous = 0;
        for (p = skipBlanks(p, end); p != end; p = skipBlanks(p, end), ++num) {
            std::int64_t number = 0;
            const auto [pBehind, error] = std::from_chars(p, end, number);
            if (error != std::errc())
                failHere("has a face corner that is no vertex number");
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
            failHere("names vertex " + std::to_string(number) + ", which there is not");
        const auto index = static_cast<std::size_t>(number > 0 ? number - 1 : numSoFar + number);
        largestIndex = std::max(largestIndex, index);
        return index;
    }

    void applyColors()
    {
        if (vColors.empty())
            return;
        adaptTo255(vColors);
        for (std::size_t i = 0; i < vColors.size(); ++i) {
            const VtxColor& c = vColors[i];
            vVertices[vColored[i]].setColor(colorToByte(c.r), colorToByte(c.g), colorToByte(c.b),
                                            colorToByte(c.a));
        }
    }

    const std::string text;
    std::size_t lineNumber = 0;
    std::vector<Point3> vVertices;
    std::vector<VtxColor> vColors;     // of the vertices that have one
    std::vector<std::size_t> vColored; // their indices
    std::vector<std::size_t> vIndices; // of vVertices, three a triangle
    std::size_t largestIndex = 0;      // a face may name vertices that come later
};

} // namespace

void readObj(const std::string& name, std::vector<Point3>& vCorners)
{
    ObjReader(name).appendTo(vCorners);
}

} // namespace TESK_ZAN
