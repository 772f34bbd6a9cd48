#include <csignal>
#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "DltDaemon.h"
#include "Eventually.h"
#include "FakeServiceManager.h"
#include "TestBus.h"
#include "TestCore.h"

namespace {

using namespace test_support;
using testing::HasSubstr;
using testing::Not;

std::string inject(const std::string& command)
{
    return DltDaemon::control({"-a", "IDSP", "-c", "IDSM", "-s", "4096", "-m", command});
}

std::string threadsOf(pid_t pid)
{
    return outputOf({"sh", "-c", "cat /proc/" + std::to_string(pid) + "/task/*/comm"});
}

struct DltTest : testing::Test
{
    void SetUp() override
    {
        if (!dlt.network().entered()) {
            GTEST_SKIP() << dlt.network().why();
        }
    }

    const CapturedLog log;
    DltDaemon dlt;
    TestBus bus;
};

TEST_F(DltTest, ADltDaemonThatComesLaterShowsTheLogAndInjectsTestCommandsAndMayGoOrHang)
{
    ChildProcess daemon{{IDS_PROC, "--test-commands"}};
    const TestCore core;
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    EXPECT_THAT(threadsOf(daemon.pid()), Not(HasSubstr("dlt")));

    dlt.start();
    ASSERT_TRUE(daemon.waitForOutput("the log goes to the DLT daemon"));
    const ChildProcess viewer{DltDaemon::viewer()};
    EXPECT_TRUE(eventually([] { return DltDaemon::control({"-j"}).find("CON_IDS_IDSM") != std::string::npos; }));
    DltDaemon::control({"-l", "6", "-a", "IDSP", "-c", "IDSM"});
    inject("triggerRSTPEvent");
    EXPECT_TRUE(eventually([&] { return core.count(0xD701) == 1; }));
    EXPECT_TRUE(viewer.waitForOutput("IDSP IDSM log info V 1 [ids::CIdsm::triggerRSTPEvent("));
    EXPECT_TRUE(viewer.waitForOutput("IDSP IDSM log debug V 1 [ids::CIdsm::onEventFromCarDomain("));
    EXPECT_THAT(daemon.output(), Not(HasSubstr("onEventFromCarDomain")));
    inject("triggerNothing");
    EXPECT_TRUE(daemon.waitForOutput("no test command \"triggerNothing\""));

    dlt.signal(SIGKILL);
    dlt.start();
    EXPECT_TRUE(eventually([] { return DltDaemon::control({"-j"}).find("CON_IDS_IDSM") != std::string::npos; }));
    inject("triggerRSTPEvent");
    EXPECT_TRUE(eventually([&] { return core.count(0xD701) == 2; }));

    dlt.signal(SIGSTOP);
    daemon.signal(SIGUSR1);
    EXPECT_TRUE(daemon.waitForOutput("Flush persistence"));
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0);
    EXPECT_EQ(dlt.applications(), 0);
}

TEST_F(DltTest, NothingIsInjectedIntoADaemonThatWasNotStartedForTesting)
{
    dlt.start();
    const FakeServiceManager manager;
    const ChildProcess daemon{{IDS_PROC}, {"WATCHDOG_USEC=100000", manager.environment()}};
    const ChildProcess viewer{DltDaemon::viewer()};
    const TestCore core;
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    ASSERT_TRUE(viewer.waitForOutput("IDSP IAPP log info V 1 [IdsApp::runApplication("));
    inject("triggerRSTPEvent");
    DltDaemon::control({"-l", "5", "-a", "IDSP", "-c", "IAPP"});
    // The level goes the command's way, so the command is through when its effect shows.
    EXPECT_TRUE(eventually([&] {
        manager.next();
        return viewer.output().find("IAPP log debug V 1 [IdsApp::watchdogAliveRequest(") != std::string::npos;
    }));
    EXPECT_THAT(viewer.output(), Not(HasSubstr("triggerRSTPEvent")));
    EXPECT_EQ(core.count(0xD701), 0U);
}

} // namespace
