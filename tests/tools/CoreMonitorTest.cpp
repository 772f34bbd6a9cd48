#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "asi/connectivity/idscore/IdsSecurityEvents.h"

namespace {

using namespace test_support;
using namespace asi::connectivity::idscore;
using testing::HasSubstr;
using testing::Not;

/// The daemon's side of the connection.
class Provider final : public IdsSecurityEventsSAttr
{
public:
    ~Provider() override { unregisterInstance(); }

    bool provide() { return !registerInstance(1, m_activeObject.factory()); }
    void withdraw() { unregisterInstance(); }
    bool waitForConnection(int number) const
    {
        return eventually([&] { return connections == number; });
    }
    void send(const util::SharedPtr<SecEvent>& event)
    {
        m_activeObject.run([&] { m_client.call<&IdsSecurityEventsReply::onSecEvent>(event, true); });
    }
    void send(std::uint16_t id)
    {
        const auto event = std::make_shared<SecEvent>();
        event->eventId = id;
        event->contextData = std::make_shared<std::vector<std::uint8_t>>(3000, std::uint8_t{7});
        send(event);
    }

private:
    void clientConnected(const Reply& client) override
    {
        m_client = client;
        ++connections;
    }
    void clientDisconnected(const Reply&) override { ++disconnections; }
    void confirmReady() override {}
    void sendEventResult(const util::SharedPtr<EventSendResult>&) override {}

    TestActiveObject m_activeObject;
    Reply m_client;

public:
    std::atomic<int> connections{0};
    std::atomic<int> disconnections{0};
};

std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t number = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++number;
    }
    return number;
}

struct CoreMonitorTest : testing::Test
{
    CapturedLog log;
    TestBus bus;
    Provider provider;
};

TEST_F(CoreMonitorTest, WaitsForTheDaemonAndEndsAfterTheCount)
{
    ChildProcess monitor{{CORE_MONITOR, "--count", "3"}};
    ASSERT_TRUE(monitor.waitForOutput("no daemon on the bus, waiting for it\n"));
    ASSERT_TRUE(provider.provide());
    ASSERT_TRUE(provider.waitForConnection(1));
    provider.send(0x000B);
    provider.send(nullptr);
    provider.send(0xD703);
    provider.send(0x000C);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_THAT(monitor.output(), HasSubstr("  0x000B  Firewall_DropInvPortTCP  "));
    EXPECT_THAT(monitor.output(),
                HasSubstr("connected; connections 1, events 3, raw 2, not shown 0; without payload 1, "
                          "0x000B Firewall_DropInvPortTCP 1, 0xD703 1\n"));
    EXPECT_THAT(monitor.output(), Not(HasSubstr("0x000C")));
    EXPECT_TRUE(eventually([&] { return provider.disconnections == 1; }));
}

TEST_F(CoreMonitorTest, StandardOutputCarriesOneJsonObjectForEachEventAskedFor)
{
    ASSERT_TRUE(provider.provide());
    ChildProcess monitor{{"sh", "-c", "exec \"$0\" --json --count 2 --only 0x000B,D703 2>/dev/null", CORE_MONITOR}};
    ASSERT_TRUE(provider.waitForConnection(1));
    for (const std::uint16_t id : std::vector<std::uint16_t>{0x000B, 0x000C, 0xD703}) {
        provider.send(id);
    }
    EXPECT_EQ(monitor.wait(), 0);
    std::istringstream lines{monitor.output()};
    std::vector<std::string> ids;
    for (std::string line; std::getline(lines, line);) {
        ids.push_back(nlohmann::json::parse(line)["id"]);
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"0x000B", "0xD703"}));
}

TEST_F(CoreMonitorTest, SignalsAskForASummaryAndForTheEnd)
{
    ASSERT_TRUE(provider.provide());
    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess monitor{{CORE_MONITOR, "--only", "0x000B"}};
        ASSERT_TRUE(monitor.waitForOutput("connected to the daemon\n"));
        provider.send(0x000C);
        provider.send(0x000B);
        const std::string summary = "events 1, raw 1, not shown 1; 0x000B Firewall_DropInvPortTCP 1\n";
        ASSERT_TRUE(eventually([&] {
            monitor.signal(SIGUSR1);
            return monitor.waitForOutput(summary, std::chrono::milliseconds{50});
        }));
        const auto before = occurrences(monitor.output(), summary);
        monitor.signal(signal);
        EXPECT_EQ(monitor.wait(), 0);
        EXPECT_GT(occurrences(monitor.output(), summary), before);
    }
}

TEST_F(CoreMonitorTest, SurvivesTheRestartOfTheDaemonAndOfTheBus)
{
    ASSERT_TRUE(provider.provide());
    ChildProcess monitor{{CORE_MONITOR, "--count", "1"}};
    ASSERT_TRUE(provider.waitForConnection(1));
    provider.withdraw();
    ASSERT_TRUE(monitor.waitForOutput("the daemon is gone, waiting for its return\n"));
    ASSERT_TRUE(provider.provide());
    ASSERT_TRUE(provider.waitForConnection(2));

    bus.kill();
    ASSERT_TRUE(monitor.waitForOutput("the bus is gone, waiting for its return\n"));
    std::this_thread::sleep_for(std::chrono::milliseconds{700}); // several attempts in vain
    bus.start();
    ASSERT_TRUE(provider.waitForConnection(3));
    provider.send(0x000B);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_EQ(occurrences(monitor.output(), "connected to the daemon\n"), 3U);
    EXPECT_EQ(occurrences(monitor.output(), "gone"), 2U) << "each absence is told once";
    EXPECT_THAT(monitor.output(), Not(HasSubstr(bus.directory())));
}

TEST_F(CoreMonitorTest, FoundNoBusItConnectsWhenThereIsOne)
{
    bus.kill();
    ChildProcess monitor{{CORE_MONITOR}};
    ASSERT_TRUE(monitor.waitForOutput("no bus, waiting for it\n"));
    bus.start();
    ASSERT_TRUE(provider.provide());
    EXPECT_TRUE(provider.waitForConnection(1));
    EXPECT_EQ(occurrences(monitor.output(), "waiting"), 1U);
}

TEST_F(CoreMonitorTest, WithoutADaemonInTimeItFails)
{
    for (const auto* const option : {"--wait", "--for"}) {
        ChildProcess monitor{{CORE_MONITOR, option, "0.3"}};
        EXPECT_EQ(monitor.wait(), 1) << option;
        EXPECT_THAT(monitor.output(), HasSubstr("no daemon in time\n"));
    }
    ASSERT_TRUE(provider.provide());
    ChildProcess monitor{{CORE_MONITOR, "--wait", "30", "--for", "1"}};
    EXPECT_EQ(monitor.wait(), 0) << "connected in time";
}

TEST_F(CoreMonitorTest, WhatItDoesNotUnderstandIsAUsageError)
{
    const std::vector<std::vector<std::string>> commands{{"--nonsense"},        {"word"},         {"--for", "nan"},
                                                         {"--for", "-1"},       {"--wait", "1x"}, {"--count", "0"},
                                                         {"--only", "0x1000B"}, {"--only", "x"}};
    for (auto command : commands) {
        command.insert(command.begin(), CORE_MONITOR);
        ChildProcess monitor{command};
        EXPECT_EQ(monitor.wait(), 2) << command[1];
    }
    ChildProcess help{{CORE_MONITOR, "--help"}};
    EXPECT_EQ(help.wait(), 0);
}

TEST_F(CoreMonitorTest, AReaderThatGoesEndsItQuietly)
{
    ASSERT_TRUE(provider.provide());
    ChildProcess monitor{{"sh", "-c", "{ \"$0\"; echo \"status $?\" >&2; } | head -n 1", CORE_MONITOR}};
    ASSERT_TRUE(provider.waitForConnection(1));
    provider.send(0x000B);
    EXPECT_TRUE(monitor.waitForOutput("status 0\n"));
    EXPECT_THAT(monitor.output(), Not(HasSubstr("events ")));
}

TEST_F(CoreMonitorTest, AReaderThatDoesNotReadDoesNotKeepItFromEnding)
{
    ASSERT_TRUE(provider.provide());
    const auto path = bus.directory() + "/fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ChildProcess monitor{{"sh", "-c", "exec \"$0\" --json > \"$1\"", CORE_MONITOR, path}};
    ASSERT_TRUE(provider.waitForConnection(1));
    for (int i = 0; i < 500; ++i) {
        provider.send(0x000B);
    }
    ASSERT_TRUE(eventually([&] {
        int waiting = 0;
        return ioctl(reader, FIONREAD, &waiting) == 0 && waiting > 30'000;
    }));
    std::this_thread::sleep_for(std::chrono::milliseconds{200}); // until the pipe is full to the last page
    monitor.signal(SIGTERM);
    EXPECT_EQ(monitor.wait(), 0);
    close(reader);
}

} // namespace
