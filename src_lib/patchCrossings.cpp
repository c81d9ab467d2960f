#include "patchCrossings.h"

#include "CMesh.h"
#include "trianglesCross.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr double MAX_BLOCKS = 128.0; // along an axis

struct Box {
    std::array<double, 3> lo, hi;

    Box()
    {
        lo.fill(std::numeric_limits<double>::max());
        hi.fill(std::numeric_limits<double>::lowest());
    }
    Box(const CMesh& mesh, const CTriangle& triangle) : Box()
    {
        for (int ici = 0; ici < 3; ++ici) {
            const Point3* p = mesh.getVtx(triangle.getCorner(ici));
            const std::array<double, 3> c = {p->x(), p->y(), p->z()};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                lo[axis] = std::min(lo[axis], c[axis]);
                hi[axis] = std::max(hi[axis], c[axis]);
            }
        }
    }
    void unite(const Box& other)
    {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lo[axis] = std::min(lo[axis], other.lo[axis]);
            hi[axis] = std::max(hi[axis], other.hi[axis]);
        }
    }
    bool meets(const Box& other) const
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (lo[axis] > other.hi[axis] || other.lo[axis] > hi[axis])
                return false;
        return true;
    }
    double extent() const { return std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]}); }
};

// A grid of blocks over the patch, with the triangles of the patch that each meets.
class Blocks
{
public:
    Blocks(const CMesh& mesh, const std::vector<CTriangle*>& vPatchT)
    {
        double sumExtent = 0.0;
        for (const CTriangle* pCT : vPatchT) {
            vBox.emplace_back(mesh, *pCT);
            range.unite(vBox.back());
            sumExtent += vBox.back().extent();
        }
        size = std::max(sumExtent / static_cast<double>(vPatchT.size()), range.extent() / MAX_BLOCKS);
        for (std::size_t i = 0; i < vBox.size(); ++i)
            forEachBlock(vBox[i], [&](int block) { vBlock2T.emplace_back(block, i); });
        std::sort(vBlock2T.begin(), vBlock2T.end());
    }

    // Of those whose boxes meet this one, f(place in the list of the patch), some more than once.
    template <class F>
    void forEachNear(const Box& box, F f) const
    {
        if (!box.meets(range))
            return;
        forEachBlock(box, [&](int block) {
            auto pos = std::lower_bound(vBlock2T.begin(), vBlock2T.end(), std::pair(block, std::size_t(0)));
            for (; pos != vBlock2T.end() && pos->first == block; ++pos)
                if (vBox[pos->second].meets(box))
                    f(pos->second);
        });
    }

private:
    // Clipped to the range.
    template <class F>
    void forEachBlock(const Box& box, F f) const
    {
        std::array<int, 3> lo{}, hi{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto place = [&](double c) {
                return size > 0.0 ? int(std::clamp((c - range.lo[axis]) / size, 0.0, MAX_BLOCKS)) : 0;
            };
            lo[axis] = place(box.lo[axis]);
            hi[axis] = place(box.hi[axis]);
        }
        constexpr int N = int(MAX_BLOCKS) + 1;
        for (int z = lo[2]; z <= hi[2]; ++z)
            for (int y = lo[1]; y <= hi[1]; ++y)
                for (int x = lo[0]; x <= hi[0]; ++x)
                    f((z * N + y) * N + x);
    }

    std::vector<Box> vBox;
    Box range;
    double size;
    std::vector<std::pair<int, std::size_t>> vBlock2T; // sorted
};

bool shareCorner(const CTriangle& a, const CTriangle& b)
{
    return a.has(b.getC0()) || a.has(b.getC1()) || a.has(b.getC2());
}

bool cross(const CMesh& mesh, const CTriangle& a, const CTriangle& b)
{
    const std::array<const Point3*, 3> aVtx = {mesh.getVtx(a.getC0()), mesh.getVtx(a.getC1()),
                                               mesh.getVtx(a.getC2())};
    const std::array<const Point3*, 3> bVtx = {mesh.getVtx(b.getC0()), mesh.getVtx(b.getC1()),
                                               mesh.getVtx(b.getC2())};
    return trianglesCross(aVtx, bVtx);
}

} // namespace

std::size_t countCrossed(const CMesh& mesh, const std::vector<CTriangle*>& vPatchT)
{
    if (vPatchT.empty())
        return 0;
    const Blocks blocks(mesh, vPatchT);
    std::vector<bool> vCrossed(vPatchT.size(), false);
    for (const CTriangle* pCT : mesh.getT())
        if (pCT->isAlive())
            blocks.forEachNear(Box(mesh, *pCT), [&](std::size_t i) {
                if (!vCrossed[i] && !shareCorner(*pCT, *vPatchT[i]) && cross(mesh, *pCT, *vPatchT[i]))
                    vCrossed[i] = true;
            });
    return std::size_t(std::count(vCrossed.begin(), vCrossed.end(), true));
}

} // namespace TESK_ZAN
