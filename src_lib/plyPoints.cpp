#include "plyPoints.h"

#include "AppendedPoints.h"
#include "messages.h"
#include "plyValues.h"
#include "tinyply.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <fstream>
#include <limits>
#include <ostream>
#include <stdexcept>

namespace TESK_ZAN
{

namespace
{

using PLY::load;
using PLY::PlyData;
using PLY::Type;
using PLY::withType;

// What readPly asks of a file; null where the file has nothing of the kind.
struct Requests {
    std::shared_ptr<PlyData> pVertices;
    std::shared_ptr<PlyData> pColors;
    std::shared_ptr<PlyData> pAlpha;
    std::shared_ptr<PlyData> pFaces;
};

std::shared_ptr<PlyData> requestIfThere(PLY::PlyFile& file, const std::vector<std::string>& vKeys)
{
    try {
        return file.requestProperties("vertex", vKeys, 0);
    } catch (const std::exception&) {
        return nullptr;
    }
}

// False if the file has no vertices, or no faces where they are wanted.
bool request(PLY::PlyFile& file, bool bPointsOnly, Requests& requests)
{
    requests.pVertices = requestIfThere(file, {"x", "y", "z"});
    if (!requests.pVertices)
        return false;
    requests.pColors = requestIfThere(file, {"red", "green", "blue"});
    requests.pAlpha = requestIfThere(file, {"alpha"});
    if (!requests.pAlpha)
        requests.pAlpha = requestIfThere(file, {"scalar_Intensity"});
    if (bPointsOnly)
        return true;
    try {
        requests.pFaces = file.requestProperties("face", {"vertex_indices"}, 3);
    } catch (const std::exception& e) {
        complaintStream() << "tinyply exception: " << e.what() << '\n';
        return false;
    }
    return true;
}

bool isCoordinate(const PlyData& data)
{
    return !data.isList && (data.t == Type::INT32 || data.t == Type::FLOAT32 || data.t == Type::FLOAT64);
}

bool isChannel(const PlyData& data)
{
    return !data.isList && (data.t == Type::UINT8 || data.t == Type::INT32 || data.t == Type::FLOAT32 ||
                            data.t == Type::FLOAT64);
}

bool isIndexList(const PlyData& data)
{
    return data.isList && data.t != Type::INVALID && data.t != Type::FLOAT32 && data.t != Type::FLOAT64;
}

// Alpha only counts beside colours: without them it is not looked at.
bool allSupported(const Requests& requests)
{
    return isCoordinate(*requests.pVertices) && (!requests.pFaces || isIndexList(*requests.pFaces)) &&
           (!requests.pColors ||
            (isChannel(*requests.pColors) && (!requests.pAlpha || isChannel(*requests.pAlpha))));
}

template <class T>
Point3 pointAt(const std::uint8_t* p, std::size_t i)
{
    return Point3(double(load<T>(p, 3 * i)), double(load<T>(p, 3 * i + 1)), double(load<T>(p, 3 * i + 2)));
}

void appendVertices(const PlyData& vertices, std::vector<Point3>& vPoints)
{
    const std::uint8_t* p = vertices.buffer.get();
    withType(vertices.t, [&](auto type) {
        for (std::size_t i = 0; i < vertices.count; ++i)
            vPoints.push_back(pointAt<decltype(type)>(p, i));
    });
}

// The indices as 32 bits, whatever their width in the file is. One that names no vertex throws.
std::vector<std::uint32_t> checkedIndices(const PlyData& faces, std::size_t numVertices)
{
    std::vector<std::uint32_t> vIndices(3 * faces.count);
    const std::uint8_t* p = faces.buffer.get();
    withType(faces.t, [&](auto type) {
        using T = decltype(type);
        for (std::size_t i = 0; i < vIndices.size(); ++i) {
            const T value = load<T>(p, i);
            if (value < T(0) || double(value) >= double(numVertices))
                throw std::runtime_error("a face has the vertex " + std::to_string(value) + " of " +
                                         std::to_string(numVertices));
            vIndices[i] = std::uint32_t(value);
        }
    });
    return vIndices;
}

void appendCorners(const PlyData& vertices, const std::vector<std::uint32_t>& vIndices,
                   std::vector<Point3>& vPoints)
{
    const std::uint8_t* p = vertices.buffer.get();
    withType(vertices.t, [&](auto type) {
        for (std::uint32_t index : vIndices)
            vPoints.push_back(pointAt<decltype(type)>(p, index));
    });
}

std::vector<VtxColor> colorsOf(const PlyData& colors, const PlyData& alpha)
{
    std::vector<VtxColor> vColors(colors.count);
    const std::uint8_t* p = colors.buffer.get();
    withType(colors.t, [&](auto type) {
        using T = decltype(type);
        for (std::size_t i = 0; i < vColors.size(); ++i) {
            vColors[i].r = float(load<T>(p, 3 * i));
            vColors[i].g = float(load<T>(p, 3 * i + 1));
            vColors[i].b = float(load<T>(p, 3 * i + 2));
        }
    });
    p = alpha.buffer.get();
    withType(alpha.t, [&](auto type) {
        for (std::size_t i = 0; i < vColors.size(); ++i)
            vColors[i].a = float(load<decltype(type)>(p, i));
    });
    return vColors;
}

// Colours belong to vPoints as a whole, or not at all. bAlone: no point stood there before.
void applyColors(const Requests& requests, bool bAlone, std::vector<Point3>& vPoints)
{
    std::vector<VtxColor> vColors = colorsOf(*requests.pColors, *requests.pAlpha);
    if (!bAlone || vColors.size() != vPoints.size()) {
        zanWarning("readPly", "numPoints=" + std::to_string(vPoints.size()) +
                                  ", numColors=" + std::to_string(vColors.size()) + " colors not used");
        return;
    }
    if (vColors.empty())
        return;
    adaptTo255(vColors);
    for (std::size_t i = 0; i < vPoints.size(); ++i) {
        const VtxColor& c = vColors[i];
        vPoints[i].setColor(colorToByte(c.r), colorToByte(c.g), colorToByte(c.b), colorToByte(c.a));
    }
}

bool readPlyUnguarded(const std::string& name, bool bPointsOnly, std::vector<Point3>& vPoints)
{
    std::ifstream in(name, std::ios::binary);
    if (!in)
        return false;
    PLY::PlyFile file;
    if (!file.parseHeader(in))
        throw std::runtime_error("the header stops without the line end_header");
    Requests requests;
    if (!request(file, bPointsOnly, requests))
        return false;
    if (!allSupported(requests)) {
        zanError("readPly", "unsupported type in " + name);
        return false;
    }
    file.read(in);

    const bool bAlone = vPoints.empty();
    AppendedPoints appended(vPoints);
    if (bPointsOnly) {
        appended.reserve(requests.pVertices->count);
        appendVertices(*requests.pVertices, vPoints);
    } else {
        const std::vector<std::uint32_t> vIndices =
            checkedIndices(*requests.pFaces, requests.pVertices->count);
        appended.reserve(vIndices.size());
        appendCorners(*requests.pVertices, vIndices, vPoints);
    }
    if (requests.pColors && requests.pAlpha)
        applyColors(requests, bAlone, vPoints);
    appended.keep();
    return true;
}

// 1.0 if the scale is that of bytes already.
double scaleTo255(float maxValue)
{
    if (maxValue > 255.0f)
        return 255.0 / double(maxValue);
    return maxValue > 0.0f && maxValue <= 1.0f ? 255.0 : 1.0;
}

} // namespace

bool readPly(const char* name, bool bPointsOnly, std::vector<Point3>& vPoints)
{
    try {
        return readPlyUnguarded(name, bPointsOnly, vPoints);
    } catch (const std::exception& e) {
        zanWarning("readPly", e.what());
    } catch (...) {
        zanWarning("readPly", "unknown exception");
    }
    zanError("readPly", std::string(name) + " not read");
    return false;
}

bool writePointsPly(const std::string& name, std::vector<Point3>& vPoints, bool bAscii)
{
    messageStream() << "writePointsPly, received " << vPoints.size() << " points\n";
    std::vector<float> vCoords;
    vCoords.reserve(3 * vPoints.size());
    for (const Point3& point : vPoints)
        vCoords.insert(vCoords.end(), {float(point.x()), float(point.y()), float(point.z())});

    std::ofstream out(name, bAscii ? std::ios::out : std::ios::out | std::ios::binary);
    if (out) {
        PLY::PlyFile file;
        file.addProperties("vertex", {"x", "y", "z"}, Type::FLOAT32, vPoints.size(), vCoords.data(),
                           Type::INVALID, 0);
        file.write(out, !bAscii);
        out.close(); // reports what the system could not store until now
    }
    if (!out)
        complaintStream() << "Can't write " << name << '\n';
    return bool(out);
}

void adaptTo255(std::vector<VtxColor>& vColors)
{
    float maxRGB = 0.0f;
    float maxA = -std::numeric_limits<float>::infinity();
    for (const VtxColor& c : vColors) { // NaN is larger than nothing
        for (float value : {c.r, c.g, c.b})
            maxRGB = value > maxRGB ? value : maxRGB;
        maxA = c.a > maxA ? c.a : maxA;
    }
    const double factorRGB = scaleTo255(maxRGB);
    const double factorA = scaleTo255(maxA);
    if (factorRGB == 1.0 && factorA == 1.0)
        return;
    // Rounding to float first: in double the largest value would often come out just below 255.
    for (VtxColor& c : vColors) {
        for (float* pValue : {&c.r, &c.g, &c.b})
            *pValue = std::floor(float(factorRGB * double(*pValue)));
        c.a = std::floor(float(factorA * double(c.a)));
    }
}

unsigned char colorToByte(float value)
{
    constexpr float LIMIT = 9223372036854775808.0f; // 2^63
    if (!(value > -LIMIT && value < LIMIT))
        return 0;
    return static_cast<unsigned char>(static_cast<std::int64_t>(value) & 255);
}

} // namespace TESK_ZAN
