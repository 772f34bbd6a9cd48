#include <chrono>
#include <gmock/gmock.h>

#include "CIdsCore.h"
#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "ManualTimers.h"
#include "event_factory.h"

namespace {

using namespace std::chrono_literals;
using namespace ids;
using asi::connectivity::idscore::SecEvent;
using test_support::CapturedLog;
using test_support::FailingAllocation;
using testing::ElementsAre;
using testing::IsEmpty;
using tracing::Level;

using Bytes = std::vector<std::uint8_t>;

struct FakeService final : IIdsCoreAsiService, common_::SubjectBase<IIdsCoreServiceListener>
{
    bool isConnected() const override { return true; }
    bool sendEvent(const std::shared_ptr<SecEvent>& event) override
    {
        sent.push_back(event);
        return event != nullptr;
    }
    std::vector<std::shared_ptr<SecEvent>> sent;
};

struct CIdsCoreTest : testing::Test
{
    CapturedLog log;
    test_support::ManualTimers timers;
    FakeService service;
    CIdsCore core{service, timers};
};

util::SharedPtr<asi::someip::oru::services::idssecurityevent::v2::DT_securityEvent_struct> record(std::uint8_t mark)
{
    auto made = std::make_shared<asi::someip::oru::services::idssecurityevent::v2::DT_securityEvent_struct>();
    made->id = 0xD701;
    made->eventFrame = std::make_shared<Bytes>(Bytes{mark, 1});
    made->timestamp = std::make_shared<Bytes>(Bytes{mark, 2});
    made->contextData = std::make_shared<Bytes>(Bytes{mark, 3});
    return made;
}

TEST_F(CIdsCoreTest, ARawEventIsCutIntoFrameTimestampAndContext)
{
    Bytes raw(18);
    for (std::size_t i = 0; i < raw.size(); ++i) {
        raw[i] = static_cast<std::uint8_t>(i);
    }
    EXPECT_TRUE(core.sendEvent(raw));
    raw.resize(16);
    EXPECT_TRUE(core.sendEvent(raw));
    ASSERT_EQ(service.sent.size(), 2U);
    EXPECT_THAT(*service.sent[0]->eventFrame, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(*service.sent[0]->timestamp, ElementsAre(8, 9, 10, 11, 12, 13, 14, 15));
    EXPECT_THAT(*service.sent[0]->contextData, ElementsAre(16, 17));
    EXPECT_EQ(service.sent[0]->eventId, 0x0304);
    EXPECT_THAT(*service.sent[1]->contextData, IsEmpty());
    EXPECT_EQ(service.sent[1]->eventId, 0x0304);
}

TEST_F(CIdsCoreTest, ARawEventWithoutWholeFrameAndTimestampIsRefusedWithALine)
{
    for (std::size_t size = 0; size < 16; ++size) {
        EXPECT_FALSE(core.sendEvent(Bytes(size)));
    }
    EXPECT_THAT(service.sent, IsEmpty());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::warning, "too short"), 16U);
}

TEST_F(CIdsCoreTest, SomeIpRecordsGoOutOneByOneWithoutAnIdUntilTheFirstNullEntry)
{
    const auto content = std::make_shared<IIdsCore::SecurityEvents>();
    EXPECT_FALSE(core.sendEvents(content));
    *content = {record(1), record(2), nullptr, record(3)};
    EXPECT_FALSE(core.sendEvents(content));
    ASSERT_EQ(service.sent.size(), 2U);
    (*content)[1]->timestamp = nullptr;
    content->erase(content->begin() + 2);
    EXPECT_TRUE(core.sendEvents(content)) << "the outcome is that of the last";
    EXPECT_EQ(service.sent[3], nullptr);
    EXPECT_THAT(*service.sent[1]->eventFrame, ElementsAre(2, 1));
    EXPECT_THAT(*service.sent[1]->contextData, ElementsAre(2, 3));
    EXPECT_EQ(service.sent[1]->eventId, 0);
}

TEST_F(CIdsCoreTest, AnEventGoesOutAsItsBlocksOrAsNothingWithoutMemoryForThem)
{
    const auto event = event_factory::createEvent<SEvent_KeepAlive>(1);
    for (unsigned after = 0; after < 4; ++after) {
        const FailingAllocation failing{FailingAllocation::Kind::nonThrowing, 1, after};
        EXPECT_FALSE(core.sendEvent(*event));
    }
    EXPECT_THAT(service.sent, testing::Each(testing::IsNull()));
    EXPECT_TRUE(core.sendEvent(*event));
    EXPECT_EQ(*service.sent.back()->contextData, event->contextData);
    EXPECT_EQ(service.sent.back()->eventId, 0x8000);
}

TEST_F(CIdsCoreTest, AMissingCoreIsReportedOnceAfterThirtySeconds)
{
    timers.advance(29'999ms);
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::warning, ""), 0U);
    timers.advance(120s);
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::warning, "IDS Core didn't connect!"), 1U);
}

TEST_F(CIdsCoreTest, TheFirstConnectionSilencesTheWarning)
{
    service.addListener(&core);
    service.notify(&IIdsCoreServiceListener::onIdsCoreConnected);
    service.notify(&IIdsCoreServiceListener::onIdsCoreConnected);
    timers.advance(60s);
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::warning, "IDS Core didn't connect!"), 0U);
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "IDS Core connected."), 2U);
}

} // namespace
