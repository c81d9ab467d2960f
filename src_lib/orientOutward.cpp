#include "orientOutward.h"

#include "RMesh.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <cmath>
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
        vTwisted.resize(vT.size(), 0);
        vAtRim.resize(vT.size(), 0);
        for (const RTriangle* pRT : vT)
            if (pRT->isAlive())
                joinToLower(*pRT);
        for (Index number = 0; number < vT.size(); ++number)
            if (vTwisted[number] != 0)
                vTwisted[rootOf(number)] = 1;
    }

    // The triangle of the component with the lowest number.
    Index rootOf(Index number)
    {
        while (vParent[number] != number)
            number = vParent[number] = vParent[vParent[number]];
        return number;
    }

    bool isOriented(Index root) const { return vTwisted[root] == 0; }
    bool isAtRim(Index number) const { return vAtRim[number] != 0; }

private:
    void joinToLower(const RTriangle& triangle)
    {
        const Index number = numberOf(&triangle);
        for (int ici = 0; ici < 3; ++ici) {
            const REdge* pRE = triangle.getRE(ici);
            const RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(&triangle) : nullptr;
            if (pNeig == nullptr) {
                vAtRim[number] = 1;
                continue;
            }
            if (numberOf(pNeig) > number)
                continue; // its own turn comes
            if (triangle.needFlip(pNeig))
                vTwisted[number] = 1;
            const Index root0 = rootOf(number);
            const Index root1 = rootOf(numberOf(pNeig));
            vParent[std::max(root0, root1)] = std::min(root0, root1);
        }
    }

    const std::vector<RTriangle*>& vT;
    std::vector<Index> vParent; // by number of the triangle; never above it
    std::vector<char> vAtRim;   // of a triangle: it has an edge that is no connection
    std::vector<char> vTwisted; // not consistently oriented: of a triangle, at last of a root
};

// What a component encloses. Over its rim an open one is closed by a cone; from the apex of this cone the
// cone itself has no volume, so that the sum over the component's own triangles is that of the whole.
struct Body {
    explicit Body(const RTriangle& first) : apex(*first.getCorner(0)) {}

    Point3 apex; // on the component, or the mean of its rim: far away no digits would be left for the volume
    Vector3 rimSum; // of the ends of the rim's edges
    size_t numRimEnds = 0;
    double volume6 = 0.0;    // six times the volume
    double magnitude6 = 0.0; // the same with every tetrahedron positive

    // So much of the sum must be left for a sign: a flat sheet has none.
    bool isInsideOut() const { return volume6 < -1e-6 * magnitude6; }
};

// The bodies of all components, by root. Triangles with neighbouring numbers mostly have one root.
class Bodies
{
public:
    explicit Bodies(const RMesh& mesh) : vT(mesh.getAllT()) {}

    Body& at(Index root)
    {
        if (root != lastRoot || vBodies.empty()) {
            lastSlot = *mSlots.tryEmplace(root, vBodies.size()).first;
            lastRoot = root;
            if (lastSlot == vBodies.size())
                vBodies.emplace_back(*vT[root]);
        }
        return vBodies[lastSlot];
    }

    void placeApexes()
    {
        for (Body& body : vBodies)
            if (body.numRimEnds > 0)
                body.apex = Point3() + (1.0 / double(body.numRimEnds)) * body.rimSum;
    }

    size_t countInsideOut() const
    {
        return size_t(std::count_if(vBodies.begin(), vBodies.end(),
                                    [](const Body& body) { return body.isInsideOut(); }));
    }

private:
    const std::vector<RTriangle*>& vT;
    TESK_TOOLS::FlatMap<u64, size_t, TESK_TOOLS::U64Hash> mSlots;
    std::vector<Body> vBodies;
    Index lastRoot = 0;
    size_t lastSlot = 0;
};

void addRim(const RTriangle& triangle, Body& body)
{
    for (int ici = 0; ici < 3; ++ici) {
        if (triangle.getRE(ici)->getDegree() == 2)
            continue;
        for (const int end : {(ici + 1) % 3, (ici + 2) % 3})
            body.rimSum += *triangle.getCorner(end) - Point3();
        body.numRimEnds += 2;
    }
}

// Six times the volume of the tetrahedron over a triangle.
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
    Bodies bodies(mesh);
    const auto forEachOriented = [&](auto f) {
        for (Index number = 0; number < vT.size(); ++number) {
            const Index root = components.rootOf(number);
            if (components.isOriented(root) && vT[number]->isAlive())
                f(number, bodies.at(root));
        }
    };
    forEachOriented([&](Index number, Body& body) {
        if (components.isAtRim(number))
            addRim(*vT[number], body);
    });
    bodies.placeApexes();
    forEachOriented([&](Index number, Body& body) {
        const double volume6 = signedVolume6(*vT[number], body.apex);
        body.volume6 += volume6;
        body.magnitude6 += std::abs(volume6);
    });
    const size_t numTurned = bodies.countInsideOut();
    if (numTurned > 0)
        forEachOriented([&](Index number, const Body& body) {
            if (body.isInsideOut())
                vT[number]->flipOrientation();
        });
    return numTurned;
}

} // namespace TESK_ZAN
