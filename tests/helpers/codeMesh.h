// Meshes on codes for tests: from a drawing of vertices and triangles, or from a set of cells.
#pragma once

#include "Bundle.h"
#include "CMesh.h"
#include "Calc.h"
#include "Progress.h"
#include "helpers/meshChecks.h"

#include <array>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace zan_test
{

// Cells of edge 1 with a bundle each, at the given points or at the centres of the given cells.
struct CellSet {
    static constexpr int LEVELS = 10;

    explicit CellSet(const std::vector<TESK_ZAN::Point3>& vPlaces)
        : calc(0, 0, 0, 1 << LEVELS, 1 << LEVELS, 1 << LEVELS, LEVELS), vPoints(vPlaces)
    {
        fillBundles();
    }

    explicit CellSet(const std::vector<std::array<int, 3>>& vCells)
        : calc(0, 0, 0, 1 << LEVELS, 1 << LEVELS, 1 << LEVELS, LEVELS)
    {
        for (const std::array<int, 3>& cell : vCells)
            vPoints.emplace_back(cell[0] + 0.5, cell[1] + 0.5, cell[2] + 0.5);
        fillBundles();
    }

    static TESK_ZAN::u64 ccdOf(int x, int y, int z)
    {
        using TESK_ZAN::u64;
        return TESK_ZAN::Calc::rcdToCCD(TESK_ZAN::xyzToRCD(u64(x), u64(y), u64(z)));
    }

    TESK_ZAN::Calc calc;
    std::vector<TESK_ZAN::Point3> vPoints;
    std::vector<TESK_ZAN::Bundle> vBundles;
    std::vector<TESK_ZAN::u64> vCode; // of each point
    std::map<TESK_ZAN::u64, TESK_ZAN::Bundle*> mCCDBundle;
    std::vector<TESK_ZAN::u64> vZeroCCD;

private:
    void fillBundles()
    {
        vBundles.resize(vPoints.size());
        for (size_t i = 0; i < vPoints.size(); ++i) {
            vCode.push_back(calc.getCCD(&vPoints[i]));
            vBundles[i] = {&vPoints[i], vCode[i]};
            mCCDBundle[vCode[i]] = &vBundles[i];
        }
    }
};

// A drawing, enlarged so that its vertices lie in cells of their own: vertex i has the code at(i), and the
// triangles have the order and orientation of the drawing.
class CodeMesh
{
public:
    explicit CodeMesh(const IndexedMesh& drawing)
        : cells(enlarged(drawing)), mesh(nullptr, &cells.calc, &cells.mCCDBundle, cells.vZeroCCD)
    {
        const auto& vT = drawing.vTriangles;
        for (size_t i = 0; i < vT.size(); i += 3)
            vCT.push_back(add(int(vT[i]), int(vT[i + 1]), int(vT[i + 2])));
    }

    TESK_ZAN::u64 at(int i) const { return cells.vCode[size_t(i)]; }
    TESK_ZAN::CTriangle* add(int a, int b, int c) { return mesh.createT(at(a), at(b), at(c), 77, 3); }
    TESK_ZAN::CEdge* edge(int a, int b) const { return mesh.getEdge(at(a), at(b)); }

    CellSet cells;
    TESK_ZAN::CMesh mesh;
    std::vector<TESK_ZAN::CTriangle*> vCT; // in the order of the drawing

private:
    static std::vector<TESK_ZAN::Point3> enlarged(const IndexedMesh& drawing)
    {
        std::vector<TESK_ZAN::Point3> vPoints;
        for (const TESK_ZAN::Point3& p : drawing.vPoints)
            vPoints.emplace_back(100.5 + 10 * p.x(), 100.5 + 10 * p.y(), 100.5 + 10 * p.z());
        return vPoints;
    }
};

// Figures of a mesh on codes that tests ask for.
inline size_t numAlive(const TESK_ZAN::CMesh& mesh)
{
    std::vector<TESK_ZAN::CTriangle*> vCT;
    mesh.getAliveT(vCT);
    return vCT.size();
}

inline size_t numEdges(const TESK_ZAN::CMesh& mesh, int deg) // deg as in CMesh::getDegN
{
    std::vector<TESK_ZAN::CEdge*> vCE;
    mesh.getDegN(deg, vCE);
    return vCE.size();
}

inline std::set<std::array<TESK_ZAN::u64, 3>> cornerSets(const TESK_ZAN::CMesh& mesh)
{
    std::vector<TESK_ZAN::CTriangle*> vCT;
    mesh.getAliveT(vCT);
    std::set<std::array<TESK_ZAN::u64, 3>> sCorners;
    for (const TESK_ZAN::CTriangle* pCT : vCT) {
        std::array<TESK_ZAN::u64, 3> corners;
        pCT->getSortedCorners(corners[0], corners[1], corners[2]);
        sCorners.insert(corners);
    }
    return sCorners;
}

inline int countMisoriented(const TESK_ZAN::CMesh& mesh)
{
    int num = 0;
    for (const TESK_ZAN::CEdge* pCE : mesh.getE())
        if (pCE->getDegree() == 2 && pCE->getCTs()[0]->needFlip(pCE->getCTs()[1]))
            ++num;
    return num;
}

// A named progress root while it lives: stages with phases need one.
struct NamedRoot {
    NamedRoot() { TESK_ZAN::getRootProgress()->setName("test"); }
    ~NamedRoot() { TESK_ZAN::getRootProgress()->clear(); }
};

} // namespace zan_test
