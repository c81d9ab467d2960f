#include "RMesh.h"

#include "Bundle.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "Calc.h"
#include "freeFunctions.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>

namespace TESK_ZAN
{

namespace
{

// Finds codes in a sorted list without repetitions. Corners that come one after the other lie near each other
// in space, and so mostly in the list: the search widens from the last hit.
class CodeFinder
{
public:
    explicit CodeFinder(const std::vector<u64>& vCCD_) : vCCD(vCCD_) {}

    // The index of the code, which must be in the list.
    size_t find(u64 ccd)
    {
        zanAssert(!vCCD.empty());
        size_t low = 0;
        size_t high = vCCD.size();
        if (vCCD[last] <= ccd) {
            low = last;
            for (size_t step = 1; step < vCCD.size() - low; step *= 2) {
                if (vCCD[low + step] > ccd) {
                    high = low + step;
                    break;
                }
                low += step;
            }
        } else {
            high = last;
            for (size_t step = 1; step <= high; step *= 2) {
                if (vCCD[high - step] <= ccd) {
                    low = high - step;
                    break;
                }
                high -= step;
            }
        }
        const auto begin = vCCD.begin();
        const auto pos = std::lower_bound(begin + static_cast<std::ptrdiff_t>(low),
                                          begin + static_cast<std::ptrdiff_t>(high), ccd);
        zanAssert(pos != vCCD.end() && *pos == ccd);
        last = static_cast<size_t>(pos - begin);
        return last;
    }

private:
    const std::vector<u64>& vCCD;
    size_t last = 0;
};

} // namespace

// Dead triangles are counted too: room that stays unused costs nothing, to look at all of them does.
RMesh::RMesh(CMesh* pCMesh)
    : RMesh(pCMesh->getCalc()->getCellSize(), pCMesh->getBundles().size(), pCMesh->getT().size())
{
    const StageTimer stage("RM_takeover");
    oCalc = *pCMesh->getCalc();
    std::vector<u64> vCCD; // of the vertices, by number
    takeOverVertices(pCMesh, vCCD);
    takeOverTriangles(pCMesh, vCCD);
}

// The bundles come by ascending code, so vertex numbers ascend too, and all vertices get into the pool's
// first block.
void RMesh::takeOverVertices(const CMesh* pCMesh, std::vector<u64>& vCCD)
{
    const std::vector<u64>& vZeroCCD = pCMesh->getZeroCCD();
    auto zeroPos = vZeroCCD.begin();
    std::vector<Bundle*> vBundles;
    pCMesh->getBundlesByCode(vBundles);
    vCCD.reserve(vBundles.size());
    for (const Bundle* pBundle : vBundles) {
        const u64 ccd = pBundle->ccd;
        Point3* pVtx = newVtx(*pBundle->pVtx);
        insertMovingAside(pVtx);
        vCCD.push_back(ccd);
        while (zeroPos != vZeroCCD.end() && *zeroPos < ccd) // both ascend
            ++zeroPos;
        if (zeroPos != vZeroCCD.end() && *zeroPos == ccd)
            vZeroVtx.push_back(pVtx);
    }
}

// Vertices with one position would be one vertex to everything that looks up by position.
void RMesh::insertMovingAside(Point3* pVtx)
{
    while (!mPointVertex.insert(pVtx))
        moveBySmallestStep(*pVtx);
}

Point3* RMesh::createVtxBeside(const Point3& p)
{
    Point3* pVtx = newVtx(p);
    insertMovingAside(pVtx);
    return pVtx;
}

Point3* RMesh::copyVtx(const Point3* pVtx)
{
    const bool bZero =
        std::binary_search(vZeroVtx.begin(), vZeroVtx.end(), pVtx,
                           [](const Point3* p0, const Point3* p1) { return numberOf(p0) < numberOf(p1); });
    Point3* pCopy = createVtxBeside(*pVtx);
    if (bZero)
        vZeroVtx.push_back(pCopy); // has the highest number
    return pCopy;
}

void RMesh::takeOverTriangles(const CMesh* pCMesh, const std::vector<u64>& vCCD)
{
    constexpr size_t SLICE_SIZE = 1 << 16; // the triangles of a slice are in the cache when they are made
    const std::vector<CTriangle*>& vCT = pCMesh->getT();
    std::vector<std::array<Point3*, 3>> vCorners(std::min(SLICE_SIZE, vCT.size()));
    for (size_t from = 0; from < vCT.size(); from += SLICE_SIZE) {
        const size_t num = std::min(SLICE_SIZE, vCT.size() - from);
        forRangeMT(num, [&](size_t begin, size_t end) {
            CodeFinder finder(vCCD);
            const auto vtxAt = [&](u64 ccd) { return &vVtx[finder.find(ccd)]->point; };
            for (size_t i = begin; i < end; ++i) {
                const CTriangle& triangle = *vCT[from + i];
                if (triangle.isAlive())
                    vCorners[i] = {vtxAt(triangle.getC0()), vtxAt(triangle.getC1()), vtxAt(triangle.getC2())};
            }
        });
        for (size_t i = 0; i < num; ++i)
            if (vCT[from + i]->isAlive())
                createT(vCorners[i][0], vCorners[i][1], vCorners[i][2]);
    }
}

} // namespace TESK_ZAN
