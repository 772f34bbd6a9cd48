#include "CTimeSyncAsiClient.h"

#include <gtest/gtest.h>

#include "ClientOnBus.h"

namespace {

using asi::time::TimeSyncReply;
using namespace test_support;

struct Listener final : common_::ListenerBase<ids::ITimeSyncAsiClientListener>
{
    void updatePltOffset(std::int64_t offset, bool isValid) override { heard.emplace_back("plt", offset, isValid); }
    void updateUtcOffset(std::int64_t offset, bool isValid) override { heard.emplace_back("utc", offset, isValid); }

    Heard heard;
};

TEST(CTimeSyncAsiClientTest, ListenersHearBothOffsets)
{
    Listener listener;
    ClientOnBus<ids::CTimeSyncAsiClient, Listener> client{listener};
    ProvidedService<asi::time::TimeSyncSAttr> service;
    service.set<&TimeSyncReply::updatepltOffset>(std::int64_t{-5});
    ASSERT_TRUE(client.hears({{"plt", -5, true}}));
    service.set<&TimeSyncReply::updateutcOffset>(std::int64_t{1} << 40);
    EXPECT_TRUE(client.hears({{"plt", -5, true}, {"utc", std::int64_t{1} << 40, true}}));
}

} // namespace
