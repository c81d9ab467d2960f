// Point3, Vector3, Plane and the hash of positions.
#include "Plane.h"
#include "Point3.h"
#include "Point3Hash.h"
#include "Vector3.h"
#include "helpers/captured.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <type_traits>

using namespace TESK_ZAN;

namespace
{

std::array<int, 4> bytesOf(const Point3& p)
{
    unsigned char r, g, b, a;
    p.getColor_255(r, g, b, a);
    return {r, g, b, a};
}

Vector3 randomVector(Random& random)
{
    return Vector3(random.uniform() - 0.5, random.uniform() - 0.5, random.uniform() - 0.5);
}

} // namespace

TEST(Point3, IsAPlainValueOf32Bytes)
{
    EXPECT_EQ(sizeof(Point3), 32u);
    EXPECT_TRUE(std::is_trivially_copyable_v<Point3>);
    EXPECT_FALSE(std::is_polymorphic_v<Point3>);
    const Point3 p;
    EXPECT_TRUE(p == Point3(0, 0, 0));
    EXPECT_FALSE(p.hasColor());
    EXPECT_EQ(bytesOf(p), (std::array{0, 0, 0, 0}));
}

TEST(Point3, ColourTakesNoPartInComparisons)
{
    EXPECT_TRUE(Point3(1, 2, 3, 9, 8, 7, 6) == Point3(1, 2, 3));
    EXPECT_FALSE(Point3(1, 2, 3, 9, 8, 7, 6) != Point3(1, 2, 3));
    EXPECT_FALSE(Point3(1, 2, 3, 9, 8, 7, 6) < Point3(1, 2, 3));
}

TEST(Point3, OrderIsLexicographicAndBothOperatorsAgree)
{
    Random random(1);
    for (int i = 0; i < 2000; ++i) {
        auto coordinate = [&] { return double(random.below(3)) - 1.0; }; // few values: many ties
        const std::array<double, 3> a{coordinate(), coordinate(), coordinate()};
        const std::array<double, 3> b{coordinate(), coordinate(), coordinate()};
        const Point3 p(a[0], a[1], a[2]), q(b[0], b[1], b[2]);
        EXPECT_EQ(p < q, a < b);
        EXPECT_EQ(p > q, a > b);
        EXPECT_EQ(p == q, a == b);
        EXPECT_EQ(p != q, a != b);
    }
}

TEST(Point3, CopiesCarryTheColourButMovesAndSettersDoNotTouchIt)
{
    const Point3 coloured(1, 2, 3, 10, 20, 30, 40);
    Point3 copy = coloured;
    EXPECT_EQ(bytesOf(copy), (std::array{10, 20, 30, 40}));
    EXPECT_TRUE(copy.hasColor());

    copy.set(4, 5, 6);
    EXPECT_TRUE(copy.hasColor());
    copy.set(Point3(7, 8, 9, 1, 1, 1, 1));
    EXPECT_TRUE(copy == Point3(7, 8, 9));
    EXPECT_EQ(bytesOf(copy), (std::array{10, 20, 30, 40}));

    for (const Point3& moved : {coloured + Vector3(1, 1, 1), coloured - Vector3(-1, -1, -1)}) {
        EXPECT_TRUE(moved == Point3(2, 3, 4));
        EXPECT_FALSE(moved.hasColor());
        EXPECT_EQ(bytesOf(moved), (std::array{0, 0, 0, 0}));
    }

    copy.copyColorFrom(Point3(0, 0, 0));
    EXPECT_FALSE(copy.hasColor());
    copy.copyColorFrom(coloured);
    EXPECT_TRUE(copy.hasColor());
}

TEST(Point3, ColourOfAPairIsTheRoundedMeanForAllBytes)
{
    for (int c0 = 0; c0 < 256; ++c0) {
        for (int c1 = 0; c1 < 256; ++c1) {
            const auto b0 = static_cast<unsigned char>(c0);
            const auto b1 = static_cast<unsigned char>(c1);
            Point3 p;
            p.copyColorFrom(Point3(0, 0, 0, b0, 0, 0, b0), Point3(0, 0, 0, b1, 0, 0, b1));
            const int expected = int(0.5 * (c0 + c1) + 0.5);
            ASSERT_EQ(bytesOf(p), (std::array{expected, 0, 0, expected})) << c0 << " and " << c1;
        }
    }
}

TEST(Point3, ColourOfAPairWithOneOrNoColour)
{
    const Point3 coloured(0, 0, 0, 11, 20, 30, 41), plain(1, 1, 1);
    Point3 p;
    p.copyColorFrom(plain, coloured);
    EXPECT_EQ(bytesOf(p), (std::array{11, 20, 30, 41}));
    p = plain;
    p.copyColorFrom(coloured, plain);
    EXPECT_EQ(bytesOf(p), (std::array{11, 20, 30, 41}));
    p.copyColorFrom(plain, plain);
    EXPECT_FALSE(p.hasColor());
    EXPECT_EQ(bytesOf(p), (std::array{11, 20, 30, 41})); // the bytes stay
}

TEST(Point3, PairColourMayBeTakenFromOneself)
{
    Point3 p(0, 0, 0, 10, 20, 30, 40);
    p.copyColorFrom(p, Point3(0, 0, 0, 11, 20, 30, 41));
    EXPECT_EQ(bytesOf(p), (std::array{11, 20, 30, 41}));
    p.copyColorFrom(Point3(), p);
    EXPECT_EQ(bytesOf(p), (std::array{11, 20, 30, 41}));
}

TEST(Point3, ColourFormsAndSums)
{
    const Point3 p(1, 2, 3, 255, 0, 51, 102);
    EXPECT_EQ(p.getColorString(), "1 0 0.2 0.4");
    float r = 1, g = 1, b = 1, a = 1;
    p.addOwnColor(r, g, b, a);
    EXPECT_EQ(r, 256.0f);
    EXPECT_EQ(a, 103.0f);
    p.getColor_1(r, g, b, a);
    EXPECT_EQ(b, 51.0f / 255.0f);
    p.getColor_255(r, g, b, a);
    EXPECT_EQ(r, 255.0f);

    double x = 1, y = 1, z = 1;
    p.addOwnCoords(x, y, z);
    p.addOwnCoordsW(x, y, z, 2.0);
    p.addWeightedOwnCoords(10.0, x, y, z);
    EXPECT_TRUE(Point3(x, y, z) == Point3(14, 27, 40));
}

TEST(Point3Hash, EqualPointsHashEquallyWhateverSignOfZeroAndColour)
{
    const Point3Hash hash;
    EXPECT_EQ(hash(Point3(0.0, -0.0, 1.0)), hash(Point3(-0.0, 0.0, 1.0, 1, 2, 3, 4)));
    EXPECT_NE(hash(Point3(1, 2, 3)), hash(Point3(3, 2, 1)));
    EXPECT_NE(hash(Point3(1, 2, 3)), hash(Point3(-1, 2, 3)));
}

TEST(Point3Hash, GridOfPointsHasNoCollisionsAndFillsSlotsEvenly)
{
    std::set<std::uint64_t> sHashes;
    std::array<int, 64> aCounts{};
    for (int x = 0; x < 32; ++x)
        for (int y = 0; y < 32; ++y)
            for (int z = 0; z < 32; ++z) {
                const std::uint64_t hash = Point3Hash()(Point3(x, y, z));
                sHashes.insert(hash);
                ++aCounts[hash % 64];
            }
    EXPECT_EQ(sHashes.size(), 32u * 32 * 32);
    for (int count : aCounts)
        EXPECT_NEAR(count, 512, 150); // more than six standard deviations
}

TEST(Vector3, InPlaceAndFreeOperatorsAgree)
{
    Random random(2);
    for (int i = 0; i < 200; ++i) {
        const Vector3 a = randomVector(random), b = randomVector(random);
        Vector3 sum = a, difference = a, product = a, quotient = a;
        sum += b;
        difference -= b;
        product *= 3.0;
        quotient /= 3.0;
        EXPECT_TRUE((sum - (a + b)).isDegenerate());
        EXPECT_TRUE((difference - (a - b)).isDegenerate());
        EXPECT_TRUE((product - 3.0 * a).isDegenerate());
        EXPECT_TRUE((quotient - a / 3.0).isDegenerate());
        EXPECT_NEAR(crossProd(a, b) * a, 0.0, 1e-15);
        EXPECT_NEAR(crossProd(a, b).sqLength() + (a * b) * (a * b), a.sqLength() * b.sqLength(), 1e-15);
    }
    const Vector3 xCrossY = crossProd(Vector3(1, 0, 0), Vector3(0, 1, 0));
    EXPECT_EQ(xCrossY.z(), 1.0);
}

TEST(Vector3, LargestComponentsAndTheirIndex)
{
    const Vector3 v(-3, 2, 1);
    EXPECT_EQ(v.getMaxComponent(), 2.0);
    EXPECT_EQ(v.getMaxAbsComponent(), 3.0);
    EXPECT_EQ(v.getMaxAbsIndex(), 0);
    EXPECT_EQ(Vector3(1, -1, 1).getMaxAbsIndex(), 0);
    EXPECT_EQ(Vector3(0, -1, 1).getMaxAbsIndex(), 1);
    EXPECT_EQ(Vector3(0, 1, -2).getMaxAbsIndex(), 2);
}

TEST(Vector3, WrongComponentIndexComplainsAndGivesTheLargestDouble)
{
    zan_test::CapturedMessages messages;
    const Vector3 v(1, 2, 3);
    EXPECT_EQ(v.getCartesian(0) + 10 * v.getCartesian(1) + 100 * v.getCartesian(2), 321.0);
    EXPECT_EQ(messages.text(), "");
    EXPECT_EQ(v.getCartesian(3), std::numeric_limits<double>::max());
    EXPECT_TRUE(messages.has("getCartesian for i=3"));
}

TEST(Vector3, UnitToleranceIsOnTheSquaredLength)
{
    EXPECT_TRUE(Vector3(1.01, 0, 0).isNV());
    EXPECT_FALSE(Vector3(1.02, 0, 0).isNV());
    EXPECT_FALSE(Vector3().isNV());
}

TEST(Vector3, NormalizeOfANullVectorComplainsAndGoesOn)
{
    zan_test::CapturedMessages messages;
    EXPECT_NEAR(normalize(Vector3(3, 4, 12)).length(), 1.0, 1e-15);
    EXPECT_EQ(messages.text(), "");
    EXPECT_TRUE(normalize(Vector3()).isDegenerate());
    EXPECT_EQ(messages.text(), "\n\n** warning: normalize(const Vector3& other), Null length vector!\n");
}

TEST(Vector3, NormalizeSurvivesASquaredLengthThatUnderflows)
{
    zan_test::CapturedMessages messages;
    EXPECT_TRUE(normalize(Vector3(1e-170, 0, 0)).isDegenerate());
}

TEST(Plane, LiesThroughItsPointsAndTurnsLikeThem)
{
    Random random(3);
    for (int i = 0; i < 200; ++i) {
        const Point3 p0 = Point3() + randomVector(random), p1 = p0 + randomVector(random),
                     p2 = p0 + randomVector(random);
        const Plane plane(p0, p1, p2);
        for (const Point3& p : {p0, p1, p2})
            EXPECT_NEAR(plane.signedDistance(p), 0.0, 1e-12);
        EXPECT_TRUE(plane.isPositive(p0 + crossProd(p1 - p0, p2 - p0)));
        EXPECT_TRUE(plane.isNegative(p0 - crossProd(p1 - p0, p2 - p0)));
        const Point3 q = Point3() + randomVector(random);
        const Point3 projected = plane.projectPoint(q);
        EXPECT_NEAR(plane.absDistance(projected), 0.0, 1e-15);
        EXPECT_NEAR((q - projected).length(), plane.absDistance(q), 1e-15);
    }
}

TEST(Plane, PointInThePlaneIsOnNoSide)
{
    const Plane plane(Point3(0, 0, 2), Point3(1, 0, 2), Point3(0, 1, 2));
    EXPECT_EQ(plane.getNormal().z(), 1.0);
    EXPECT_EQ(plane.getD(), 2.0);
    EXPECT_FALSE(plane.isPositive(Point3(5, 5, 2)));
    EXPECT_FALSE(plane.isNegative(Point3(5, 5, 2)));
}

TEST(Plane, DegenerateTripleIsToldByFlagOrByFailure)
{
    zan_test::CapturedMessages messages;
    const Point3 p0(0, 0, 0), p1(1, 1, 1), onLine(3, 3, 3);
    bool bOK = true;
    const Plane failed(p0, p1, onLine, bOK);
    EXPECT_FALSE(bOK);
    EXPECT_TRUE(failed.getNormal().isDegenerate());
    EXPECT_EQ(failed.getD(), 0.0);
    EXPECT_EQ(messages.text(), "");

    EXPECT_THROW(Plane(p0, p1, onLine), ZanBugException);
    EXPECT_TRUE(messages.has(", ERROR: Degenerate plane"));
    EXPECT_TRUE(messages.has("Condition [ false failed ]"));
    Plane(p0, p1, Point3(1, 0, 0), bOK);
    EXPECT_TRUE(bOK);
}
