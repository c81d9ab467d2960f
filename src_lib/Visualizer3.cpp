#include "Visualizer3.h"

#include "Calc.h"
#include "freeFunctions.h"
#include "messages.h"
#include "numberText.h"
#include "zanAssert.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <locale>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int SCENE_PRECISION = 15;

constexpr std::array<const char*, 27> SCENE_COLORS = {
    "1 0 0 0.5",
    "0 1 0 0.5",
    "0 0.2 .85 0.5",
    "1 1 0 0.5",
    "0.1 0.1 0.1 0.5",
    "0.823 0.705 0.549 0.5",
    "0.545 0.271 0.074 0.5",
    "1 0.627 0 0.5",
    "0.627 0.125 0.941 0.5",
    ".745 .745 .745 0.5",
    ".645 .645 .645 0.5",
    "0 0.70 .9 0.5",
    "1 0.411 0.705 0.5",
    "1 1 1 0.5",
    ".86 .08 .24 0.5",
    "1 .55 0 0.5",
    ".85 .65 .13 0.5",
    ".5 .5 .0 0.5",
    "0.49\t0.99 0.00 0.5",
    "0.68 1.00 0.18 0.5",
    "0.60\t0.98 0.60 0.5",
    "0.00 0.98 0.60 0.5",
    "0.13 0.70 0.67 0.5",
    "0.00 1.00 1.00 0.5",
    "0.27 0.51 0.71 0.5",
    "0.10 0.10 0.44 0.5",
    "0.96 0.87 0.7 0.5",
};

constexpr int DARK = 4; // the colour of normals

// What the counter hands out: dark, pale and white tones (4, 8, 10, 13) are kept for other uses.
constexpr std::array<int, 23> NEXT_COLORS = {0,  1,  2,  3,  5,  6,  7,  9,  11, 12, 14, 15,
                                             16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26};

std::vector<const Point3*> pointersTo(const std::vector<Point3>& vPoints)
{
    std::vector<const Point3*> vPointers;
    vPointers.reserve(vPoints.size());
    for (const Point3& point : vPoints)
        vPointers.push_back(&point);
    return vPointers;
}

} // namespace

// ---- the file

Visualizer3::Visualizer3(const std::string& name_, const Calc* pCalc_, bool bAuthorized)
    : pCalc(pCalc_), name(name_)
{
    if (!bAuthorized)
        messageStream() << "Unauthorized write of " << name << std::endl;
    zanAssert(bAuthorized);
    zanInfo("", "Writing " + name);
    imbue(std::locale::classic());
    open(name);
    if (!is_open()) {
        zanWarning("Visualizer3::openFile()", name + " not writeable");
        return;
    }
    bOpen = true;
    *this << std::setprecision(SCENE_PRECISION) << "LIST\n{\n";
}

Visualizer3::~Visualizer3()
{
    try {
        closeScene();
    } catch (...) {
        // A scene is a diagnostic: it must not end the process while something more important unwinds.
    }
}

bool Visualizer3::closeScene()
{
    if (!bOpen)
        return false;
    bOpen = false;
    *this << "}\n";
    close();
    if (good())
        return true;
    zanWarning("Visualizer3::closeScene()", name + " could not be written completely");
    return false;
}

const char* Visualizer3::getSceneColor(int index)
{
    zanAssert(index >= 0 && index < int(SCENE_COLORS.size()));
    return SCENE_COLORS[std::size_t(index)];
}

const char* Visualizer3::nextSceneColor()
{
    static std::atomic<unsigned> counter{0};
    const std::size_t i = counter.fetch_add(1, std::memory_order_relaxed) % NEXT_COLORS.size();
    return getSceneColor(NEXT_COLORS[i]);
}

// ---- parts of objects

// One polyline per point or segment; with one colour for all, the first polyline names it and the others take
// the colour before them.
void Visualizer3::writeVectHeader(int size, std::size_t numLines, int numVerticesEach, bool bColorEach)
{
    *this << "\n{\nappearance{linewidth " << size << "}\nVECT\n";
    *this << numLines << ' ' << numLines * std::size_t(numVerticesEach) << ' ' << (bColorEach ? numLines : 1)
          << '\n';
    for (std::size_t i = 0; i < numLines; ++i)
        *this << numVerticesEach << ' ';
    *this << '\n';
    for (std::size_t i = 0; i < numLines; ++i)
        *this << (bColorEach || i == 0 ? "1 " : "0 ");
    *this << '\n';
}

void Visualizer3::writeOffHeader(bool bVertexColors, std::size_t numVertices, std::size_t numFaces)
{
    if (bEdges)
        *this << "\n{\nappearance { +edge material { backdiffuse 0 0 0 } lighting {ambient 0 0 1 } }\n";
    else
        *this << "\n{\nappearance { -edge  material  }\n";
    *this << (bVertexColors ? "COFF\n" : "OFF\n") << numVertices << ' ' << numFaces << " 0\n";
}

void Visualizer3::writeCoords(const Point3& point)
{
    char text[3 * MAX_NUMBER_CHARS + 2];
    char* p = printNumber(text, point.x(), SCENE_PRECISION);
    *p++ = ' ';
    p = printNumber(p, point.y(), SCENE_PRECISION);
    *p++ = ' ';
    p = printNumber(p, point.z(), SCENE_PRECISION);
    write(text, p - text);
}

// The text of Point3::getColorString, without a stream per vertex.
void Visualizer3::writeVertexColor(const Point3& point)
{
    constexpr int COLOR_PRECISION = 6;
    float aColor[4] = {0.0f, 0.0f, 0.0f, 0.0f}; // black: a point without colour may still hold old bytes
    if (point.hasColor())
        point.getColor_1(aColor[0], aColor[1], aColor[2], aColor[3]);
    char text[4 * MAX_NUMBER_CHARS + 4];
    char* p = text;
    for (float value : aColor) {
        p = printNumber(p, double(value), COLOR_PRECISION);
        *p++ = ' ';
    }
    write(text, p - text - 1); // without the last blank
}

// ---- points and segments

void Visualizer3::writePoints(const std::vector<Point3>& vPoints, int size, const std::string& color)
{
    writePoints(pointersTo(vPoints), size, color);
}

void Visualizer3::writePoints(const std::vector<const Point3*>& vPoints, int size, const std::string& color)
{
    if (!bOpen)
        return;
    if (vPoints.empty()) {
        ZAN_WARNING("Visualizer3::writePoints: no points");
        return;
    }
    const bool bVertexColors = color == VERTEXCOLORS;
    writeVectHeader(size, vPoints.size(), 1, bVertexColors);
    for (const Point3* p : vPoints) {
        writeCoords(*p);
        put('\n');
    }
    if (bVertexColors) {
        for (const Point3* p : vPoints) {
            writeVertexColor(*p);
            put('\n');
        }
    } else {
        *this << color << '\n';
    }
    *this << "}\n";
}

void Visualizer3::writePoint(const Point3& point, int size, const std::string& color)
{
    writePoints(std::vector<const Point3*>{&point}, size, color);
}

void Visualizer3::writeSegments(const std::vector<Segment>& vSegments, int width, const std::string& color)
{
    if (!bOpen || vSegments.empty())
        return;
    writeVectHeader(width, vSegments.size(), 2, false);
    for (const auto& [p0, p1] : vSegments) {
        writeCoords(*p0);
        put(' ');
        writeCoords(*p1);
        put('\n');
    }
    *this << color << "\n}\n";
}

void Visualizer3::writeSegment(const Point3& p0, const Point3& p1, int width, const std::string& color)
{
    writeSegments({Segment(&p0, &p1)}, width, color);
}

// ---- faces

void Visualizer3::writeTriangles(const std::vector<Triangle>& vTriangles, const std::string& color,
                                 bool bNormals)
{
    if (!bOpen || vTriangles.empty())
        return;
    const bool bVertexColors = color == VERTEXCOLORS;
    writeOffHeader(bVertexColors, 3 * vTriangles.size(), vTriangles.size());
    for (const Triangle& triangle : vTriangles) {
        for (const Point3* p : triangle) {
            writeCoords(*p);
            if (bVertexColors) {
                put(' ');
                writeVertexColor(*p);
            }
            put('\n');
        }
    }
    const std::string ending = bVertexColors ? "\n" : " " + color + "\n";
    for (std::size_t i = 0; i < 3 * vTriangles.size(); i += 3)
        *this << "3 " << i << ' ' << i + 1 << ' ' << i + 2 << ending;
    *this << "}\n";
    if (bNormals)
        writeNormals(vTriangles);
}

// About as long as the triangle is wide, so that normals can be seen at any scale; degenerate triangles have
// none.
void Visualizer3::writeNormals(const std::vector<Triangle>& vTriangles)
{
    std::vector<Point3> vEnds;
    for (const auto& [p0, p1, p2] : vTriangles) {
        bool bOK = false;
        const Vector3 nv = getNormalVector(p0, p1, p2, bOK);
        if (!bOK)
            continue;
        const Point3 centroid = getCentroid(*p0, *p1, *p2);
        vEnds.push_back(centroid);
        vEnds.push_back(centroid + nv * std::sqrt(getArea(*p0, *p1, *p2)));
    }
    std::vector<Segment> vSegments;
    for (std::size_t i = 0; i < vEnds.size(); i += 2)
        vSegments.emplace_back(&vEnds[i], &vEnds[i + 1]);
    writeSegments(vSegments, 1, getSceneColor(DARK));
}

void Visualizer3::writeTriangle(const Point3& p0, const Point3& p1, const Point3& p2,
                                const std::string& color)
{
    writeTriangles({Triangle{&p0, &p1, &p2}}, color);
}

void Visualizer3::writeFace(const std::vector<const Point3*>& vCorners, const std::string& color)
{
    if (!bOpen || vCorners.empty())
        return;
    writeOffHeader(false, vCorners.size(), 1);
    for (const Point3* p : vCorners) {
        writeCoords(*p);
        put('\n');
    }
    *this << vCorners.size();
    for (std::size_t i = 0; i < vCorners.size(); ++i)
        *this << ' ' << i;
    *this << ' ' << color << "\n}\n";
}

void Visualizer3::writeSphere(const Point3& center, double radius, const std::string& color)
{
    if (!bOpen)
        return;
    // The diffuse colour of a material has three numbers: the text without its last word.
    *this << "\n{\nappearance { +transparent material { alpha 0.5 diffuse "
          << color.substr(0, color.rfind(' ')) << " } }\nSPHERE\n"
          << radius << '\n';
    writeCoords(center);
    *this << "\n}\n";
}

// ---- grid codes

const Calc& Visualizer3::calc() const
{
    zanAssert(pCalc != nullptr);
    return *pCalc;
}

Visualizer3::Box Visualizer3::boxOf(u64 rcd) const
{
    double sizeX, sizeY, sizeZ;
    calc().getCellSizes(sizeX, sizeY, sizeZ);
    return {calc().getCellMid_RCD(rcd), 0.5 * sizeX, 0.5 * sizeY, 0.5 * sizeZ};
}

Point3 Visualizer3::cornerOf(u64 rcc) const
{
    const Box cell = boxOf(rcc); // the cell whose low corner this is
    return cell.mid - Vector3(cell.halfX, cell.halfY, cell.halfZ);
}

void Visualizer3::writePoints_VCD(const std::vector<u64>& vVCD, int size, const std::string& color)
{
    std::vector<Point3> vPoints;
    for (u64 vcd : vVCD)
        vPoints.push_back(calc().getCellMid(vcd));
    writePoints(vPoints, size, color);
}

void Visualizer3::writePointsRef_VCD(const std::vector<u64>& vVCD, int size, const std::string& color)
{
    std::vector<Point3> vPoints;
    for (u64 vcd : vVCD)
        vPoints.push_back(calc().getCellCorner(vcd));
    writePoints(vPoints, size, color);
}

void Visualizer3::writePoint_VCD(u64 vcd, int size, const std::string& color)
{
    writePoint(calc().getCellMid(vcd), size, color);
}

void Visualizer3::writePointsMid_RCD(const std::vector<u64>& vRCD, int size, const std::string& color)
{
    std::vector<Point3> vPoints;
    for (u64 rcd : vRCD)
        vPoints.push_back(calc().getCellMid_RCD(rcd));
    writePoints(vPoints, size, color);
}

void Visualizer3::writePointMid_RCD(u64 rcd, int size, const std::string& color)
{
    writePoint(calc().getCellMid_RCD(rcd), size, color);
}

void Visualizer3::writeVCorners(const std::vector<u64>& vRCC, int size, const std::string& color)
{
    std::vector<Point3> vPoints;
    for (u64 rcc : vRCC)
        vPoints.push_back(cornerOf(rcc));
    writePoints(vPoints, size, color);
}

void Visualizer3::writeBoxes(const std::vector<Box>& vBoxes, const std::string& color)
{
    // Corner i is high in x, y, z where bit 2, 1, 0 of i is set; faces turn outwards.
    static constexpr int FACES[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1},
                                        {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
    if (!bOpen || vBoxes.empty())
        return;
    writeOffHeader(false, 8 * vBoxes.size(), 6 * vBoxes.size());
    for (const Box& box : vBoxes) {
        for (int i = 0; i < 8; ++i) {
            writeCoords(box.mid + Vector3(i & 4 ? box.halfX : -box.halfX, i & 2 ? box.halfY : -box.halfY,
                                          i & 1 ? box.halfZ : -box.halfZ));
            put('\n');
        }
    }
    for (std::size_t first = 0; first < 8 * vBoxes.size(); first += 8) {
        for (const auto& face : FACES) {
            *this << '4';
            for (int corner : face)
                *this << ' ' << first + std::size_t(corner);
            *this << ' ' << color << '\n';
        }
    }
    *this << "}\n";
}

void Visualizer3::writeCbs(const std::vector<u64>& vRCD, const std::string& color)
{
    std::vector<Box> vBoxes;
    for (u64 rcd : vRCD)
        vBoxes.push_back(boxOf(rcd));
    writeBoxes(vBoxes, color);
}

void Visualizer3::writeCbs8(const u64 aRCD[8], const std::string& color)
{
    writeCbs(std::vector<u64>(aRCD, aRCD + 8), color);
}

void Visualizer3::writeRCD(u64 rcd, const std::string& color)
{
    writeBoxes({boxOf(rcd)}, color);
}

void Visualizer3::writeRCC(u64 rcc, const std::string& color)
{
    constexpr double SHRINK = 0.1; // of a cell: neighbouring corners stay apart
    const Box cell = boxOf(rcc);
    writeBoxes({Box{cornerOf(rcc), SHRINK * cell.halfX, SHRINK * cell.halfY, SHRINK * cell.halfZ}}, color);
}

} // namespace TESK_ZAN
