#include "Prepare.h"

#include "Calc.h"
#include "Progress.h"
#include "RemoveDeciderFast.h"
#include "gridComponents.h"
#include "helpers/captured.h"
#include "helpers/shapes.h"
#include "random.h"
#include "sortMT.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <tuple>

using namespace TESK_ZAN;

namespace
{

// A grid with cells of edge 1 whose cell (5000, 5000, 5000) has its low corner at (x, y, z).
Calc makeCalc(double x = 0.0, double y = 0.0, double z = 0.0)
{
    return Calc(x - 5000.0, y - 5000.0, z - 5000.0, 16384.0, 16384.0, 16384.0, 14);
}

// The centre of the cell (x, y, z), counted from (5000, 5000, 5000).
Point3 atCell(int x, int y, int z)
{
    return Point3(x + 0.5, y + 0.5, z + 0.5);
}

std::vector<Point3> cellPlane(int nx, int ny)
{
    std::vector<Point3> vPoints;
    for (int x = 0; x < nx; ++x)
        for (int y = 0; y < ny; ++y)
            vPoints.push_back(atCell(x, y, 0));
    return vPoints;
}

struct Result {
    std::vector<std::pair<u64, Point3>> vCells;
    std::vector<u64> vZeroCCD;

    std::vector<u64> getCodes() const
    {
        std::vector<u64> vCCD;
        for (const auto& cell : vCells)
            vCCD.push_back(cell.first);
        return vCCD;
    }
};

// Named while it lives, as the root of a run is.
struct NamedRoot {
    NamedRoot() { getRootProgress()->setName("test"); }
    ~NamedRoot() { getRootProgress()->clear(); }
};

Result prepare(std::vector<Point3> vPoints, int fillSize, const Calc& calc)
{
    const NamedRoot root;
    Result result;
    Prepare prepare(&vPoints, fillSize, &calc);
    prepare.run(result.vCells, result.vZeroCCD);
    // What every run promises.
    EXPECT_TRUE(std::is_sorted(result.vZeroCCD.begin(), result.vZeroCCD.end()));
    const std::vector<u64> vCCD = result.getCodes();
    EXPECT_TRUE(std::adjacent_find(vCCD.begin(), vCCD.end(), std::greater_equal<u64>()) == vCCD.end());
    EXPECT_TRUE(std::includes(vCCD.begin(), vCCD.end(), result.vZeroCCD.begin(), result.vZeroCCD.end()));
    std::vector<u64> vAlive;
    for (const u64 rcd : prepare.getAllRCDs())
        vAlive.push_back(Calc::rcdToCCD(rcd));
    std::sort(vAlive.begin(), vAlive.end());
    EXPECT_EQ(vCCD, vAlive);
    for (const auto& [ccd, point] : result.vCells)
        EXPECT_EQ(calc.getCCD(&point), ccd);
    return result;
}

// Points of a shape in units of its spacing times factor, moved into the box of makeCalc().
std::vector<Point3> inCells(const zan_test::Shape& shape, double factor)
{
    std::vector<Point3> vPoints;
    const double scale = 1.0 / (shape.spacing * factor);
    for (const Point3& p : shape.vPoints)
        vPoints.emplace_back(500.25 + p.x() * scale, 500.25 + p.y() * scale, 500.25 + p.z() * scale);
    return vPoints;
}

std::vector<Point3> noisyPlane(double noise)
{
    zan_test::Shape shape = zan_test::planeGrid(40, 40, 1.0);
    zan_test::jitter(shape, 0.3, 5);
    zan_test::addNoise(shape, noise, 6);
    return inCells(shape, 1.3);
}

std::vector<Point3> noisySphere(std::size_t n, double noise)
{
    zan_test::Shape shape = zan_test::sphere(n);
    zan_test::addNoise(shape, noise * shape.spacing, 7);
    return inCells(shape, 1.24);
}

// How many of the cells that a straight line from z = -3 to 3 meets at (x, y) are in the result, summed over
// the disc around (midX, midY).
int countOpenColumns(const Result& result, const Calc& calc, double midX, double midY, double radius)
{
    std::set<std::pair<u64, u64>> sColumns;
    for (const auto& cell : result.vCells) {
        u64 x = 0, y = 0, z = 0;
        calc.ccdToXYZ(cell.first, x, y, z);
        sColumns.emplace(x, y);
    }
    int numOpen = 0;
    for (int x = 0; x < 1000; ++x)
        for (int y = 0; y < 1000; ++y)
            if (std::hypot(x + 0.5 - midX, y + 0.5 - midY) < radius)
                numOpen += sColumns.count({static_cast<u64>(x) + 5000, static_cast<u64>(y) + 5000}) == 0;
    return numOpen;
}

// --- the fill pass once more, by the book: sorted vectors, maps, a fresh decider ---

class SlowFill
{
public:
    using Dist2RCD = std::vector<std::pair<float, u64>>;

    SlowFill(const Prepare& prepare, const Calc& calc_) : calc(calc_)
    {
        for (const auto& [rcd, pPoint] : prepare.getRCD2Vtx())
            mKept[rcd] = *pPoint;
        sBorder.insert(prepare.getBorderRCDs().begin(), prepare.getBorderRCDs().end());
    }

    void pass(int dist, bool bFullClean, int maxRounds)
    {
        Dist2RCD vDist2RCD = march(dist);
        addPockets(vDist2RCD);
        std::set<u64> sCandidates;
        for (const auto& entry : vDist2RCD)
            sCandidates.insert(entry.second);
        std::set<u64> sAll = sCandidates;
        for (const auto& entry : mKept)
            sAll.insert(entry.first);
        const std::vector<u64> vAll(sAll.begin(), sAll.end());
        RemoveDeciderFast decider(vAll, &calc);
        std::vector<u64> vKept, vDoomed;
        for (const bool bFull : {false, true}) {
            decider.pruneByDist(bFull, vDist2RCD, vKept, vDoomed);
            std::erase_if(vDist2RCD, [&](const auto& entry) {
                return !std::binary_search(vKept.begin(), vKept.end(), entry.second);
            });
        }
        decider.pruneByDist(false, vDist2RCD, vKept, vDoomed); // protects nothing: must not matter
        EXPECT_TRUE(vDoomed.empty());
        removeFalseBorder(decider, sCandidates, bFullClean, maxRounds);
        take(decider);
    }

    std::vector<u64> getCells() const
    {
        std::vector<u64> vRCD;
        for (const auto& entry : mKept)
            vRCD.push_back(entry.first);
        return vRCD;
    }
    std::vector<u64> getBorder() const { return {sBorder.begin(), sBorder.end()}; }

private:
    static std::set<u64> grow(std::set<u64> sCells, int numRings)
    {
        for (int ring = 0; ring < numRings; ++ring) {
            const std::set<u64> sFront = sCells;
            for (const u64 rcd : sFront) {
                u64 neigs[6];
                Calc::getNeigs6_RCD(rcd, neigs);
                sCells.insert(std::begin(neigs), std::end(neigs));
            }
        }
        return sCells;
    }

    float distance(u64 rcd, u64 rcdPoint) const
    {
        const Point3 mid = calc.getCellMid_RCD(rcdPoint);
        const Vector3 offset = mKept.at(rcdPoint) - mid;
        int a[3], b[3];
        rcdToXYZ(rcd, a[0], a[1], a[2]);
        rcdToXYZ(rcdPoint, b[0], b[1], b[2]);
        const float dx = static_cast<float>(a[0] - b[0]) - static_cast<float>(offset.x());
        const float dy = static_cast<float>(a[1] - b[1]) - static_cast<float>(offset.y());
        const float dz = static_cast<float>(a[2] - b[2]) - static_cast<float>(offset.z());
        return std::sqrt(dx * dx + dy * dy + dz * dz);
    }

    Dist2RCD march(int dist) const
    {
        struct Box {
            float dist = std::numeric_limits<float>::max();
            bool bFinal = false;
            u64 rcdFrom = 0;
        };
        const std::set<u64> sSpace = grow(sBorder, dist);
        std::map<u64, Box> mBoxes;
        for (const u64 rcd : sSpace)
            if (mKept.count(rcd) == 0)
                mBoxes[rcd] = Box();
        std::set<std::pair<float, u64>> sQueue;
        const auto offer = [&](u64 rcd, u64 rcdFrom) {
            const auto it = mBoxes.find(rcd);
            if (it == mBoxes.end() || it->second.bFinal)
                return;
            const float d = distance(rcd, rcdFrom);
            if (d < it->second.dist) {
                it->second.dist = d;
                it->second.rcdFrom = rcdFrom;
                sQueue.emplace(d, rcd);
            }
        };
        u64 neigs[26];
        for (const auto& entry : mKept)
            if (sSpace.count(entry.first)) {
                Calc::completeArray26_RCD(entry.first, neigs);
                for (const u64 neig : neigs)
                    offer(neig, entry.first);
            }
        while (!sQueue.empty()) {
            const auto [d, rcd] = *sQueue.begin();
            sQueue.erase(sQueue.begin());
            Box& box = mBoxes[rcd];
            if (box.bFinal)
                continue;
            box.bFinal = true;
            if (d < 1.0f)
                Calc::completeArray26_RCD(rcd, neigs);
            else
                Calc::getNeigs6_RCD(rcd, neigs);
            for (int i = 0; i < (d < 1.0f ? 26 : 6); ++i)
                offer(neigs[i], box.rcdFrom);
        }
        Dist2RCD vDist2RCD;
        for (const auto& [rcd, box] : mBoxes)
            vDist2RCD.emplace_back(box.dist, rcd);
        return vDist2RCD;
    }

    void addPockets(Dist2RCD& vDist2RCD) const
    {
        std::map<u64, float> mDist;
        std::set<u64> sSeeds;
        for (const auto& [dist, rcd] : vDist2RCD) {
            mDist[rcd] = dist;
            sSeeds.insert(rcd);
        }
        std::vector<u64> vShell;
        for (const u64 rcd : grow(sSeeds, 2))
            if (sSeeds.count(rcd) == 0 && mKept.count(rcd) == 0)
                vShell.push_back(rcd);
        std::vector<std::vector<u64>> vvCC;
        createCC6_RCD(vShell, vvCC);
        for (const auto& vCC : vvCC) {
            if (vCC.size() >= 10)
                continue;
            std::map<u64, float> mNew;
            for (size_t round = 0; round < vCC.size(); ++round, mDist.insert(mNew.begin(), mNew.end()))
                for (const u64 rcd : vCC) {
                    u64 neigs[6];
                    Calc::getNeigs6_RCD(rcd, neigs);
                    for (const u64 neig : neigs)
                        if (mDist.count(rcd) == 0 && mDist.count(neig)) {
                            const float d = mDist[neig];
                            const auto it = mNew.emplace(rcd, d).first;
                            it->second = std::min(it->second, d);
                        }
                }
            for (const u64 rcd : vCC)
                vDist2RCD.emplace_back(mDist.count(rcd) ? mDist[rcd] : std::numeric_limits<float>::max(),
                                       rcd);
        }
    }

    static void removeFalseBorder(RemoveDeciderFast& decider, const std::set<u64>& sCandidates,
                                  bool bFullClean, int maxRounds)
    {
        for (int round = 0; round < maxRounds; ++round) {
            std::vector<u64> vArea, vBorder, vKept, vDoomed;
            decider.detectBorders(vArea, vBorder);
            std::vector<std::vector<u64>> vvCC;
            createCC_RCD(vBorder, vvCC);
            Dist2RCD vFake;
            for (const auto& vCC : vvCC)
                if (vCC.size() <= (round == 0 && !bFullClean ? 100u : 30u) && !hasRing_RCD(vCC, 0))
                    for (const u64 rcd : vCC)
                        if (bFullClean || sCandidates.count(rcd))
                            vFake.emplace_back(0.0f, rcd);
            decider.pruneByDist(true, vFake, vKept, vDoomed);
            if (vDoomed.empty())
                break;
        }
    }

    void take(const RemoveDeciderFast& decider)
    {
        std::vector<u64> vArea, vBorder, vAlive;
        decider.detectBorders(vArea, vBorder);
        decider.getAlive(vAlive);
        sBorder = {vBorder.begin(), vBorder.end()};
        std::map<u64, Point3> mNew;
        for (const u64 rcd : vAlive) {
            const auto it = mKept.find(rcd);
            mNew[rcd] = it == mKept.end() ? calc.getCellMid_RCD(rcd) : it->second;
        }
        mKept.swap(mNew);
    }

    const Calc& calc;
    std::map<u64, Point3> mKept;
    std::set<u64> sBorder;
};

void expectSameAsSlow(std::vector<Point3> vPoints, int fillSize)
{
    const Calc calc = makeCalc();
    Prepare prepare(&vPoints, fillSize, &calc);
    prepare.createRCDs();
    SlowFill slow(prepare, calc);
    for (const FillRound& round : Prepare::getFillRounds(fillSize)) {
        prepare.fillPass(round.dist, round.bFullClean);
        slow.pass(round.dist, round.bFullClean, 2 * fillSize);
        ASSERT_EQ(prepare.getAllRCDs(), slow.getCells()) << "after distance " << round.dist;
        ASSERT_EQ(prepare.getBorderRCDs(), slow.getBorder()) << "after distance " << round.dist;
    }
    EXPECT_FALSE(prepare.getAllRCDs().empty());
}

} // namespace

// --- representatives ---

TEST(Prepare_createRCDs, keepsTheOnlyPointOfACellBitForBit)
{
    const Calc calc = makeCalc();
    const Point3 point(0.1, 0.7, 0.3, 10, 20, 30, 40);
    const Result result = prepare({point}, 0, calc);
    ASSERT_EQ(result.vCells.size(), 1u);
    EXPECT_EQ(result.vCells[0].second, point);
    unsigned char r = 0, g = 0, b = 0, a = 0;
    result.vCells[0].second.getColor_255(r, g, b, a);
    EXPECT_EQ(std::make_tuple(r, g, b, a), std::make_tuple(10, 20, 30, 40)) << "the colour got lost";
}

TEST(Prepare_createRCDs, takesTheInputPointNearestToTheMeanNotTheMean)
{
    const Calc calc = makeCalc();
    const Point3 nearest(0.5, 0.5, 0.4); // the mean is (0.5, 0.5, 0.433)
    const Result result = prepare({Point3(0.1, 0.5, 0.5), nearest, Point3(0.9, 0.5, 0.4)}, 0, calc);
    ASSERT_EQ(result.vCells.size(), 1u);
    EXPECT_EQ(result.vCells[0].second, nearest);
}

TEST(Prepare_createRCDs, takesTheFirstOfTwoEquallyNearPoints)
{
    const Calc calc = makeCalc();
    const Point3 a(0.25, 0.5, 0.5), b(0.75, 0.5, 0.5);
    EXPECT_EQ(prepare({a, b}, 0, calc).vCells.at(0).second, a);
    EXPECT_EQ(prepare({b, a}, 0, calc).vCells.at(0).second, b);
}

TEST(Prepare_createRCDs, outputConsistsOfInputPoints)
{
    const Calc calc = makeCalc();
    const std::vector<Point3> vPoints = noisySphere(3000, 0.3);
    const std::set<Point3> sPoints(vPoints.begin(), vPoints.end());
    const Result result = prepare(vPoints, 0, calc);
    EXPECT_TRUE(result.vZeroCCD.empty());
    EXPECT_GT(result.vCells.size(), 1000u);
    for (const auto& cell : result.vCells)
        EXPECT_EQ(sPoints.count(cell.second), 1u);
}

// --- thinning ---

TEST(Prepare_createRCDs, leavesAPlaneOfCellsAsItIs)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vPoints = cellPlane(21, 21);
    Prepare prepare(&vPoints, 0, &calc);
    prepare.createRCDs();
    EXPECT_EQ(prepare.getAllRCDs().size(), 441u);
    EXPECT_EQ(prepare.getBorderRCDs().size(), 80u);
    EXPECT_EQ(prepare.getAreaRCDs().size(), 361u);
}

TEST(Prepare_createRCDs, thinsAStairToTheCornerConnectedLayer)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vPoints;
    for (int x = 0; x < 15; ++x)
        for (int y = 0; y < 15; ++y)
            for (int z = 0; z < 16; ++z)
                if (x + y == 14 || x + y == 15)
                    vPoints.push_back(atCell(x, y, z));
    Prepare prepare(&vPoints, 0, &calc);
    prepare.createRCDs();
    EXPECT_LT(prepare.getAllRCDs().size(), vPoints.size() * 2 / 3);
    std::vector<std::vector<u64>> vvCC;
    createCC_RCD(prepare.getAllRCDs(), vvCC);
    EXPECT_EQ(vvCC.size(), 1u) << "the thinning tore the layer";
}

TEST(Prepare_createRCDs, thinsAsThePruningInGlobalOrderDoes)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vEvenSlab = cellPlane(12, 12); // equal weights: the codes decide
    for (const Point3& point : cellPlane(12, 12))
        vEvenSlab.emplace_back(point.x() + 1.0, point.y(), point.z() + static_cast<int>(point.x()) % 3);
    std::vector<Point3> vVolume;
    Random random(8);
    for (int i = 0; i < 4000; ++i)
        vVolume.emplace_back(20.0 * random.uniform(), 20.0 * random.uniform(), 20.0 * random.uniform());
    for (std::vector<Point3> vPoints :
         {vEvenSlab, vVolume, noisyPlane(0.5), noisySphere(4000, 0.3), noisySphere(4000, 1.5)}) {
        std::map<u64, Point3> mCells; // one point a cell, so that representatives do not matter
        for (const Point3& point : vPoints)
            mCells.emplace(calc.getRCD(&point), point);
        vPoints.clear();
        for (const auto& entry : mCells)
            vPoints.push_back(entry.second);
        RCDPoints vRCDPoint;
        std::vector<u64> vRCD;
        for (auto& entry : mCells) {
            vRCDPoint.emplace_back(entry.first, &entry.second);
            vRCD.push_back(entry.first);
        }
        RemoveDeciderFast decider(vRCD, &calc);
        std::vector<u64> vKept, vDoomed, vArea, vBorder;
        decider.prune(vRCDPoint, vRCD, vKept, vDoomed, false, false);
        decider.detectBorders(vArea, vBorder);

        Prepare prepare(&vPoints, 0, &calc);
        prepare.createRCDs();
        EXPECT_FALSE(vDoomed.empty());
        EXPECT_EQ(prepare.getAllRCDs(), vKept);
        EXPECT_EQ(prepare.getAreaRCDs(), vArea);
        EXPECT_EQ(prepare.getBorderRCDs(), vBorder);
    }
}

TEST(Prepare_createRCDs, doesNotEatANoisyOpenSheet)
{
    const Calc calc = makeCalc();
    for (const double noise : {0.0, 0.2, 0.6}) {
        const Result result = prepare(noisyPlane(noise), 0, calc);
        EXPECT_GT(result.vCells.size(), 600u) << "noise " << noise;
    }
}

// --- the schedule ---

TEST(Prepare_fillRounds, doubleUntilTheRestIsNotWorthARound)
{
    const auto rounds = [](int fillSize) {
        std::vector<std::pair<int, bool>> vResult;
        for (const FillRound& round : Prepare::getFillRounds(fillSize))
            vResult.emplace_back(round.dist, round.bFullClean);
        return vResult;
    };
    using Rounds = std::vector<std::pair<int, bool>>;
    EXPECT_EQ(rounds(-1), Rounds());
    EXPECT_EQ(rounds(0), Rounds());
    EXPECT_EQ(rounds(1), Rounds({{1, true}}));
    EXPECT_EQ(rounds(2), Rounds({{2, true}}));
    EXPECT_EQ(rounds(3), Rounds({{2, true}, {3, true}}));
    EXPECT_EQ(rounds(5), Rounds({{2, true}, {5, true}}));
    EXPECT_EQ(rounds(10), Rounds({{2, true}, {4, false}, {10, true}}));
    EXPECT_EQ(rounds(20), Rounds({{2, true}, {4, false}, {8, false}, {20, true}}));
    EXPECT_EQ(rounds(22), Rounds({{2, true}, {4, false}, {8, false}, {16, false}, {22, true}}));
}

TEST(Prepare_fillRounds, absurdFillSizeIsCutAndStillEnds)
{
    const Calc calc = makeCalc();
    const zan_test::CapturedMessages captured;
    const Result result = prepare(cellPlane(5, 5), 1000000000, calc);
    EXPECT_TRUE(captured.has("WARNING"));
    EXPECT_EQ(result.vCells.size(), 25u);
    EXPECT_EQ(prepare(cellPlane(5, 5), -1000000000, calc).vCells.size(), 25u);
}

// --- fill passes ---

TEST(Prepare_fillPass, equalsTheSlowPassOnNoisySheets)
{
    expectSameAsSlow(noisyPlane(0.3), 6);
    expectSameAsSlow(noisyPlane(0.8), 6);
}

TEST(Prepare_fillPass, equalsTheSlowPassOnASphereWithNoise)
{
    expectSameAsSlow(noisySphere(3000, 0.2), 5);
    expectSameAsSlow(noisySphere(3000, 0.5), 5);
}

TEST(Prepare_fillPass, equalsTheSlowPassOnScatteredCells)
{
    Random random(3);
    std::vector<Point3> vPoints;
    for (int i = 0; i < 700; ++i)
        vPoints.emplace_back(24.0 * random.uniform(), 24.0 * random.uniform(), 12.0 * random.uniform());
    expectSameAsSlow(vPoints, 4);
}

TEST(Prepare_fillPass, equalsTheSlowPassOnANearPairOfSheetsWithManyTies)
{
    std::vector<Point3> vPoints = cellPlane(20, 20);
    for (int x = 0; x < 20; ++x)
        for (int y = 0; y < 20; ++y)
            if (std::hypot(x - 9.5, y - 9.5) > 4.0)
                vPoints.push_back(atCell(x, y, 5));
    expectSameAsSlow(vPoints, 6);
}

TEST(Prepare_fillPass, removesABumpAndAStrayCellAndTheirPoints)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vPoints = cellPlane(21, 21);
    vPoints.push_back(atCell(10, 10, 1));
    vPoints.push_back(atCell(10, 10, 11));
    EXPECT_EQ(prepare(vPoints, 0, calc).vCells.size(), 442u) << "the cell under the bump goes by thinning";
    const Result result = prepare(vPoints, 2, calc);
    EXPECT_EQ(result.vCells.size(), 441u);
    const Point3 stray = atCell(10, 10, 11);
    const u64 ccdStray = calc.getCCD(&stray);
    for (const auto& cell : result.vCells)
        EXPECT_NE(cell.first, ccdStray);
}

TEST(Prepare_fillPass, keepsTheRimOfAnOpenPlane)
{
    const Calc calc = makeCalc();
    for (const int fillSize : {1, 2, 5, 20}) {
        const Result result = prepare(cellPlane(21, 21), fillSize, calc);
        EXPECT_EQ(result.vCells.size(), 441u) << "fill size " << fillSize;
        EXPECT_TRUE(result.vZeroCCD.empty()) << "fill size " << fillSize;
    }
}

TEST(Prepare_fillPass, closesHolesBelowTheFillDistanceOnly)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vPoints;
    for (const Point3& point : cellPlane(160, 80))
        if (std::hypot(point.x() - 30.0, point.y() - 40.0) > 6.0 &&
            std::hypot(point.x() - 110.0, point.y() - 40.0) > 30.0)
            vPoints.push_back(point);
    const int numSmall = countOpenColumns(prepare(vPoints, 0, calc), calc, 30.0, 40.0, 6.0);
    EXPECT_GT(numSmall, 100) << "fill size 0 fills nothing";

    const Result result = prepare(vPoints, 20, calc);
    EXPECT_EQ(countOpenColumns(result, calc, 30.0, 40.0, 6.0), 0);
    EXPECT_GT(countOpenColumns(result, calc, 110.0, 40.0, 30.0), 2000);
    EXPECT_FALSE(result.vZeroCCD.empty());
    const std::vector<u64>& vZero = result.vZeroCCD;
    for (const auto& [ccd, point] : result.vCells) {
        if (std::binary_search(vZero.begin(), vZero.end(), ccd)) {
            EXPECT_EQ(point, calc.getCellMid_RCD(Calc::ccdToRCD(ccd))) << "an added point is the centre";
        }
    }
}

TEST(Prepare_fillPass, distancesKeepTheirDigitsFarFromTheOrigin)
{
    zan_test::Shape shape = zan_test::planeWithHole(60, 60, 1.0, 5.0);
    zan_test::jitter(shape, 0.25, 9);
    const double far = 5e6;
    std::vector<Point3> vNear, vFar;
    for (const Point3& p : shape.vPoints) {
        vFar.emplace_back(p.x() * 0.75 + far, p.y() * 0.75 + far, p.z() * 0.75 + 0.5);
        vNear.emplace_back(vFar.back().x() - far, vFar.back().y() - far, vFar.back().z());
    }
    const Result resultNear = prepare(vNear, 8, makeCalc());
    const Result resultFar = prepare(vFar, 8, makeCalc(far, far, 0.0));
    EXPECT_FALSE(resultNear.vZeroCCD.empty());
    EXPECT_EQ(resultNear.getCodes(), resultFar.getCodes());
    EXPECT_EQ(resultNear.vZeroCCD, resultFar.vZeroCCD);
}

// --- driver ---

TEST(Prepare_run, threadCountDoesNotChangeTheResult)
{
    const Calc calc = makeCalc();
    const std::vector<Point3> vPoints = noisySphere(20000, 0.4);
    const int numBefore = getNumCPU();
    setNumCPU(1);
    const Result expected = prepare(vPoints, 5, calc);
    for (const int numThreads : {2, 3, 8}) {
        setNumCPU(numThreads);
        const Result result = prepare(vPoints, 5, calc);
        EXPECT_EQ(expected.vCells, result.vCells) << numThreads << " threads";
        EXPECT_EQ(expected.vZeroCCD, result.vZeroCCD) << numThreads << " threads";
    }
    setNumCPU(numBefore);
}

TEST(Prepare_run, opensItsPhasesOnlyWhenTheyHaveWork)
{
    const Calc calc = makeCalc();
    std::vector<Point3> vPoints = cellPlane(6, 6);
    Result result;
    for (const int fillSize : {0, 3}) {
        const NamedRoot root;
        Progress* pRoot = getRootProgress();
        for (const char* phase : {"PREP_createRCD", "PREP_fillHoles", "PREP_integFill"})
            pRoot->createChild(phase, 1.0);
        Prepare(&vPoints, fillSize, &calc).run(result.vCells, result.vZeroCCD);
        EXPECT_NEAR(pRoot->getFraction(), fillSize > 0 ? 1.0 : 2.0 / 3.0, 1e-9);
    }
}
