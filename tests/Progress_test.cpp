#include "Progress.h"

#include "helpers/captured.h"
#include "helpers/recorder.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using namespace TESK_ZAN;
using zan_test::Cancelled;
using zan_test::CapturedMessages;
using zan_test::Recorder;

namespace
{

// A tree with the name "T" and phases "0", "1", ... of these weights.
std::unique_ptr<Progress> tree(const std::vector<double>& vWeights)
{
    auto pRoot = std::make_unique<Progress>("T", 1.0);
    for (size_t i = 0; i < vWeights.size(); ++i)
        pRoot->createChild(std::to_string(i), vWeights[i]);
    return pRoot;
}

void tickTimes(Progress* pPhase, u64 n)
{
    for (u64 i = 0; i < n; ++i)
        pPhase->tick();
}

} // namespace

TEST(Progress, notificationStepFollowsStepsAndWeights)
{
    struct Case {
        u64 todo;
        double weight;
        std::vector<double> vOthers;
        u64 notifyStep;
    };
    const Case CASES[] = {
        {400, 10, {}, 2},
        {400, 1, {3}, 8},
        {1000000, 100, {3, 3, 3, 100}, 10450},
        {6, 3, {300}, 4},   // too large a step: three quarters, rounded up
        {10, 1, {199}, 10}, // exactly n is not too large
        {100, 2, {464}, 75},
        {0, 10, {}, 1},
        {1, 10, {10}, 1},
        {199, 5, {}, 1},
        {201, 5, {}, 2},
        {~u64{0}, 1, {1e30}, ~u64{0} / 4 * 3 + 3}, // no overflow; three quarters as a double
        {50, 0, {1}, 1},
        {800, -1, {}, 4}, // no weight: as on a root
    };
    for (const Case& c : CASES) {
        std::vector<double> vWeights = c.vOthers;
        vWeights.insert(vWeights.begin(), c.weight);
        const auto pRoot = tree(vWeights);
        EXPECT_EQ(c.notifyStep, pRoot->getChildProgressSetTodo("0", c.todo)->getNotifyStep())
            << c.todo << " steps, weight " << c.weight;
    }
}

TEST(Progress, openingAPhaseAgainKeepsItsFractionByTruncation)
{
    struct Case {
        u64 todo, ticks, again, numDone, numTodo;
    };
    for (const Case& c : {Case{10, 5, 10, 7, 15}, Case{10, 10, 10, 20, 20}, Case{3, 1, 7, 2, 8},
                          Case{7, 3, 100, 44, 103}, Case{100, 33, 1, 11, 34}}) {
        const auto pRoot = tree({1});
        Progress* pPhase = pRoot->getChildProgressSetTodo("0", c.todo);
        const u64 stepBefore = pPhase->getNotifyStep();
        tickTimes(pPhase, c.ticks);
        EXPECT_EQ(pPhase, pRoot->getChildProgressSetTodo("0", c.again));
        EXPECT_EQ(c.numDone, pPhase->getNumDone());
        EXPECT_EQ(c.numTodo, pPhase->getNumTodo());
        EXPECT_EQ(stepBefore, pPhase->getNotifyStep());
        EXPECT_DOUBLE_EQ(double(c.numDone) / double(c.numTodo), pRoot->getFraction());
    }
}

TEST(Progress, unopenedPhasesCountByTheirWeight)
{
    const auto pRoot = tree({1, 3});
    Recorder recorder;
    pRoot->setSubscriber(&recorder);
    tickTimes(pRoot->getChildProgressSetTodo("1", 4), 4);
    const std::vector<std::pair<std::string, double>> vExpected = {
        {"T", 0.1875}, {"T", 0.375}, {"T", 0.5625}, {"T", 0.75}};
    EXPECT_EQ(vExpected, recorder.vCalls);
}

TEST(Progress, anExistingPhaseKeepsItsFirstWeightAndAMissingOneGetsTen)
{
    const auto pRoot = tree({5});
    pRoot->createChild("0", 500);
    pRoot->getChildProgressSetTodo("unforeseen", 1)->finish(false);
    EXPECT_DOUBLE_EQ(10.0 / 15.0, pRoot->getFraction());
}

TEST(Progress, ticksBeyondTheEndAreCappedAndTickNIsNot)
{
    const auto pRoot = tree({1, 1});
    Progress* pTicked = pRoot->getChildProgressSetTodo("0", 3);
    tickTimes(pTicked, 5);
    EXPECT_EQ(3U, pTicked->getNumDone());
    Progress* pLeapt = pRoot->getChildProgressSetTodo("1", 3);
    pLeapt->tickN(5);
    EXPECT_EQ(5U, pLeapt->getNumDone());
    EXPECT_EQ(1.0, pRoot->getFraction());
    pRoot->getChildProgressSetTodo("1", 1);
    EXPECT_EQ(6U, pLeapt->getNumDone());
    EXPECT_EQ(6U, pLeapt->getNumTodo());
}

TEST(Progress, equalFractionsReachTheSubscriberOnce)
{
    const auto pRoot = tree({1});
    Recorder recorder;
    pRoot->setSubscriber(&recorder);
    Progress* pPhase = pRoot->getChildProgressSetTodo("0", 2);
    tickTimes(pPhase, 7);
    pPhase->finish(true);
    pRoot->finish(true);
    EXPECT_EQ(2U, recorder.vCalls.size());
    pRoot->clear();
    pRoot->setName("again");
    pRoot->finish(true);
    EXPECT_EQ(3U, recorder.vCalls.size()) << "clear must forget the last value and keep the subscriber";
}

TEST(Progress, aRunNotifiesAboutTwoHundredTimesWhateverTheWeights)
{
    Random random(1);
    for (int round = 0; round < 20; ++round) {
        std::vector<double> vWeights;
        for (u64 i = 0; i <= random.below(8); ++i)
            vWeights.push_back(1.0 + random.below(100));
        const auto pRoot = tree(vWeights);
        Recorder recorder;
        pRoot->setSubscriber(&recorder);
        for (size_t i = 0; i < vWeights.size(); ++i) {
            const u64 n = 2000 + random.below(100000);
            tickTimes(pRoot->getChildProgressSetTodo(std::to_string(i), n), n);
        }
        EXPECT_GT(recorder.vCalls.size(), 150U);
        EXPECT_LT(recorder.vCalls.size(), 260U);
        EXPECT_DOUBLE_EQ(1.0, recorder.vCalls.back().second);
    }
}

TEST(Progress, anInnerNodeIsTheWeightedMeanOfItsChildren)
{
    const auto pRoot = tree({1, 1});
    Progress* pInner = pRoot->getChildProgressSetTodo("0", 1);
    pInner->createChild("a", 1);
    pInner->createChild("b", 3);
    tickTimes(pInner->getChildProgressSetTodo("b", 10), 5);
    EXPECT_DOUBLE_EQ(0.375, pInner->getFraction());
    EXPECT_DOUBLE_EQ(0.1875, pRoot->getFraction());
    pInner->finish(true);
    EXPECT_DOUBLE_EQ(0.5, pRoot->getFraction());
}

TEST(Progress, phasesWithoutWeightOrStepsGiveNoNaN)
{
    EXPECT_EQ(0.0, tree({0, 0})->getFraction());
    EXPECT_EQ(0.0, tree({1, -1})->getFraction());
    const auto pRoot = tree({1});
    EXPECT_EQ(1.0, pRoot->getChildProgressSetTodo("0", 0)->getFraction());
}

TEST(Progress, anEmptyRootRefusesPhasesAndSaysWhy)
{
    CapturedMessages messages;
    EXPECT_THROW(getRootProgress()->createChild("CL_eres", 3), ZanBugException);
    EXPECT_THROW(getRootProgress()->getChildProgressSetTodo("CL_eres", 3), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ this->name!=\"empty\" failed ]")) << messages.text();
    EXPECT_EQ(0.0, getRootProgress()->getFraction()) << "no half-made phase may stay behind";
}

TEST(Progress, aCancellingSubscriberLeavesTheTreeUnlockedAndUsable)
{
    const auto pRoot = tree({1});
    {
        Recorder recorder(2);
        pRoot->setSubscriber(&recorder);
        Progress* pPhase = pRoot->getChildProgressSetTodo("0", 10);
        EXPECT_THROW(tickTimes(pPhase, 10), Cancelled);
        EXPECT_EQ(3U, recorder.vCalls.size());
        // another thread could not take the subscriber off if a lock were left behind
        std::thread([&] { pRoot->dropSubscriber(&recorder); }).join();
        tickTimes(pPhase, 10);
        EXPECT_EQ(3U, recorder.vCalls.size());
    }
    pRoot->clear();
    EXPECT_EQ("empty", pRoot->getName());
}

TEST(ProgressRoot, aDestroyedSubscriberIsNeverCalled)
{
    {
        Recorder recorder;
        getRootProgress()->setSubscriber(&recorder);
    }
    getRootProgress()->setName("T");
    getRootProgress()->finish(true); // an address checker sees a call into the dead object
    getRootProgress()->clear();

    Recorder successor;
    {
        Recorder replaced;
        getRootProgress()->setSubscriber(&replaced);
        getRootProgress()->setSubscriber(&successor);
    }
    getRootProgress()->setName("T");
    getRootProgress()->finish(true);
    getRootProgress()->clear();
    EXPECT_EQ(1U, successor.vCalls.size()) << "the end of another subscriber must not take this one off";
}

TEST(ProgressRoot, aNewThreadInheritsNothingFromADeadOneOfTheSameId)
{
    Recorder recorder;
    std::thread([&] {
        getRootProgress()->setSubscriber(&recorder);
        getRootProgress()->setName("abandoned");
        getRootProgress()->getChildProgressSetTodo("phase", 10)->tick();
    }).join();
    const size_t callsThen = recorder.vCalls.size();
    for (int i = 0; i < 50; ++i)
        std::thread([] {
            EXPECT_EQ("empty", getRootProgress()->getName());
            EXPECT_EQ(0.0, getRootProgress()->getFraction());
            getRootProgress()->setName("new");
            getRootProgress()->getChildProgressSetTodo("phase", 10)->tick();
        }).join();
    EXPECT_EQ(callsThen, recorder.vCalls.size());
}

TEST(ProgressRoot, subscribersMayEndOnAnyThreadWhileOthersRun)
{
    // Its call needs the list of roots, as the end of any subscriber does: locks in the wrong order would
    // hang.
    class Busy : public ProgressBase
    {
    public:
        void progressChanged(const std::string&, double) override
        {
            const Recorder shortLived;
            getRootProgress()->getFraction();
        }
    };
    std::vector<std::future<void>> vDone;
    for (int i = 0; i < 4; ++i)
        vDone.push_back(std::async(std::launch::async, [] {
            for (int round = 0; round < 20; ++round) {
                Busy busy;
                getRootProgress()->setSubscriber(&busy);
                getRootProgress()->setName("T");
                tickTimes(getRootProgress()->getChildProgressSetTodo("phase", 50), 50);
                getRootProgress()->clear();
            }
        }));
    for (std::future<void>& done : vDone)
        done.get();
}
