// The passes of a melt, on cells.
#include "Top.h"

#include "CMesh.h"
#include "SheetChoice.h"
#include "Voro.h"
#include "freeFunctions.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

using Cells = std::vector<std::array<int, 3>>;

// Cells, and the surface that a melt makes of them.
struct Melted {
    explicit Melted(const Cells& vCells)
        : cells(vCells), voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT)
    {
        voro.fatExtractTriangles();
        pMesh.reset(voro.getCMesh());
        Top(pMesh.get(), &cells.calc).runMelt(&voro);
        EXPECT_TRUE(pMesh->checkDataStructures("after the melt"));
    }

    // Codes and places of the vertices, then the corners of the triangles.
    std::vector<double> fingerprint() const
    {
        std::vector<double> v;
        for (const auto& [ccd, pBundle] : pMesh->getBundles())
            v.insert(v.end(), {double(ccd), pBundle->pVtx->x(), pBundle->pVtx->y(), pBundle->pVtx->z()});
        std::vector<CTriangle*> vCT;
        pMesh->getAliveT(vCT);
        for (const CTriangle* pCT : vCT)
            v.insert(v.end(), {double(pCT->getC0()), double(pCT->getC1()), double(pCT->getC2())});
        return v;
    }

    NamedRoot root;
    CapturedMessages messages;
    CellSet cells;
    Voro voro;
    std::unique_ptr<CMesh> pMesh;
};

// The cells of a slanted plate, tilt cells up for each cell along, and of one that stands on its middle.
Cells plates(int edge, double tilt)
{
    std::set<std::array<int, 3>> sCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y) {
            sCells.insert({100 + x, 100 + y, 100 + int(tilt * x)});
            if (y > 0)
                sCells.insert({100 + edge / 2 + int(tilt * y), 100 + x, 100 + int(tilt * edge / 2) + y});
        }
    return {sCells.begin(), sCells.end()};
}

Cells openBox(int edge)
{
    Cells vCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y)
            for (int z = 0; z < edge; ++z)
                if (x == 0 || y == 0 || z == 0 || x == edge - 1 || y == edge - 1)
                    vCells.push_back({100 + x, 100 + y, 100 + z});
    return vCells;
}

} // namespace

TEST(TopMelt, secondCompletionMeetsVerticesWithoutBundleAndGoesOn)
{
    for (const int edge : {5, 8, 12, 17, 23}) {
        for (const double tilt : {0.0, 0.3, 0.7}) {
            const Cells vCells = plates(edge, tilt);
            EXPECT_EQ(Melted(vCells).fingerprint(), Melted(vCells).fingerprint())
                << edge << " cells, tilt " << tilt;
        }
        EXPECT_EQ(Melted(openBox(edge)).fingerprint(), Melted(openBox(edge)).fingerprint())
            << edge << " cells";
    }
}

TEST(TopMelt, pointsOfTheCellsStayWhereTheyAre)
{
    const Melted melted(openBox(12));
    const CellSet untouched(openBox(12));
    EXPECT_TRUE(std::equal(untouched.vPoints.begin(), untouched.vPoints.end(), melted.cells.vPoints.begin()));
}

TEST(TopMelt, wallOnAFloorIsNoStripBetweenSheets)
{
    const int edge = 20;
    const Melted melted(plates(edge, 0.0));
    EXPECT_NEAR(double(numAlive(*melted.pMesh)), 4.0 * (edge - 1) * (edge - 1), 0.1 * edge * edge);
}

// --- separation ---

TEST(TopMelt, coincidingVerticesPartByLessThanAHundredthOfACell)
{
    CodeMesh code(tetrahedron());
    const Point3 place = *code.cells.vBundles[1].pVtx;
    for (const int i : {2, 3})
        code.cells.vBundles[size_t(i)].pVtx->set(place);
    Top(&code.mesh, &code.cells.calc).separateVertices();
    std::set<Point3> sPoints(code.cells.vPoints.begin(), code.cells.vPoints.end());
    EXPECT_EQ(4u, sPoints.size());
    EXPECT_EQ(1u, sPoints.count(place)) << "one of them stays";
    for (const int i : {1, 2, 3}) {
        const Vector3 move = code.cells.vPoints[size_t(i)] - place;
        for (const double component : {move.x(), move.y(), move.z()}) {
            EXPECT_GE(component, 0.0);
            EXPECT_LT(component, 0.01);
        }
    }
}

TEST(TopMelt, separationEndsWhereTheShiftsAreLostInTheNumbers)
{
    CodeMesh code(tetrahedron());
    const Point3 far(1e15, -3e15, 2.0); // the next double is half a cell away
    for (Point3& p : code.cells.vPoints)
        p.set(far);
    Top(&code.mesh, &code.cells.calc).separateVertices();
    EXPECT_EQ(4u, std::set<Point3>(code.cells.vPoints.begin(), code.cells.vPoints.end()).size());
}

TEST(TopMelt, vertexOfTheInputStaysAndTheOneThatTheMeshMadeMoves)
{
    CodeMesh code(tetrahedron());
    const u64 ccdMade = CellSet::ccdOf(1, 1, 1); // below all others
    code.mesh.addBundle(ccdMade, 1.5, 1.5, 1.5);
    const Point3 place = code.cells.vPoints[2];
    code.mesh.getVtx(ccdMade)->set(place);
    Top(&code.mesh, &code.cells.calc).separateVertices();
    EXPECT_TRUE(code.cells.vPoints[2] == place);
    EXPECT_FALSE(*code.mesh.getVtx(ccdMade) == place);
}

TEST(SheetChoice, whatOpenedAClosedSurfaceComesBackAndWhatEndsInItGoes)
{
    // Two tetrahedra on one face, which lies within the surface of both together; and a fin on one of their
    // edges.
    IndexedMesh pyramids{{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {1, 1, 4}, {1, 1, -4}, {6, 6, 0}},
                         {0, 1, 3, 1, 2, 3, 2, 0, 3, 1, 0, 4, 2, 1, 4, 0, 2, 4, 0, 1, 2, 1, 2, 5}};
    CodeMesh code(pyramids);
    SheetChoice choice(&code.mesh);
    code.vCT[1]->kill(&code.mesh);
    code.vCT[6]->kill(&code.mesh);
    std::vector<u64> vInputEnds; // where the surface is to end a border is none
    for (const int i : {0, 1, 2, 3})
        vInputEnds.push_back(code.at(i));
    std::sort(vInputEnds.begin(), vInputEnds.end());
    choice.settle(vInputEnds);
    EXPECT_FALSE(code.edge(1, 3)->getDegree() == 2);
    choice.settle({});
    EXPECT_TRUE(code.mesh.checkDataStructures("settled"));
    std::vector<CEdge*> vOddCE;
    code.mesh.getDegN(-5, vOddCE);
    EXPECT_TRUE(vOddCE.empty());
    EXPECT_TRUE(code.edge(1, 2)->hasTriangle(code.at(1), code.at(2), code.at(3)));
    EXPECT_FALSE(code.edge(2, 5)->getDegree() > 0);
}
