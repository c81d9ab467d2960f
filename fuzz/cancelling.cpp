// The bytes are a call, its input, and the notification at which the subscriber has had enough.
#include "inputs.h"

#include "Progress.h"
#include "helpers/impatient.h"

#include <array>

using namespace TESK_ZAN;
using zan_test::HadEnough;
using zan_test::Impatient;

namespace zan_fuzz
{

namespace
{

// All that a call gives. pMesh: the mesh that it changes; null for calls that change none.
using Call = std::function<Points(std::shared_ptr<Mesh>& pMesh)>;

Call decodeCall(ByteSource& source)
{
    constexpr int FINEST = 6;
    const int which = source.below(9);
    const int fillSize = decodeFillSize(source);
    if (which == 0) {
        const Points vPoints = decodeCloud(source);
        return [vPoints, fillSize](std::shared_ptr<Mesh>&) {
            Points vCopy = vPoints;
            return cornersOf(reconstruct_auto(vCopy, 1.5, fillSize));
        };
    }
    const std::array<std::uint8_t, 3> spacingBytes{source.byte(), source.byte(), source.byte()};
    const Points vCorners = decodeSoup(source);
    ByteSource spacingSource(spacingBytes);
    const double spacing = decodeSpacing(spacingSource, vCorners, FINEST);
    return [which, vCorners, spacing](std::shared_ptr<Mesh>& pMesh) {
        Points vCopy = vCorners;
        Points vResult;
        switch (which) {
        case 1:
            return cornersOf(melt(vCopy, spacing, 30.0));
        case 2:
            toCloud(vCopy, spacing, 30.0, vResult);
            return vResult;
        case 3:
            fillGaps(vCopy, spacing, 30.0, 2, vResult);
            return vResult;
        default:
            break;
        }
        pMesh = meshFromTriangles(vCopy);
        switch (which) {
        case 4:
            edgeFlips(pMesh);
            break;
        case 5:
            edgeFlipsSimA(pMesh);
            break;
        case 6:
            reduce(pMesh, 4.0 * spacing, 40.0);
            break;
        case 7:
            laplacianSmoothing(pMesh, 3);
            break;
        default:
            closeHoles(pMesh, 0);
        }
        return cornersOf(pMesh);
    };
}

} // namespace

void cancelCalls(Bytes bytes)
{
    ByteSource source(bytes);
    const int throwAt = 1 + source.byte();
    const Call call = decodeCall(source);
    std::shared_ptr<Mesh> pMesh;
    Points vExpected;
    if (refusesArguments([&] { vExpected = call(pMesh); }))
        return;
    pMesh = nullptr;
    bool bCancelled = false;
    try {
        Impatient impatient(throwAt);
        refusesArguments([&] { call(pMesh); });
    } catch (const HadEnough&) {
        bCancelled = true;
    }
    require(getRootProgress()->getName() == "empty", "no tree is left open");
    if (!bCancelled)
        return;
    if (pMesh != nullptr)
        checkMesh(*pMesh);
    refusesArguments(
        [&] { require(sameBytes(call(pMesh), vExpected), "a cancelled call leaves nothing behind"); });
}

} // namespace zan_fuzz
