#include "COoc.h"

#include <gtest/gtest.h>

#include "COocAsiClient.h"
#include "ClientOnBus.h"
#include "ManualTimers.h"
#include "RecordingIdsm.h"

namespace {

using namespace asi::ooc::app;
using namespace std::chrono_literals;
using namespace test_support;
using tracing::Level;

TEST(COocTest, EachPeriodCountsItsOwnValidInterruptions)
{
    const CapturedLog log;
    const auto lines = [&log](const char* text) { return log.count("CON_IDS_SENSOR_ETH", Level::progress, text); };
    RecordingIdsm idsm;
    ManualTimers timers;
    ids::COoc ooc{idsm, timers};
    ooc.start();
    for (const bool isValid : {true, true, false, true}) {
        ooc.updateEthCommInterruptReason(7, isValid);
    }
    EXPECT_EQ(lines("): reason: 7, isValid: true"), 3U);
    timers.advance(61999ms);
    EXPECT_EQ(lines("Timer expired."), 0U);
    timers.advance(1ms);
    EXPECT_EQ(lines("): Timer expired. Interruption count: 3"), 1U);
    timers.advance(62000ms);
    EXPECT_EQ(lines("): Timer expired. Interruption count: 0"), 1U);

    ooc.updateBatteryInfo(nullptr, true);
    const auto battery = std::make_shared<BatteryInfo>(BatteryInfo{.state = 4});
    ooc.updateBatteryInfo(battery, false);
    EXPECT_EQ(lines("): state: "), 0U) << "there is none that counts";
    ooc.updateBatteryInfo(battery, true);
    EXPECT_EQ(lines("ids::COoc::updateBatteryInfo("), 4U);
    EXPECT_TRUE(idsm.events().empty());
}

struct Listener final : common_::ListenerBase<ids::IOocAsiClientListener>
{
    void updateBatteryInfo(const util::SharedPtr<BatteryInfo>& info, bool isValid) override
    {
        heard.emplace_back("battery", info->state, isValid);
    }
    void updateCallActive(std::uint32_t status, bool isValid) override { heard.emplace_back("call", status, isValid); }
    void updateClampStates(const util::SharedPtr<ClampStates>& states, bool isValid) override
    {
        heard.emplace_back("clamp 15", states ? states->Clamp15 : -1, isValid);
    }
    void updateEthCommInterruptReason(std::uint32_t reason, bool isValid) override
    {
        heard.emplace_back("interrupt", reason, isValid);
    }
    void updateRunMode(std::uint32_t mode, bool isValid) override { heard.emplace_back("mode", mode, isValid); }

    Heard heard;
};

TEST(COocTest, TheClientHearsBothServicesAndOutlivesOneOfThem)
{
    Listener listener;
    ClientOnBus<ids::COocAsiClient, Listener> client{listener};
    ProvidedService<IOocApplicationSAttr> application;
    application.set<&IOocApplicationReply::updateEcuState>(1U);
    application.set<&IOocApplicationReply::updateRunMode>(2U);
    ASSERT_TRUE(client.hears({{"mode", 2, true}}));
    {
        ProvidedService<IOocIdsSAttr> ids;
        ids.set<&IOocIdsReply::updateEthCommInterruptReason>(3U);
        ASSERT_TRUE(client.hears({{"mode", 2, true}, {"interrupt", 3, true}}));
    }
    ASSERT_TRUE(client.log.waitFor("ASI dead asi.ooc.app.IOocIds.instance1"));
    EXPECT_EQ(client.log.count("CON_IDS_ASI", Level::progress, "): ASI COocAsiClient is alive."), 2U);

    application.set<&IOocApplicationReply::updateClampStates>(
        std::make_shared<ClampStates>(ClampStates{.ClampS = 3, .Clamp15 = 4}));
    application.set<&IOocApplicationReply::updateClampStates>(util::SharedPtr<ClampStates>{});
    application.set<&IOocApplicationReply::updateCallActive>(5U);
    application.set<&IOocApplicationReply::updateBatteryInfo>(std::make_shared<BatteryInfo>(BatteryInfo{.state = 6}));
    EXPECT_TRUE(client.hears({{"mode", 2, true},
                              {"interrupt", 3, true},
                              {"clamp 15", 4, true},
                              {"clamp 15", -1, true},
                              {"call", 5, true},
                              {"battery", 6, true}}));
}

} // namespace
