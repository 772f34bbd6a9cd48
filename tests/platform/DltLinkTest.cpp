#include "tracing/DltLink.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <string>

#include "CapturedLog.h"
#include "DltDaemon.h"
#include "Eventually.h"

namespace {

using namespace test_support;
using testing::HasSubstr;
using testing::Not;
using tracing::Level;

tracing::Channel s_known{"CON_TIME", 7, 2};
tracing::Channel s_other{"TEST_VIEWED", 7, 2};
tracing::Channel s_hidden{"TEST_UNSEEN", 1U << tracing::standardError, 2};

struct DltLinkTest : testing::Test
{
    void SetUp() override
    {
        if (!dlt.network().entered()) {
            GTEST_SKIP() << dlt.network().why();
        }
        dlt.start();
        tracing::setThresholds(nullptr);
        link.emplace(tracing::DltLink::Command{});
    }

    const CapturedLog log;
    DltDaemon dlt;
    std::optional<tracing::DltLink> link;
};

TEST_F(DltLinkTest, EveryLevelArrivesAsItsOwnAndTheViewersLevelOpensAndClosesTheViewersSideOnly)
{
    const ChildProcess viewer{DltDaemon::viewer()};
    TRACE(s_known, milestone, "Class", "early");
    TRACE(s_known, progress, "Class", "not asked for");
    ASSERT_TRUE(viewer.waitForOutput("early]"));

    DltDaemon::control({"-l", "6", "-a", "IDSP", "-c", "TIME"});
    ASSERT_TRUE(eventually([] { return s_known.passes(Level::detail); }));
    TRACE_AT(s_known, resource, "Class", "operation", 1, "resource");
    TRACE_AT(s_known, error, "Class", "operation", 2, "error");
    TRACE_AT(s_known, warning, "Class", "operation", 3, "warning");
    TRACE_AT(s_known, milestone, "Class", "operation", 4, "milestone");
    TRACE_AT(s_known, progress, "Class", "operation", 5, "progress");
    TRACE_AT(s_known, detail, "Class", "operation", 6, "detail");
    for (const char* const line :
         {"fatal V 1 [Class::operation(1): resource]", "error V 1 [Class::operation(2): error]",
          "warn V 1 [Class::operation(3): warning]", "info V 1 [Class::operation(4): milestone]",
          "debug V 1 [Class::operation(5): progress]", "verbose V 1 [Class::operation(6): detail]"})
    {
        EXPECT_TRUE(viewer.waitForOutput(std::string{"ECU1 IDSP TIME log "} + line)) << line;
    }
    EXPECT_EQ(log.lines().size(), 5U) << "the log has what it had without a viewer";

    DltDaemon::control({"-l", "0", "-a", "IDSP", "-c", "TIME"});
    ASSERT_TRUE(eventually([] { return !s_known.passes(Level::progress); }));
    TRACE(s_known, error, "Class", "late");
    TRACE(s_other, error, "Class", "last");
    ASSERT_TRUE(viewer.waitForOutput("last]"));
    EXPECT_THAT(viewer.output(), Not(HasSubstr("late]")));
    EXPECT_THAT(viewer.output(), Not(HasSubstr("not asked for]")));
    EXPECT_EQ(log.count("CON_TIME", Level::error, "late"), 1U);

    std::string contexts;
    EXPECT_TRUE(eventually([&contexts] {
        contexts = DltDaemon::control({"-j"});
        return contexts.find("CON_TIME") != std::string::npos; // the last of them
    }));
    EXPECT_THAT(contexts, HasSubstr("APID:IDSP Intrusion detection sensors\n"));
    EXPECT_THAT(contexts, HasSubstr("CTID:TIME  0 -1 CON_TIME\n"));
    EXPECT_THAT(contexts, HasSubstr("CTID:MDLH -1 -1 TEST_VIEWED\n"));
    EXPECT_THAT(contexts, Not(HasSubstr("TEST_UNSEEN")));
}

// In kB. A sanitizer keeps what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMostGrowth = 400'000;
#else
constexpr long kMostGrowth = 4096;
#endif

long residentMemory()
{
    std::ifstream file{"/proc/self/statm"};
    long size = 0;
    long pages = 0;
    file >> size >> pages;
    return pages * 4;
}

TEST_F(DltLinkTest, ADltDaemonThatHasStoppedReadingTakesNeitherTimeNorMemoryFromWhoLogs)
{
    dlt.signal(SIGSTOP);
    tracing::setSink(tracing::observer, nullptr);
    const std::string text(900, 'x');
    const auto before = residentMemory();
    for (int i = 0; i < 50'000; ++i) {
        TRACE(s_known, milestone, "Class", "%s", text.c_str());
    }
    EXPECT_LT(residentMemory(), before + kMostGrowth) << "of 45 MB";
    const auto start = std::chrono::steady_clock::now();
    link.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds{5});
    EXPECT_EQ(dlt.applications(), 0);
    EXPECT_FALSE(s_known.passes(Level::progress));
}

} // namespace
