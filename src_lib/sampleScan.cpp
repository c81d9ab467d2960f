#include "sampleScan.h"

#include "definitions.h"
#include "random.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace TESK_ZAN
{

namespace
{

// The figure: a sitting toy bear with a scarf, z upwards, looking towards -y, within -1 to 1 on all axes. It
// is the zero set of a signed distance, blended from rounded bones and one ring.

struct Position {
    double x;
    double y;
    double z;
};

Position operator+(const Position& a, const Position& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Position operator-(const Position& a, const Position& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Position operator*(const Position& a, double factor)
{
    return {a.x * factor, a.y * factor, a.z * factor};
}
double dot(const Position& a, const Position& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

struct Colour {
    double r;
    double g;
    double b;
};

constexpr Colour FUR = {201, 146, 88};
constexpr Colour PALE = {238, 214, 172};
constexpr Colour ROSE = {226, 158, 140};
constexpr Colour DARK = {58, 42, 40};
constexpr Colour SCARF = {186, 48, 52};
constexpr Colour STRIPE = {244, 232, 208};

enum class Kind { BONE, RING };

struct Part {
    Kind kind;
    Position a;   // one end of a bone; the centre of a ring, which lies flat
    Position b;   // the other end
    double ra;    // radius at a; of a ring: from the centre to the middle of the tube
    double rb;    // radius at b; of a ring: of the tube
    double blend; // width of the soft seam to the parts before it
    Colour colour;
    bool bStripes;
};

// Radii change by at most a quarter of a bone's length, and blends keep the bound.
constexpr double LIPSCHITZ = 1.3;

constexpr size_t MAX_PARTS = 32;

std::vector<Part> makeParts()
{
    std::vector<Part> vParts;
    const auto bone = [&](Position a, Position b, double ra, double rb, double blend, const Colour& colour) {
        vParts.push_back({Kind::BONE, a, b, ra, rb, blend, colour, false});
    };
    const auto pair = [&](Position a, Position b, double ra, double rb, double blend, const Colour& colour) {
        bone(a, b, ra, rb, blend, colour);
        bone({-a.x, a.y, a.z}, {-b.x, b.y, b.z}, ra, rb, blend, colour);
    };
    bone({0, 0, -0.47}, {0, 0.02, 0.03}, 0.47, 0.35, 0.05, FUR);                       // body
    bone({-0.07, -0.04, 0.5}, {0.07, -0.04, 0.5}, 0.38, 0.38, 0.12, FUR);              // head
    pair({0.29, -0.15, -0.74}, {0.42, -0.62, -0.8}, 0.22, 0.17, 0.08, FUR);            // legs
    pair({0.42, -0.7, -0.81}, {0.44, -0.74, -0.66}, 0.18, 0.17, 0.08, FUR);            // feet
    pair({0.34, -0.02, -0.02}, {0.57, -0.32, -0.32}, 0.15, 0.13, 0.06, FUR);           // arms
    pair({0.31, 0.02, 0.83}, {0.32, 0.03, 0.84}, 0.16, 0.16, 0.05, FUR);               // ears
    bone({0, 0.46, -0.72}, {0, 0.5, -0.7}, 0.15, 0.15, 0.06, FUR);                     // tail
    bone({0, -0.15, -0.47}, {0, -0.14, -0.4}, 0.36, 0.36, 0.03, PALE);                 // belly
    bone({-0.03, -0.36, 0.42}, {0.03, -0.36, 0.42}, 0.18, 0.18, 0.05, PALE);           // muzzle
    pair({0.32, -0.1, 0.835}, {0.32, -0.09, 0.84}, 0.085, 0.085, 0.02, ROSE);          // inner ears
    pair({0.43, -0.83, -0.7}, {0.43, -0.83, -0.68}, 0.11, 0.11, 0.02, ROSE);           // soles
    pair({0.59, -0.41, -0.4}, {0.59, -0.41, -0.39}, 0.075, 0.075, 0.02, ROSE);         // palms
    bone({-0.035, -0.535, 0.49}, {0.035, -0.535, 0.49}, 0.052, 0.052, 0.01, DARK);     // nose
    pair({0.155, -0.4, 0.6}, {0.155, -0.4, 0.61}, 0.045, 0.045, 0.01, DARK);           // eyes
    vParts.push_back({Kind::RING, {0, 0, 0.15}, {}, 0.33, 0.085, 0.015, SCARF, true}); // scarf
    vParts.push_back(
        {Kind::BONE, {0.17, -0.33, 0.11}, {0.24, -0.5, -0.2}, 0.075, 0.085, 0.015, SCARF, true}); // its end
    return vParts;
}

double distanceTo(const Part& part, const Position& p)
{
    const Position pa = p - part.a;
    if (part.kind == Kind::RING) {
        const double across = std::sqrt(pa.x * pa.x + pa.y * pa.y) - part.ra;
        return std::sqrt(across * across + pa.z * pa.z) - part.rb;
    }
    const Position ba = part.b - part.a;
    const double t = std::clamp(dot(pa, ba) / dot(ba, ba), 0.0, 1.0);
    const Position away = pa - ba * t;
    return std::sqrt(dot(away, away)) - (part.ra + t * (part.rb - part.ra));
}

double softMin(double a, double b, double blend)
{
    const double overlap = std::max(blend - std::fabs(a - b), 0.0) / blend;
    return std::min(a, b) - overlap * overlap * blend * 0.25;
}

// The parts that matter within a cell of space.
struct ActiveParts {
    std::array<const Part*, MAX_PARTS> aParts;
    size_t num = 0;
};

double signedDistance(const ActiveParts& active, const Position& p)
{
    double dist = DBL_MAX;
    for (size_t i = 0; i < active.num; ++i)
        dist = softMin(dist, distanceTo(*active.aParts[i], p), active.aParts[i]->blend);
    return dist;
}

// From four values at the corners of a tetrahedron.
Position gradient(const ActiveParts& active, const Position& p)
{
    constexpr double STEP = 1e-4;
    constexpr Position CORNERS[4] = {{1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, 1}};
    Position sum = {0, 0, 0};
    for (const Position& corner : CORNERS)
        sum = sum + corner * signedDistance(active, p + corner * STEP);
    return sum * (0.25 / STEP);
}

// Smooth noise in -1 to 1 with features of size 1: random numbers at the corners of the unit lattice,
// blended.
double latticeNoise(const Position& p)
{
    constexpr double SHIFT = 1024.0; // keeps the lattice numbers positive
    const double c[3] = {p.x + SHIFT, p.y + SHIFT, p.z + SHIFT};
    std::uint64_t low[3];
    double part[3];
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] = std::uint64_t(c[axis]);
        const double f = c[axis] - double(low[axis]);
        part[axis] = f * f * (3.0 - 2.0 * f);
    }
    double sum = 0.0;
    for (unsigned corner = 0; corner < 8; ++corner) {
        double weight = 1.0;
        std::uint64_t key = 0;
        for (unsigned axis = 0; axis < 3; ++axis) {
            const unsigned up = (corner >> axis) & 1;
            weight *= up == 1 ? part[axis] : 1.0 - part[axis];
            key = (key << 21) | (low[axis] + up);
        }
        sum += weight * randomAt(5, 0, key);
    }
    return 2.0 * sum - 1.0;
}

// Stripes that run round the scarf's ring, by an angle made without trigonometry: 0 to 4 for a full turn.
bool isStripe(const Position& p)
{
    const double span = std::fabs(p.x) + std::fabs(p.y);
    const double angle = p.y < 0.0 ? 3.0 - p.x / span : 1.0 + p.x / span;
    return std::uint64_t(angle * 6.0 + (p.y < -0.3 ? (0.15 - p.z) * 12.0 : 0.0)) % 4 == 1;
}

Colour colourAt(const ActiveParts& active, const Position& p)
{
    constexpr double SEAM = 0.012; // over which one colour turns into the next
    double nearest = DBL_MAX;
    for (size_t i = 0; i < active.num; ++i)
        nearest = std::min(nearest, distanceTo(*active.aParts[i], p));
    Colour sum = {0, 0, 0};
    double sumWeights = 0.0;
    for (size_t i = 0; i < active.num; ++i) {
        const Part& part = *active.aParts[i];
        const double closeness = 1.0 - (distanceTo(part, p) - nearest) / SEAM;
        if (closeness <= 0.0)
            continue;
        const Colour& colour = part.bStripes && isStripe(p) ? STRIPE : part.colour;
        const double weight = closeness * closeness;
        sum = {sum.r + weight * colour.r, sum.g + weight * colour.g, sum.b + weight * colour.b};
        sumWeights += weight;
    }
    const double shade = 1.0 + 0.07 * latticeNoise(p * 9.0) + 0.05 * latticeNoise(p * 31.0);
    const double factor = shade / sumWeights;
    return {sum.r * factor, sum.g * factor, sum.b * factor};
}

// Where the scanner could not look: behind, under and between things.
bool isHidden(const Position& p)
{
    struct Ball {
        Position centre;
        double radius;
    };
    static constexpr Ball BALLS[] = {
        {{0.33, -0.25, -0.2}, 0.05},   // between arm and body
        {{-0.44, -0.06, -0.27}, 0.04}, // the other arm
        {{0.04, -0.35, -0.78}, 0.055}, // between the legs
        {{-0.03, 0.42, -0.86}, 0.05},  // under the tail
        {{0.02, 0.29, 0.25}, 0.04},    // behind the scarf
        {{0.31, -0.45, -0.2}, 0.05},   // behind its end
        {{-0.21, 0.13, 0.81}, 0.03},   // behind an ear
    };
    for (const Ball& ball : BALLS) {
        const Position away = p - ball.centre;
        const double rim = ball.radius * (1.0 + 0.35 * latticeNoise(p * 40.0)); // ragged
        if (dot(away, away) < rim * rim)
            return true;
    }
    return false;
}

// Thins random candidates on the surface so that no two kept ones are closer than minDist: even without rows.
class ScanSampler
{
public:
    ScanSampler(std::vector<Point3>& vPointsOut, double spacingAimed, size_t numExpected)
        : vPoints(vPointsOut), spacing(spacingAimed), minDist(0.77 * spacingAimed), vParts(makeParts())
    {
        mCellHead.reserve(numExpected);
    }

    void run();

private:
    void refine(const Position& centre, double half, const ActiveParts& active);
    void sampleCell(const Position& centre, double half, const ActiveParts& active);
    bool moveToSurface(const ActiveParts& active, Position& p, Position& normal) const;
    bool claim(const Position& p);
    void emit(const ActiveParts& active, const Position& p, const Position& normal);

    static constexpr std::uint32_t NONE = ~std::uint32_t{0};

    std::vector<Point3>& vPoints;
    const double spacing;
    const double minDist;
    const std::vector<Part> vParts;
    Random random{20};

    // Kept positions in cells of size minDist: a cell's list is chained through vNext.
    TESK_TOOLS::FlatMap<u64, std::uint32_t, TESK_TOOLS::U64Hash> mCellHead;
    std::vector<Position> vKept;
    std::vector<std::uint32_t> vNext;
};

constexpr double BOX = 1.1;            // half the cube that holds the figure
constexpr int CANDIDATES_PER_CELL = 3; // in cells of the size of the spacing: enough to leave no place empty

void ScanSampler::run()
{
    ActiveParts active;
    for (const Part& part : vParts)
        active.aParts[active.num++] = &part;
    double half = 0.5 * spacing;
    while (half < BOX)
        half *= 2.0;
    refine({0, 0, 0}, half, active);
}

// Halves the cells that the surface may pass, down to the spacing.
void ScanSampler::refine(const Position& centre, double half, const ActiveParts& active)
{
    const double reach = LIPSCHITZ * half * 1.7321; // to the corners
    std::array<double, MAX_PARTS> aDist;
    double dist = DBL_MAX;
    double nearest = DBL_MAX;
    for (size_t i = 0; i < active.num; ++i) {
        aDist[i] = distanceTo(*active.aParts[i], centre);
        nearest = std::min(nearest, aDist[i]);
        dist = softMin(dist, aDist[i], active.aParts[i]->blend);
    }
    if (std::fabs(dist) > reach)
        return;
    ActiveParts inside;
    for (size_t i = 0; i < active.num; ++i)
        if (aDist[i] < nearest + 3.0 * reach + 2.0 * active.aParts[i]->blend) // beyond the corners, too
            inside.aParts[inside.num++] = active.aParts[i];
    if (half < 0.75 * spacing) {
        sampleCell(centre, half, inside);
        return;
    }
    for (int child = 0; child < 8; ++child) {
        const double quarter = 0.5 * half;
        const Position step = {(child & 4) != 0 ? quarter : -quarter, (child & 2) != 0 ? quarter : -quarter,
                               (child & 1) != 0 ? quarter : -quarter};
        refine(centre + step, quarter, inside);
    }
}

void ScanSampler::sampleCell(const Position& centre, double half, const ActiveParts& active)
{
    for (int i = 0; i < CANDIDATES_PER_CELL; ++i) {
        const double x = 2.0 * random.uniform() - 1.0;
        const double y = 2.0 * random.uniform() - 1.0;
        const double z = 2.0 * random.uniform() - 1.0;
        Position p = centre + Position{x, y, z} * half;
        Position normal;
        if (moveToSurface(active, p, normal) && claim(p) && !isHidden(p))
            emit(active, p, normal);
    }
}

// Newton steps along the gradient. False where they do not end on the surface, as at a sharp seam.
bool ScanSampler::moveToSurface(const ActiveParts& active, Position& p, Position& normal) const
{
    double dist = signedDistance(active, p);
    for (int step = 0; step < 3; ++step) {
        normal = gradient(active, p);
        const double sqLength = dot(normal, normal);
        if (sqLength < 0.01)
            return false;
        p = p - normal * (dist / sqLength);
        dist = signedDistance(active, p);
        if (std::fabs(dist) < 0.02 * spacing) {
            normal = normal * (1.0 / std::sqrt(sqLength));
            return true;
        }
    }
    return false;
}

// Keeps p unless a kept position is too close.
bool ScanSampler::claim(const Position& p)
{
    constexpr double SHIFT = 4.0; // beyond the figure: cell numbers stay positive
    const u64 cx = u64((p.x + SHIFT) / minDist);
    const u64 cy = u64((p.y + SHIFT) / minDist);
    const u64 cz = u64((p.z + SHIFT) / minDist);
    const auto keyOf = [](u64 x, u64 y, u64 z) { return (x << 42) | (y << 21) | z; };
    for (u64 x = cx - 1; x <= cx + 1; ++x)
        for (u64 y = cy - 1; y <= cy + 1; ++y)
            for (u64 z = cz - 1; z <= cz + 1; ++z) {
                const std::uint32_t* pHead = mCellHead.find(keyOf(x, y, z));
                for (std::uint32_t i = pHead == nullptr ? NONE : *pHead; i != NONE; i = vNext[i]) {
                    const Position away = vKept[i] - p;
                    if (dot(away, away) < minDist * minDist)
                        return false;
                }
            }
    const std::uint32_t index = std::uint32_t(vKept.size());
    const auto [pHead, bNew] = mCellHead.tryEmplace(keyOf(cx, cy, cz), index);
    vNext.push_back(bNew ? NONE : *pHead);
    *pHead = index;
    vKept.push_back(p);
    return true;
}

void ScanSampler::emit(const ActiveParts& active, const Position& p, const Position& normal)
{
    const double unitNoise = 2.0 * (random.uniform() + random.uniform() + random.uniform() - 1.5); // sigma 1
    const Position q = p + normal * (0.1 * spacing * unitNoise);
    const Colour colour = colourAt(active, p);
    const auto byte = [](double value) { return static_cast<unsigned char>(std::clamp(value, 0.0, 255.0)); };
    vPoints.emplace_back(q.x, q.y, q.z, byte(colour.r), byte(colour.g), byte(colour.b), 255);
}

} // namespace

void makeSampleScan(std::vector<Point3>& vPoints, size_t numPoints)
{
    if (numPoints == 0)
        return;
    constexpr double FIT = 7.87; // squared spacing times number of points, as it comes out
    ScanSampler sampler(vPoints, std::sqrt(FIT / double(numPoints)), numPoints);
    sampler.run();
}

} // namespace TESK_ZAN
