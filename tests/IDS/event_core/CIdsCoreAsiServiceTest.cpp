#include <atomic>
#include <gmock/gmock.h>
#include <memory>

#include "CIdsCore.h"
#include "CIdsCoreAsiService.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "ManualTimers.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "TestCore.h"
#include "util/CITypesFactory.h"

namespace {

using namespace test_support;
using asi::connectivity::idscore::SecEvent;
using testing::HasSubstr;
using tracing::Level;

/// Listens behind the core link, as the daemon's manager does.
struct CountingListener final : common_::ListenerBase<ids::IIdsCoreServiceListener>
{
    void onIdsCoreConnected() override { ++connections; }
    std::atomic<int> connections{0};
};

struct CIdsCoreAsiServiceTest : testing::Test
{
    CIdsCoreAsiServiceTest()
    {
        activeObject.run([this] {
            service.addListener(&link);
            link.addListener(&listener);
        });
    }
    ~CIdsCoreAsiServiceTest() override
    {
        activeObject.run([this] { service.removeListener(&link); });
    }

    bool send(std::uint16_t id)
    {
        const auto event = std::make_shared<SecEvent>();
        event->eventId = id;
        bool sent = false;
        activeObject.run([&] { sent = service.sendEvent(event) && !service.sendEvent(nullptr); });
        return sent;
    }
    bool isConnected()
    {
        bool connected = false;
        activeObject.run([&] { connected = service.isConnected(); });
        return connected;
    }
    static std::string report(const char* result)
    {
        return outputOf({"busctl", "--system", "call", "asi.connectivity.idscore.IdsSecurityEvents.instance1",
                         "/asi/connectivity/idscore/IdsSecurityEvents/1", "asi.connectivity.idscore.IdsSecurityEvents",
                         "sendEventResult", "a(quu)", "1", "11", "24", result});
    }

    CapturedLog log;
    TestBus bus;
    TestActiveObject activeObject;
    CountingListener listener;
    ids::CIdsCoreAsiService service{activeObject.factory()};
    ManualTimers timers;
    ids::CIdsCore link{service, timers};
};

TEST_F(CIdsCoreAsiServiceTest, AConnectedCoreGetsEventsAndListenersLearnOfEveryConnection)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_FALSE(send(1));
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::detail, "Proxy not alive!"), 1U);
    auto core = std::make_unique<TestCore>();
    ASSERT_TRUE(eventually([&] { return core->connected() && listener.connections == 1; }));
    EXPECT_TRUE(send(2));
    EXPECT_TRUE(eventually([&] { return core->count(2) == 1; }));
    core.reset();
    EXPECT_TRUE(eventually([&] { return !isConnected(); }));
    const TestCore another;
    EXPECT_TRUE(eventually([&] { return another.connected() && listener.connections == 2; }));
}

TEST_F(CIdsCoreAsiServiceTest, TheSuccessorKeepsItsConnectionWhenThePredecessorGoes)
{
    EXPECT_TRUE(service.registerService());
    auto first = std::make_unique<TestCore>();
    ASSERT_TRUE(eventually([&] { return first->connected(); }));
    const TestCore second;
    ASSERT_TRUE(eventually([&] { return second.connected(); }));
    first.reset();
    ASSERT_TRUE(eventually([&] { return log.count("CON_IDS_CORE", Level::progress, "Client disconnected.") == 1; }));
    EXPECT_TRUE(send(7));
    EXPECT_TRUE(eventually([&] { return second.count(7) == 1; }));
}

TEST_F(CIdsCoreAsiServiceTest, RegisteringTwiceFailsAndWithdrawingDisconnects)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_FALSE(service.registerService());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::error, "can't register service! (Instance ID: 1)"), 1U);
    const TestCore core;
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    service.deregisterService();
    EXPECT_FALSE(isConnected());
    EXPECT_TRUE(eventually([&] { return !core.connected(); }));
    EXPECT_TRUE(service.registerService());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "registered service. (Instance ID: 1)"), 2U);
}

TEST_F(CIdsCoreAsiServiceTest, WithoutMemoryForTheRegistrationTheProcessCannotGoOn)
{
    const RecordedErrors errors;
    unsigned fatal = 0;
    for (bool registered = false; !registered; ++fatal) {
        const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, fatal};
        try {
            registered = service.registerService();
        } catch (const FatalAssertion& error) {
            EXPECT_EQ(error.message, "can't create ServiceRegistration, OOM ");
        }
    }
    EXPECT_GT(fatal, 1U);
}

TEST_F(CIdsCoreAsiServiceTest, ResultsOfTheCoreAreTakenUnlessBeyondTheirEnumeration)
{
    EXPECT_TRUE(service.registerService());
    EXPECT_EQ(report("4"), "");
    EXPECT_THAT(report("5"), HasSubstr("SendResult"));
}

} // namespace
