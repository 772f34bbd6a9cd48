#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <new>
#include <numeric>

#include "CGnssManager.h"
#include "CIdsm.h"
#include "CapturedLog.h"
#include "ManualTimers.h"
#include "RecordingCore.h"
#include "event_decoder.h"
#include "event_factory.h"
#include "tracing/CallbackDispatcher.h"

namespace {

using namespace std::chrono_literals;
using namespace ids;
using test_support::CapturedLog;
using test_support::ManualTimers;
using testing::Each;
using testing::ElementsAre;
using tracing::Level;

constexpr std::uint64_t kValidTime = 1'700'000'123'456;

void setGnssTime(std::uint64_t milliseconds)
{
    const auto position = std::make_shared<asi::navigation::gnss::Position>();
    position->timestampUTC = milliseconds;
    CGnssManager::getInstance()->updatePosition(position, true);
}

constexpr auto blockedConnections = [] {
    return event_factory::createEvent<SEvent_Firewall_BlockedConnections>(SFirewallStatistics{});
};
constexpr auto resourceConsumption = [] { return event_factory::createEvent<SEvent_ResourceConsumption>(SProcess{}); };
constexpr auto dropTcp = [] {
    return event_factory::createEvent<SEvent_Firewall_DropInvPortTCP>(SFirewallStatistics{});
};

std::uint32_t keepAliveCounter(const SEvent& event)
{
    return std::accumulate(event.contextData.begin() + 3, event.contextData.end(), 0U,
                           [](std::uint32_t value, std::uint8_t byte) { return value << 8 | byte; });
}

struct CIdsmTest : testing::Test
{
    CIdsmTest() { setGnssTime(kValidTime); }
    ~CIdsmTest() override { setGnssTime(0); }

    CapturedLog log;
    ManualTimers timers;
    RecordingCore core;
    CIdsm dispatcher{core, timers};
};

TEST_F(CIdsmTest, AnIdReportedTwiceInATickIsHeldAndLeavesOnePerTickAfterAQuietOne)
{
    EXPECT_FALSE(dispatcher.reportEvent(nullptr));
    EXPECT_TRUE(dispatcher.reportEvent(blockedConnections()));
    EXPECT_FALSE(dispatcher.reportEvent(blockedConnections()));
    EXPECT_FALSE(dispatcher.reportEvent(blockedConnections()));
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::warning, "Entered limp mode (Reason: event 0x9712)."), 1U);
    timers.advance(1000ms);
    EXPECT_EQ(core.events.size(), 1U) << "the ending second had reports of the ID";
    timers.advance(1000ms);
    EXPECT_EQ(core.events.size(), 2U);
    timers.advance(1000ms);
    EXPECT_EQ(core.events.size(), 3U);
    timers.advance(10s);
    EXPECT_EQ(core.events.size(), 3U);
}

TEST_F(CIdsmTest, ALimpingIdDoesNotHoldUpOthersAndItsQueueKeepsItsOrder)
{
    core.connected = false;
    for (int i = 0; i < 3; ++i) {
        dispatcher.reportEvent(blockedConnections());
        dispatcher.reportEvent(dropTcp());
    }
    timers.advance(1000ms);
    core.connected = true;
    timers.advance(1000ms);
    EXPECT_THAT(core.ids(), ElementsAre(0x9712, 0x000B));
    timers.advance(1000ms);
    EXPECT_THAT(core.ids(), ElementsAre(0x9712, 0x000B, 0x9712, 0x000B));
}

TEST_F(CIdsmTest, AFlushThatFailsLosesNoEventAndNoOrder)
{
    core.connected = false;
    for (const auto& event : {blockedConnections(), blockedConnections(), dropTcp()}) {
        dispatcher.reportEvent(event);
    }
    timers.advance(1000ms);
    core.connected = true;
    core.failsFor = 0x000B;
    EXPECT_THROW(timers.advance(1000ms), std::bad_alloc);
    core.failsFor = 0;
    timers.advance(2000ms);
    EXPECT_THAT(core.ids(), ElementsAre(0x9712, 0x000B, 0x9712));
}

TEST_F(CIdsmTest, ResourceReportsAreNeverThrottled)
{
    for (int i = 0; i < 300; ++i) {
        EXPECT_TRUE(dispatcher.reportEvent(resourceConsumption()));
    }
    EXPECT_EQ(core.events.size(), 300U);
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::warning, "limp mode"), 0U);
}

TEST_F(CIdsmTest, WithoutATimeBaseFiftyEventsAreHeldAndTheNextIsDropped)
{
    for (const std::uint64_t time : {std::uint64_t{0}, std::uint64_t{1688714237000}}) {
        setGnssTime(time);
        EXPECT_FALSE(dispatcher.reportEvent(resourceConsumption()));
    }
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::detail, "Timestamp is invalid!"), 2U);
    for (int i = 2; i < 51; ++i) {
        EXPECT_FALSE(dispatcher.reportEvent(resourceConsumption()));
    }
    timers.advance(80s);
    const auto ids = core.ids();
    EXPECT_EQ(std::count(ids.begin(), ids.end(), 0xD701), 50) << "the flush does not look at the time base";
    EXPECT_THAT(core.events.front().timestamp, Each(0));
}

TEST_F(CIdsmTest, HeldEventsGetTheTimeAtWhichTheyWereMade)
{
    setGnssTime(0);
    const auto old = dropTcp();
    old->creationTime -= 5000;
    dispatcher.reportEvent(old);
    const auto cut = resourceConsumption();
    cut->timestamp.resize(7);
    dispatcher.reportEvent(cut);

    setGnssTime(kValidTime);
    dispatcher.reportEvent(resourceConsumption());
    const auto stamp = event_decoder::decodeTimestamp(old->timestamp);
    const auto milliseconds = std::uint64_t{stamp->seconds} * 1000 + stamp->nanoseconds / 1'000'000;
    EXPECT_LE(milliseconds, kValidTime - 5000);
    EXPECT_GT(milliseconds, kValidTime - 15000) << "the test itself does not take ten seconds";
    EXPECT_EQ(cut->timestamp, std::vector<std::uint8_t>(7));
}

TEST_F(CIdsmTest, KeepAlivesAreNumberedEverySixtySecondsAndBeginAgainAfterIgnitionOff)
{
    core.connected = false;
    timers.advance(10s);
    core.connected = true;
    timers.advance(110s);
    ASSERT_EQ(core.events.size(), 2U);
    EXPECT_EQ(keepAliveCounter(core.events[0]), 1U);
    EXPECT_EQ(keepAliveCounter(core.events[1]), 2U);

    const auto clamps = std::make_shared<asi::ooc::app::ClampStates>();
    clamps->Clamp15 = 1;
    dispatcher.updateClampStates(clamps, true);
    clamps->Clamp15 = 0;
    dispatcher.updateClampStates(clamps, false);
    dispatcher.updateClampStates(nullptr, true);
    timers.advance(60s);
    EXPECT_EQ(keepAliveCounter(core.events.back()), 3U) << "none of these is ignition off";

    dispatcher.updateClampStates(clamps, true);
    timers.advance(60s);
    EXPECT_EQ(keepAliveCounter(core.events.back()), 1U);
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::progress, "Send keep-alive."), 4U);
}

TEST_F(CIdsmTest, EventsOfOtherDomainsGoStraightThroughOrAreLost)
{
    for (int i = 0; i < 60; ++i) {
        dispatcher.onEventFromCarDomain({1, 2, 3});
    }
    EXPECT_EQ(core.raw.size(), 60U);
    EXPECT_FALSE(dispatcher.onViEvent(nullptr));
    EXPECT_TRUE(dispatcher.onViEvent(CITypesFactory::createUInt8Array(16)));
    EXPECT_EQ(core.raw.back().size(), 16U);
    EXPECT_FALSE(dispatcher.onEventFromV2X(nullptr));
    core.connected = false;
    EXPECT_FALSE(dispatcher.onViEvent(CITypesFactory::createUInt8Array(16)));
    core.connected = true;
    const auto sent = core.raw.size();
    timers.advance(5s);
    EXPECT_EQ(core.raw.size(), sent);
}

TEST_F(CIdsmTest, TestCommandsInjectACarDomainFrameAndSomeIpRecords)
{
    EXPECT_TRUE(tracing::CallbackDispatcher::trigger("ids::CIdsm", "triggerRSTPEvent"));
    EXPECT_THAT(core.raw, ElementsAre(ElementsAre(0x13, 0x0C, 0x40, 0xD7, 0x01, 0x00, 0x01, 0x00, 0, 0, 0, 0, 0, 0, 0,
                                                  0, 0x80, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x01, 0x00)));
    EXPECT_TRUE(tracing::CallbackDispatcher::trigger("ids::CIdsm", "triggerV2XEvent"));
    ASSERT_TRUE(core.records);
    ASSERT_EQ(core.records->size(), 3U);
    for (const auto& record : *core.records) {
        for (const auto& block : {record->eventFrame, record->timestamp, record->contextData}) {
            EXPECT_EQ(*block, std::vector<std::uint8_t>(8));
        }
    }
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::milestone, "called triggerV2XEvent callback"), 1U);
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::milestone, "called onEventFromV2X"), 1U);
    EXPECT_EQ(log.count("CON_IDS_IDSM", Level::progress, "CIdsm::onEventFromCarDomain called!"), 1U);
}

} // namespace
