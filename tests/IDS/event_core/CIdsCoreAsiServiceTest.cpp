#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <mutex>

#include "CIdsCoreAsiService.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using namespace asi::connectivity::idscore;
using testing::ElementsAre;
using testing::HasSubstr;
using tracing::Level;

/// An IDS core on a connection of its own.
class Core : IdsSecurityEventsReply, comm::LifecycleListener
{
public:
    Core() : m_proxy{1, m_activeObject.factory(), *this, *this} { EXPECT_FALSE(m_proxy.connect()); }

    void goodbye() { m_proxy.disconnect(); }

    void report(const util::SharedPtr<EventSendResult>& result)
    {
        m_activeObject.run([&] {
            EXPECT_TRUE(m_proxy.call<&IdsSecurityEvents::sendEventResult>(result));
            EXPECT_TRUE(m_proxy.call<&IdsSecurityEvents::confirmReady>());
        });
    }

    std::vector<std::uint16_t> received() const
    {
        const std::lock_guard lock{m_mutex};
        return m_received;
    }

    std::atomic<bool> connected{false};

private:
    void onSecEvent(const util::SharedPtr<SecEvent>& event, bool isValid) override
    {
        EXPECT_TRUE(isValid);
        const std::lock_guard lock{m_mutex};
        m_received.push_back(event->eventId);
    }
    void alive(const comm::Lifecycle&) override { connected = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { connected = false; }

    TestActiveObject m_activeObject;
    mutable std::mutex m_mutex;
    std::vector<std::uint16_t> m_received;
    IdsSecurityEventsProxy m_proxy;
};

struct CountingListener final : common_::ListenerBase<ids::IIdsCoreServiceListener>
{
    void onIdsCoreConnected() override { ++connections; }
    std::atomic<int> connections{0};
};

std::shared_ptr<SecEvent> event(std::uint16_t id)
{
    auto made = std::make_shared<SecEvent>();
    made->eventId = id;
    return made;
}

struct CIdsCoreAsiServiceTest : testing::Test
{
    CIdsCoreAsiServiceTest()
    {
        activeObject.run([this] { service.addListener(&listener); });
    }
    ~CIdsCoreAsiServiceTest() override
    {
        activeObject.run([this] { service.removeListener(&listener); });
    }

    bool send(const std::shared_ptr<SecEvent>& toSend)
    {
        bool sent = false;
        activeObject.run([&] { sent = service.sendEvent(toSend); });
        return sent;
    }
    bool isConnected()
    {
        bool connected = false;
        activeObject.run([&] { connected = service.isConnected(); });
        return connected;
    }

    CapturedLog log;
    TestBus bus;
    TestActiveObject activeObject;
    CountingListener listener;
    ids::CIdsCoreAsiService service{activeObject.factory()};
};

TEST_F(CIdsCoreAsiServiceTest, AConnectedCoreGetsEventsAndListenersLearnOfEveryConnection)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "registered service. (Instance ID: 1)"), 1U);
    EXPECT_FALSE(send(event(1)));
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::detail, "Proxy not alive!"), 1U);
    {
        Core core;
        ASSERT_TRUE(eventually([&] { return core.connected && listener.connections == 1; }));
        EXPECT_TRUE(send(event(2)));
        EXPECT_FALSE(send(nullptr));
        EXPECT_TRUE(eventually([&] { return core.received() == std::vector<std::uint16_t>{2}; }));
        core.report(std::make_shared<EventSendResult>(EventSendResult{2, 24, SendResult::result4}));
        core.report(nullptr);
    }
    EXPECT_TRUE(eventually([&] { return !isConnected(); }));
    Core another;
    EXPECT_TRUE(eventually([&] { return another.connected && listener.connections == 2; }));
    EXPECT_EQ(log.count("CON_COMM", Level::warning, ""), 0U) << "nothing of this is refused";
}

TEST_F(CIdsCoreAsiServiceTest, TheSuccessorKeepsItsConnectionWhenThePredecessorGoes)
{
    EXPECT_TRUE(service.registerService());
    Core first;
    ASSERT_TRUE(eventually([&] { return first.connected.load(); }));
    Core second;
    ASSERT_TRUE(eventually([&] { return second.connected.load(); }));
    first.goodbye();
    ASSERT_TRUE(eventually([&] { return log.count("CON_IDS_CORE", Level::progress, "Client disconnected.") == 1; }));
    EXPECT_TRUE(send(event(7)));
    EXPECT_TRUE(eventually([&] { return second.received() == std::vector<std::uint16_t>{7}; }));
    EXPECT_TRUE(first.received().empty());
}

TEST_F(CIdsCoreAsiServiceTest, RegisteringTwiceFailsAndWithdrawingDisconnects)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_FALSE(service.registerService());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::error, "can't register service! (Instance ID: 1)"), 1U);
    Core core;
    ASSERT_TRUE(eventually([&] { return core.connected.load(); }));
    service.deregisterService();
    EXPECT_FALSE(isConnected());
    EXPECT_TRUE(eventually([&] { return !core.connected; }));
    EXPECT_TRUE(service.registerService());
}

TEST_F(CIdsCoreAsiServiceTest, WithoutMemoryForTheRegistrationTheProcessCannotGoOn)
{
    const RecordedErrors errors;
    const FailingAllocation failing{FailingAllocation::Kind::nonThrowing};
    try {
        service.registerService();
        FAIL() << "registered without memory";
    } catch (const FatalAssertion& error) {
        EXPECT_EQ(error.message, "can't create ServiceRegistration, OOM ");
    }
}

TEST_F(CIdsCoreAsiServiceTest, AResultBeyondItsEnumerationIsRefusedByItsName)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_THAT(outputOf({"busctl", "--system", "call", "asi.connectivity.idscore.IdsSecurityEvents.instance1",
                          "/asi/connectivity/idscore/IdsSecurityEvents/1", "asi.connectivity.idscore.IdsSecurityEvents",
                          "sendEventResult", "a(quu)", "1", "11", "24", "5"}),
                HasSubstr("SendResult"));
}

} // namespace
