#include "orientOutward.h"

#include "RMesh.h"
#include "stageTrace.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

namespace TESK_ZAN
{

namespace
{

using Index = std::uint32_t;

// The components of the alive triangles. They are found by joining each triangle to its neighbours with lower
// numbers, in the order of the numbers, which mostly lie near in space and in memory: a walk from neighbour
// to neighbour waits for memory twice as long.
class Components
{
public:
    explicit Components(const RMesh& mesh) : vT(mesh.getAllT()), vParent(vT.size())
    {
        std::iota(vParent.begin(), vParent.end(), Index(0));
        vOpen.resize(vT.size(), 0);
        for (const RTriangle* pRT : vT)
            if (pRT->isAlive())
                joinToLower(*pRT);
        for (Index number = 0; number < vT.size(); ++number)
            if (vOpen[number] != 0)
                vOpen[rootOf(number)] = 1;
    }

    // The triangle of the component with the lowest number.
    Index rootOf(Index number)
    {
        while (vParent[number] != number)
            number = vParent[number] = vParent[vParent[number]];
        return number;
    }

    bool isClosed(Index root) const { return vOpen[root] == 0; }

private:
    void joinToLower(const RTriangle& triangle)
    {
        const Index number = numberOf(&triangle);
        for (int ici = 0; ici < 3; ++ici) {
            const REdge* pRE = triangle.getRE(ici);
            const RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(&triangle) : nullptr;
            if (pNeig == nullptr) {
                vOpen[number] = 1;
                continue;
            }
            if (numberOf(pNeig) > number)
                continue; // its own turn comes
            if (triangle.needFlip(pNeig))
                vOpen[number] = 1;
            const Index root0 = rootOf(number);
            const Index root1 = rootOf(numberOf(pNeig));
            vParent[std::max(root0, root1)] = std::min(root0, root1);
        }
    }

    const std::vector<RTriangle*>& vT;
    std::vector<Index> vParent; // by number of the triangle; never above it
    std::vector<char> vOpen;    // not closed, or not oriented: of a triangle, at last of a root
};

// Six times the volume of the tetrahedron over a triangle. The apex lies on the component: far from the
// origin the coordinates would leave no digits for the volume.
double signedVolume6(const RTriangle& triangle, const Point3& apex)
{
    const Vector3 v0 = *triangle.getCorner(0) - apex;
    const Vector3 v1 = *triangle.getCorner(1) - apex;
    const Vector3 v2 = *triangle.getCorner(2) - apex;
    return v0 * crossProd(v1, v2);
}

} // namespace

size_t orientOutward(RMesh& mesh)
{
    const StageTimer stage("RM_outward");
    const std::vector<RTriangle*>& vT = mesh.getAllT();
    Components components(mesh);
    std::vector<double> vVolume6(vT.size(), 0.0); // by root; summed by number of the triangles
    for (Index number = 0; number < vT.size(); ++number) {
        const Index root = components.rootOf(number);
        if (vT[number]->isAlive() && components.isClosed(root))
            vVolume6[root] += signedVolume6(*vT[number], *vT[root]->getCorner(0));
    }
    size_t numTurned = 0;
    for (Index number = 0; number < vT.size(); ++number) {
        const Index root = components.rootOf(number);
        if (!(vVolume6[root] < 0.0))
            continue;
        numTurned += root == number ? 1 : 0;
        vT[number]->flipOrientation();
    }
    return numTurned;
}

} // namespace TESK_ZAN
