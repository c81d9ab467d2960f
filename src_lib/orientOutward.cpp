#include "orientOutward.h"

#include "RMesh.h"
#include "SideForest.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

namespace
{

using Index = SideForest::Index;

// The components of the alive triangles. They are found by joining each triangle to its neighbours with lower
// numbers, in the order of the numbers, which mostly lie near in space and in memory: a walk from neighbour
// to neighbour waits for memory twice as long.
class Components
{
public:
    explicit Components(const RMesh& mesh)
        : vT(mesh.getAllT()), forest(vT.size()), vAtRim(vT.size(), 0), vTwisted(vT.size(), 0)
    {
        // Slices in parallel, each within itself, then what reaches across; that is little.
        constexpr size_t SLICE_SIZE = 1 << 16;
        const auto vvLinks =
            collectMT<Link>(vT.size(), SLICE_SIZE, [&](size_t begin, size_t end, std::vector<Link>& vAcross) {
                for (size_t i = begin; i < end; ++i)
                    if (vT[i]->isAlive())
                        joinToLower(*vT[i], begin, vAcross);
            });
        for (const auto& vLinks : vvLinks)
            for (const auto& [number0, number1] : vLinks)
                forest.join(number0, number1);
        // A parent is lower than its children, so this leaves each at its root, one step for those that look.
        for (Index number = 0; number < vT.size(); ++number) {
            const Index root = forest.find(number).index;
            if (vTwisted[number] != 0)
                vTwisted[root] = 1;
        }
    }

    // The triangle of the component with the lowest number.
    Index rootOf(Index number) const { return forest.look(number).index; }

    bool isOriented(Index root) const { return vTwisted[root] == 0; }
    bool isAtRim(Index number) const { return vAtRim[number] != 0; }

private:
    using Link = std::pair<Index, Index>;

    // Joins the triangle to its neighbours with lower numbers, but only notes those below first.
    void joinToLower(const RTriangle& triangle, size_t first, std::vector<Link>& vAcross)
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
            if (numberOf(pNeig) < first)
                vAcross.emplace_back(numberOf(pNeig), number);
            else
                forest.join(numberOf(pNeig), number);
        }
    }

    const std::vector<RTriangle*>& vT;
    SideForest forest;          // of the triangles, by number
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

    void placeApex()
    {
        if (numRimEnds > 0)
            apex = Point3() + (1.0 / double(numRimEnds)) * rimSum;
    }

    // So much of the sum must be left for a sign: a flat sheet has none.
    bool isInsideOut() const { return volume6 < -1e-6 * magnitude6; }
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

// The bodies of the components that are consistently oriented.
class Bodies
{
public:
    Bodies(const std::vector<RTriangle*>& vT_, const Components& components) : vT(vT_), vBodyOf(vT_.size())
    {
        forRangeMT(vT.size(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) {
                const Index root = components.rootOf(static_cast<Index>(i));
                vBodyOf[i] = components.isOriented(root) && vT[i]->isAlive() ? root : NONE;
            }
        });
        forEachT([&](size_t i, Index root) {
            if (root == i) { // the lowest number, so the others find its body there
                vBodyOf[i] = static_cast<Index>(vBodies.size());
                vBodies.emplace_back(*vT[i]);
            } else {
                vBodyOf[i] = vBodyOf[root];
            }
            if (components.isAtRim(static_cast<Index>(i)))
                addRim(*vT[i], vBodies[vBodyOf[i]]);
        });
        for (Body& body : vBodies)
            body.placeApex();
        sumVolumes();
    }

    size_t countInsideOut() const
    {
        return size_t(std::count_if(vBodies.begin(), vBodies.end(),
                                    [](const Body& body) { return body.isInsideOut(); }));
    }

    void turnInsideOut() const
    {
        forEachT([&](size_t i, Index body) {
            if (vBodies[body].isInsideOut())
                vT[i]->flipOrientation();
        });
    }

private:
    static constexpr Index NONE = std::numeric_limits<Index>::max();

    // f(number, body) for each triangle that has a body.
    template <class F>
    void forEachT(F f) const
    {
        for (size_t i = 0; i < vBodyOf.size(); ++i)
            if (vBodyOf[i] != NONE)
                f(i, vBodyOf[i]);
    }

    void sumVolumes()
    {
        std::vector<double> vVolume6(vT.size());
        forRangeMT(vT.size(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                if (vBodyOf[i] != NONE)
                    vVolume6[i] = signedVolume6(*vT[i], vBodies[vBodyOf[i]].apex);
        });
        forEachT([&](size_t i, Index body) {
            vBodies[body].volume6 += vVolume6[i];
            vBodies[body].magnitude6 += std::abs(vVolume6[i]);
        });
    }

    const std::vector<RTriangle*>& vT;
    std::vector<Index> vBodyOf; // by number of the triangle
    std::vector<Body> vBodies;
};

} // namespace

size_t orientOutward(RMesh& mesh)
{
    const StageTimer stage("RM_outward");
    const Bodies bodies(mesh.getAllT(), Components(mesh));
    const size_t numTurned = bodies.countInsideOut();
    if (numTurned > 0)
        bodies.turnInsideOut();
    return numTurned;
}

} // namespace TESK_ZAN
