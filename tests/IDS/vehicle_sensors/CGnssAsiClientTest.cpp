#include "CGnssAsiClient.h"

#include <gtest/gtest.h>

#include "ClientOnBus.h"

namespace {

using namespace asi::navigation::gnss;
using namespace test_support;

struct Listener final : common_::ListenerBase<ids::IGnssAsiClientListener>
{
    void updatePosition(const util::SharedPtr<Position>& position, bool isValid) override
    {
        heard.emplace_back("UTC", position ? position->timestampUTC : 0, isValid);
    }

    Heard heard;
};

TEST(CGnssAsiClientTest, ListenersHearThePositions)
{
    Listener listener;
    ClientOnBus<ids::CGnssAsiClient, Listener> client{listener};
    ProvidedService<GnssSAttr> service;
    const Position position{.timestamp = 1, .timestampUTC = 2, .gpsTOW = 3};
    service.set<&GnssReply::updatePosition>(std::make_shared<Position>(position));
    ASSERT_TRUE(client.hears({{"UTC", 2, true}}));
    EXPECT_EQ(client.log.count("CON_IDS_ASI", tracing::Level::progress, "): ASI CGnssAsiClient is alive."), 1U);
    service.set<&GnssReply::updatePosition>(util::SharedPtr<Position>{});
    EXPECT_TRUE(client.hears({{"UTC", 2, true}, {"UTC", 0, true}}));
}

} // namespace
