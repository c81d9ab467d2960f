#include "colorDistance.h"

#include "RMesh.h"
#include "sortMT.h"
#include "tesk_tools/FixedPower.h"

#include <array>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

// sRGB to light, 0 to 100: a channel is a byte, so all values stand in a table.
constexpr std::array<float, 256> makeLightOfByte()
{
    constexpr TESK_TOOLS::FixedPower power0_4(0.4); // with a square in front it is the 2.4 of the curve
    std::array<float, 256> aLight{};
    for (size_t byte = 0; byte < aLight.size(); ++byte) {
        const float channel = float(byte) / 255.0f;
        const double base = double((channel + 0.055f) / 1.055f);
        const float light = channel > 0.04045f ? float(base * base * power0_4(base)) : channel / 12.92f;
        aLight[byte] = light * 100.0f;
    }
    return aLight;
}

constexpr std::array<float, 256> LIGHT_OF_BYTE = makeLightOfByte();
constexpr TESK_TOOLS::FixedPower CUBE_ROOT(1.0 / 3.0);

// The lightness curve of CIE L*a*b*: a cube root with a straight foot.
float labCurve(float t)
{
    return t > 0.008856f ? float(CUBE_ROOT(double(t))) : 7.787f * t + 0.13793103f;
}

} // namespace

LabColor toLab(const Point3& p)
{
    unsigned char byteR = 0, byteG = 0, byteB = 0, byteA = 0;
    p.getColor_255(byteR, byteG, byteB, byteA);
    const float r = LIGHT_OF_BYTE[byteR];
    const float g = LIGHT_OF_BYTE[byteG];
    const float b = LIGHT_OF_BYTE[byteB];
    const float curveX = labCurve((r * 0.4124f + g * 0.3576f + b * 0.1805f) / 95.047f);
    const float curveY = labCurve((r * 0.2126f + g * 0.7152f + b * 0.0722f) / 100.0f);
    const float curveZ = labCurve((r * 0.0193f + g * 0.1192f + b * 0.9505f) / 108.883f);
    return {116.0f * curveY - 16.0f, 500.0f * (curveX - curveY), 200.0f * (curveY - curveZ)};
}

float colorDistance(const LabColor& c0, const LabColor& c1)
{
    const float dL = c0.L - c1.L;
    const float da = c0.a - c1.a;
    const float db = c0.b - c1.b;
    return std::sqrt(dL * dL + da * da + db * db);
}

float colorDistance(const Point3& p0, const Point3& p1)
{
    return colorDistance(toLab(p0), toLab(p1));
}

LabCache::LabCache(const RMesh& mesh)
{
    if (!mesh.hasColor())
        return;
    vLab.resize(mesh.getNumVtx());
    forRangeMT(vLab.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vLab[i] = toLab(*mesh.getVtx(i));
    });
}

float LabCache::distance(const Point3* pVtx0, const Point3* pVtx1) const
{
    return colorDistance(vLab[numberOf(pVtx0)], vLab[numberOf(pVtx1)]);
}

} // namespace TESK_ZAN
