#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <regex>
#include <string>
#include <unistd.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "tracing/CallbackDispatcher.h"
#include "tracing/Channel.h"

namespace {

using test_support::CapturedLog;
using tracing::CallbackDispatcher;
using tracing::Level;

tracing::Channel s_channel{"TEST_A", 7, 2};
tracing::Channel s_other{"TEST_B", 7, 3};

TEST(Thresholds, OwnEntryWinsOverTheStarAndBadEntriesAreReported)
{
    testing::internal::CaptureStderr();
    tracing::setThresholds("TEST_A=0,,*=1,TEST_B,=4,TEST_B=2x");
    EXPECT_EQ(s_channel.threshold(), 0);
    EXPECT_EQ(s_other.threshold(), 1);
    const auto reported = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(reported.begin(), reported.end(), '\n'), 3) << reported;
    tracing::setThresholds("TEST_A=5");
    EXPECT_EQ(s_other.threshold(), 3);
    tracing::setThresholds(nullptr);
    EXPECT_EQ(s_channel.threshold(), 2);
}

TEST(Channel, LineBelowTheThresholdIsNotEvenEvaluatedAndOthersReachOnlyTheSinksOfTheMask)
{
    static tracing::Channel viewerOnly{"TEST_VIEWER", 1U << tracing::viewer, 0};
    const CapturedLog log;
    int evaluated = 0;
    s_channel.setThreshold(2);
    TRACE(s_channel, progress, "Class", "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    TRACE(s_channel, milestone, "Class", "%d", ++evaluated);
    TRACE(viewerOnly, error, nullptr, "text");
    EXPECT_EQ(log.count("TEST_A", Level::milestone, "TestBody("), 1U);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(Channel, LabelIsCutAndControlCharactersCannotForgeALine)
{
    const CapturedLog log;
    const std::string name(40, 'n');
    TRACE_AT(s_channel, detail, name.c_str(), name.c_str(), 7, "a\nb\x1b%s", "\xc3\xa4");
    TRACE_AT(s_channel, resource, nullptr, "function", 8, "%s", std::string(5000, 'x').c_str());
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    const std::string cut(32, 'n');
    EXPECT_EQ(lines[0].text, cut + "::" + cut + "(7): a?b?\xc3\xa4");
    EXPECT_EQ(lines[1].text.rfind("function(8): xxx", 0), 0U);
    EXPECT_LT(lines[1].text.size(), 1200U);
}

// The sink looks at its environment when the process starts, so the lines are those of a process of its own: this very
// program, which runs the same fixture and finds the variable.
class StandardErrorSink : public testing::Test
{
protected:
    static constexpr auto kChild = "TRACING_TEST_CHILD";

    void SetUp() override
    {
        if (const char* const work = std::getenv(kChild); work != nullptr) {
            for (int line = 0; line < std::atoi(work); ++line) {
                TRACE_AT(s_channel, error, "Class", "flood", line, "text");
            }
            TRACE_AT(s_channel, error, "Class", "operation", 9, "text");
            TRACE(s_channel, progress, "Class", "below the threshold");
            _exit(0);
        }
    }

    static std::string itself() { return std::filesystem::read_symlink("/proc/self/exe"); }

    // Standard error is the child's own stream; the shell finds out which one that is.
    static std::string loggedByChild(const std::string& tracing, const std::string& stream)
    {
        return test_support::outputOf(
            {"env", "TRACING=" + tracing, std::string{kChild} + "=", "sh", "-c",
             "JOURNAL_STREAM=" + stream + " exec \"$0\" " + "--gtest_filter=StandardErrorSink.* >/dev/null", itself()});
    }
};

constexpr auto kJournal = "$(stat -L -c %d:%i /proc/$$/fd/2)";

TEST_F(StandardErrorSink, LineBearsTheJournalsPriorityOrTheTimeSinceBootIfTheEnvironmentLetsItThrough)
{
    EXPECT_EQ(loggedByChild("", kJournal), "<3>TEST_A: Class::operation(9): text\n");
    EXPECT_TRUE(std::regex_match(loggedByChild("", "1:1"),
                                 std::regex{"\\[ *[0-9]+\\.[0-9]{6}\\] TEST_A +4 Class::operation\\(9\\): text\n"}));
    EXPECT_EQ(loggedByChild("TEST_A=5,bad", kJournal), "TRACING: \"bad\" is not NAME=NUMBER and is skipped\n");
}

TEST_F(StandardErrorSink, ReaderThatDoesNotReadStopsNobody)
{
    std::array<int, 2> unread{};
    ASSERT_EQ(pipe(unread.data()), 0);
    test_support::ChildProcess child{
        {"sh", "-c", "exec \"$0\" '--gtest_filter=StandardErrorSink.*' 2>&" + std::to_string(unread[1]), itself()},
        {std::string{kChild} + "=5000"}};
    EXPECT_EQ(child.wait(), 0);
    close(unread[0]);
    close(unread[1]);
}

TEST(CallbackDispatcher, LatestCommandOfANameIsReachedAndMayEndItsDispatcher)
{
    std::string ran;
    std::optional<CallbackDispatcher> first{std::in_place, "Class"};
    std::optional<CallbackDispatcher> second{std::in_place, "Class"};
    first->add("command", [&ran] { ran += '1'; });
    second->add("command", [&] {
        ran += '2';
        second.reset();
    });
    EXPECT_TRUE(CallbackDispatcher::trigger("Class", "command"));
    EXPECT_TRUE(CallbackDispatcher::trigger("Class", "command"));
    EXPECT_FALSE(CallbackDispatcher::trigger("Class", "other"));
    first.reset();
    EXPECT_FALSE(CallbackDispatcher::trigger("Class", "command"));
    EXPECT_EQ(ran, "21");
}

} // namespace
