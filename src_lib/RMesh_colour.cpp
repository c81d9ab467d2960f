#include "RMesh.h"

#include "stageTrace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

// ---- Growing colour into colourless parts ----

struct ColorRecord {
    Point3* pVtx;
    unsigned char r, g, b, a;
};

class ColorWave
{
public:
    explicit ColorWave(const RMesh& mesh_) : mesh(mesh_) {}

    // The mean colour of the coloured neighbours, of which there must be one.
    ColorRecord mix(Point3* pVtx)
    {
        mesh.getRingVtx(pVtx, vRing);
        float r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
        float num = 0.0f;
        for (const Point3* pNeig : vRing)
            if (pNeig->hasColor()) {
                pNeig->addOwnColor(r, g, b, a);
                num += 1.0f;
            }
        return {pVtx, rounded(r / num), rounded(g / num), rounded(b / num), rounded(a / num)};
    }

    bool canMix(const Point3* pVtx)
    {
        mesh.getRingVtx(pVtx, vRing);
        return std::any_of(vRing.begin(), vRing.end(), [](const Point3* pNeig) { return pNeig->hasColor(); });
    }

    void appendColorless(const Point3* pVtx, std::vector<Point3*>& vOut)
    {
        mesh.getRingVtx(pVtx, vRing);
        std::copy_if(vRing.begin(), vRing.end(), std::back_inserter(vOut),
                     [](const Point3* pNeig) { return !pNeig->hasColor(); });
    }

private:
    static unsigned char rounded(float value)
    {
        return static_cast<unsigned char>(std::min(255.0, double(value) + 0.5));
    }

    const RMesh& mesh;
    std::vector<Point3*> vRing;
};

// ---- Stretching the contrast ----

using Histogram = std::array<u64, 256>;

struct ByteRange {
    int lo;
    int hi;
};

struct Channels {
    std::array<unsigned char, 3> rgb;
    unsigned char alpha;
};

Channels channelsOf(const Point3& p)
{
    Channels c{};
    p.getColor_255(c.rgb[0], c.rgb[1], c.rgb[2], c.alpha);
    return c;
}

// The range of all channels together; 255 and 0 without colours.
ByteRange fullRange(const Histogram& vHisto)
{
    ByteRange range{255, 0};
    for (int i = 0; i < 256; ++i) {
        if (vHisto[size_t(i)] == 0)
            continue;
        range.lo = std::min(range.lo, i);
        range.hi = i;
    }
    return range;
}

// The last bin, from first in steps of step, up to which fewer than count values stand; first if there is
// none. Never the bin at the other end.
int lastBinCut(const Histogram& vHisto, int first, int step, double count)
{
    int last = first;
    u64 sum = 0;
    for (int i = first; i != 255 - first; i += step) {
        sum += vHisto[size_t(i)];
        if (double(sum) >= count)
            break;
        last = i;
    }
    return last;
}

std::array<unsigned char, 256> stretchTable(const ByteRange& range)
{
    const double factor = 255.0 / (range.hi - range.lo);
    std::array<unsigned char, 256> vLookup{};
    for (int v = 0; v < 256; ++v)
        vLookup[size_t(v)] =
            static_cast<unsigned char>(std::clamp((v - range.lo) * factor + 0.5, 0.0, 255.0));
    return vLookup;
}

} // namespace

// A vertex is looked at once: when the wave comes to it, one of its neighbours has colour.
void RMesh::colorizeFilledHoles()
{
    if (!hasColor())
        return;
    const StageTimer stage("RM_fillcol");
    ColorWave wave(*this);
    std::vector<Point3*> vFrontVtx; // colourless neighbours of coloured vertices
    for (RVertex* pRecord : vVtx)
        if (!pRecord->point.hasColor() && wave.canMix(&pRecord->point))
            vFrontVtx.push_back(&pRecord->point);
    std::vector<ColorRecord> vRecords;
    while (!vFrontVtx.empty()) {
        vRecords.clear();
        for (Point3* pVtx : vFrontVtx)
            vRecords.push_back(wave.mix(pVtx));
        for (const ColorRecord& c : vRecords) // after all are computed: a wave does not feed itself
            c.pVtx->setColor(c.r, c.g, c.b, c.a);
        vFrontVtx.clear();
        for (const ColorRecord& c : vRecords)
            wave.appendColorless(c.pVtx, vFrontVtx);
        sortUniqueByNumber(vFrontVtx);
    }
}

void RMesh::contrastSpread(double lowFraction, double highFraction)
{
    constexpr int MAX_NARROW = 20;
    if (std::isnan(lowFraction) || std::isnan(highFraction))
        return;
    std::vector<Point3*> vP;
    getPoints(vP);
    Histogram vHisto{};
    for (const Point3* pVtx : vP)
        if (pVtx->hasColor())
            for (const unsigned char value : channelsOf(*pVtx).rgb)
                ++vHisto[value];

    ByteRange range = fullRange(vHisto);
    const double numValues = 3.0 * double(vP.size());
    if (range.hi - range.lo > MAX_NARROW) {
        range.lo = lastBinCut(vHisto, 0, 1, std::trunc(numValues * lowFraction));
        range.hi = lastBinCut(vHisto, 255, -1, std::trunc(numValues * highFraction));
    }
    if (range.hi <= range.lo)
        return;
    const std::array<unsigned char, 256> vLookup = stretchTable(range);
    for (Point3* pVtx : vP)
        if (pVtx->hasColor()) {
            const Channels c = channelsOf(*pVtx);
            pVtx->setColor(vLookup[c.rgb[0]], vLookup[c.rgb[1]], vLookup[c.rgb[2]], c.alpha);
        }
}

} // namespace TESK_ZAN
