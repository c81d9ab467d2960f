// Messages, their streams, the failure report and the stop watch.
#include "Timer.h"
#include "helpers/captured.h"
#include "messages.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

TEST(Messages, StandBetweenEmptyLinesWithTheirPrefix)
{
    CapturedMessages messages;
    zanWarning("here", "it rains");
    EXPECT_EQ(messages.text(), "\n      [ZAN Message] here, WARNING: it rains\n\n");
    messages.clear();
    zanError("here", "it burns");
    EXPECT_EQ(messages.text(), "\n      [ZAN Message] here, ERROR: it burns\n\n");
    messages.clear();
    zanInfo("here", "fine");
    EXPECT_EQ(messages.text(), "\n      here, INFO: fine\n\n");
    messages.clear();
    zanInfo("", "fine");
    EXPECT_EQ(messages.text(), "\n      [ZAN Message] INFO: fine\n\n");
}

TEST(Messages, MacrosNameFunctionAndLine)
{
    CapturedMessages messages;
    ZAN_WARNING("look");
    const std::string line = std::to_string(__LINE__ - 1);
    EXPECT_TRUE(messages.has("[ZAN Message]  ** "));
    EXPECT_TRUE(messages.has(":" + line + " ** , WARNING: look\n"));
    EXPECT_TRUE(messages.has("TestBody"));
    ZAN_ERROR("look");
    EXPECT_TRUE(messages.has(" ** , ERROR: look\n"));
    ZAN_INFO("look");
    EXPECT_TRUE(messages.has(" ** , INFO: look\n"));
}

TEST(Messages, GoToTheStandardStreamsUnlessRedirected)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    messageStream() << "ordinary";
    complaintStream() << "complaint";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ordinary");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "complaint");
}

TEST(Messages, SilencedLibraryWritesNothingAndComesBack)
{
    testing::internal::CaptureStdout();
    redirectMessages(nullptr);
    zanWarning("here", "nobody hears this");
    EXPECT_TRUE(messageStream().good());
    resetMessageStreams();
    messageStream() << "heard";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "heard");
}

TEST(FailureReport, NamesPlaceAndConditionAndThrows)
{
    CapturedMessages messages;
    const int a = 0;
    EXPECT_NO_THROW(zanAssert(a == 0));
    EXPECT_EQ(messages.text(), "");
    try {
        // clang-format off
        zanAssert(a>0);
        // clang-format on
        FAIL() << "the condition holds";
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(),
                     "ZAN Exception - Bug OR incorrect usage. Kindly report any bugs to ensure "
                     "they are solved quickly!");
    }
    const std::string text = messages.text();
    EXPECT_EQ(text.find("      "), 0u);
    const std::size_t posFunction = text.find('\n');
    EXPECT_NE(text.substr(0, posFunction).find("messages_test.cpp:"), std::string::npos);
    EXPECT_EQ(text.find("\n      ", posFunction), posFunction);
    const std::string ending = "\n      [ZAN Message] ASSEX, ERROR: Condition [ a>0 failed ]\n\n";
    ASSERT_GT(text.size(), ending.size());
    EXPECT_EQ(text.substr(text.size() - ending.size()), ending);
}

TEST(FailureReport, OtherFormsCarryTheirText)
{
    CapturedMessages messages;
    EXPECT_THROW(zanAssertText(1 > 2, "pVtx is NULL"), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ pVtx is NULL failed ]"));
    EXPECT_THROW(zanFail(), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ false failed ]"));
}

TEST(FailureReport, IsThrownBySilencedLibraryToo)
{
    redirectMessages(nullptr);
    EXPECT_THROW(zanFail(), ZanBugException);
    resetMessageStreams();
}

TEST(Timer, StandsStillOnceStopped)
{
    Timer timer;
    const double running = timer.elapsed();
    EXPECT_GE(running, 0.0);
    EXPECT_GE(timer.elapsed(), running);
    const double stopped = timer.stop();
    EXPECT_GE(stopped, running);
    EXPECT_EQ(timer.elapsed(), stopped);
    EXPECT_EQ(timer.elapsed(), stopped);
}
