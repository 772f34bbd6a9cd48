#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "ClientOnBus.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "ManualAlarms.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "asi/connectivity/diagnostic/DiagnosticDtcs.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"

namespace {

using namespace std::chrono_literals;
using namespace test_support;
using asi::connectivity::diagnostic::Dtcs;
using tracing::Level;

struct Target
{
    void updateDtcs(const util::SharedPtr<Dtcs>&, bool) { std::function{onUpdate}(); }

    std::function<void()> onUpdate = [] {};
};

struct Reply : asi::connectivity::diagnostic::DiagnosticDtcsReply, common_::ReplyForwarder<Target>
{
    using ReplyForwarder::ReplyForwarder;
    void updateDtcs(const comm::Nullable<Dtcs>& dtcs, bool isValid) override
    {
        forward(&Target::updateDtcs, dtcs, isValid);
    }
};

struct Client : Target, common_::AsiClientSkeleton<asi::connectivity::diagnostic::DiagnosticDtcsProxy, Reply>
{
    explicit Client(const comm::FactoryPtr& factory) : AsiClientSkeleton{factory, *this} {}
    void onAlive() override
    {
        isAlive = true;
        requestNotifications();
    }
    void onDead() override { isAlive = false; }

    std::atomic<bool> isAlive{false};
};

constexpr auto kInstance = "asi.connectivity.diagnostic.DiagnosticDtcs.instance1";

struct AsiClientSkeletonTest : testing::Test
{
    ~AsiClientSkeletonTest() override { destroy(); }

    void start(const std::string& rules = "")
    {
        bus = std::make_unique<TestBus>(rules);
        startClient();
    }

    void startClient()
    {
        activeObject.run([this] {
            client = std::make_unique<Client>(activeObject.factory());
            client->start();
            client->start();
        });
    }

    void destroy()
    {
        activeObject.run([this] { client.reset(); });
    }

    std::size_t lines(Level level, const std::string& text) const { return log.count("CON_IDS_ASI", level, text); }
    bool becomesAlive() const
    {
        return eventually([this] { return client->isAlive.load(); });
    }
    bool waitsFor(std::chrono::milliseconds time) const
    {
        return eventually([&] { return alarms.left() == time; });
    }

    const CapturedLog log;
    ManualAlarms alarms;
    std::unique_ptr<TestBus> bus;
    const TestActiveObject activeObject{};
    std::unique_ptr<Client> client;
};

TEST_F(AsiClientSkeletonTest, AServiceIsFoundWhenItComesAndAgainASecondAfterItsDeath)
{
    start();
    EXPECT_EQ(lines(Level::milestone, "AsiClientSkeleton::reconnect(152): Reconnecting..."), 1U);
    EXPECT_EQ(lines(Level::milestone, "AsiClientSkeleton::reconnect(174): connect OK " + std::string{kInstance}), 1U);
    auto peer = std::make_unique<ChildProcess>(std::vector<std::string>{SERVICE_PEER});
    ASSERT_TRUE(becomesAlive());
    EXPECT_EQ(lines(Level::milestone, "AsiClientSkeleton::alive(121): ASI alive " + std::string{kInstance}), 1U);
    peer->signal(SIGKILL);
    ASSERT_TRUE(waitsFor(1000ms));
    EXPECT_EQ(lines(Level::milestone, "AsiClientSkeleton::dead(132): ASI dead " + std::string{kInstance} + " 1 1 0"),
              1U);
    peer = std::make_unique<ChildProcess>(std::vector<std::string>{SERVICE_PEER});
    ASSERT_TRUE(peer->waitForOutput("provided"));
    peer->signal(SIGSTOP);
    alarms.expire();
    ASSERT_TRUE(eventually([this] { return lines(Level::milestone, "Reconnecting...") == 2; }));
    EXPECT_FALSE(client->isAlive) << "it hangs";
    peer->signal(SIGCONT);
    ASSERT_TRUE(becomesAlive());

    client->stop();
    peer->signal(SIGKILL);
    activeObject.drain();
    EXPECT_EQ(alarms.count(), 0U) << "nobody looks for it any more";
}

TEST_F(AsiClientSkeletonTest, AServiceThatRefusesUsIsAskedAgainAfterAMinute)
{
    start(R"(<deny send_destination="asi.connectivity.diagnostic.DiagnosticDtcs.instance1"/>)");
    const ChildProcess peer{{SERVICE_PEER}};
    ASSERT_TRUE(waitsFor(60000ms));
    EXPECT_EQ(lines(Level::milestone, "ASI dead " + std::string{kInstance} + " 0 14 "), 1U);
}

TEST_F(AsiClientSkeletonTest, ABusThatIsAwayIsTriedAgainEveryFiveSeconds)
{
    start();
    bus->kill();
    ASSERT_TRUE(waitsFor(1000ms)) << "the death of the bus is one of every service";
    for (std::size_t failures = 1; failures < 3; ++failures) {
        alarms.expire();
        ASSERT_TRUE(waitsFor(5000ms));
        EXPECT_EQ(
            lines(Level::error, "AsiClientSkeleton::reconnect(169): Failed to connect ASI " + std::string{kInstance}),
            failures);
    }
    bus->start();
    const ChildProcess peer{{SERVICE_PEER}};
    ASSERT_TRUE(log.waitFor("is back"));
    alarms.expire();
    EXPECT_TRUE(becomesAlive());
}

TEST_F(AsiClientSkeletonTest, DestructionForgetsAlarmAndQueuedReconnect)
{
    start();
    bus->kill();
    ASSERT_TRUE(waitsFor(1000ms));
    destroy();
    EXPECT_EQ(alarms.count(), 0U);

    startClient();
    ASSERT_TRUE(waitsFor(5000ms));
    const auto before = lines(Level::milestone, "Reconnecting...");
    activeObject.run([this] {
        alarms.expire();
        client.reset();
    });
    activeObject.drain();
    EXPECT_EQ(lines(Level::milestone, "Reconnecting..."), before);
}

TEST_F(AsiClientSkeletonTest, DestructionNeedsNoMemory)
{
    start();
    const ChildProcess peer{{SERVICE_PEER}};
    ASSERT_TRUE(becomesAlive());
    const RecordedErrors errors;
    activeObject.run([this] {
        const FailingAllocation failing{FailingAllocation::Kind::throwing, 1};
        client.reset();
    });
    activeObject.drain();
    EXPECT_TRUE(errors.outOfMemory().empty());
}

TEST_F(AsiClientSkeletonTest, AServiceThatNeverAnswersIsAskedAgainASecondAfterPatienceIsOver)
{
    bus = std::make_unique<TestBus>();
    const ChildProcess peer{{SERVICE_PEER}};
    ASSERT_TRUE(peer.waitForOutput("provided"));
    peer.signal(SIGSTOP);
    setenv("SYSTEMD_BUS_TIMEOUT", "200ms", 1);
    startClient();
    unsetenv("SYSTEMD_BUS_TIMEOUT");
    ASSERT_TRUE(waitsFor(1000ms));
    EXPECT_EQ(lines(Level::milestone, "ASI dead " + std::string{kInstance} + " 0 3 110"), 1U);
}

TEST_F(AsiClientSkeletonTest, AnUpdateMayFindItsClientGoneOrEndIt)
{
    using namespace asi::connectivity::diagnostic;
    start();
    ProvidedService<DiagnosticDtcsSAttr> service;
    const auto update = [&] { service.set<&DiagnosticDtcsReply::updateDtcs>(util::SharedPtr<Dtcs>{}); };
    ASSERT_TRUE(becomesAlive());
    activeObject.run([&] {
        client->onUpdate = [] { ADD_FAILURE() << "nobody is there"; };
        update();
        client.reset();
    });
    startClient();
    std::atomic<bool> ended{false};
    activeObject.run([&] { client->onUpdate = [&] { ended = (client = nullptr) == nullptr; }; });
    update();
    EXPECT_TRUE(eventually([&] { return ended.load(); }));
}

TEST(AlarmTest, AnAlarmCallsOnceAndNotAfterItsRemoval)
{
    std::atomic<int> calls{0};
    osal::Alarm alarm{osal::Alarm::DEFAULT_TIMER, [&calls] { ++calls; }};
    alarm.set(1h);
    alarm.set(1ms);
    ASSERT_TRUE(eventually([&] { return calls == 1; }));
    for (int round = 0; round < 200; ++round) {
        alarm.set(std::chrono::milliseconds{round % 3});
        std::this_thread::sleep_for(std::chrono::microseconds{round * 10});
        alarm.remove();
        const int removed = calls;
        std::this_thread::yield();
        EXPECT_EQ(calls, removed);
    }
}

} // namespace
