#include "plyForms.h"

#include "AppendedPoints.h"
#include "plyPoints.h"
#include "plyValues.h"
#include "tinyply.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <optional>
#include <stdexcept>

namespace TESK_ZAN::PLY
{

namespace
{

constexpr float OPAQUE = 255.0f;

const PlyElement* findElement(const PlyFile& file, const std::string& name)
{
    const auto q = std::find_if(file.getElements().begin(), file.getElements().end(),
                                [&](const PlyElement& element) { return element.name == name; });
    return q == file.getElements().end() ? nullptr : &*q;
}

bool hasProperty(const PlyElement& element, const std::string& name)
{
    return std::any_of(element.vProperties.begin(), element.vProperties.end(),
                       [&](const PlyProperty& property) { return property.name == name; });
}

// What is asked of a file; null where it has nothing of the kind.
struct Requests {
    std::shared_ptr<PlyData> pVertices;
    std::shared_ptr<PlyData> pColors;
    std::shared_ptr<PlyData> pAlpha;
    std::shared_ptr<PlyData> pFaces;
};

void checkPlain(const PlyData& data, const std::string& what)
{
    if (data.isList || data.t == Type::INVALID)
        throw std::runtime_error(what + " are lists, or differ in type");
}

void requestVertices(PlyFile& file, Requests& requests)
{
    const PlyElement* pElement = findElement(file, "vertex");
    if (pElement == nullptr)
        throw std::runtime_error("it has no vertices");
    requests.pVertices = file.requestProperties("vertex", {"x", "y", "z"}, 0);
    checkPlain(*requests.pVertices, "x, y and z");
    if (!hasProperty(*pElement, "red") || !hasProperty(*pElement, "green") || !hasProperty(*pElement, "blue"))
        return;
    requests.pColors = file.requestProperties("vertex", {"red", "green", "blue"}, 0);
    checkPlain(*requests.pColors, "red, green and blue");
    if (!hasProperty(*pElement, "alpha"))
        return;
    requests.pAlpha = file.requestProperties("vertex", {"alpha"}, 0);
    checkPlain(*requests.pAlpha, "alphas");
}

void requestFaces(PlyFile& file, Requests& requests)
{
    const PlyElement* pElement = findElement(file, "face");
    if (pElement == nullptr || pElement->size == 0)
        return;
    const auto q = std::find_if(
        pElement->vProperties.begin(), pElement->vProperties.end(), [](const PlyProperty& property) {
            return property.name == "vertex_indices" || property.name == "vertex_index";
        });
    if (q == pElement->vProperties.end() || !q->isList)
        throw std::runtime_error("its faces have no list vertex_indices or vertex_index");
    requests.pFaces = file.requestProperties("face", {q->name}, 0);
    if (requests.pFaces->t == Type::FLOAT32 || requests.pFaces->t == Type::FLOAT64)
        throw std::runtime_error("its faces have indices that are no integers");
}

Requests readFile(const std::string& name, bool bFaces)
{
    std::ifstream in(name, std::ios::binary);
    if (!in)
        throw std::runtime_error("it can't be opened");
    PlyFile file;
    if (!file.parseHeader(in))
        throw std::runtime_error("the header stops without the line end_header");
    Requests requests;
    requestVertices(file, requests);
    if (bFaces)
        requestFaces(file, requests);
    file.read(in);
    return requests;
}

std::vector<VtxColor> colorsOf(const Requests& requests)
{
    std::vector<VtxColor> vColors(requests.pColors->count);
    const std::uint8_t* p = requests.pColors->buffer.get();
    withType(requests.pColors->t, [&](auto type) {
        using T = decltype(type);
        for (std::size_t i = 0; i < vColors.size(); ++i)
            vColors[i] = {float(load<T>(p, 3 * i)), float(load<T>(p, 3 * i + 1)),
                          float(load<T>(p, 3 * i + 2)), OPAQUE};
    });
    if (requests.pAlpha != nullptr) {
        p = requests.pAlpha->buffer.get();
        withType(requests.pAlpha->t, [&](auto type) {
            for (std::size_t i = 0; i < vColors.size(); ++i)
                vColors[i].a = float(load<decltype(type)>(p, i));
        });
    }
    const bool bBytes = requests.pColors->t == Type::UINT8 &&
                        (requests.pAlpha == nullptr || requests.pAlpha->t == Type::UINT8);
    if (!bBytes && !vColors.empty())
        adaptTo255(vColors);
    return vColors;
}

void applyColors(const Requests& requests, std::vector<Point3>& vPoints, std::size_t first)
{
    if (requests.pColors == nullptr)
        return;
    const std::vector<VtxColor> vColors = colorsOf(requests);
    for (std::size_t i = 0; i < vColors.size(); ++i) {
        const VtxColor& c = vColors[i];
        if (c.r != 0.0f || c.g != 0.0f || c.b != 0.0f || c.a != 0.0f)
            vPoints[first + i].setColor(colorToByte(c.r), colorToByte(c.g), colorToByte(c.b),
                                        colorToByte(c.a));
    }
}

void appendVertices(const Requests& requests, std::vector<Point3>& vPoints)
{
    const std::size_t first = vPoints.size();
    const PlyData& vertices = *requests.pVertices;
    withType(vertices.t, [&](auto type) {
        using T = decltype(type);
        const std::uint8_t* p = vertices.buffer.get();
        for (std::size_t i = 0; i < vertices.count; ++i)
            vPoints.emplace_back(double(load<T>(p, 3 * i)), double(load<T>(p, 3 * i + 1)),
                                 double(load<T>(p, 3 * i + 2)));
    });
    applyColors(requests, vPoints, first);
}

template <class T>
const Point3& vertexAt(const std::uint8_t* pIndices, std::size_t i, const std::vector<Point3>& vVertices)
{
    const T index = load<T>(pIndices, i);
    if (index < T(0) || std::uint64_t(index) >= vVertices.size())
        throw std::runtime_error("a face has the vertex " + std::to_string(index) + " of " +
                                 std::to_string(vVertices.size()));
    return vVertices[std::size_t(index)];
}

template <class T>
void appendFans(const PlyData& faces, const std::vector<Point3>& vVertices, std::vector<Point3>& vCorners)
{
    const std::uint8_t* p = faces.buffer.get();
    std::size_t first = 0; // of the face
    for (const PlyData::ListRun& run : faces.vListRuns) {
        for (std::size_t iRow = 0; iRow < run.numRows; ++iRow, first += run.numValues) {
            for (std::size_t k = 2; k < run.numValues; ++k)
                for (const std::size_t i : {first, first + k - 1, first + k})
                    vCorners.push_back(vertexAt<T>(p, i, vVertices));
        }
    }
}

std::size_t numTriangles(const PlyData& faces)
{
    std::size_t num = 0;
    for (const PlyData::ListRun& run : faces.vListRuns)
        num += run.numValues > 2 ? run.numRows * (run.numValues - 2) : 0;
    return num;
}

// --- Writing

bool fitsFloats(const Point3& p)
{
    const auto fits = [](double value) { return !(double(float(value)) != value); };
    return fits(p.x()) && fits(p.y()) && fits(p.z());
}

template <class T>
std::vector<T> coordinatesOf(const std::vector<Point3>& vPoints)
{
    std::vector<T> vCoords;
    vCoords.reserve(3 * vPoints.size());
    for (const Point3& p : vPoints)
        vCoords.insert(vCoords.end(), {T(p.x()), T(p.y()), T(p.z())});
    return vCoords;
}

std::vector<unsigned char> colorBytesOf(const std::vector<Point3>& vPoints)
{
    std::vector<unsigned char> vBytes(4 * vPoints.size());
    for (std::size_t i = 0; i < vPoints.size(); ++i)
        vPoints[i].getColor_255(vBytes[4 * i], vBytes[4 * i + 1], vBytes[4 * i + 2], vBytes[4 * i + 3]);
    return vBytes;
}

template <class T>
void writePoints(std::ostream& out, const std::vector<Point3>& vPoints, bool bAscii)
{
    const std::vector<T> vCoords = coordinatesOf<T>(vPoints);
    std::vector<unsigned char> vColors;
    PlyFile file;
    file.addProperties("vertex", {"x", "y", "z"}, sizeof(T) == 4 ? Type::FLOAT32 : Type::FLOAT64,
                       vPoints.size(), vCoords.data(), Type::INVALID, 0);
    if (std::any_of(vPoints.begin(), vPoints.end(), [](const Point3& p) { return p.hasColor(); })) {
        vColors = colorBytesOf(vPoints);
        file.addProperties("vertex", {"red", "green", "blue", "alpha"}, Type::UINT8, vPoints.size(),
                           vColors.data(), Type::INVALID, 0);
    }
    file.write(out, !bAscii, std::numeric_limits<T>::max_digits10);
}

} // namespace

void loadPoints(const std::string& name, std::vector<Point3>& vPoints)
{
    const Requests requests = readFile(name, false);
    AppendedPoints appended(vPoints);
    appended.reserve(requests.pVertices->count);
    appendVertices(requests, vPoints);
    appended.keep();
}

void loadTriangles(const std::string& name, std::vector<Point3>& vCorners)
{
    const Requests requests = readFile(name, true);
    if (requests.pFaces == nullptr)
        return;
    std::vector<Point3> vVertices;
    vVertices.reserve(requests.pVertices->count);
    appendVertices(requests, vVertices);
    AppendedPoints appended(vCorners);
    appended.reserve(3 * numTriangles(*requests.pFaces));
    withType(requests.pFaces->t,
             [&](auto type) { appendFans<decltype(type)>(*requests.pFaces, vVertices, vCorners); });
    appended.keep();
}

void savePoints(const std::string& name, const std::vector<Point3>& vPoints, bool bAscii)
{
    std::ofstream out(name, bAscii ? std::ios::out : std::ios::out | std::ios::binary);
    if (std::all_of(vPoints.begin(), vPoints.end(), fitsFloats))
        writePoints<float>(out, vPoints, bAscii);
    else
        writePoints<double>(out, vPoints, bAscii);
    out.close(); // reports what the system could not store until now
    if (!out)
        throw std::runtime_error("it can't be written whole");
}

} // namespace TESK_ZAN::PLY
