#include "meshWriters.h"

#include "Bundle.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "Point3Hash.h"
#include "RMesh.h"
#include "blockStreams.h"
#include "freeFunctions.h"
#include "messages.h"
#include "tesk_tools/FlatMap.h"
#include "tinyply.h"
#include "zanAssert.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr int STL_PRECISION = 10;
constexpr int PLY_PRECISION = 6;
constexpr double FLOAT_TOLERANCE_CELLS = 0.001;
constexpr int MAX_FLOAT_STEPS = 50; // where floats are coarser than the mesh, any number shares a place
constexpr std::uint32_t NO_INDEX = std::numeric_limits<std::uint32_t>::max();

// Triangles as a file holds them: vertices numbered by first use, three indices per triangle.
struct IndexedMesh {
    std::vector<const Point3*> vOrderedPoints; // not owned
    std::vector<std::uint32_t> vIndices;
};

IndexedMesh indexed(const RMesh& mesh)
{
    std::vector<Point3*> vCorners;
    mesh.getCornerVtx(vCorners);
    std::vector<std::uint32_t> vIndexOfNumber(mesh.getNumVtx(), NO_INDEX);
    IndexedMesh result;
    result.vOrderedPoints.reserve(mesh.getNumVtx());
    result.vIndices.reserve(vCorners.size());
    for (const Point3* pVtx : vCorners) {
        std::uint32_t& index = vIndexOfNumber[numberOf(pVtx)];
        if (index == NO_INDEX) {
            index = std::uint32_t(result.vOrderedPoints.size());
            result.vOrderedPoints.push_back(pVtx);
        }
        result.vIndices.push_back(index);
    }
    return result;
}

IndexedMesh indexed(const CMesh& mesh, const std::map<u64, Bundle*>& mCCDBundle)
{
    std::vector<CTriangle*> vCT;
    mesh.getAliveT(vCT);
    TESK_TOOLS::FlatMap<u64, std::uint32_t, TESK_TOOLS::U64Hash> mCCDIndex;
    IndexedMesh result;
    result.vIndices.reserve(3 * vCT.size());
    for (const CTriangle* pCT : vCT) {
        for (u64 ccd : {pCT->getC0(), pCT->getC1(), pCT->getC2()}) {
            const auto [pIndex, bNew] =
                mCCDIndex.tryEmplace(ccd, std::uint32_t(result.vOrderedPoints.size()));
            if (bNew) {
                const auto q_it = mCCDBundle.find(ccd);
                zanAssertText(q_it != mCCDBundle.end(), "q_it!=mCCDBundle.end()");
                result.vOrderedPoints.push_back(q_it->second->pVtx);
            }
            result.vIndices.push_back(*pIndex);
        }
    }
    return result;
}

template <class T>
std::vector<T> coordinatesOf(const IndexedMesh& mesh)
{
    std::vector<T> vCoords(3 * mesh.vOrderedPoints.size());
    T* p = vCoords.data();
    for (const Point3* pPoint : mesh.vOrderedPoints) {
        *p++ = T(pPoint->x());
        *p++ = T(pPoint->y());
        *p++ = T(pPoint->z());
    }
    return vCoords;
}

std::vector<unsigned char> colorsOf(const IndexedMesh& mesh)
{
    std::vector<unsigned char> vColors(4 * mesh.vOrderedPoints.size());
    unsigned char* p = vColors.data();
    for (const Point3* pPoint : mesh.vOrderedPoints) {
        pPoint->getColor_255(p[0], p[1], p[2], p[3]);
        p += 4;
    }
    return vColors;
}

// Throws std::runtime_error if the file can't be opened or does not take all of it. vCoords: three for each
// vertex.
template <class T>
void writePlyFile(const IndexedMesh& mesh, const std::vector<T>& vCoords, bool bColors,
                  const std::string& name, bool bAscii, int textPrecision)
{
    const std::vector<unsigned char> vColors = bColors ? colorsOf(mesh) : std::vector<unsigned char>();
    std::ofstream out(name, bAscii ? std::ios::out : std::ios::out | std::ios::binary);
    if (out) {
        PLY::PlyFile file;
        file.addProperties("vertex", {"x", "y", "z"},
                           sizeof(T) == 4 ? PLY::Type::FLOAT32 : PLY::Type::FLOAT64,
                           mesh.vOrderedPoints.size(), vCoords.data(), PLY::Type::INVALID, 0);
        if (bColors)
            file.addProperties("vertex", {"red", "green", "blue", "alpha"}, PLY::Type::UINT8,
                               mesh.vOrderedPoints.size(), vColors.data(), PLY::Type::INVALID, 0);
        file.addProperties("face", {"vertex_indices"}, PLY::Type::UINT32, mesh.vIndices.size() / 3,
                           mesh.vIndices.data(), PLY::Type::UINT8, 3);
        file.write(out, !bAscii, textPrecision);
        out.close(); // reports what the system could not store until now
    }
    if (!out)
        throw std::runtime_error("failed to write " + name);
}

// Runs a PLY writer; any exception becomes the error report and false.
template <class F>
bool guarded(const std::string& name, F write)
{
    try {
        write();
        return true;
    } catch (...) {
        ZAN_ERROR("Failed, filename=" + name);
        return false;
    }
}

void writeTriple(BlockWriter& writer, std::string_view start, double x, double y, double z, int precision)
{
    writer.text(start);
    writer.number(x, precision);
    writer.text(" ");
    writer.number(y, precision);
    writer.text(" ");
    writer.number(z, precision);
    writer.text("\n");
}

void writeFacet(BlockWriter& writer, const Point3* const corners[3], int precision)
{
    bool bOK = false; // a triangle without normal has the zero vector, which is what the file gets
    const Vector3 nnv = getNormalVector(corners[0], corners[1], corners[2], bOK);
    writeTriple(writer, "facet normal ", nnv.x(), nnv.y(), nnv.z(), STL_PRECISION);
    writer.text(" outer loop\n");
    for (int i = 0; i < 3; ++i)
        writeTriple(writer, "  vertex ", corners[i]->x(), corners[i]->y(), corners[i]->z(), precision);
    writer.text(" endloop\nendfacet\n");
}

bool closeWritten(std::ofstream& out, const std::string& name)
{
    out.close(); // reports what the system could not store until now
    if (!out)
        ZAN_ERROR("Failed to write " + name);
    return bool(out);
}

bool writeStlFile(const IndexedMesh& mesh, const std::string& name, int precision = STL_PRECISION)
{
    std::ofstream out(name);
    if (!out) {
        ZAN_ERROR("Failed to open " + name);
        return false;
    }
    BlockWriter writer(out);
    writer.text("solid - ZAN\n");
    for (size_t i = 0; i + 3 <= mesh.vIndices.size(); i += 3) {
        const Point3* corners[3];
        for (size_t k = 0; k < 3; ++k)
            corners[k] = mesh.vOrderedPoints[mesh.vIndices[i + k]];
        writeFacet(writer, corners, precision);
    }
    writer.text("endsolid - ZAN\n");
    writer.flush();
    return closeWritten(out, name);
}

bool fitsFloats(const IndexedMesh& mesh, double tolerance)
{
    const auto fits = [tolerance](double value) {
        return std::fabs(double(float(value)) - value) <= tolerance;
    };
    return std::all_of(mesh.vOrderedPoints.begin(), mesh.vOrderedPoints.end(),
                       [&](const Point3* p) { return fits(p->x()) && fits(p->y()) && fits(p->z()); });
}

// The coordinates as floats. What rounds to one place stays apart by the smallest steps: sheets that were
// parted by copies of their vertices would else be one again for whoever joins by position.
std::vector<float> distinctFloats(const IndexedMesh& mesh)
{
    std::vector<float> vCoords = coordinatesOf<float>(mesh);
    TESK_TOOLS::FlatMap<Point3, char, Point3Hash> mTaken;
    mTaken.reserve(mesh.vOrderedPoints.size());
    for (size_t i = 0; i < vCoords.size(); i += 3) {
        float* const p = &vCoords[i];
        for (int step = 0; step < MAX_FLOAT_STEPS; ++step) {
            if (mTaken.tryEmplace(Point3(double(p[0]), double(p[1]), double(p[2])), 0).second)
                break;
            p[0] = std::nextafter(p[0], std::numeric_limits<float>::max());
        }
    }
    return vCoords;
}

// The facet whose indices begin at pIndices.
void writeBinaryFacet(BlockWriter& writer, const IndexedMesh& mesh, const std::vector<float>& vCoords,
                      const std::uint32_t* pIndices)
{
    constexpr size_t RECORD_SIZE = 50;
    const auto corner = [&](int i) { return mesh.vOrderedPoints[pIndices[i]]; };
    bool bOK = false;
    const Vector3 nnv = getNormalVector(corner(0), corner(1), corner(2), bOK);
    float values[12] = {float(nnv.x()), float(nnv.y()), float(nnv.z())};
    for (int i = 0; i < 3; ++i)
        std::memcpy(values + 3 + 3 * i, &vCoords[3 * size_t(pIndices[i])], 3 * sizeof(float));
    char* p = writer.room(RECORD_SIZE);
    std::memcpy(p, values, sizeof(values));
    std::memset(p + sizeof(values), 0, RECORD_SIZE - sizeof(values)); // the attribute
    writer.advanceTo(p + RECORD_SIZE);
}

void writeObjVertex(BlockWriter& writer, const Point3& p, bool bColors)
{
    constexpr int COORDINATE_PRECISION = 17, COLOR_PRECISION = 9; // of a float, so that bytes come back
    writer.text("v");
    for (const double value : {p.x(), p.y(), p.z()}) {
        writer.text(" ");
        writer.number(value, COORDINATE_PRECISION);
    }
    if (bColors) {
        float rgba[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        if (p.hasColor())
            p.getColor_1(rgba[0], rgba[1], rgba[2], rgba[3]);
        for (int i = 0; i < 3; ++i) {
            writer.text(" ");
            writer.number(double(rgba[i]), COLOR_PRECISION);
        }
    }
    writer.text("\n");
}

} // namespace

namespace PLY
{

bool writePly(RMesh* pRMesh, const std::string& name, bool bAscii)
{
    return guarded(name, [&] {
        const IndexedMesh data = indexed(*pRMesh);
        writePlyFile(data, coordinatesOf<float>(data), true, name, bAscii, PLY_PRECISION);
    });
}

bool writePly(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name, bool bAscii)
{
    return guarded(name, [&] {
        const IndexedMesh data = indexed(*pCMesh, mCCDBundle);
        writePlyFile(data, coordinatesOf<float>(data), false, name, bAscii, PLY_PRECISION);
    });
}

} // namespace PLY

bool writeSTL(RMesh* pRMesh, const std::string& name)
{
    return writeStlFile(indexed(*pRMesh), name);
}

bool writeSTL(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name)
{
    return writeStlFile(indexed(*pCMesh, mCCDBundle), name);
}

bool writePlyFitting(const RMesh& mesh, const std::string& name, bool bAscii)
{
    return guarded(name, [&] {
        const IndexedMesh data = indexed(mesh);
        const bool bColors = mesh.hasColor();
        if (fitsFloats(data, FLOAT_TOLERANCE_CELLS * mesh.getCellSize()))
            writePlyFile(data, distinctFloats(data), bColors, name, bAscii,
                         std::numeric_limits<float>::max_digits10);
        else
            writePlyFile(data, coordinatesOf<double>(data), bColors, name, bAscii,
                         std::numeric_limits<double>::max_digits10);
    });
}

bool writeSTLBinary(const RMesh& mesh, const std::string& name)
{
    static_assert(std::endian::native == std::endian::little, "the numbers of the file are little-endian");
    constexpr size_t HEADER_SIZE = 80;
    const IndexedMesh data = indexed(mesh);
    const size_t numT = data.vIndices.size() / 3;
    if (numT > std::numeric_limits<std::uint32_t>::max()) {
        ZAN_ERROR("Too many triangles for a binary STL: " + name);
        return false;
    }
    std::ofstream out(name, std::ios::binary);
    BlockWriter writer(out);
    const auto num = static_cast<std::uint32_t>(numT);
    char* p = writer.room(HEADER_SIZE + sizeof(num));
    std::memset(p, 0, HEADER_SIZE);
    std::memcpy(p, "binary STL - ZAN", 16); // does not begin as a text one
    std::memcpy(p + HEADER_SIZE, &num, sizeof(num));
    writer.advanceTo(p + HEADER_SIZE + sizeof(num));
    const std::vector<float> vCoords = distinctFloats(data);
    for (size_t i = 0; i < numT; ++i)
        writeBinaryFacet(writer, data, vCoords, &data.vIndices[3 * i]);
    writer.flush();
    return closeWritten(out, name);
}

bool writeSTLExact(const RMesh& mesh, const std::string& name)
{
    return writeStlFile(indexed(mesh), name, std::numeric_limits<double>::max_digits10);
}

bool writeObj(const RMesh& mesh, const std::string& name)
{
    const IndexedMesh data = indexed(mesh);
    std::ofstream out(name);
    BlockWriter writer(out);
    const bool bColors = mesh.hasColor();
    for (const Point3* pPoint : data.vOrderedPoints)
        writeObjVertex(writer, *pPoint, bColors);
    for (size_t i = 0; i + 3 <= data.vIndices.size(); i += 3) {
        writer.text("f");
        for (size_t k = i; k < i + 3; ++k)
            writer.text(" " + std::to_string(std::uint64_t(data.vIndices[k]) + 1));
        writer.text("\n");
    }
    writer.flush();
    return closeWritten(out, name);
}

} // namespace TESK_ZAN
