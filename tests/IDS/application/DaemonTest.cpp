#include <atomic>
#include <csignal>
#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "FakeServiceManager.h"
#include "TestBus.h"
#include "TestCore.h"
#include "asi/connectivity/ids/ViIdsmConnector.h"
#include "comm/TestCommands.h"

namespace {

using namespace test_support;
using testing::HasSubstr;

const std::vector<std::string> kDaemon{IDS_PROC};
// In kB. A sanitizer keeps what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMostGrowth = 300'000;
#else
constexpr long kMostGrowth = 2048;
#endif

const std::vector<std::string> kDaemonForTesting{IDS_PROC, "--test-commands"};

std::vector<std::string> trigger(const std::string& command)
{
    return {"busctl",
            "--system",
            "call",
            "tracing.TestCommands.instance1",
            "/tracing/TestCommands/1",
            "tracing.TestCommands",
            "trigger",
            "ss",
            "ids::CIdsm",
            command};
}

struct DaemonTest : testing::Test
{
    CapturedLog log;
    TestBus bus;
};

TEST_F(DaemonTest, TerminationIsANormalExit)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        ChildProcess daemon{kDaemon};
        ASSERT_TRUE(daemon.waitForOutput("CIdsCoreAsiServer registered service. (Instance ID: 1)"));
        daemon.signal(signal);
        EXPECT_EQ(daemon.wait(), 0);
        EXPECT_THAT(daemon.output(), HasSubstr("CIdsCoreAsiServer deregistered service."));
        EXPECT_THAT(daemon.output(), testing::EndsWith("normal ids exit\n"));
    }
}

TEST_F(DaemonTest, AnErrorIsPrintedWithItsReasonAndTheExitStatusStaysZero)
{
    ChildProcess daemon{{IDS_PROC, "--what"}};
    EXPECT_EQ(daemon.wait(), 0);
    EXPECT_EQ(daemon.output(), "servmngt::startApp() returned with error: unknown argument \"--what\", see --help\n");
}

TEST_F(DaemonTest, TheServiceManagerIsToldAndItsWatchdogAnswered)
{
    const FakeServiceManager manager;
    ChildProcess daemon{kDaemon, {"WATCHDOG_USEC=100000", manager.environment()}};
    bool ready = false;
    int alive = 0;
    for (int i = 0; i < 20 && !(ready && alive > 3); ++i) {
        const auto text = manager.next();
        ready = ready || text == "READY=1\nSTATUS=running";
        alive += text == "WATCHDOG=1" ? 1 : 0;
    }
    EXPECT_TRUE(ready);
    EXPECT_GT(alive, 3);
    daemon.signal(SIGUSR1);
    EXPECT_TRUE(daemon.waitForOutput("Flush persistence"));
}

TEST_F(DaemonTest, ServiceAndCoreFindEachOtherAgainAfterTheBusHasDied)
{
    ChildProcess daemon{kDaemonForTesting};
    TestCore core;
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    for (int i = 0; i < 2; ++i) {
        bus.kill();
        ASSERT_TRUE(eventually([&] { return !core.connected(); }));
        bus.start();
        ASSERT_TRUE(eventually([&] { return core.connected(); }));
    }
    EXPECT_EQ(outputOf(trigger("triggerRSTPEvent")), "b true\n");
    EXPECT_TRUE(eventually([&] { return core.count(0xD701) == 1; }));
}

// Memory in kB that only this process uses.
long privateMemory(pid_t pid)
{
    const auto text =
        outputOf({"awk", "/^Private/ {sum += $2} END {print sum}", "/proc/" + std::to_string(pid) + "/smaps_rollup"});
    return std::stol(text);
}

/// Sends V2X events of a megabyte each.
class HugeEvents : asi::connectivity::ids::ViIdsmConnectorReply, comm::LifecycleListener
{
public:
    HugeEvents() : m_proxy{1, m_activeObject.factory(), *this, *this} { EXPECT_FALSE(m_proxy.connect()); }

    void send(int count)
    {
        ASSERT_TRUE(eventually([this] { return m_alive.load(); }));
        const auto event = CITypesFactory::createUInt8Array(1 << 20);
        for (int sent = 0; sent < count;) {
            m_activeObject.run(
                [&] { sent += m_proxy.call<&asi::connectivity::ids::ViIdsmConnector::sendEvent>(event, 0U) ? 1 : 0; });
        }
    }

private:
    void alive(const comm::Lifecycle&) override { m_alive = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { m_alive = false; }

    TestActiveObject m_activeObject;
    std::atomic<bool> m_alive{false};
    asi::connectivity::ids::ViIdsmConnectorProxy m_proxy;
};

/// Triggers car-domain events as fast as the bus takes them.
class Flood : comm::ITestCommandsReply, comm::LifecycleListener
{
public:
    Flood() : m_proxy{1, m_activeObject.factory(), *this, *this} { EXPECT_FALSE(m_proxy.connect()); }

    void send(int count)
    {
        ASSERT_TRUE(eventually([this] { return m_alive.load(); }));
        for (int sent = 0; sent < count;) {
            m_activeObject.run([&] {
                const std::string name = "ids::CIdsm";
                const std::string command = "triggerRSTPEvent";
                sent += m_proxy.call<&comm::ITestCommands::trigger>(name, command) ? 1 : 0;
            });
        }
    }

private:
    void alive(const comm::Lifecycle&) override { m_alive = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { m_alive = false; }

    TestActiveObject m_activeObject;
    std::atomic<bool> m_alive{false};
    comm::ServiceProxy<comm::TestCommandsDescription> m_proxy;
};

TEST_F(DaemonTest, ACoreThatNeverReadsAndIsKilledInAFloodLeavesTheDaemonAsItWas)
{
    ChildProcess daemon{kDaemonForTesting};
    ChildProcess deaf{{IDS_CORE_MONITOR, "--json"}};
    ASSERT_TRUE(daemon.waitForOutput("IDS Core connected."));
    Flood flood;
    flood.send(10);
    ASSERT_TRUE(deaf.waitForOutput("0xD701"));
    const auto before = privateMemory(daemon.pid());
    deaf.signal(SIGSTOP);
    flood.send(5000);
    EXPECT_EQ(outputOf(trigger("triggerRSTPEvent")), "b true\n") << "the daemon still answers";
    EXPECT_LT(privateMemory(daemon.pid()), before + kMostGrowth);
    HugeEvents{}.send(300);
    EXPECT_LT(privateMemory(daemon.pid()), before + kMostGrowth + 30'000) << "megabytes wait, not all of them";
    flood.send(500);
    deaf.signal(SIGKILL);
    flood.send(500);
    TestCore core;
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    EXPECT_EQ(outputOf(trigger("triggerV2XEvent")), "b true\n");
    EXPECT_TRUE(eventually([&] { return core.count(0) == 3; }));
}

} // namespace
