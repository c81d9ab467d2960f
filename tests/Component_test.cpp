// Sheets of cells: their facets, their two sides, and the field that grows from their rims.
#include "Calc.h"
#include "Component.h"
#include "RemoveDeciderFast.h"
#include "SheetCells.h"
#include "SideVotes.h"
#include "TaskPool.h"
#include "freeFunctions.h"
#include "helpers/captured.h"
#include "random.h"
#include "startStop.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

using namespace TESK_ZAN;

namespace
{

const Calc unit(0, 0, 0, 256, 256, 256, 8); // cell edge 1
const Point3 MID(128.3, 128.4, 128.2);

// Cells with a point each, and those of the rims among them.
struct Sheet {
    CellPoints vPoints;
    std::vector<u64> vAll;
    std::vector<u64> vBorder;
};

Sheet sheetOf(const std::vector<Point3>& vSamples, bool bThin = false)
{
    Sheet sheet;
    for (const Point3& p : vSamples)
        sheet.vPoints.emplace_back(unit.getRCD(&p), p);
    std::sort(sheet.vPoints.begin(), sheet.vPoints.end());
    const auto sameCell = [](const auto& a, const auto& b) { return a.first == b.first; };
    sheet.vPoints.erase(std::unique(sheet.vPoints.begin(), sheet.vPoints.end(), sameCell),
                        sheet.vPoints.end());
    for (const auto& entry : sheet.vPoints)
        sheet.vAll.push_back(entry.first);
    RemoveDeciderFast decider(sheet.vAll, &unit);
    if (bThin) {
        RCDPoints vRCDPoint;
        for (auto& [rcd, point] : sheet.vPoints)
            vRCDPoint.emplace_back(rcd, &point);
        std::vector<u64> vKept, vDoomed;
        decider.prune(vRCDPoint, sheet.vAll, vKept, vDoomed, false, false);
        sheet.vAll = vKept;
    }
    std::vector<u64> vArea;
    decider.detectBorders(vArea, sheet.vBorder);
    std::sort(sheet.vBorder.begin(), sheet.vBorder.end());
    return sheet;
}

Sheet sheetOfCells(const std::vector<u64>& vRCD)
{
    std::vector<Point3> vMids;
    for (const u64 rcd : vRCD)
        vMids.push_back(unit.getCellMid_RCD(rcd));
    return sheetOf(vMids);
}

// Samples of a function over a square of two times reach, a quarter of a cell apart.
std::vector<Point3> surface(double reach, const std::function<Point3(double, double)>& at)
{
    constexpr double STEP = 0.25;
    std::vector<Point3> vSamples;
    for (double u = -reach; u <= reach; u += STEP)
        for (double v = -reach; v <= reach; v += STEP)
            vSamples.push_back(at(u, v));
    return vSamples;
}

std::vector<Point3> sphere(double radius)
{
    std::vector<Point3> vSamples;
    const int num = static_cast<int>(200 * radius * radius);
    for (int i = 0; i < num; ++i) {
        const double z = 1 - 2 * (i + 0.5) / num, r = std::sqrt(1 - z * z), angle = i * 2.399963229728653;
        vSamples.push_back(MID + Vector3(r * std::cos(angle), r * std::sin(angle), z) * radius);
    }
    return vSamples;
}

// Cells with a property, of a box of edge 41 round the middle.
std::vector<u64> solid(const std::function<bool(int, int, int)>& isIn)
{
    std::vector<u64> vRCD;
    for (int x = -20; x <= 20; ++x)
        for (int y = -20; y <= 20; ++y)
            for (int z = -20; z <= 20; ++z)
                if (isIn(x, y, z))
                    vRCD.push_back(xyzToRCD(u64(128 + x), u64(128 + y), u64(128 + z)));
    return vRCD;
}

Component component(const Sheet& sheet)
{
    return Component(0, sheet.vAll, sheet.vBorder, sheet.vPoints, &unit);
}

// Facets by how their index agrees with the side of the surface that their cell's far side lies on, those
// within half a cell of the surface aside: there the cells do not tell.
struct Verdict {
    size_t numRight = 0, numWrong = 0, numOpen = 0;
};

Verdict judge(const Component& comp, const std::function<double(const Point3&)>& height,
              const std::function<bool(const Point3&)>& isJudged)
{
    Verdict verdict;
    for (const Facet& facet : comp.getVisibleFacets()) {
        const Point3 place = unit.getCellMid_RCD(facet.rcd) + Facet::normalOf(facet.side) * 0.5;
        if (!isJudged(place))
            continue;
        if (facet.componentIndex < 0)
            ++verdict.numOpen;
        else if (std::fabs(height(place)) > 0.5)
            ++((facet.componentIndex == 1) == (height(place) > 0) ? verdict.numRight : verdict.numWrong);
    }
    return verdict;
}

void expectSides(const Component& comp, const std::function<double(const Point3&)>& height,
                 const std::function<bool(const Point3&)>& isJudged)
{
    ASSERT_TRUE(comp.isColored());
    const Verdict verdict = judge(comp, height, isJudged);
    EXPECT_GT(verdict.numRight, 100u);
    EXPECT_EQ(verdict.numWrong, 0u);
    EXPECT_EQ(verdict.numOpen, 0u);
}

// A plate by its normal, cut square; the height over it; and whether a point is away from its rim.
struct Plate {
    Vector3 n, a, b;
    double reach;

    Plate(const Vector3& normal, double reach_) : n(normalize(normal)), reach(reach_)
    {
        a = normalize(crossProd(n, Vector3(0.3, 1, 0.1)));
        b = crossProd(n, a);
    }
    std::vector<Point3> samples() const
    {
        return surface(reach, [this](double u, double v) { return MID + a * u + b * v; });
    }
    double height(const Point3& p) const { return (p - MID) * n; }
    bool isInner(const Point3& p) const
    {
        return std::max(std::fabs((p - MID) * a), std::fabs((p - MID) * b)) < reach - 4;
    }
};

} // namespace

TEST(Component, facetsAreLinkedBothWaysOverTheEdgeThatTheyShare)
{
    Random random(3);
    const Sheet sheet = sheetOfCells(solid([&](int x, int y, int z) {
        return std::max({std::abs(x), std::abs(y), std::abs(z)}) < 8 && random.uniform() < 0.5;
    }));
    const Component comp = component(sheet);
    ASSERT_GT(comp.getVisibleFacets().size(), 1000u);
    for (const Facet& facet : comp.getVisibleFacets()) {
        u64 aMine[4];
        facet.getCorners(aMine);
        std::set<std::set<u64>> edges;
        for (const Facet* pNeig : facet.aNeigs) {
            u64 aIts[4];
            pNeig->getCorners(aIts);
            std::set<u64> shared;
            std::copy_if(aMine, aMine + 4, std::inserter(shared, shared.end()),
                         [&](u64 rcc) { return std::find(aIts, aIts + 4, rcc) != aIts + 4; });
            ASSERT_EQ(shared.size(), 2u);
            edges.insert(shared);
            ASSERT_NE(std::find(pNeig->aNeigs.begin(), pNeig->aNeigs.end(), &facet), pNeig->aNeigs.end());
        }
        ASSERT_EQ(edges.size(), 4u);
    }
}

TEST(Component, sidesOfPlatesAreRightAwayFromTheRim)
{
    // At the rim of the fourth, thinned, some cells are taken for inner ones.
    for (const Vector3& normal : {Vector3(0, 0, 1), Vector3(0.3, 0.2, 1), Vector3(1, 1, 1),
                                  Vector3(0.5, -0.7, 1), Vector3(-1, 0.1, 0.2)})
        for (const bool bThin : {false, true}) {
            const Plate plate(normal, 20);
            const Sheet sheet = sheetOf(plate.samples(), bThin);
            expectSides(
                component(sheet), [&](const Point3& p) { return plate.height(p); },
                [&](const Point3& p) { return plate.isInner(p); });
        }
}

TEST(Component, sidesOfAWavySheetAreRightAwayFromTheRim)
{
    const auto wave = [](double u, double v) { return 4 * std::sin(u / 5) * std::cos(v / 6); };
    const Sheet sheet =
        sheetOf(surface(25, [&](double u, double v) { return MID + Vector3(u, v, wave(u, v)); }));
    expectSides(
        component(sheet),
        [&](const Point3& p) {
            const Vector3 d = p - MID;
            return (d.z() - wave(d.x(), d.y())) * 0.7; // the steepest slope is about 45 degrees
        },
        [](const Point3& p) { return std::max(std::fabs((p - MID).x()), std::fabs((p - MID).y())) < 21; });
}

TEST(Component, aClosedShellHasItsInnerSideAsTheOtherOne)
{
    for (const double radius : {4.0, 15.0}) {
        const Sheet sheet = sheetOf(sphere(radius));
        expectSides(
            component(sheet), [radius](const Point3& p) { return (p - MID).length() - radius; },
            [](const Point3&) { return true; });
    }
}

TEST(Component, sidesOfAThickPlateAreToldAcrossIt)
{
    // Rims that are no border cells: nothing but the look across parts the sides.
    Sheet sheet = sheetOfCells(solid([](int, int, int z) { return std::abs(z) <= 2; }));
    std::erase_if(sheet.vBorder, [](u64 rcd) {
        u64 x, y, z;
        rcdToXYZ(rcd, x, y, z);
        return x > 108 && x < 148 && y > 108 && y < 148;
    });
    expectSides(
        component(sheet), [](const Point3& p) { return p.z() - 128.5; },
        [](const Point3& p) { return std::max(std::fabs(p.x() - 128.5), std::fabs(p.y() - 128.5)) < 16; });
}

TEST(Component, whatHasOneSideOnlyStaysUncoloured)
{
    const auto isBall = [](double radius) {
        return [radius](int x, int y, int z) { return x * x + y * y + z * z <= radius * radius; };
    };
    for (const std::vector<u64>& vRCD :
         {std::vector<u64>{xyzToRCD(9, 9, 9)}, solid(isBall(3)), solid(isBall(10))}) {
        Sheet sheet = sheetOfCells(vRCD);
        sheet.vBorder.clear();
        const Component comp = component(sheet);
        EXPECT_FALSE(comp.isColored());
        for (const Facet& facet : comp.getVisibleFacets())
            ASSERT_EQ(facet.componentIndex, -1);
    }
}

TEST(Component, smallCavitiesAreNoSideAndLeaveNoFacets)
{
    const auto block = [](int cavity) {
        return solid([cavity](int x, int y, int z) {
            const int r = std::max({std::abs(x), std::abs(y), std::abs(z)});
            return r <= 6 && r > cavity;
        });
    };
    const Sheet flawed = sheetOfCells(block(1)), hollow = sheetOfCells(block(2));
    EXPECT_EQ(component(flawed).getVisibleFacets().size(), 6u * 13 * 13);
    EXPECT_EQ(component(hollow).getVisibleFacets().size(), 6u * 13 * 13 + 6u * 5 * 5);
}

TEST(Component, flipTurnsTheCountsRound)
{
    const Sheet sheet = sheetOf(Plate(Vector3(0, 0, 1), 10).samples());
    Component comp = component(sheet);
    const u64 rcd = unit.getRCD(&MID);
    int aLower[6], aUpper[6];
    comp.getOrientationCount(rcd, aLower, aUpper);
    EXPECT_EQ(std::vector<int>(aLower, aLower + 6), (std::vector<int>{0, 0, 0, 0, 9, 0}));
    EXPECT_EQ(std::vector<int>(aUpper, aUpper + 6), (std::vector<int>{0, 0, 0, 0, 0, 9}));
    comp.flip();
    comp.getOrientationCount(rcd, aLower, aUpper);
    EXPECT_EQ(aLower[5], 9);
    EXPECT_EQ(aUpper[4], 9);
    comp.getOrientationCount(xyzToRCD(9, 9, 9), aLower, aUpper);
    EXPECT_EQ(aLower[5], 0);
}

TEST(SheetCells, thicknessIsThatOfTheShortestRow)
{
    const SheetCells plate(solid([](int, int, int z) { return z >= 0 && z < 3; }));
    EXPECT_EQ(plate.getThickness(xyzToRCD(128, 128, 129)), 3.0f);
    const SheetCells slanted(solid([](int x, int, int z) { return x + z >= 0 && x + z <= 1; }));
    EXPECT_FLOAT_EQ(slanted.getThickness(xyzToRCD(128, 128, 128)), std::sqrt(2.0f));
    const SheetCells block(solid([](int, int, int) { return true; }));
    EXPECT_EQ(block.getThickness(xyzToRCD(128, 128, 128)), SheetCells::MAX_THICKNESS);
    const SheetCells one({xyzToRCD(0, 0, 0)}); // the end of the lattice
    EXPECT_EQ(one.getThickness(0), 1.0f);
}

TEST(SideVotes, patchesJoinOverOthersBetweenThemAndTheMainOne)
{
    // Patches of one sheet in a row, each within reach of the next only. Every other pair stands reversed,
    // and the last lies out of any reach.
    std::vector<Facet> vFacets;
    constexpr size_t NUM = 30;
    for (size_t pair = 0; pair < NUM; ++pair)
        for (u64 y = 0; y < 3 + (pair * 7) % 5; ++y) {
            Facet facet(xyzToRCD(pair == NUM - 1 ? 9000 : 100 + 3 * pair, 100 + y, 100), 5, FACET_STATE_AREA);
            facet.nnv = Vector3(0, 0, 1);
            facet.componentIndex = static_cast<int>(2 * pair + pair % 2);
            vFacets.push_back(facet);
        }
    std::vector<const Facet*> vPointers;
    for (const Facet& facet : vFacets)
        vPointers.push_back(&facet);
    SideVotes votes(vPointers, NUM, 0);
    const std::vector<SideVotes::Verdict>& vVerdicts = votes.solve();
    for (size_t pair = 0; pair + 1 < NUM; ++pair)
        EXPECT_EQ(vVerdicts[pair], pair % 2 == 0 ? SideVotes::SAME : SideVotes::CROSSED) << pair;
    EXPECT_EQ(vVerdicts[NUM - 1], SideVotes::OPEN);
}

namespace
{

// Two plates in one plane with a gap between them, as members of a master.
struct TwoPlates {
    Plate plate;
    double gap;
    Sheet sheet;
    std::vector<std::unique_ptr<Component>> vMembers;
    std::unique_ptr<Component> pMaster;
    CellPoints vNew;
    std::vector<std::pair<u64, int>> vAffilEdges;

    TwoPlates(const Vector3& normal, double gap_, int numGrowSteps) : plate(normal, 12), gap(gap_)
    {
        std::vector<Component*> vPointers;
        std::vector<Sheet> vSheets;
        for (const double sign : {-1.0, 1.0}) {
            const Vector3 shift = plate.a * (sign * (plate.reach + gap / 2));
            std::vector<Point3> vSamples;
            for (const Point3& p : plate.samples())
                vSamples.push_back(p + shift);
            vSheets.push_back(sheetOf(vSamples));
            sheet.vPoints.insert(sheet.vPoints.end(), vSheets.back().vPoints.begin(),
                                 vSheets.back().vPoints.end());
        }
        std::sort(sheet.vPoints.begin(), sheet.vPoints.end());
        for (size_t i = 0; i < 2; ++i) {
            vMembers.push_back(std::make_unique<Component>(int(i), vSheets[i].vAll, vSheets[i].vBorder,
                                                           sheet.vPoints, &unit));
            vPointers.push_back(vMembers.back().get());
        }
        pMaster = std::make_unique<Component>(2, vPointers, numGrowSteps, sheet.vPoints, &unit);
        const zan_test::CapturedMessages quiet;
        EXPECT_TRUE(pMaster->runForMasters(vNew, vAffilEdges));
    }

    // Whether no walk by face steps leads from above the plates to below through the middle of the gap.
    bool isClosed(const std::vector<u64>& vSortedCells) const
    {
        const Point3 top = MID + plate.n * 6;
        std::vector<u64> vReached = {unit.getRCD(&top)};
        std::set<u64> sReached(vReached.begin(), vReached.end());
        for (size_t i = 0; i < vReached.size(); ++i) {
            u64 aNeigs[6];
            Calc::getNeigs6_RCD(vReached[i], aNeigs);
            for (const u64 rcd : aNeigs) {
                const Vector3 d = unit.getCellMid_RCD(rcd) - MID;
                if (std::fabs(d * plate.a) > gap / 2 + 4 || std::fabs(d * plate.b) > 6 || d * plate.n > 7 ||
                    std::binary_search(vSortedCells.begin(), vSortedCells.end(), rcd))
                    continue;
                if (d * plate.n < -5)
                    return false;
                if (sReached.insert(rcd).second)
                    vReached.push_back(rcd);
            }
        }
        return true;
    }
};

// Clear of the plane of the plates the sign is that of the side, but beyond the outer rims.
bool isOnItsSide(const TwoPlates& plates, const Point3& p, float value)
{
    const double height = plates.plate.height(p);
    const double along = std::fabs((p - MID) * plates.plate.a),
                 across = std::fabs((p - MID) * plates.plate.b);
    return std::fabs(height) < 2.0 || along > 16 || across > 8 || (value > 0) == (height > 0);
}

} // namespace

TEST(Component, theFieldChangesItsSignBetweenTheStripsAndIsZeroWhereTheyMeet)
{
    size_t aNum[8] = {};
    for (const Vector3& normal : {Vector3(0, 0, 1), Vector3(0.3, 0.2, 1), Vector3(1, 1, 1)}) {
        const TwoPlates plates(normal, 6, 8);
        const CornerStore& store = *plates.pMaster->getCornerStore();
        for (size_t i = 0; i < store.size(); ++i) {
            const Corner& corner = *store.getCorner(i);
            ++aNum[corner.state];
            switch (corner.state) {
            case ST_LOWER_AREA:
            case ST_LOWER_BORDER:
                ASSERT_LT(corner.val, 0.0f);
                break;
            case ST_UPPER_AREA:
            case ST_UPPER_BORDER:
                ASSERT_GT(corner.val, 0.0f);
                break;
            case ST_GROWN:
                ASSERT_EQ(corner.growState, GRS_ACCEPTED);
                ASSERT_NE(corner.val, 0.0f);
                ASSERT_LE(std::fabs(corner.val), 8.0f);
                EXPECT_TRUE(isOnItsSide(plates, store.getPoint(corner.rcc), corner.val));
                break;
            default:
                ASSERT_EQ(corner.val, 0.0f);
            }
        }
    }
    for (int state = 1; state < 8; ++state)
        EXPECT_GT(aNum[state], 0u) << state;
}

TEST(Component, newCellsFillTheGapInThePlaneOfThePlates)
{
    for (const Vector3& normal : {Vector3(0, 0, 1), Vector3(0.3, 0.2, 1), Vector3(1, 1, 1)})
        for (const double gap : {3.0, 6.0, 10.0}) {
            const TwoPlates plates(normal, gap, 10);
            ASSERT_EQ(plates.vAffilEdges.size(), plates.vNew.size());
            std::vector<u64> vCells;
            for (const auto& [rcd, point] : plates.vNew) {
                ASSERT_EQ(unit.getRCD(&point), rcd);
                double sqNearest = 1e9;
                for (const auto& [oldRCD, oldPoint] : plates.sheet.vPoints) {
                    ASSERT_NE(oldRCD, rcd);
                    sqNearest = std::min(sqNearest, sqDistance(oldPoint, point));
                }
                ASSERT_LE(sqNearest, 10.5 * 10.5);
                vCells.push_back(rcd);
            }
            ASSERT_TRUE(std::is_sorted(vCells.begin(), vCells.end()));
            for (const auto& entry : plates.sheet.vPoints)
                vCells.push_back(entry.first);
            std::sort(vCells.begin(), vCells.end());
            EXPECT_TRUE(plates.isClosed(vCells)) << normal.x() << ' ' << gap;
        }
}

TEST(Component, everyCellBetweenTheSignsIsNewOrWasThere)
{
    for (const Vector3& normal : {Vector3(0.3, 0.2, 1), Vector3(1, 1, 1), Vector3(0.5, -0.7, 1)}) {
        const TwoPlates plates(normal, 2.5, 4);
        const CornerStore& store = *plates.pMaster->getCornerStore();
        struct Around {
            int numCorners = 0;
            bool bLower = false, bUpper = false;
        };
        std::map<u64, Around> mAround;
        for (size_t i = 0; i < store.size(); ++i) {
            const Corner& corner = *store.getCorner(i);
            u64 aCells[8] = {corner.rcc - RCD_STEP_X - RCD_STEP_Y - RCD_STEP_Z};
            Calc::completeCellCorners8(aCells);
            for (const u64 rcd : aCells) {
                Around& around = mAround[rcd];
                ++around.numCorners;
                around.bLower = around.bLower || corner.val < 0;
                around.bUpper = around.bUpper || corner.val > 0;
            }
        }
        std::vector<u64> vExpected, vFound;
        const std::vector<u64>& vOld = plates.pMaster->getAllRCD();
        for (const auto& [rcd, around] : mAround) // at the end of the field cells lack corners
            if (around.numCorners == 8 && around.bLower && around.bUpper &&
                !std::binary_search(vOld.begin(), vOld.end(), rcd))
                vExpected.push_back(rcd);
        for (const auto& entry : plates.vNew)
            if (mAround[entry.first].numCorners == 8)
                vFound.push_back(entry.first);
        EXPECT_EQ(vFound, vExpected);
    }
}

TEST(Component, resultsDoNotDependOnTheThreadCount)
{
    const int numBefore = getNumCPU();
    CellPoints vFirst;
    for (const int numThreads : {1, 2, 3, 8}) {
        setNumCPU(numThreads);
        const TwoPlates plates(Vector3(0.3, 0.2, 1), 6, 6);
        if (vFirst.empty())
            vFirst = plates.vNew;
        EXPECT_TRUE(plates.vNew == vFirst);
    }
    setNumCPU(numBefore);
}

TEST(Component, hostileMastersAreRefusedOrGiveNothing)
{
    const zan_test::CapturedMessages quiet;
    CellPoints vNew;
    std::vector<std::pair<u64, int>> vAffilEdges;
    const Sheet plateSheet = sheetOf(Plate(Vector3(0, 0, 1), 6).samples());
    Component plate = component(plateSheet);
    Component noSteps(1, {&plate}, 0, plateSheet.vPoints, &unit);
    EXPECT_THROW(noSteps.runForMasters(vNew, vAffilEdges), ZanBugException);

    const Sheet shellSheet = sheetOf(sphere(8)); // no rim
    Component shell = component(shellSheet);
    Component closed(1, {&shell}, 5, shellSheet.vPoints, &unit);
    EXPECT_TRUE(closed.runForMasters(vNew, vAffilEdges));
    EXPECT_TRUE(vNew.empty());

    // Points on the lattice corners: their distance of 0 has a sign all the same.
    Sheet onCorners = plateSheet;
    for (auto& [rcd, point] : onCorners.vPoints)
        point = Point3(std::floor(point.x()), std::floor(point.y()), std::floor(point.z()));
    Component flat = component(onCorners);
    Component master(1, {&flat}, 3, onCorners.vPoints, &unit);
    EXPECT_TRUE(master.runForMasters(vNew, vAffilEdges));
    EXPECT_FALSE(vNew.empty());
}

TEST(CornerStore, cornersAreLinkedWithTheirNeighboursInAnyOrder)
{
    CornerStore store(&unit, 2);
    std::vector<u64> vRCC =
        solid([](int x, int y, int z) { return std::abs(x) + std::abs(y) + std::abs(z) < 3; });
    std::rotate(vRCC.begin(), vRCC.begin() + 11, vRCC.end());
    for (const u64 rcc : vRCC)
        store.createCorner(rcc)->growState = rcc % 2 == 0 ? GRS_KNOWN : GRS_NONE;
    std::vector<Corner*> vNeigs;
    for (const u64 rcc : vRCC) {
        u64 aNeigs[6];
        Calc::getNeigs6_RCD(rcc, aNeigs);
        std::vector<Corner*> vAll, vKnown;
        for (const u64 neig : aNeigs)
            if (Corner* pNeig = store.find(neig)) {
                vAll.push_back(pNeig);
                if (neig % 2 == 0)
                    vKnown.push_back(pNeig);
            }
        store.getNeigs(store.find(rcc), vNeigs);
        EXPECT_EQ(vNeigs, vAll);
        store.getNeigsWithGRS(store.find(rcc), vNeigs, GRS_KNOWN);
        EXPECT_EQ(vNeigs, vKnown);
    }
    EXPECT_EQ(store.find(xyzToRCD(1, 1, 1)), nullptr);
}

TEST(startStop, partsCoverTheRangeAndAlternate)
{
    using Ranges = std::vector<std::pair<size_t, size_t>>;
    Ranges vRanges;
    getStartStop(11, 4, false, vRanges);
    EXPECT_EQ(vRanges, (Ranges{{0, 3}, {3, 6}, {6, 9}, {9, 11}}));
    getStartStop(11, 4, true, vRanges);
    EXPECT_EQ(vRanges, (Ranges{{0, 3}, {6, 9}, {3, 6}, {9, 11}}));
    getStartStop(1, 3, false, vRanges);
    EXPECT_EQ(vRanges, (Ranges{{0, 1}, {1, 1}, {1, 1}}));
    getStartStop(10, 0, false, vRanges);
    EXPECT_EQ(vRanges.size(), size_t(getNumCPU()));
}
