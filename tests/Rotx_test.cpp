#include "Rotx.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;
using ::testing::ElementsAre;

namespace
{

using Cell = std::array<int, 3>;

u64 rcdOf(const Cell& cell)
{
    return xyzToRCD(u64(cell[0]), u64(cell[1]), u64(cell[2]));
}

std::vector<Cell> cellsBetween(int lowest, int highest)
{
    std::vector<Cell> vCells;
    for (int x = lowest; x <= highest; ++x)
        for (int y = lowest; y <= highest; ++y)
            for (int z = lowest; z <= highest; ++z)
                vCells.push_back({x, y, z});
    return vCells;
}

// The three cells have a lattice corner in common.
bool touch(const Cell& a, const Cell& b, const Cell& c)
{
    for (size_t axis = 0; axis < 3; ++axis) {
        const auto [lo, hi] = std::minmax({a[axis], b[axis], c[axis]});
        if (hi - lo > 1)
            return false;
    }
    return true;
}

Vector3 toVector(const Cell& from, const Cell& to)
{
    return Vector3(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
}

// Degrees from the direction of first, counterclockwise about the pair; whole tenths, never 3600.
int tenthsAround(const Cell& a, const Cell& b, const Cell& first, const Cell& third)
{
    const Vector3 axis = toVector(a, b);
    const Vector3 n0 = crossProd(axis, toVector(a, first)), n1 = crossProd(axis, toVector(a, third));
    const double degrees =
        std::atan2(crossProd(n0, n1) * axis / axis.length(), n0 * n1) * 180.0 / 3.14159265358979;
    return (int(std::lround(degrees * 10)) + 3600) % 3600;
}

// The mesh on some cells, a triangle for each triple of places in the list.
struct StarMesh {
    StarMesh(const std::vector<Cell>& vCells, const std::vector<Cell>& vTriples)
        : cells(vCells), mesh(nullptr, &cells.calc, &cells.mCCDBundle, cells.vZeroCCD)
    {
        for (const Cell& t : vTriples)
            vCT.push_back(mesh.createT(cells.vCode[size_t(t[0])], cells.vCode[size_t(t[1])],
                                       cells.vCode[size_t(t[2])], 0, 0));
        pCE = mesh.getEdge(cells.vCode[0], cells.vCode[1]);
    }

    // The star as places in vCT.
    std::vector<int> star() const
    {
        std::vector<int> v;
        for (const CTriangle* pCT : pCE->getCTs())
            v.push_back(int(pCT->getNumber()));
        return v;
    }

    CellSet cells;
    CMesh mesh;
    std::vector<CTriangle*> vCT;
    CEdge* pCE = nullptr; // between the first two cells
};

// Cells 0 and 1 differ in z; the others lie round them to the east, north, west and south.
std::vector<Cell> cross(int x, int y, int z)
{
    return {{x, y, z}, {x, y, z + 1}, {x + 1, y, z}, {x, y + 1, z + 1}, {x - 1, y, z}, {x, y - 1, z}};
}

} // namespace

// Against exact directions: rounding must not put two cells of one direction at 0 and at 360 degrees.
TEST(Rotx, TableHoldsRanksOfDirections)
{
    CellSet cells(std::vector<Cell>{});
    CMesh mesh(nullptr, &cells.calc, true);
    const Rotx rotx(&mesh, true);
    EXPECT_EQ(rotx.getPairs().size(), 56u);
    EXPECT_EQ(rotx.getNumTriples(), 672u);
    for (const Cell& a : cellsBetween(1, 2)) {
        for (const Cell& b : cellsBetween(1, 2)) {
            if (a == b)
                continue;
            std::vector<Cell> vThirds;
            for (const Cell& c : cellsBetween(0, 3))
                if (c != a && c != b && touch(a, b, c))
                    vThirds.push_back(c);
            std::set<int> sTenths;
            for (const Cell& c : vThirds)
                sTenths.insert(tenthsAround(a, b, vThirds[0], c));
            for (const Cell& c : vThirds) {
                const auto place = sTenths.find(tenthsAround(a, b, vThirds[0], c));
                ASSERT_EQ(rotx.getIdx(rcdOf(a), rcdOf(b), rcdOf(c)), std::distance(sTenths.begin(), place));
            }
        }
    }
}

TEST(Rotx, TripleOutsideTheTableFails)
{
    CapturedMessages captured;
    CellSet cells(std::vector<Cell>{});
    CMesh mesh(nullptr, &cells.calc, true);
    const Rotx rotx(&mesh, true), empty(&mesh, false);
    const u64 a = rcdOf({1, 1, 1}), b = rcdOf({1, 1, 2});
    EXPECT_THROW(rotx.getIdx(a, b, rcdOf({3, 1, 1})), ZanBugException);
    EXPECT_THROW(rotx.getIdx(a, b, a), ZanBugException);
    EXPECT_THROW(rotx.getIdx(a, b, rcdOf({1, 1, 64})), ZanBugException); // no alias of another key
    EXPECT_THROW(empty.getIdx(a, b, rcdOf({0, 1, 1})), ZanBugException);
    EXPECT_TRUE(captured.has("q_it!=mEncoded2Index.end()"));
}

TEST(Rotx, StarTurnsAboutTheDirectionOfTheReference)
{
    // At the low end of the lattice, in the middle, and at the high end.
    for (const Cell& at : {Cell{1, 1, 0}, Cell{500, 301, 77}, Cell{1022, 1022, 1022}}) {
        // Triangle 0 runs along (0, 1), triangle 3 against it.
        StarMesh m(cross(at[0], at[1], at[2]), {{0, 1, 2}, {0, 1, 4}, {0, 1, 5}, {1, 0, 3}});
        Rotx rotx(&m.mesh, true);
        EXPECT_TRUE(rotx.sortStar(m.vCT[0], m.pCE));
        EXPECT_THAT(m.star(), ElementsAre(0, 3, 1, 2)); // east, north, west, south
        EXPECT_TRUE(rotx.sortStar(m.vCT[1], m.pCE));
        EXPECT_THAT(m.star(), ElementsAre(1, 2, 0, 3)); // from the west on
        EXPECT_TRUE(rotx.sortStar(m.vCT[3], m.pCE));
        EXPECT_THAT(m.star(), ElementsAre(3, 0, 2, 1)); // seen from the other end
    }
}

TEST(Rotx, TwoTrianglesInOneHalfPlaneGiveFalse)
{
    CapturedMessages captured;
    std::vector<Cell> vCells = cross(5, 5, 5);
    vCells.push_back({6, 5, 6}); // east like cell 2, a step higher
    StarMesh m(vCells, {{0, 1, 2}, {0, 1, 3}, {0, 1, 6}});
    Rotx rotx(&m.mesh, true);
    EXPECT_FALSE(rotx.sortStar(m.vCT[1], m.pCE));
    EXPECT_TRUE(captured.has("ROTX-BUG: "));
    EXPECT_EQ(m.pCE->getCTs()[0], m.vCT[1]);
    EXPECT_EQ(m.pCE->getDegree(), 3);
    EXPECT_TRUE(m.mesh.checkDataStructures("after"));
}

TEST(Rotx, FarThirdCellFailsInPlaceOfAWrongOrder)
{
    CapturedMessages captured;
    StarMesh m({{5, 5, 5}, {5, 5, 6}, {6, 5, 5}, {5, 9, 5}, {0, 5, 5}}, {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}});
    Rotx rotx(&m.mesh, true);
    EXPECT_THROW(rotx.sortStar(m.vCT[0], m.pCE), ZanBugException);
}
