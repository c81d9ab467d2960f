// The removal rule by table against the rule by search, and what the prunings leave of layers of cells.
#include "Calc.h"
#include "RemoveDecider.h"
#include "RemoveDeciderFast.h"
#include "RemoveDecider_RCD.h"
#include "TaskPool.h"
#include "gridComponents.h"
#include "gridSets.h"
#include "helpers/captured.h"
#include "helpers/tempDir.h"
#include "random.h"
#include "removalRules.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

const Calc unit(0, 0, 0, 1 << 21, 1 << 21, 1 << 21, 21); // cell edge 1

std::vector<u64> box(u64 nx, u64 ny, u64 nz)
{
    std::vector<u64> vRCD;
    for (u64 x = 0; x < nx; ++x)
        for (u64 y = 0; y < ny; ++y)
            for (u64 z = 0; z < nz; ++z)
                vRCD.push_back(xyzToRCD(1000 + x, 1000 + y, 1000 + z));
    return vRCD;
}

// Cells whose distance from a centre is radius +- half the thickness.
std::vector<u64> shell(int radius, double thickness)
{
    std::vector<u64> vRCD;
    const int edge = radius + 3;
    for (int x = -edge; x <= edge; ++x)
        for (int y = -edge; y <= edge; ++y)
            for (int z = -edge; z <= edge; ++z)
                if (std::fabs(std::sqrt(double(x * x + y * y + z * z)) - radius) <= thickness / 2)
                    vRCD.push_back(xyzToRCD(u64(1000 + x), u64(1000 + y), u64(1000 + z)));
    return vRCD;
}

// A sheet of one to two cells thickness.
std::vector<u64> noisySheet(u64 edge)
{
    Random random(7);
    std::vector<u64> vRCD;
    for (const u64 rcd : box(edge, edge, 1)) {
        const u64 low = rcd + random.below(2);
        vRCD.push_back(low);
        if (random.below(2) == 0)
            vRCD.push_back(low + 1);
    }
    return vRCD;
}

// Cells with one point each, somewhere in the cell.
struct Layer {
    std::vector<u64> vRCD;
    std::vector<Point3> vPoints;
    RCDPoints vRCDPoint;

    explicit Layer(std::vector<u64> vCells, double scatter = 0.9) : vRCD(std::move(vCells))
    {
        std::sort(vRCD.begin(), vRCD.end());
        Random random(11);
        const auto offset = [&] { return scatter * (random.uniform() - 0.5); };
        for (const u64 rcd : vRCD) {
            const double dx = offset(), dy = offset(), dz = offset();
            vPoints.push_back(unit.getCellMid_RCD(rcd) + Vector3(dx, dy, dz));
        }
        for (size_t i = 0; i < vRCD.size(); ++i)
            vRCDPoint.emplace_back(vRCD[i], &vPoints[i]);
    }
};

struct Pruned {
    std::vector<u64> vKept;
    std::vector<u64> vDoomed;
};

Pruned prune(Layer& layer, bool bMayRemoveBorders = false, bool bProtect = false)
{
    RemoveDeciderFast decider(layer.vRCD, &unit);
    Pruned pruned;
    decider.prune(layer.vRCDPoint, layer.vRCD, pruned.vKept, pruned.vDoomed, bMayRemoveBorders, bProtect);
    return pruned;
}

size_t countKept(std::vector<u64> vCells, bool bMayRemoveBorders, bool bProtect)
{
    Layer layer(std::move(vCells));
    return prune(layer, bMayRemoveBorders, bProtect).vKept.size();
}

// The passes of the thinning as they are told: ordered maps, slow decider.
std::vector<u64> pruneByMaps(const Layer& layer)
{
    RemoveDecider_RCD decider(layer.vRCD);
    RemoveDeciderFast weigher(layer.vRCD, &unit);
    std::vector<u64> vCandidates = layer.vRCD;
    while (!vCandidates.empty()) {
        std::multimap<double, u64> mmPrioq;
        for (const u64 rcd : vCandidates)
            mmPrioq.emplace(weigher.getWeight(layer.vRCDPoint, rcd), rcd);
        vCandidates.clear();
        for (const auto& [weight, rcd] : mmPrioq) {
            if (!decider.mayRemove(rcd))
                continue;
            decider.remove(rcd);
            u64 array[26];
            Calc::completeArray26_RCD(rcd, array);
            std::copy_if(array, array + 26, std::back_inserter(vCandidates),
                         [&](u64 neig) { return decider.exists(neig); });
        }
        std::sort(vCandidates.begin(), vCandidates.end());
        vCandidates.erase(std::unique(vCandidates.begin(), vCandidates.end()), vCandidates.end());
    }
    std::vector<u64> vKept;
    std::copy_if(layer.vRCD.begin(), layer.vRCD.end(), std::back_inserter(vKept),
                 [&](u64 rcd) { return decider.exists(rcd); });
    return vKept;
}

void expectFailure(const std::string& condition, const auto& call)
{
    CapturedMessages messages;
    EXPECT_THROW(call(), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ " + condition + " failed ]")) << messages.text();
}

} // namespace

TEST(RemovalRules, table_and_search_agree_on_any_neighbourhood)
{
    const RemovalRules& rules = RemovalRules::get();
    Random random(1);
    for (int i = 0; i < 60000; ++i) {
        // Sparse, even and dense neighbourhoods: the interesting ones are rare among even bits.
        u64 bits = random.next();
        if (i % 3 != 0)
            bits = i % 3 == 1 ? bits & random.next() : bits | random.next();
        const unsigned int index = unsigned(bits) & ((1u << 26) - 1);
        const unsigned int configuration = index26ToConfig(index);
        ASSERT_EQ(configToIndex26(configuration), index);
        const RemovalClass kind = RemoveDecider_RCD::classifyIndex(index);
        ASSERT_EQ(rules.isGap(configuration), kind.bGap) << index;
        ASSERT_EQ(rules.isBorder(configuration), kind.bBorder) << index;
        ASSERT_EQ(rules.isInner(configuration), !kind.bGap && !kind.bBorder) << index;
        ASSERT_EQ(rules.isGap(configuration & ~CONFIG27_CENTRE), kind.bGap) << "bit 13 must not matter";
    }
}

TEST(RemovalRules, lone_and_enclosed_cells_have_the_known_classes)
{
    const RemovalRules& rules = RemovalRules::get();
    EXPECT_EQ(configToIndex26(CONFIG27_CENTRE), 0u);
    EXPECT_TRUE(rules.isBorder(CONFIG27_CENTRE));
    EXPECT_TRUE(rules.isGap(CONFIG27_ALL));
    const unsigned int faces = 1u << 4 | 1u << 10 | 1u << 12 | 1u << 14 | 1u << 16 | 1u << 22;
    EXPECT_TRUE(rules.isGap(faces)) << "six face neighbours, no way in";
    EXPECT_TRUE(rules.isGap(CONFIG27_ALL & ~(1u << 4 | 1u << 22))) << "opposite faces are two gaps";
    EXPECT_TRUE(rules.isBorder(CONFIG27_ALL & ~(1u << 4))) << "one exposed face and nothing else";
    EXPECT_TRUE(rules.isInner(CONFIG27_ALL & ~(1u << 4 | 1u << 25))) << "a second empty region at an edge";
}

TEST(RemoveDeciderFast, thinning_with_borders_that_stay_leaves_flat_layers_and_thins_stairs)
{
    Layer plane(box(21, 21, 1));
    EXPECT_EQ(prune(plane).vKept, plane.vRCD) << "a plane one cell thick is as thin as it gets";
    const RemoveDeciderFast decider(plane.vRCD, &unit);
    std::vector<u64> vArea, vBorder;
    decider.detectBorders(vArea, vBorder);
    EXPECT_EQ(vBorder.size(), 80u);
    EXPECT_EQ(vArea.size(), 361u);

    EXPECT_EQ(countKept(box(21, 21, 3), false, false), 1323u) << "an even slab is border all over";
    const size_t numShell = countKept(shell(10, 1.8), false, false);
    EXPECT_GT(numShell, 1250u);
    EXPECT_LT(numShell, 1500u);
}

TEST(RemoveDeciderFast, borders_may_go_eats_sheets_unless_thin_borders_are_protected)
{
    EXPECT_EQ(countKept(box(21, 21, 1), true, false), 0u);
    EXPECT_EQ(countKept(box(21, 21, 1), true, true), 441u);
    const size_t numCube = countKept(box(2, 2, 2), true, true);
    EXPECT_TRUE(numCube >= 4 && numCube < 8) << numCube;
    EXPECT_EQ(countKept(box(3, 1, 1), true, true), 3u);
    const size_t numSlab = countKept(box(21, 21, 3), true, true); // thinned to about a medial layer
    EXPECT_GE(numSlab, 441u);
    EXPECT_LT(numSlab, 700u);
    EXPECT_GT(countKept(shell(10, 3), true, false), 900u) << "a closed shell survives";
}

TEST(RemoveDeciderFast, thinning_is_the_same_as_with_ordered_maps_and_the_slow_decider)
{
    for (const double scatter : {0.9, 0.0}) { // 0: all weights tie, the order of the list decides
        Layer sheet(noisySheet(24), scatter), thick(shell(7, 1.8), scatter);
        for (Layer* pLayer : {&sheet, &thick}) {
            const Pruned pruned = prune(*pLayer);
            EXPECT_EQ(pruned.vKept, pruneByMaps(*pLayer));
            EXPECT_LT(pruned.vKept.size(), pLayer->vRCD.size());
            std::vector<u64> vAll;
            std::merge(pruned.vKept.begin(), pruned.vKept.end(), pruned.vDoomed.begin(), pruned.vDoomed.end(),
                       std::back_inserter(vAll));
            EXPECT_EQ(vAll, pLayer->vRCD) << "every cell is kept or doomed";
        }
    }
}

TEST(RemoveDeciderFast, thinning_leaves_one_layer_in_one_piece_on_any_number_of_threads)
{
    Layer layer(noisySheet(60));
    const int numBefore = getNumCPU();
    std::vector<u64> vFirst;
    for (const int n : {1, 2, 3, 8}) {
        setNumCPU(n);
        const std::vector<u64> vKept = prune(layer).vKept;
        if (vFirst.empty())
            vFirst = vKept;
        EXPECT_TRUE(vKept == vFirst) << n << " threads";
    }
    setNumCPU(numBefore);
    std::vector<std::vector<u64>> vvCC;
    createCC_RCD(vFirst, vvCC);
    EXPECT_EQ(vvCC.size(), 1u);
    RemoveDecider_RCD slow(vFirst);
    for (const u64 rcd : vFirst)
        ASSERT_FALSE(slow.mayRemove(rcd)) << "nothing that may go is left";
}

TEST(RemoveDeciderFast, a_cell_without_point_is_a_failed_condition)
{
    Layer layer(noisySheet(6));
    layer.vRCDPoint.erase(layer.vRCDPoint.begin() + 5);
    expectFailure("q_it!=vRCDPoint.end() && q_it->first==rcd", [&] { prune(layer); });
}

TEST(RemoveDeciderFast, pruning_by_distance_takes_the_farthest_first_and_tries_the_held_back_again)
{
    // A row with its near end occupied for good: from the far end each cell becomes removable in turn.
    const std::vector<u64> vRCD = box(1, 1, 6);
    std::vector<std::pair<float, u64>> vDist2RCD;
    for (size_t i = 1; i < 6; ++i)
        vDist2RCD.emplace_back(float(6 - i), vRCD[i]); // the inner ones are tried first, and held back
    std::vector<u64> vKept, vDoomed;
    RemoveDeciderFast decider(vRCD, &unit);
    decider.pruneByDist(false, vDist2RCD, vKept, vDoomed);
    EXPECT_EQ(vKept.size(), 5u) << "borders stay";
    decider.pruneByDist(true, vDist2RCD, vKept, vDoomed);
    EXPECT_TRUE(vKept.empty());
    EXPECT_EQ(vDoomed, std::vector<u64>(vRCD.begin() + 1, vRCD.end()));
    EXPECT_TRUE(decider.exists(vRCD[0]));
}

TEST(RemoveDeciderFast, pruning_by_distance_leaves_no_candidate_that_may_go)
{
    const std::vector<u64> vSheet = box(15, 15, 1);
    std::vector<u64> vThick;
    growRCDs(vSheet, 2, true, vThick);
    Random random(5);
    std::vector<std::pair<float, u64>> vDist2RCD;
    for (const u64 rcd : vThick)
        if (!std::binary_search(vSheet.begin(), vSheet.end(), rcd))
            vDist2RCD.emplace_back(float(random.below(4)), rcd); // many ties
    std::vector<u64> vKept, vDoomed, vKeptAgain, vDoomedAgain;
    RemoveDeciderFast decider(vThick, &unit), twin(vThick, &unit);
    decider.pruneByDist(true, vDist2RCD, vKept, vDoomed);
    for (const u64 rcd : vKept)
        EXPECT_TRUE(decider.isGap(rcd));
    EXPECT_EQ(vKept.size() + vDoomed.size(), vDist2RCD.size());
    std::reverse(vDist2RCD.begin(), vDist2RCD.end());
    twin.pruneByDist(true, vDist2RCD, vKeptAgain, vDoomedAgain);
    EXPECT_EQ(vDoomed, vDoomedAgain) << "equal distances must not depend on the order of the list";
}

TEST(RemoveDeciderFast, hostile_distances_and_foreign_cells_do_no_harm)
{
    const std::vector<u64> vRCD = box(3, 3, 3);
    const float nan = std::nanf("");
    const std::vector<std::pair<float, u64>> vDist2RCD = {
        {nan, vRCD[0]}, {-1.0f, vRCD[1]}, {nan, vRCD[0]}, {INFINITY, xyzToRCD(5, 5, 5)}, {0.0f, FAILED_CODE}};
    std::vector<u64> vKept, vDoomed;
    RemoveDeciderFast decider(vRCD, &unit);
    decider.pruneByDist(true, vDist2RCD, vKept, vDoomed);
    EXPECT_EQ(vKept.size() + vDoomed.size(), 4u);
    decider.pruneByDist(true, {}, vKept, vDoomed);
    EXPECT_TRUE(vKept.empty() && vDoomed.empty());
    expectFailure("vNeigs.empty()", [&] {
        std::vector<u64> vNeigs = {1};
        decider.getNeigs(vRCD[5], vNeigs);
    });
}

TEST(RemoveDeciderFast, every_dynamic_mode_ends_with_nothing_that_may_go)
{
    const std::vector<u64> vRCD = Layer(noisySheet(30)).vRCD;
    for (const PruningMode mode : {PM_FIXED, PM_CROWDED, PM_SPARSE}) {
        std::vector<std::pair<double, u64>> vWeight2RCD;
        for (const u64 rcd : vRCD)
            vWeight2RCD.emplace_back(double(rcd % 17), rcd);
        RemoveDeciderFast decider(vRCD, &unit);
        std::vector<u64> vKept, vDoomed, vAlive;
        decider.pruneDynamicWeight(mode, vWeight2RCD, vKept, vDoomed);
        decider.getAlive(vAlive);
        EXPECT_EQ(vAlive, vKept);
        EXPECT_EQ(decider.getNumRemoved(), vDoomed.size());
        EXPECT_GT(vDoomed.size(), 100u);
        for (const u64 rcd : vKept)
            ASSERT_TRUE(decider.isGap(rcd) || decider.isBorder(rcd)) << "mode " << mode;
    }
}

TEST(RemoveDecider, answers_by_interleaved_codes_as_the_slow_decider_does_by_packed_ones)
{
    const std::vector<u64> vRCD = noisySheet(20);
    std::vector<u64> vCCD;
    for (const u64 rcd : vRCD)
        vCCD.push_back(Calc::rcdToCCD(rcd));
    RemoveDecider decider(vCCD, &unit);
    RemoveDecider_RCD slow(vRCD);
    size_t numRemoved = 0;
    for (const u64 rcd : vRCD) {
        const u64 ccd = Calc::rcdToCCD(rcd);
        ASSERT_TRUE(decider.exists(ccd));
        ASSERT_EQ(decider.mayRemove(ccd), slow.mayRemove(rcd));
        if (!decider.mayRemove(ccd))
            continue;
        decider.remove(ccd);
        slow.remove(rcd);
        ++numRemoved;
        ASSERT_FALSE(decider.exists(ccd));
        ASSERT_FALSE(decider.mayRemove(ccd)) << "a cell that is gone cannot go again";
    }
    EXPECT_GT(numRemoved, 50u);
    EXPECT_FALSE(decider.mayRemove(1));
}

TEST(RemoveDecider_RCD, the_list_of_answers_is_a_source_file_with_both_tables)
{
    const zan_test::TempDir folder;
    const std::string path = folder.file("LUT.cpp");
    CapturedMessages messages;
    ASSERT_TRUE(RemoveDecider_RCD::createList(path, 3));
    EXPECT_TRUE(messages.has("numRemovable, not border, not gap: "));
    EXPECT_TRUE(messages.has("num border=") && messages.has("num numGap="));
    std::ifstream in(path);
    std::string line, text;
    std::getline(in, line);
    EXPECT_EQ(line, "#include \"LUT.h\"");
    while (std::getline(in, line))
        text += line + '\n';
    u64 word = 0;
    for (unsigned int i = 0; i < 64; ++i)
        word |= u64{RemovalRules::get().isBorder(index26ToConfig(64 + i))} << i;
    std::ostringstream expected;
    expected << std::hex << "0x" << word << "ULL";
    EXPECT_NE(text.find("const unsigned long long array_border[3] = {"), std::string::npos);
    EXPECT_NE(text.find("const unsigned long long array_gap[3] = {"), std::string::npos);
    EXPECT_NE(text.find(expected.str()), std::string::npos);
    EXPECT_FALSE(RemoveDecider_RCD::createList(folder.file("missing") + "/LUT.cpp", 1));
}

TEST(RemoveDecider_RCD, theOppositeFaceEndsTheRowOfCellsThatStand)
{
    RemoveDecider_RCD decider(box(3, 1, 4));
    OppState opp = {};
    ASSERT_TRUE(decider.getOppState(xyzToRCD(1000, 1000, 1003), 5, 4, opp)); // down from the top
    EXPECT_EQ(opp.rcd, xyzToRCD(1000, 1000, 1000));
    EXPECT_EQ(opp.side, 4);
    EXPECT_EQ(opp.numCells, 4);
    EXPECT_FALSE(decider.getOppState(xyzToRCD(1000, 1000, 1003), 5, 3, opp)); // longer than allowed
    EXPECT_FALSE(decider.getOppState(xyzToRCD(999, 1000, 1000), 0, 9, opp));  // no cell
    decider.remove(xyzToRCD(1001, 1000, 1002));
    ASSERT_TRUE(decider.getOppState(xyzToRCD(1000, 1000, 1002), 0, 9, opp)); // along x, up to the gap
    EXPECT_EQ(opp.rcd, xyzToRCD(1000, 1000, 1002));
    EXPECT_EQ(opp.side, 1);
    ASSERT_TRUE(decider.getOppState(xyzToRCD(1002, 1000, 1000), 1, 9, opp));
    EXPECT_EQ(opp.rcd, xyzToRCD(1000, 1000, 1000));
}
