#include "orientOutward.h"

#include "RMesh.h"
#include "freeFunctions.h"
#include "stageTrace.h"

#include <vector>

namespace TESK_ZAN
{

namespace
{

// A component while it is being walked.
struct Component {
    std::vector<RTriangle*> vRT;
    bool bClosed;
};

// Fills the component that grows from the seed over edges of degree 2. vVisited: by triangle number.
void growComponent(RTriangle* pSeed, std::vector<char>& vVisited, Component& component)
{
    component.vRT.assign(1, pSeed);
    component.bClosed = true;
    vVisited[numberOf(pSeed)] = 1;
    for (size_t front = 0; front < component.vRT.size(); ++front) {
        const RTriangle* pRT = component.vRT[front];
        for (int ici = 0; ici < 3; ++ici) {
            const REdge* pRE = pRT->getRE(ici);
            RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
            if (pNeig == nullptr || pRT->needFlip(pNeig))
                component.bClosed = false;
            if (pNeig == nullptr || vVisited[numberOf(pNeig)] != 0)
                continue;
            vVisited[numberOf(pNeig)] = 1;
            component.vRT.push_back(pNeig);
        }
    }
}

// Six times the volume, in the order of the walk. The apex of all tetrahedra lies on the component: far from
// the origin the coordinates would leave no digits for the volume.
double signedVolume6(const Component& component)
{
    const Point3& apex = *component.vRT[0]->getCorner(0);
    double sum = 0.0;
    for (const RTriangle* pRT : component.vRT) {
        const Vector3 v0 = *pRT->getCorner(0) - apex;
        const Vector3 v1 = *pRT->getCorner(1) - apex;
        const Vector3 v2 = *pRT->getCorner(2) - apex;
        sum += v0 * crossProd(v1, v2);
    }
    return sum;
}

} // namespace

size_t orientOutward(RMesh& mesh)
{
    const StageTimer stage("RM_outward");
    std::vector<char> vVisited(mesh.getAllT().size(), 0);
    Component component;
    size_t numTurned = 0;
    for (RTriangle* pSeed : mesh.getAllT()) {
        if (!pSeed->isAlive() || vVisited[numberOf(pSeed)] != 0)
            continue;
        growComponent(pSeed, vVisited, component);
        if (!component.bClosed || !(signedVolume6(component) < 0.0))
            continue;
        for (RTriangle* pRT : component.vRT)
            pRT->flipOrientation();
        ++numTurned;
    }
    return numTurned;
}

} // namespace TESK_ZAN
