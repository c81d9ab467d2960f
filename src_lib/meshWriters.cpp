#include "meshWriters.h"

#include "Bundle.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "RMesh.h"
#include "blockStreams.h"
#include "freeFunctions.h"
#include "messages.h"
#include "tesk_tools/FlatMap.h"
#include "tinyply.h"
#include "zanAssert.h"

#include <cstdint>
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

std::vector<float> coordinatesOf(const IndexedMesh& mesh)
{
    std::vector<float> vCoords(3 * mesh.vOrderedPoints.size());
    float* p = vCoords.data();
    for (const Point3* pPoint : mesh.vOrderedPoints) {
        *p++ = float(pPoint->x());
        *p++ = float(pPoint->y());
        *p++ = float(pPoint->z());
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

// Throws std::runtime_error if the file can't be opened or does not take all of it.
void writePlyFile(const IndexedMesh& mesh, bool bColors, const std::string& name, bool bAscii)
{
    const std::vector<float> vCoords = coordinatesOf(mesh);
    const std::vector<unsigned char> vColors = bColors ? colorsOf(mesh) : std::vector<unsigned char>();
    std::ofstream out(name, bAscii ? std::ios::out : std::ios::out | std::ios::binary);
    if (out) {
        PLY::PlyFile file;
        file.addProperties("vertex", {"x", "y", "z"}, PLY::Type::FLOAT32, mesh.vOrderedPoints.size(),
                           vCoords.data(), PLY::Type::INVALID, 0);
        if (bColors)
            file.addProperties("vertex", {"red", "green", "blue", "alpha"}, PLY::Type::UINT8,
                               mesh.vOrderedPoints.size(), vColors.data(), PLY::Type::INVALID, 0);
        file.addProperties("face", {"vertex_indices"}, PLY::Type::UINT32, mesh.vIndices.size() / 3,
                           mesh.vIndices.data(), PLY::Type::UINT8, 3);
        file.write(out, !bAscii);
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

void writeTriple(BlockWriter& writer, std::string_view start, double x, double y, double z)
{
    writer.text(start);
    writer.number(x, STL_PRECISION);
    writer.text(" ");
    writer.number(y, STL_PRECISION);
    writer.text(" ");
    writer.number(z, STL_PRECISION);
    writer.text("\n");
}

void writeFacet(BlockWriter& writer, const Point3* const corners[3])
{
    bool bOK = false; // a triangle without normal has the zero vector, which is what the file gets
    const Vector3 nnv = getNormalVector(corners[0], corners[1], corners[2], bOK);
    writeTriple(writer, "facet normal ", nnv.x(), nnv.y(), nnv.z());
    writer.text(" outer loop\n");
    for (int i = 0; i < 3; ++i)
        writeTriple(writer, "  vertex ", corners[i]->x(), corners[i]->y(), corners[i]->z());
    writer.text(" endloop\nendfacet\n");
}

bool writeStlFile(const IndexedMesh& mesh, const std::string& name)
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
        writeFacet(writer, corners);
    }
    writer.text("endsolid - ZAN\n");
    writer.flush();
    out.close();
    if (!out)
        ZAN_ERROR("Failed to write " + name);
    return bool(out);
}

} // namespace

namespace PLY
{

bool writePly(RMesh* pRMesh, const std::string& name, bool bAscii)
{
    return guarded(name, [&] { writePlyFile(indexed(*pRMesh), true, name, bAscii); });
}

bool writePly(CMesh* pCMesh, const std::map<u64, Bundle*>& mCCDBundle, const std::string& name, bool bAscii)
{
    return guarded(name, [&] { writePlyFile(indexed(*pCMesh, mCCDBundle), false, name, bAscii); });
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

} // namespace TESK_ZAN
