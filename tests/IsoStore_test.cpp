#include "IsoStore.h"

#include "Bundle.h"
#include "Calc.h"
#include "Point3.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "random.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

using namespace TESK_ZAN;
using zan_test::CellSet;

namespace
{

// A store over some cells of edge 1.
struct Store {
    explicit Store(const std::vector<std::array<int, 3>>& vCells) : cells(vCells), iso(&cells.calc)
    {
        fill();
    }
    explicit Store(const std::vector<Point3>& vPoints) : cells(vPoints), iso(&cells.calc) { fill(); }

    std::vector<u64> codes() const
    {
        std::vector<u64> vCCD;
        iso.getCCDs(vCCD);
        return vCCD;
    }

    CellSet cells;
    IsoStore iso;

private:
    void fill()
    {
        std::vector<Bundle*> vBundles;
        for (Bundle& bundle : cells.vBundles)
            vBundles.push_back(&bundle);
        iso.init(~Iso::LOWER_MASK, vBundles);
    }
};

std::vector<std::array<int, 3>> slab(int side, int thickness)
{
    std::vector<std::array<int, 3>> vCells;
    for (int x = 0; x < side; ++x)
        for (int y = 0; y < side; ++y)
            for (int z = 0; z < thickness; ++z)
                vCells.push_back({28 + x, 28 + y, 30 + z}); // across the seams of blocks
    return vCells;
}

} // namespace

TEST(Iso, eachBitHasAPlaceOfItsOwnAndCodesComeByYThenZThenX)
{
    const u64 upper = CellSet::ccdOf(64, 96, 32);
    Iso iso(upper | 0x1234); // the lower part does not matter
    EXPECT_FALSE(iso.get(31, 31, 31)) << "beyond the words";
    for (const auto& c :
         {std::array{5, 0, 3}, std::array{0, 31, 0}, std::array{31, 0, 3}, std::array{2, 0, 1}})
        iso.set(c[0], c[1], c[2], true);
    std::vector<u64> vCCD;
    iso.getCCDs(vCCD);
    EXPECT_EQ(vCCD, (std::vector<u64>{CellSet::ccdOf(66, 96, 33), CellSet::ccdOf(69, 96, 35),
                                      CellSet::ccdOf(95, 96, 35), CellSet::ccdOf(64, 127, 32)}));
    EXPECT_TRUE(iso.get(31, 0, 3));
    iso.set(31, 0, 3, false);
    EXPECT_FALSE(iso.get(31, 0, 3));
    EXPECT_TRUE(iso.get(5, 0, 3));
}

TEST(Iso, coordinatesOutsideAreFailedConditions)
{
    const zan_test::CapturedMessages messages;
    Iso iso(0);
    for (const auto& c : {std::array{-1, 0, 0}, std::array{0, 32, 0}, std::array{0, 0, -1},
                          std::array{32, 0, 0}, std::array{0, -1, 31}}) {
        EXPECT_THROW(iso.set(c[0], c[1], c[2], true), ZanBugException);
        EXPECT_THROW(iso.get(c[0], c[1], c[2]), ZanBugException);
    }
}

TEST(IsoStore, holdsTheSameCellsAsASetUnderRandomSettingAndClearing)
{
    Random random(5);
    Store store(std::vector<std::array<int, 3>>{});
    std::set<u64> sTwin;
    for (int i = 0; i < 20000; ++i) {
        const u64 ccd = random.below(1u << 18);
        const bool bSet = random.below(3) > 0;
        store.iso.set(ccd, bSet);
        if (bSet)
            sTwin.insert(ccd);
        else
            sTwin.erase(ccd);
    }
    EXPECT_EQ(store.codes(), std::vector<u64>(sTwin.begin(), sTwin.end()));
    for (u64 ccd = 0; ccd < 2000; ++ccd)
        EXPECT_EQ(store.iso.isSet(ccd), sTwin.count(ccd) == 1);

    const zan_test::CapturedMessages messages;
    EXPECT_EQ(store.iso.getIso(CellSet::ccdOf(900, 900, 900)), nullptr);
    EXPECT_NE(messages.text().find("No iso found"), std::string::npos);
}

TEST(IsoStore, addTakesTheCellsOfTheBlockOnly)
{
    Store store(std::vector<std::array<int, 3>>{});
    std::vector<u64> vCCD = {CellSet::ccdOf(1, 2, 3), CellSet::ccdOf(40, 2, 3)};
    store.iso.add(CellSet::ccdOf(32, 0, 31), vCCD);
    EXPECT_EQ(store.codes(), std::vector<u64>{vCCD[1]});
}

TEST(IsoStore, aDoubleSlabGetsThinInsideWithoutTearingAndAThinOneStays)
{
    for (const int thickness : {1, 2}) {
        Store store(slab(8, thickness));
        const std::size_t numKilled = store.iso.simplify();
        const std::vector<u64> vCCD = store.codes();
        EXPECT_EQ(vCCD.size() + numKilled, std::size_t(64 * thickness));
        EXPECT_EQ(numKilled == 0, thickness == 1);
        std::map<std::array<u64, 2>, int> mColumns;
        for (const u64 ccd : vCCD) {
            u64 x, y, z;
            store.cells.calc.ccdToXYZ(ccd, x, y, z);
            ++mColumns[{x, y}];
        }
        EXPECT_EQ(mColumns.size(), 64u) << thickness;
        for (u64 x = 30; x < 34; ++x)
            for (u64 y = 30; y < 34; ++y)
                EXPECT_EQ((mColumns[{x, y}]), 1) << thickness << ' ' << x << ' ' << y;
    }
}

TEST(IsoStore, pinholesAreFilledAndNothingElseChanges)
{
    auto vCells = slab(7, 1);
    vCells.erase(vCells.begin() + 3 * 7 + 3);
    Store store(vCells);
    EXPECT_EQ(store.iso.simplifyInflates(), 1u);
    EXPECT_TRUE(store.iso.isSet(CellSet::ccdOf(31, 31, 30)));
    EXPECT_EQ(store.codes().size(), 49u);
}

TEST(IsoStore, tryKillNeedsAnAxisAndACellThatIsSet)
{
    const zan_test::CapturedMessages messages;
    Store store(slab(4, 2));
    EXPECT_THROW(store.iso.tryKill(nullptr, store.cells.vCode[0], 3, 1), ZanBugException);
    EXPECT_NE(messages.text().find("Wrong axis: 3"), std::string::npos);
    EXPECT_THROW(store.iso.tryKill(nullptr, CellSet::ccdOf(0, 0, 0), 4, 1), ZanBugException);
}

TEST(IsoStore, aBundleNearTheFaceOfADoubleLayerGivesWayToTheOneBehindIt)
{
    // Two layers; the points of the upper one lie low in their cells but for one.
    std::vector<Point3> vPoints;
    for (const auto& cell : slab(5, 2))
        vPoints.emplace_back(cell[0] + 0.5, cell[1] + 0.5, cell[2] + (cell[2] == 31 ? 0.1 : 0.3));
    vPoints[2 * 12 + 1].set(30.5, 30.5, 31.9);
    Store store(vPoints);
    const zan_test::CapturedMessages messages;
    const std::size_t numGone = store.iso.slide();
    EXPECT_EQ(numGone, 8u) << "the inner ones of the upper layer, but for the high one";
    EXPECT_TRUE(store.iso.isSet(CellSet::ccdOf(30, 30, 31)));
    EXPECT_NE(messages.text().find("\n\n\n\n\n Hi, this is slide, numIso=4 and size is 50"),
              std::string::npos);
    EXPECT_NE(messages.text().find("tryKillWeakBundle, numSucc2=8"), std::string::npos);
}
