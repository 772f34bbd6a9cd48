#include <gmock/gmock.h>
#include <mutex>

#include "CIdsInformationAsiService.h"
#include "CapturedLog.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using namespace asi::connectivity::ids;

std::shared_ptr<FirewallDropPacketInfo> info(std::uint32_t type, std::uint32_t count)
{
    return std::make_shared<FirewallDropPacketInfo>(FirewallDropPacketInfo{type, count});
}

/// The attribute of the service, put on the bus.
class OnTheBus final : public IdsServiceSAttr
{
public:
    explicit OnTheBus(const comm::FactoryPtr& factory) { EXPECT_FALSE(registerInstance(1, factory)); }
    ~OnTheBus() override { unregisterInstance(); }
    void update(const std::shared_ptr<FirewallDropPacketInfo>& value)
    {
        setAttribute<&IdsServiceReply::updateFirewallDropPacketInfo>(value);
    }
};

class Subscriber : IdsServiceReply, comm::LifecycleListener
{
public:
    Subscriber() : m_proxy{1, m_activeObject.factory(), *this, *this} { EXPECT_FALSE(m_proxy.connect()); }

    std::vector<std::pair<std::uint32_t, std::uint32_t>> updates() const
    {
        const std::lock_guard lock{m_mutex};
        return m_updates;
    }

private:
    void updateFirewallDropPacketInfo(const util::SharedPtr<FirewallDropPacketInfo>& value, bool isValid) override
    {
        EXPECT_TRUE(isValid);
        const std::lock_guard lock{m_mutex};
        m_updates.emplace_back(value->dropType, value->packetCount);
    }
    void alive(const comm::Lifecycle&) override { m_proxy.requestNotifications(); }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override {}

    TestActiveObject m_activeObject;
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_updates;
    IdsServiceProxy m_proxy;
};

TEST(CIdsInformationAsiServiceTest, AnUpdateWithoutSubscribersIsKeptForTheFirst)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject activeObject;
    OnTheBus service{activeObject.factory()};
    activeObject.run([&] { service.update(info(2, 1)); });
    const Subscriber subscriber;
    ASSERT_TRUE(eventually([&] { return subscriber.updates().size() == 1; }));
    activeObject.run([&] { service.update(info(3, 9)); });
    ASSERT_TRUE(eventually([&] { return subscriber.updates().size() == 2; }));
    EXPECT_THAT(subscriber.updates(), testing::ElementsAre(std::pair{2U, 1U}, std::pair{3U, 9U}));
}

TEST(CIdsInformationAsiServiceTest, TheServiceTakesUpdatesAlthoughNobodyCanReachIt)
{
    const CapturedLog log;
    const TestActiveObject activeObject;
    ids::CIdsInformationAsiService service{activeObject.factory()};
    activeObject.run([&] { service.updateFirewallDropPacketInfo(info(2, 1)); });
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::warning, "error calling"), 0U);
}

} // namespace
