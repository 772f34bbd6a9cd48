#include "CSomeIpClient.h"

#include <atomic>
#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "Eventually.h"
#include "ManualAlarms.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using namespace asi::someip::oru::services::idssecurityevent;
using testing::ElementsAre;

using Bytes = std::vector<std::uint8_t>;

/// Answers every subscription with a record that is whole and one that is absent.
struct Gateway final : v2::IDSSecurityEventS
{
    ~Gateway() override { unregisterInstance(); }
    using v2::IDSSecurityEventS::registerInstance;
    using v2::IDSSecurityEventS::unregisterInstance;

    void clientConnected(const Reply& reply) override { client = reply; }
    void subscribeItem(std::uint32_t item, std::uint32_t option) override
    {
        EXPECT_EQ(std::pair(item, option), std::pair(49168U, 0U));
        const auto bytes = [](Bytes value) { return std::make_shared<Bytes>(std::move(value)); };
        client.call<&v2::IDSSecurityEventReply::securityEvent>(std::make_shared<v2::SecurityEvents>(
            v2::SecurityEvents{std::make_shared<v2::DT_securityEvent_struct>(
                                   v2::DT_securityEvent_struct{0xA041, bytes({1}), bytes({2, 3}), bytes({4, 5, 6})}),
                               nullptr}));
    }
    Reply client;
};

struct Listener final : common_::ListenerBase<ids::ISomeIpClientListener>
{
    bool onEventFromV2X(const util::SharedPtr<SecurityEvents>& content) override
    {
        last = content;
        return ++calls > 0;
    }
    util::SharedPtr<SecurityEvents> last;
    std::atomic<int> calls{0};
};

TEST(CSomeIpClientTest, EveryLifeOfTheServiceIsSubscribedToAndItsEventsReachTheListeners)
{
    const CapturedLog log;
    const TestBus bus;
    ManualAlarms alarms;
    const TestActiveObject peer, activeObject;
    Gateway gateway;
    Listener listener;
    std::unique_ptr<ids::CSomeIpClient> client;
    ASSERT_FALSE(gateway.registerInstance(1, peer.factory()));
    activeObject.run([&] {
        client = std::make_unique<ids::CSomeIpClient>(activeObject.factory(), 2U);
        client->addListener(&listener);
        client->start();
    });
    EXPECT_TRUE(eventually([&] { return listener.calls == 1; }));
    gateway.unregisterInstance();
    EXPECT_TRUE(eventually([&] { return alarms.count() == 1; }));
    ASSERT_FALSE(gateway.registerInstance(1, peer.factory()));
    alarms.expire();
    EXPECT_TRUE(eventually([&] { return listener.calls == 2; }));
    activeObject.run([&] { client.reset(); });
    EXPECT_FALSE((ids::CSomeIpClient{activeObject.factory(), 1}.onSecurityEvents(nullptr))) << "not forwarded";

    EXPECT_EQ(log.count("CON_IDS_SOMEIP", tracing::Level::milestone, "): called"), 2U);
    ASSERT_EQ(listener.last->size(), 2U);
    EXPECT_EQ(listener.last->back(), nullptr);
    const auto& record = *listener.last->front();
    EXPECT_EQ(record.id, 0xA041);
    EXPECT_THAT((std::vector{*record.timestamp, *record.eventFrame, *record.contextData}),
                ElementsAre(Bytes{1}, Bytes{2, 3}, Bytes{4, 5, 6}));
}

} // namespace
