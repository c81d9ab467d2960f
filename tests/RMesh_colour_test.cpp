#include "RMesh.h"

#include "Mesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

using namespace TESK_ZAN;
using zan_test::IndexedMesh;
using zan_test::RealMesh;

namespace
{

constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INF = std::numeric_limits<double>::infinity();

using Color = std::array<int, 4>;

Color colorOf(const Point3* pVtx)
{
    unsigned char r = 0, g = 0, b = 0, a = 0;
    pVtx->getColor_255(r, g, b, a);
    return {r, g, b, a};
}

void paint(Point3* pVtx, int r, int g, int b, int a = 255)
{
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    pVtx->setColor(byte(r), byte(g), byte(b), byte(a));
}

// Rings of six vertices about vertex 0, numRings of them: ring r (from 1) has the vertices 6 r - 5 to 6 r.
IndexedMesh rings(int numRings)
{
    IndexedMesh mesh;
    mesh.vPoints.emplace_back(0, 0, 0);
    for (int ring = 1; ring <= numRings; ++ring)
        for (int i = 0; i < 6; ++i)
            mesh.vPoints.emplace_back(ring * std::cos(i * 1.0471975512), ring * std::sin(i * 1.0471975512),
                                      0);
    const auto at = [](int ring, int i) { return 6 * ring - 5 + i % 6; };
    for (int i = 0; i < 6; ++i) {
        mesh.vTriangles.insert(mesh.vTriangles.end(), {0, at(1, i), at(1, i + 1)});
        for (int ring = 1; ring < numRings; ++ring)
            mesh.vTriangles.insert(mesh.vTriangles.end(),
                                   {at(ring, i), at(ring + 1, i), at(ring + 1, i + 1), at(ring, i),
                                    at(ring + 1, i + 1), at(ring, i + 1)});
    }
    return mesh;
}

// A strip with the given greys; -1 for a vertex without colour. The number must be even and at least 4.
RealMesh greyStrip(const std::vector<int>& vGreys)
{
    RealMesh mesh(zan_test::strip(int(vGreys.size()) / 2 - 1));
    for (size_t i = 0; i < vGreys.size(); ++i)
        if (vGreys[i] >= 0)
            paint(mesh.vtx(int(i)), vGreys[i], vGreys[i], vGreys[i], int(i % 256));
    return mesh;
}

std::vector<int> greysOf(const RealMesh& mesh)
{
    std::vector<int> vGreys;
    for (const Point3* pVtx : mesh.vVtx)
        vGreys.push_back(pVtx->hasColor() ? colorOf(pVtx)[0] : -1);
    return vGreys;
}

std::vector<int> allGreys()
{
    std::vector<int> vGreys;
    for (int i = 0; i < 256; ++i)
        vGreys.push_back(i);
    return vGreys;
}

} // namespace

// ---- Filled holes ----

TEST(RMeshColour, HoleFillsInWavesEachFromTheWaveBefore)
{
    RealMesh mesh(rings(4)); // the outermost ring has colour
    for (int i = 0; i < 6; ++i)
        paint(mesh.vtx(19 + i), 10 * i, 0, 255 - i, 100);
    mesh->colorizeFilledHoles();
    // A vertex of ring 3 has two neighbours outside: i and i + 1 of ring 4.
    for (int i = 0; i < 6; ++i) {
        const Color c0 = colorOf(mesh.vtx(19 + i)), c1 = colorOf(mesh.vtx(19 + (i + 1) % 6));
        Color expected{};
        for (size_t k = 0; k < 4; ++k)
            expected[k] = (c0[k] + c1[k] + 1) / 2;
        EXPECT_EQ(colorOf(mesh.vtx(13 + i)), expected) << i;
    }
    Color sum{};
    for (int i = 0; i < 6; ++i)
        for (size_t k = 0; k < 4; ++k)
            sum[k] += colorOf(mesh.vtx(1 + i))[k];
    for (size_t k = 0; k < 4; ++k)
        EXPECT_EQ(colorOf(mesh.vtx(0))[k], int(sum[k] / 6.0 + 0.5));
}

TEST(RMeshColour, ComponentWithoutColourStaysColourlessAndColoursThatAreThereStay)
{
    IndexedMesh indexed = zan_test::tetrahedron();
    for (int i = 0; i < 4; ++i) {
        const Point3 p = indexed.vPoints[size_t(i)];
        indexed.vPoints.emplace_back(p.x() + 5, p.y(), p.z());
    }
    for (size_t i = 0; i < 12; ++i)
        indexed.vTriangles.push_back(indexed.vTriangles[i] + 4);
    RealMesh mesh(indexed);
    mesh->colorizeFilledHoles();
    for (const Point3* pVtx : mesh.vVtx)
        EXPECT_FALSE(pVtx->hasColor()) << "colour from nowhere";

    paint(mesh.vtx(0), 1, 2, 3, 4);
    paint(mesh.vtx(1), 7, 7, 7, 7);
    mesh->colorizeFilledHoles();
    EXPECT_EQ(colorOf(mesh.vtx(0)), (Color{1, 2, 3, 4}));
    EXPECT_EQ(colorOf(mesh.vtx(2)), (Color{4, 5, 5, 6})); // 4.0, 4.5, 5.0, 5.5 rounded half up
    for (int i = 4; i < 8; ++i)
        EXPECT_FALSE(mesh.vtx(i)->hasColor()) << i;
}

TEST(RMeshColour, MeanOfWhiteNeighboursDoesNotOverflow)
{
    RealMesh mesh(rings(1));
    for (int i = 1; i < 7; ++i)
        paint(mesh.vtx(i), 255, 255, 255, 255);
    mesh->colorizeFilledHoles();
    EXPECT_EQ(colorOf(mesh.vtx(0)), (Color{255, 255, 255, 255}));
}

// ---- Contrast ----

TEST(RMeshColour, ContrastCutsTheGivenPartAtBothEnds)
{
    RealMesh mesh = greyStrip(allGreys());
    mesh->contrastSpread(0.01, 0.01); // from 1 to 254
    const std::vector<int> vGreys = greysOf(mesh);
    for (int v = 0; v < 256; ++v)
        EXPECT_EQ(vGreys[size_t(v)], int(std::clamp((v - 1) * 255.0 / 253 + 0.5, 0.0, 255.0))) << v;
    EXPECT_EQ(colorOf(mesh.vtx(7))[3], 7) << "alpha stays";

    RealMesh uncut = greyStrip(allGreys());
    uncut->contrastSpread(0, 0);
    EXPECT_EQ(greysOf(uncut), allGreys());

    RealMesh uneven = greyStrip(allGreys());
    uneven->contrastSpread(0.25, 0.1); // from 62 to 231
    long sum = 0;
    for (int v = 0; v < 256; ++v)
        sum += (v + 1) * greysOf(uneven)[size_t(v)];
    EXPECT_EQ(sum, 5310762);
}

TEST(RMeshColour, FractionsCountAgainstAllVerticesColouredOrNot)
{
    RealMesh mesh(zan_test::strip(99));
    for (int i = 0; i < 100; ++i)
        paint(mesh.vtx(i), i < 90 ? 50 : 200, i < 90 ? 60 : 180, i < 90 ? 70 : 160);
    mesh->contrastSpread(0.2, 0.05); // from 59 to 161
    EXPECT_EQ(colorOf(mesh.vtx(0)), (Color{0, 3, 28, 255}));
    EXPECT_EQ(colorOf(mesh.vtx(95)), (Color{255, 255, 253, 255}));
    EXPECT_FALSE(mesh.vtx(150)->hasColor());
}

TEST(RMeshColour, NarrowRangeIsSpreadFromItsOwnEnds)
{
    std::vector<int> vGreys;
    for (int i = 0; i < 220; ++i)
        vGreys.push_back(100 + i % 11);
    RealMesh mesh = greyStrip(vGreys);
    mesh->contrastSpread(0.01, 0.01);
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(greysOf(mesh)[size_t(i)], int(i * 25.5 + 0.5));
}

TEST(RMeshColour, FractionsOrColoursThatGiveNoRangeChangeNothing)
{
    for (const auto& [low, high] : std::vector<std::pair<double, double>>{
             {0.9, 0.9}, {NO_NUMBER, 0}, {0, NO_NUMBER}, {INF, INF}, {0.5, 0.6}, {1e300, 0.01}}) {
        RealMesh mesh = greyStrip(allGreys());
        mesh->contrastSpread(low, high);
        EXPECT_EQ(greysOf(mesh), allGreys()) << low << ' ' << high;
    }
    for (const std::vector<int>& vGreys : {std::vector<int>(8, 128), std::vector<int>(8, -1)}) {
        RealMesh mesh = greyStrip(vGreys);
        mesh->contrastSpread(0.01, 0.01);
        EXPECT_EQ(greysOf(mesh), vGreys);
    }
    RealMesh mesh = greyStrip(allGreys());
    mesh->contrastSpread(-1, -INF); // nothing less than nothing is cut
    EXPECT_EQ(greysOf(mesh), allGreys());
    RMesh(1.0).contrastSpread(0.1, 0.1);
}

TEST(RMeshColour, MeshHandleForwardsBothPasses)
{
    RealMesh real = greyStrip({0, 50, -1, 100});
    const std::vector<Point3*> vVtx = real.vVtx;
    Mesh mesh(real.pMesh.release());
    mesh.colorizeFilledHoles();
    EXPECT_TRUE(vVtx[2]->hasColor());
    mesh.contrastSpread(0, 0);
    EXPECT_EQ(colorOf(vVtx[3])[0], 100) << "nothing is cut, so the range is all of it";
}
