#include "inputs.h"

#include "RMesh.h"
#include "helpers/meshChecks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <numbers>
#include <sstream>

using TESK_ZAN::Point3;

namespace zan_fuzz
{

namespace
{

constexpr int MAX_POINTS = 100;
constexpr int MAX_SOUP_VERTICES = 40;
constexpr int MAX_SOUP_TRIANGLES = 60;
constexpr int MAX_EDITS = 40;
constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double STRANGE[] = {std::numeric_limits<double>::quiet_NaN(),  INF,    -INF, 1e308, -1e308,
                              std::numeric_limits<double>::denorm_min(), 1e-300, -0.0};

// Golden spiral on the unit sphere, from the top down to the height bottom.
void addSphere(int num, double bottom, Points& vPoints)
{
    for (int i = 0; i < num; ++i) {
        const double z = 1.0 - (1.0 - bottom) * (i + 0.5) / num;
        const double angle = i * std::numbers::pi * (3.0 - std::sqrt(5.0));
        const double ring = std::sqrt(std::max(0.0, 1.0 - z * z));
        vPoints.emplace_back(ring * std::cos(angle), ring * std::sin(angle), z);
    }
}

// Rows of ten points at height z.
void addSheet(int num, double z, double slope, Points& vPoints)
{
    constexpr int ROW = 10;
    for (int i = 0; i < num; ++i) {
        const double x = i % ROW * 0.2 - 1.0;
        vPoints.emplace_back(x, i / ROW * 0.2 - 1.0, z + slope * x);
    }
}

void addTube(int num, double slenderness, Points& vPoints)
{
    constexpr int RING = 9;
    for (int i = 0; i < num; ++i) {
        const double angle = i * 2.0 * std::numbers::pi / RING;
        vPoints.emplace_back(0.3 * std::cos(angle), 0.3 * std::sin(angle), i * slenderness / RING - 1.0);
    }
}

void addExplicit(ByteSource& source, int num, int divisor, Points& vPoints)
{
    for (int i = 0; i < num; ++i) {
        const double x = source.signedByte();
        const double y = source.signedByte();
        vPoints.emplace_back(x / divisor, y / divisor, double(source.signedByte()) / divisor);
    }
}

void addNoise(double amplitude, std::uint32_t state, Points& vPoints)
{
    const auto next = [&] {
        state = state * 1664525u + 1013904223u;
        return amplitude * (double(state >> 8) / double(1u << 23) - 1.0);
    };
    for (Point3& p : vPoints) {
        const double x = p.x() + next();
        const double y = p.y() + next();
        p.set(x, y, p.z() + next());
    }
}

void colourAll(int pattern, Points& vPoints)
{
    for (std::size_t i = 0; i < vPoints.size(); ++i)
        if (pattern > 0 && (pattern == 1 || i % std::size_t(pattern) == 0))
            vPoints[i].setColor(static_cast<unsigned char>(37 * i), static_cast<unsigned char>(i),
                                i % 2 == 0 ? 255 : 0, 255);
}

void scaleAndShift(ByteSource& source, Points& vPoints)
{
    // Hardly ever far away: a spacing below the resolution of the numbers makes all runs alike.
    constexpr std::array SHIFTS{0.0, 0.0, 0.0, 0.5, -3.0, 1e3, 1e6, 1e12};
    constexpr std::array STRETCHES{1.0, 1.0, 1.0, 0.1, 1e-3, 0.0, 10.0, 1e-9};
    const double scale = std::pow(10.0, source.below(25) - 12);
    const double shift = source.oneOf(SHIFTS);
    const double stretch = source.oneOf(STRETCHES);
    for (Point3& p : vPoints)
        p.set((p.x() + shift) * scale, (p.y() - 2.0 * shift) * scale, (p.z() * stretch + shift) * scale);
}

// Single coordinates, colours and copies, as long as there are bytes.
void edit(ByteSource& source, Points& vPoints)
{
    for (int i = 0; i < MAX_EDITS && !source.empty() && !vPoints.empty(); ++i) {
        const int what = source.below(6);
        Point3& p = vPoints[std::size_t(source.byte()) % vPoints.size()];
        const std::uint8_t value = source.byte();
        const Point3& other = vPoints[value % vPoints.size()];
        switch (what) {
        case 0:
            p.set(other);
            break;
        case 1:
            p.set(p.x() + (other.x() - p.x()) / 2.0, p.y() + (other.y() - p.y()) / 2.0,
                  p.z() + (other.z() - p.z()) / 2.0);
            break;
        case 2:
            p.set(std::nextafter(other.x(), INF), other.y(), other.z());
            break;
        case 3:
            p.setColor(value, source.byte(), 7, value);
            break;
        case 4:
            p.set(other.x(), p.y(), p.z());
            break;
        default:
            // The huge ones are finite and leave nothing else to see, so they are rare.
            p.set(p.x(), STRANGE[value < 250 ? value % 3 : 3 + value % 5], p.z());
        }
    }
}

// The greatest side of the box of the finite points.
double extentOf(const Points& vPoints)
{
    double low[3] = {INF, INF, INF};
    double high[3] = {-INF, -INF, -INF};
    for (const Point3& p : vPoints) {
        if (!p.isFinite())
            continue;
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], c[axis]);
            high[axis] = std::max(high[axis], c[axis]);
        }
    }
    return low[0] > high[0] ? 0.0 : std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
}

void addQuad(const Point3& p0, const Point3& p1, const Point3& p2, const Point3& p3, Points& vCorners)
{
    vCorners.insert(vCorners.end(), {p0, p1, p2, p0, p2, p3});
}

void addBox(double size, Points& vCorners)
{
    const auto at = [&](int i) {
        return Point3(i & 1 ? size : -size, i & 2 ? size : -size, i & 4 ? size : -size);
    };
    constexpr int FACES[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& f : FACES)
        addQuad(at(f[0]), at(f[1]), at(f[2]), at(f[3]), vCorners);
}

// A bumpy height field of 5 by 5 squares, of which some are missing.
void addField(ByteSource& source, Points& vCorners)
{
    constexpr int SIDE = 5;
    std::array<double, (SIDE + 1) * (SIDE + 1)> heights;
    for (double& h : heights)
        h = source.signedByte() / 512.0;
    const auto at = [&](int x, int y) {
        return Point3(x * 0.4 - 1.0, y * 0.4 - 1.0, heights[std::size_t(y * (SIDE + 1) + x)]);
    };
    for (int y = 0; y < SIDE; ++y) {
        const int missing = source.byte();
        for (int x = 0; x < SIDE; ++x)
            if ((missing >> x & 1) == 0)
                addQuad(at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y + 1), vCorners);
    }
}

// Vertices on a coarse lattice, so that triangles are coplanar, degenerate and twins more often than not.
void addTriangles(ByteSource& source, int divisor, Points& vCorners)
{
    Points vVertices;
    addExplicit(source, 3 + source.below(MAX_SOUP_VERTICES - 3), 1, vVertices);
    for (Point3& p : vVertices)
        p.set(std::round(p.x() / divisor) / 8.0, std::round(p.y() / divisor) / 8.0,
              std::round(p.z() / divisor) / 8.0);
    const int num = 1 + source.below(MAX_SOUP_TRIANGLES);
    for (int i = 0; i < 3 * num; ++i)
        vCorners.push_back(vVertices[std::size_t(source.byte()) % vVertices.size()]);
}

} // namespace

Points decodeCloud(ByteSource& source)
{
    Points vPoints;
    const int shape = source.below(8);
    const int num = 1 + source.below(MAX_POINTS);
    const int noise = source.byte();
    const int colours = source.below(5);
    switch (shape) {
    case 0:
        addSphere(num, -1.0, vPoints);
        break;
    case 1:
        addSphere(num, 0.2, vPoints);
        break;
    case 2:
        addSheet(num, 0.0, 0.3, vPoints);
        break;
    case 3:
        addSheet(num / 2, 0.0, 0.0, vPoints);
        addSheet(num / 2, 0.15, noise / 256.0, vPoints);
        break;
    case 4:
        addTube(num, 0.2, vPoints);
        break;
    case 5:
        addTube(num / 2, 0.15, vPoints);
        addSphere(num / 2, -0.5, vPoints);
        break;
    case 6:
        addExplicit(source, num, 4, vPoints);
        break;
    default:
        addExplicit(source, num % 40 + 1, 32, vPoints);
    }
    if (noise % 4 != 0)
        addNoise(noise / 1024.0, std::uint32_t(noise), vPoints);
    colourAll(colours, vPoints);
    scaleAndShift(source, vPoints);
    edit(source, vPoints);
    return vPoints;
}

Points decodeSoup(ByteSource& source)
{
    Points vCorners;
    const int shape = source.below(5);
    const int kind = source.byte();
    switch (shape) {
    case 0:
        addBox(1.0, vCorners);
        break;
    case 1:
        addBox(1.0, vCorners);
        addBox(0.3 + kind / 256.0, vCorners);
        break;
    case 2:
        addField(source, vCorners);
        break;
    case 3:
        addTriangles(source, 64, vCorners);
        break;
    default:
        addTriangles(source, 8, vCorners);
    }
    colourAll(kind % 5, vCorners);
    scaleAndShift(source, vCorners);
    edit(source, vCorners);
    if (kind == 255 && !vCorners.empty())
        vCorners.pop_back();
    return vCorners;
}

double decodeSpacing(ByteSource& source, const Points& vPoints, int finest)
{
    constexpr std::array NONSENSE{0.0, -1.0, INF, STRANGE[0], 1e-300, 1e300, STRANGE[5], -INF};
    const int choice = source.byte();
    const double part = source.fraction();
    if (choice >= 248)
        return NONSENSE[std::size_t(choice - 248)];
    return extentOf(vPoints) / (1.0 + choice % finest + part);
}

double decodeAngle(ByteSource& source)
{
    constexpr std::array ANGLES{30.0, 10.0, 0.0, 90.0, 180.0, 361.0, -5.0, STRANGE[0]};
    return source.oneOf(ANGLES);
}

int decodeFillSize(ByteSource& source)
{
    constexpr std::array SIZES{0, 1, 2, 3, 5, 8, -1, std::numeric_limits<int>::min()};
    return source.oneOf(SIZES);
}

bool checkMesh(const TESK_ZAN::Mesh& mesh)
{
    std::ostringstream complaints;
    TESK_ZAN::setMessageStream(&complaints);
    const bool bConsistent = mesh.getRMesh()->checkDataStructures("fuzz");
    TESK_ZAN::setMessageStream(nullptr);
    if (!bConsistent)
        std::fputs(complaints.str().c_str(), stderr);
    require(bConsistent, "the invariants of the mesh");
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    mesh.getVertexIndexData(vVertices, vIndices);
    require(vIndices.size() == 3 * mesh.getNumT(), "three indices a triangle");
    const zan_test::MeshReport report = zan_test::checkMesh(zan_test::indexedMesh(vVertices, vIndices));
    require(report.numOutOfRange == 0, "indices name vertices");
    require(report.numDegenerate == 0, "the corners of a triangle differ");
    require(report.numDuplicates == 0, "no triangle comes twice");
    return report.isManifold();
}

void checkResult(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh)
{
    if (pMesh == nullptr)
        return;
    require(checkMesh(*pMesh), "the mesh is a manifold");
    require(allFinite(cornersOf(pMesh)), "the vertices are finite");
}

bool allFinite(const Points& vPoints)
{
    return std::all_of(vPoints.begin(), vPoints.end(), [](const Point3& p) { return p.isFinite(); });
}

Points cornersOf(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh)
{
    Points vCorners;
    if (pMesh != nullptr)
        pMesh->getRMesh()->getCornerPoints(vCorners);
    return vCorners;
}

bool sameBytes(const Points& v0, const Points& v1)
{
    return std::equal(v0.begin(), v0.end(), v1.begin(), v1.end(), [](const Point3& p, const Point3& q) {
        const double a[3] = {p.x(), p.y(), p.z()};
        const double b[3] = {q.x(), q.y(), q.z()};
        return std::memcmp(a, b, sizeof(a)) == 0 && p.hasColor() == q.hasColor() &&
               p.getColorString() == q.getColorString();
    });
}

} // namespace zan_fuzz
