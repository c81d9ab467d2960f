// For tests of random operations: the brute-force twin of a mesh, meshes to begin with, and how many of them.
#pragma once

#include "definitions.h"
#include "random.h"
#include "smallMeshes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <set>
#include <vector>

namespace zan_test
{

// The triangles that a mesh should have, told by the contracts of its operations alone. Corners by number,
// without orientation.
class TwinTriangles
{
public:
    using u64 = TESK_ZAN::u64;
    using Corners = std::array<u64, 3>;

    static Corners sorted(u64 a, u64 b, u64 c)
    {
        Corners corners = {a, b, c};
        std::sort(corners.begin(), corners.end());
        return corners;
    }

    void clear() { triangles.clear(); }
    void add(u64 a, u64 b, u64 c) { triangles.insert(sorted(a, b, c)); }
    bool has(u64 a, u64 b, u64 c) const { return triangles.contains(sorted(a, b, c)); }

    // One of them, if there are several. Nothing if there is none: the comparison tells.
    void remove(u64 a, u64 b, u64 c)
    {
        const auto found = triangles.find(sorted(a, b, c));
        if (found != triangles.end())
            triangles.erase(found);
    }

    // The edge (a, b) of two triangles becomes the edge between their third corners.
    void flip(u64 a, u64 b, u64 third0, u64 third1)
    {
        remove(a, b, third0);
        remove(a, b, third1);
        add(third0, third1, a);
        add(third0, third1, b);
    }

    // Each triangle of the edge becomes two that meet at mid.
    void split(u64 a, u64 b, u64 mid)
    {
        for (const u64 third : thirdCorners(a, b)) {
            remove(a, b, third);
            add(a, mid, third);
            add(mid, b, third);
        }
    }

    // A triangle at src would become one that is there already.
    bool wouldCoincide(u64 src, u64 trg) const
    {
        return std::any_of(triangles.begin(), triangles.end(), [&](const Corners& t) {
            return holds(t, src) && !holds(t, trg) && triangles.contains(moved(t, src, trg));
        });
    }

    // All triangles at src come to trg; those that have both go.
    void move(u64 src, u64 trg)
    {
        std::multiset<Corners> after;
        for (const Corners& t : triangles)
            if (!holds(t, src) || !holds(t, trg))
                after.insert(holds(t, src) ? moved(t, src, trg) : t);
        triangles = std::move(after);
    }

    // Of equal ones all but one go. Returns how many.
    std::size_t dropTwins()
    {
        const std::size_t numBefore = triangles.size();
        const std::set<Corners> single(triangles.begin(), triangles.end());
        triangles = std::multiset<Corners>(single.begin(), single.end());
        return numBefore - triangles.size();
    }

    // The third corners of all triangles on an edge; one per triangle.
    std::vector<u64> thirdCorners(u64 a, u64 b) const
    {
        std::vector<u64> vThird;
        for (const Corners& t : triangles)
            if (holds(t, a) && holds(t, b))
                vThird.push_back(t[0] ^ t[1] ^ t[2] ^ a ^ b);
        return vThird;
    }

    bool operator==(const TwinTriangles&) const = default;

private:
    static bool holds(const Corners& t, u64 v) { return std::find(t.begin(), t.end(), v) != t.end(); }

    static Corners moved(Corners t, u64 src, u64 trg)
    {
        std::replace(t.begin(), t.end(), src, trg);
        return sorted(t[0], t[1], t[2]);
    }

    std::multiset<Corners> triangles;
};

// All the small meshes in turn, each time shaken anew so that no two points are alike and few triangles
// exactly flat.
inline IndexedMesh shakenSmallMesh(TESK_ZAN::u64 number)
{
    IndexedMesh meshes[] = {tetrahedron(),           octahedron(),    openBox(),     strip(4),
                            moebiusStrip(),          threeOnAnEdge(), doubleSheet(), pocket(5, 0.5, -0.3, 2),
                            twoTetrahedraOnAVertex()};
    IndexedMesh& mesh = meshes[number % std::size(meshes)];
    TESK_ZAN::Random random(number);
    for (TESK_ZAN::Point3& p : mesh.vPoints)
        p.set(p.x() + 0.2 * random.uniform(), p.y() + 0.2 * random.uniform(), p.z() + 0.2 * random.uniform());
    return mesh;
}

// The meshes for a test that takes so many random steps on each: the usual number, or more if the environment
// asks for ZAN_RANDOM_STEPS steps in all.
inline int numRandomMeshes(int numUsual, int stepsPerMesh)
{
    const char* pWanted = std::getenv("ZAN_RANDOM_STEPS");
    return pWanted == nullptr ? numUsual : std::max(numUsual, std::atoi(pWanted) / stepsPerMesh);
}

} // namespace zan_test
