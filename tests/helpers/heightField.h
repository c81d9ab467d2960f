// A surface over the cells of a lattice as a mesh on codes, with a hole where a test wants one.
#pragma once

#include "CMesh.h"
#include "Chain.h"
#include "ChainMgr.h"
#include "helpers/codeMesh.h"

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace zan_test
{

// One vertex for each column (x, y) of side times side cells, at the height z of the column's middle; the two
// triangles of a square are there if isThere is true of all its corners. Cells have edge 1 and start at
// (first, first, 0).
struct HeightField {
    HeightField(int side, int first, const std::function<double(double, double)>& height,
                const std::function<bool(double, double)>& isThere)
        : cells(placesOf(side, first, height, isThere)), mesh(nullptr, &cells.calc, &cells.mCCDBundle, {})
    {
        std::map<std::pair<int, int>, TESK_ZAN::u64> mCode;
        for (size_t i = 0; i < cells.vPoints.size(); ++i)
            mCode[{int(cells.vPoints[i].x()), int(cells.vPoints[i].y())}] = cells.vCode[i];
        const auto add = [&](std::pair<int, int> a, std::pair<int, int> b, std::pair<int, int> c) {
            if (mCode.count(a) != 0 && mCode.count(b) != 0 && mCode.count(c) != 0)
                mesh.createT(mCode[a], mCode[b], mCode[c], 0, 0);
        };
        for (int x = first; x + 1 < first + side; ++x)
            for (int y = first; y + 1 < first + side; ++y) {
                add({x, y}, {x + 1, y}, {x + 1, y + 1});
                add({x, y}, {x + 1, y + 1}, {x, y + 1});
            }
    }

    // The border chains; those that are holes.
    std::vector<TESK_ZAN::Chain*> holes()
    {
        std::vector<TESK_ZAN::CEdge*> vBorder;
        mesh.getDegN(1, vBorder);
        pChainMgr.reset();
        pChainMgr = std::make_unique<TESK_ZAN::ChainMgr>(&mesh, TESK_ZAN::getEdgeMap(vBorder), true);
        std::vector<TESK_ZAN::Chain*> vHoles;
        for (TESK_ZAN::u64 i = 0; i < pChainMgr->getNumChains(); ++i)
            if (pChainMgr->getChain(i)->isClosed() && pChainMgr->getChain(i)->isGoodHole())
                vHoles.push_back(pChainMgr->getChain(i));
        return vHoles;
    }

    CellSet cells;
    TESK_ZAN::CMesh mesh;
    std::unique_ptr<TESK_ZAN::ChainMgr> pChainMgr;

private:
    static std::vector<TESK_ZAN::Point3> placesOf(int side, int first,
                                                  const std::function<double(double, double)>& height,
                                                  const std::function<bool(double, double)>& isThere)
    {
        std::vector<TESK_ZAN::Point3> vPlaces;
        for (int x = first; x < first + side; ++x)
            for (int y = first; y < first + side; ++y)
                if (isThere(x + 0.5, y + 0.5))
                    vPlaces.emplace_back(x + 0.5, y + 0.5, height(x + 0.5, y + 0.5));
        return vPlaces;
    }
};

// A flat sheet with a round hole in the middle.
inline HeightField flatWithHole(int side, int first, double radius)
{
    const double mid = first + 0.5 * side;
    return {side, first, [](double, double) { return 30.3; },
            [=](double x, double y) { return std::hypot(x - mid, y - mid) >= radius; }};
}

// The top of a sphere with a round hole at the pole.
struct Dome {
    double mid, sphereRadius;

    double height(double x, double y) const
    {
        return 30.3 - sphereRadius + std::sqrt(sphereRadius * sphereRadius - sqFromAxis(x, y));
    }
    double distance(const TESK_ZAN::Point3& p) const // from the sphere, positive outside
    {
        const double z = p.z() - 30.3 + sphereRadius;
        return std::sqrt(sqFromAxis(p.x(), p.y()) + z * z) - sphereRadius;
    }
    double sqFromAxis(double x, double y) const { return (x - mid) * (x - mid) + (y - mid) * (y - mid); }

    HeightField withHole(int side, int first, double radius) const
    {
        return {side, first, [this](double x, double y) { return height(x, y); },
                [=, this](double x, double y) { return sqFromAxis(x, y) >= radius * radius; }};
    }
};

} // namespace zan_test
