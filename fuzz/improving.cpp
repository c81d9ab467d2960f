// The bytes are a small mesh and calls on it, one after the other.
#include "inputs.h"

#include "RMesh.h"
#include "helpers/inFolder.h"
#include "helpers/tempDir.h"

#include <array>
#include <limits>

using namespace TESK_ZAN;

namespace zan_fuzz
{

namespace
{

constexpr int MAX_CALLS = 6;
constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

void callReduce(ByteSource& source, const std::shared_ptr<Mesh>& pMesh)
{
    constexpr std::array LENGTHS{INF, 1.0, 2.0, 4.0, 0.0, -1.0, NOT_A_NUMBER, 1e-3};
    constexpr std::array ANGLES{0.0, 1.0, 10.0, 30.0, 90.0, 180.0, NOT_A_NUMBER, 400.0};
    const double maxLen = source.oneOf(LENGTHS) * pMesh->getCellSize();
    const std::size_t numBefore = pMesh->getNumT();
    const int numRemoved = reduce(pMesh, maxLen, source.oneOf(ANGLES));
    require(numRemoved >= 0 && pMesh->getNumT() + std::size_t(numRemoved) <= numBefore,
            "as many triangles go as the call says, and flat ones");
}

void callFindHoles(const std::shared_ptr<Mesh>& pMesh)
{
    static const zan_test::TempDir folder;
    const zan_test::InFolder inFolder(folder.path());
    findHoles(pMesh);
}

void callOne(ByteSource& source, const std::shared_ptr<Mesh>& pMesh)
{
    constexpr std::array MAX_EDGES{0, 3, 4, 6, 5, -1, 8, 4};
    constexpr std::array FRACTIONS{0.01, 0.0, 0.2, 0.49, 0.7, -1.0, NOT_A_NUMBER, INF};
    switch (source.below(16)) {
    case 0:
    case 1:
        return edgeFlips(pMesh);
    case 2: // takes long for what it reaches
        return pMesh->getNumT() > 40 ? edgeFlips(pMesh) : edgeFlipsSimA(pMesh);
    case 3:
    case 4:
    case 5:
        return callReduce(source, pMesh);
    case 6:
    case 7:
    case 8:
        return laplacianSmoothing(pMesh, source.below(5) - 1);
    case 9:
        require(repairShapes(pMesh) >= 0, "a number of steps");
        return;
    case 10: // as the annealing, and more so
        if (pMesh->getNumT() <= 40)
            require(closeHoles(pMesh, source.oneOf(MAX_EDGES)) >= 0, "a number of holes");
        return;
    case 11:
    case 12:
        return pMesh->getRMesh()->smoothZeros(source.below(5) - 1);
    case 13:
        return pMesh->colorizeFilledHoles();
    case 14: {
        const double low = source.oneOf(FRACTIONS);
        return pMesh->contrastSpread(low, source.oneOf(FRACTIONS));
    }
    default:
        return callFindHoles(pMesh);
    }
}

// A mesh of triangles as they are, or a reconstruction with its zero vertices and its lattice.
std::shared_ptr<Mesh> decodeMesh(ByteSource& source, std::array<std::uint8_t, 2 * MAX_CALLS>& callBytes)
{
    const int kind = source.below(4);
    for (std::uint8_t& b : callBytes)
        b = source.byte();
    if (kind == 0) {
        Points vPoints = decodeCloud(source);
        return reconstruct_auto(vPoints, 1.0, 2);
    }
    Points vCorners = decodeSoup(source);
    vCorners.resize(vCorners.size() / 3 * 3);
    return meshFromTriangles(vCorners);
}

} // namespace

void improveMesh(Bytes bytes)
{
    ByteSource source(bytes);
    std::array<std::uint8_t, 2 * MAX_CALLS> callBytes{};
    std::shared_ptr<Mesh> pMesh;
    if (refusesArguments([&] { pMesh = decodeMesh(source, callBytes); }) || pMesh == nullptr)
        return;
    bool bManifold = checkMesh(*pMesh);
    ByteSource calls(callBytes);
    while (!calls.empty()) {
        require(!refusesArguments([&] { callOne(calls, pMesh); }), "no call on a mesh fails");
        const bool bStill = checkMesh(*pMesh);
        require(bStill || !bManifold, "a manifold stays one");
        bManifold = bStill;
    }
}

} // namespace zan_fuzz
