#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "CapturedLog.h"
#include "tracing/CallbackDispatcher.h"
#include "tracing/Channel.h"
#include "tracing/client_helper.h"

namespace {

using test_support::CapturedLog;
using tracing::CallbackDispatcher;
using tracing::Level;

tracing::Channel s_channel{"TEST_A", 7, 2};
tracing::Channel s_other{"TEST_B", 7, 3};

class Thresholds : public testing::Test
{
protected:
    ~Thresholds() override { tracing::setThresholds(nullptr); }
};

TEST_F(Thresholds, LineBelowTheThresholdIsNotEvenEvaluated)
{
    const CapturedLog log;
    int evaluated = 0;
    s_channel.setThreshold(2);
    TRACE(s_channel, progress, "Class", "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    TRACE(s_channel, milestone, "Class", "%d", ++evaluated);
    EXPECT_EQ(log.count("TEST_A", Level::milestone, "TestBody("), 1U);
}

TEST_F(Thresholds, OwnEntryWinsOverTheStarAndBadEntriesAreReported)
{
    testing::internal::CaptureStderr();
    tracing::setThresholds("TEST_A=0,,*=1,TEST_B,=4,TEST_B=2x");
    const auto reported = testing::internal::GetCapturedStderr();
    EXPECT_EQ(s_channel.threshold(), 0);
    EXPECT_EQ(s_other.threshold(), 1);
    for (const auto* bad : {"\"TEST_B\"", "\"=4\"", "\"TEST_B=2x\""}) {
        EXPECT_NE(reported.find(bad), std::string::npos) << bad;
    }
    tracing::setThresholds("TEST_A=5");
    EXPECT_EQ(s_channel.threshold(), 5);
    EXPECT_EQ(s_other.threshold(), 3);
    tracing::setThresholds(nullptr);
    EXPECT_EQ(s_channel.threshold(), 2);
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
    EXPECT_EQ(lines[0].level, Level::detail);
    EXPECT_EQ(lines[1].text.rfind("function(8): xxx", 0), 0U);
    EXPECT_GE(lines[1].text.size(), 1000U);
    EXPECT_LT(lines[1].text.size(), 1200U);
}

TEST(Channel, WritesOnlyToTheSinksOfItsMask)
{
    class CountingSink final : public tracing::ISink
    {
    public:
        void write(const tracing::Line&) noexcept override { ++lines; }
        int lines = 0;
    } viewer;
    static tracing::Channel viewerOnly{"TEST_VIEWER", 1U << tracing::viewer, 0};
    const CapturedLog log;
    tracing::setSink(tracing::viewer, &viewer);
    TRACE(viewerOnly, error, nullptr, "text");
    tracing::setSink(tracing::viewer, nullptr);
    TRACE(viewerOnly, error, nullptr, "text");
    EXPECT_EQ(viewer.lines, 1);
    EXPECT_TRUE(log.lines().empty());
}

// The sink looks at its environment when the process starts, so the lines are those of a process of its own: this very
// program, which runs the same fixture and finds the variable.
class StandardErrorSink : public testing::Test
{
protected:
    static constexpr auto kChild = "TRACING_TEST_CHILD";

    void SetUp() override
    {
        if (std::getenv(kChild) != nullptr) {
            TRACE_AT(s_channel, error, "Class", "operation", 9, "text");
            TRACE(s_channel, progress, "Class", "below the threshold");
            _exit(0);
        }
    }

    static std::string loggedByChild(const char* tracingVariable, bool journal)
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        const auto child = fork();
        if (child == 0) {
            dup2(ends[1], STDERR_FILENO);
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
            struct stat status
            {};
            fstat(STDERR_FILENO, &status);
            const auto stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
            setenv("JOURNAL_STREAM", journal ? stream.c_str() : "1:1", 1);
            setenv("TRACING", tracingVariable, 1);
            setenv(kChild, "", 1);
            execl("/proc/self/exe", "platform_test", "--gtest_filter=StandardErrorSink.*", nullptr);
            _exit(1);
        }
        close(ends[1]);
        std::string text;
        std::array<char, 256> part{};
        for (ssize_t size = 0; (size = read(ends[0], part.data(), part.size())) > 0;) {
            text.append(part.data(), static_cast<std::size_t>(size));
        }
        close(ends[0]);
        waitpid(child, nullptr, 0);
        return text;
    }
};

TEST_F(StandardErrorSink, LineBearsTheJournalsPriorityOrTheTimeSinceBoot)
{
    EXPECT_EQ(loggedByChild("", true), "<3>TEST_A: Class::operation(9): text\n");
    EXPECT_TRUE(std::regex_match(loggedByChild("", false),
                                 std::regex{"\\[ *[0-9]+\\.[0-9]{6}\\] TEST_A +4 Class::operation\\(9\\): text\n"}));
}

TEST_F(StandardErrorSink, EnvironmentSetsTheThresholdFromTheStart)
{
    EXPECT_EQ(loggedByChild("TEST_A=5,bad", true), "TRACING: \"bad\" is not NAME=NUMBER and is skipped\n");
}

TEST(CallbackDispatcher, CommandsAreReachedByClassAndNameWhileTheirObjectLives)
{
    std::string ran;
    std::optional<CallbackDispatcher> first{std::in_place, "Class"};
    first->add("command", [&ran] { ran += '1'; });
    first->add("command", [&ran] { ran += 'r'; }); // in place of the one before
    EXPECT_TRUE(CallbackDispatcher::trigger("Class", "command"));
    {
        CallbackDispatcher second{"Class"};
        second.add("command", [&ran] { ran += '2'; });
        EXPECT_TRUE(CallbackDispatcher::trigger("Class", "command"));
        EXPECT_FALSE(CallbackDispatcher::trigger("Class", "other"));
    }
    EXPECT_TRUE(CallbackDispatcher::trigger("Class", "command"));
    first.reset();
    EXPECT_FALSE(CallbackDispatcher::trigger("Class", "command"));
    EXPECT_EQ(ran, "r2r");
}

TEST(CallbackDispatcher, ListNamesTheCommandsAndACommandMayEndItsDispatcher)
{
    class Owner
    {
    public:
        Owner() { tracing::client_helper::addCommand(*m_dispatcher, "end", *this, &Owner::end); }

    private:
        void end() { m_dispatcher.reset(); }
        std::optional<CallbackDispatcher> m_dispatcher{std::in_place, "Owner"};
    } owner;
    const auto all = CallbackDispatcher::list();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].className, "Owner");
    EXPECT_EQ(all[0].commands, std::vector<std::string>{"end"});
    EXPECT_TRUE(CallbackDispatcher::trigger("Owner", "end"));
    EXPECT_TRUE(CallbackDispatcher::list().empty());
}

} // namespace
