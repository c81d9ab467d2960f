// The bytes are a cloud or a soup, and the arguments of a call.
#include "inputs.h"

#include <array>

using namespace TESK_ZAN;

namespace zan_fuzz
{

namespace
{

constexpr int FINEST_CLOUD = 12;
constexpr int FINEST_SOUP = 8;
constexpr int FINEST_BRIDGED = 5;

// Now and then the call is made a second time.
void checkMeshRoad(const std::function<std::shared_ptr<Mesh>()>& road, bool bTwice)
{
    std::shared_ptr<Mesh> pMesh;
    if (refusesArguments([&] { pMesh = road(); }))
        return;
    checkResult(pMesh);
    if (bTwice)
        require(sameBytes(cornersOf(pMesh), cornersOf(road())), "the same result again");
}

// vBefore: what the vector holds that the call appends to.
void checkPointRoad(const std::function<void(Points&)>& road, bool bTwice)
{
    const Point3 before(9.0, 8.0, 7.0);
    Points vResult{before};
    if (refusesArguments([&] { road(vResult); })) {
        require(vResult.size() == 1, "a refused call appends nothing");
        return;
    }
    require(!vResult.empty() && vResult.front() == before, "what stood before stays");
    require(allFinite(vResult), "the points are finite");
    if (!bTwice)
        return;
    Points vAgain{before};
    road(vAgain);
    require(sameBytes(vResult, vAgain), "the same result again");
}

bool isTwice(ByteSource& source)
{
    return source.below(16) == 1;
}

} // namespace

void reconstructDetected(Bytes bytes)
{
    constexpr std::array FACTORS{1.0, 1.0, 1.5, 2.0, 0.7, 3.0, 0.3, -1.0};
    ByteSource source(bytes);
    const double factor = source.oneOf(FACTORS);
    const int fillSize = decodeFillSize(source);
    const bool bTwice = isTwice(source);
    Points vPoints = decodeCloud(source);
    checkMeshRoad([&] { return reconstruct_auto(vPoints, factor, fillSize); }, bTwice);
}

void reconstructGiven(Bytes bytes)
{
    ByteSource source(bytes);
    const int fillSize = decodeFillSize(source);
    const bool bTwice = isTwice(source);
    std::array<std::uint8_t, 3> spacingBytes{source.byte(), source.byte(), source.byte()};
    Points vPoints = decodeCloud(source);
    ByteSource spacingSource(spacingBytes);
    const double spacing = decodeSpacing(spacingSource, vPoints, FINEST_CLOUD);
    checkMeshRoad([&] { return reconstruct_abs(vPoints, spacing, fillSize); }, bTwice);
}

namespace
{

struct SoupArguments {
    SoupArguments(ByteSource& source, int finest)
    {
        bTwice = isTwice(source);
        featureAngle = decodeAngle(source);
        const std::array<std::uint8_t, 3> spacingBytes{source.byte(), source.byte(), source.byte()};
        vCorners = decodeSoup(source);
        ByteSource spacingSource(spacingBytes);
        spacing = decodeSpacing(spacingSource, vCorners, finest);
    }

    Points vCorners;
    double spacing = 0.0;
    double featureAngle = 0.0;
    bool bTwice = false;
};

} // namespace

void meltSoup(Bytes bytes)
{
    ByteSource source(bytes);
    SoupArguments a(source, FINEST_SOUP);
    checkMeshRoad([&] { return melt(a.vCorners, a.spacing, a.featureAngle); }, a.bTwice);
}

void cloudOfSoup(Bytes bytes)
{
    ByteSource source(bytes);
    SoupArguments a(source, FINEST_SOUP);
    checkPointRoad([&](Points& vResult) { toCloud(a.vCorners, a.spacing, a.featureAngle, vResult); },
                   a.bTwice);
}

void bridgeSoup(Bytes bytes)
{
    constexpr std::array STEPS{1, 2, 3, 1, 5, 0, -1, 2};
    ByteSource source(bytes);
    const int growSteps = source.oneOf(STEPS);
    SoupArguments a(source, FINEST_BRIDGED);
    checkPointRoad(
        [&](Points& vResult) { fillGaps(a.vCorners, a.spacing, a.featureAngle, growSteps, vResult); },
        a.bTwice);
}

} // namespace zan_fuzz
