#include "FacePlanes.h"

#include "RMesh.h"
#include "freeFunctions.h"
#include "sortMT.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr int RINGS_FITTED = 4;      // edges from a vertex to those that its plane is fitted to
constexpr int RINGS_WITH_PLANES = 2; // edges from a bend to the flat vertices that get a plane
constexpr int RINGS_BENT = 4;        // edges that a plane is carried on over a bend
constexpr size_t MIN_FITTED = 6;
constexpr int NUM_FITS = 2;
constexpr double OUTLIER_RMS = 2.0;  // from the plane: vertices of the bend that looked flat
constexpr size_t MAX_FITTED = 64;    // a hub would bring all of its neighbours
constexpr double NOISE_CELLS = 0.08; // the rms from which on a wider plane may be better
constexpr int RINGS_IN_NOISE = 6;
constexpr size_t MAX_FITTED_IN_NOISE = 150;
constexpr double MAX_RMS_RATIO = 1.15;      // of the wider plane: beyond it the face is curved
constexpr double MAX_RMS_CELLS = 0.3;       // of the fitted vertices: more is noise
constexpr double MAX_DISTANCE_CELLS = 0.25; // of a vertex from its plane, or
constexpr double MAX_DISTANCE_RMS = 3.5;

double degreesToCos(double angle)
{
    return std::cos(angle * RADIANS_PER_DEGREE);
}

// Null for the null vector.
Vector3 directionOf(const Vector3& v)
{
    const double len = v.length();
    return len > 0.0 ? v / len : Vector3();
}

} // namespace

FacePlanes::FacePlanes(const RMesh& mesh_, double featureAngle)
    : mesh(mesh_), vNormal(mesh_.getNumVtx()), vPlaneOf(mesh_.getNumVtx(), NONE)
{
    findFlat(featureAngle);
    findBends();
    fitPlanes();
    spread();
}

const FacePlane* FacePlanes::at(const Point3* pVtx) const
{
    const std::uint32_t place = vPlaneOf[numberOf(pVtx)];
    return place == NONE ? nullptr : &vPlane[place];
}

void FacePlanes::findFlat(double featureAngle)
{
    const double flatCos = degreesToCos(featureAngle / 4.0);
    const std::vector<Vector3> vOwn = ownNormals();
    const std::vector<Vector3> vWide = wideNormals(vOwn);
    forRangeMT(vNormal.size(), [&](size_t begin, size_t end) {
        std::vector<Point3*> vRing;
        for (size_t i = begin; i < end; ++i) {
            const auto& vTNumbers = recordOf(mesh.getVtx(i)).vTNumbers;
            bool bFlat = !vOwn[i].isDegenerate(), bFlatOnMean = !vWide[i].isDegenerate();
            for (const std::uint32_t number : vTNumbers)
                bFlat = bFlat && mesh.getAllT()[number]->getCachedNNV() * vOwn[i] >= flatCos;
            mesh.getRingVtx(mesh.getVtx(i), vRing);
            for (const Point3* pNeig : vRing)
                bFlatOnMean = bFlatOnMean && vWide[numberOf(pNeig)] * vWide[i] >= flatCos;
            if (bFlat || bFlatOnMean)
                vNormal[i] = bFlat ? vOwn[i] : vWide[i];
        }
    });
}

// By vertex number, the direction of the sum of the normals of its triangles, or null. Fills their caches.
std::vector<Vector3> FacePlanes::ownNormals() const
{
    const std::vector<RTriangle*>& vT = mesh.getAllT();
    forRangeMT(vT.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            if (vT[i]->isAlive())
                vT[i]->fillNNV();
    });
    std::vector<Vector3> vOwn(mesh.getNumVtx());
    forRangeMT(vOwn.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            Vector3 sum;
            for (const std::uint32_t number : recordOf(mesh.getVtx(i)).vTNumbers)
                sum += vT[number]->getCachedNNV();
            vOwn[i] = directionOf(sum);
        }
    });
    return vOwn;
}

// The same of the normals of a vertex and its neighbours.
std::vector<Vector3> FacePlanes::wideNormals(const std::vector<Vector3>& vOwn) const
{
    std::vector<Vector3> vWide(vOwn.size());
    forRangeMT(vWide.size(), [&](size_t begin, size_t end) {
        std::vector<Point3*> vRing;
        for (size_t i = begin; i < end; ++i) {
            mesh.getRingVtx(mesh.getVtx(i), vRing);
            Vector3 sum = vOwn[i];
            for (const Point3* pNeig : vRing)
                sum += vOwn[numberOf(pNeig)];
            vWide[i] = directionOf(sum);
        }
    });
    return vWide;
}

// Breadth-first from the vertices with triangles that are not flat.
void FacePlanes::findBends()
{
    std::vector<char> vSeen(vNormal.size(), 0);
    for (std::uint32_t i = 0; i < vNormal.size(); ++i)
        if (vNormal[i].isDegenerate() && recordOf(mesh.getVtx(i)).vTNumbers.size() > 0) {
            vBentVtx.push_back(i);
            vSeen[i] = 1;
        }
    std::vector<std::uint32_t> vFront = vBentVtx, vNext;
    std::vector<Point3*> vRing;
    for (int ring = 0; ring < RINGS_WITH_PLANES; ++ring) {
        vNext.clear();
        for (const std::uint32_t number : vFront) {
            mesh.getRingVtx(mesh.getVtx(number), vRing);
            for (const Point3* pNeig : vRing)
                if (vSeen[numberOf(pNeig)] == 0) {
                    vSeen[numberOf(pNeig)] = 1;
                    vNext.push_back(numberOf(pNeig));
                }
        }
        vFlatVtx.insert(vFlatVtx.end(), vNext.begin(), vNext.end());
        vFront.swap(vNext);
    }
    std::sort(vFlatVtx.begin(), vFlatVtx.end());
}

void FacePlanes::fitPlanes()
{
    vPlane.resize(vFlatVtx.size());
    forRangeMT(vFlatVtx.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vPlane[i] = fitAround(mesh.getVtx(vFlatVtx[i]));
    });
    for (std::uint32_t place = 0; place < vFlatVtx.size(); ++place)
        if (!vPlane[place].plane.getNormal().isDegenerate())
            vPlaneOf[vFlatVtx[place]] = place;
}

// A plane without a normal where there is too little to fit, or too much noise. In some noise that of a wider
// piece of the face, if that is as plane: a plane is carried on over a few cells, and its tilt counts there.
FacePlane FacePlanes::fitAround(const Point3* pVtx) const
{
    const FacePlane face = fitTo(flatAround(pVtx, RINGS_FITTED, MAX_FITTED), vNormal[numberOf(pVtx)]);
    if (face.plane.getNormal().isDegenerate() || face.rms < NOISE_CELLS * mesh.getCellSize())
        return face;
    const FacePlane wide =
        fitTo(flatAround(pVtx, RINGS_IN_NOISE, MAX_FITTED_IN_NOISE), vNormal[numberOf(pVtx)]);
    return !wide.plane.getNormal().isDegenerate() && wide.rms <= MAX_RMS_RATIO * face.rms ? wide : face;
}

// The vertex and the flat ones around it, ring by ring.
std::vector<Point3*> FacePlanes::flatAround(const Point3* pVtx, int numRings, size_t maxNum) const
{
    std::vector<Point3*> vFlat = {mesh.getVtx(numberOf(pVtx))}, vRing;
    std::vector<std::uint32_t> vSeen = {numberOf(pVtx)}; // ascending
    size_t begin = 0;
    for (int ring = 0; ring < numRings; ++ring) {
        const size_t end = vFlat.size();
        for (; begin < end && vFlat.size() < maxNum; ++begin) {
            mesh.getRingVtx(vFlat[begin], vRing);
            for (Point3* pNeig : vRing) {
                const auto pos = std::lower_bound(vSeen.begin(), vSeen.end(), numberOf(pNeig));
                if (vNormal[numberOf(pNeig)].isDegenerate() ||
                    (pos != vSeen.end() && *pos == numberOf(pNeig)))
                    continue;
                vSeen.insert(pos, numberOf(pNeig));
                vFlat.push_back(pNeig);
            }
        }
    }
    return vFlat;
}

FacePlane FacePlanes::fitTo(std::vector<Point3*> vFitted, const Vector3& side) const
{
    FacePlane face;
    for (int fit = 0; fit < NUM_FITS; ++fit) { // each without what the one before found far off
        Vector3 normal;
        Point3 centroid;
        std::erase_if(vFitted, [&face](const Point3* p) {
            return face.plane.absDistance(*p) > OUTLIER_RMS * face.rms; // of the first fit, none
        });
        if (vFitted.size() < MIN_FITTED || !estimateNNV(vFitted, normal, centroid))
            return {};
        face.plane = Plane(centroid, normal * side < 0.0 ? normal * -1.0 : normal);
        double sum = 0.0;
        for (const Point3* p : vFitted)
            sum += std::pow(face.plane.signedDistance(*p), 2);
        face.rms = std::sqrt(sum / static_cast<double>(vFitted.size()));
    }
    return face.rms <= MAX_RMS_CELLS * mesh.getCellSize() ? face : FacePlane{};
}

// Each round reads what the round before has left.
void FacePlanes::spread()
{
    std::vector<std::uint32_t> vBest(vBentVtx.size());
    for (int round = 0; round < 2 * RINGS_BENT; ++round) {
        forRangeMT(vBentVtx.size(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                vBest[i] = bestOfNeighbours(mesh.getVtx(vBentVtx[i]));
        });
        for (size_t i = 0; i < vBest.size(); ++i)
            vPlaneOf[vBentVtx[i]] = vBest[i];
    }
}

std::uint32_t FacePlanes::bestOfNeighbours(const Point3* pVtx) const
{
    std::uint32_t best = vPlaneOf[numberOf(pVtx)];
    double least = best == NONE ? INFINITY : vPlane[best].plane.absDistance(*pVtx);
    std::vector<Point3*> vRing;
    mesh.getRingVtx(pVtx, vRing);
    for (const Point3* pNeig : vRing) {
        const std::uint32_t place = vPlaneOf[numberOf(pNeig)];
        if (place == NONE)
            continue;
        const FacePlane& face = vPlane[place];
        const double distance = face.plane.absDistance(*pVtx);
        if (distance < least &&
            distance <= std::max(MAX_DISTANCE_CELLS * mesh.getCellSize(), MAX_DISTANCE_RMS * face.rms)) {
            least = distance;
            best = place;
        }
    }
    return best;
}

} // namespace TESK_ZAN
