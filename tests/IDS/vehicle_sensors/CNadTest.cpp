#include "CNad.h"

#include <algorithm>
#include <memory>
#include <sys/prctl.h>

#include <gmock/gmock.h>

#include "CNadInformationAsiClient.h"
#include "CNadMsgAsiClient.h"
#include "CapturedLog.h"
#include "Eventually.h"
#include "ForkedProcess.h"
#include "ProcFs.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"

using namespace asi::connectivity::al;
using namespace test_support;
using testing::ElementsAre;
using tracing::CallbackDispatcher;
using tracing::Level;

namespace {

TEST(CNadTest, StartResultsAreReportedWithTheFirstModemProcess)
{
    const CapturedLog silence;
    RecordingIdsm idsm;
    ids::CNad nad{idsm};
    nad.updateDataConnectionStartResult(nullptr, true);
    nad.updateDataConnectionStartResult(std::make_shared<DataConnectionStartResult>(), false);
    ASSERT_TRUE(CallbackDispatcher::trigger("ids::CNad", "onApnChanged"));
    const ForkedProcess similar{[] { ::prctl(PR_SET_NAME, "nad2"); }};
    const ForkedProcess first{[] { ::prctl(PR_SET_NAME, "nad"); }};
    const ForkedProcess second{[] { ::prctl(PR_SET_NAME, "nad"); }};
    const auto pid = static_cast<std::uint32_t>(std::min(first.pid(), second.pid()));
    ASSERT_TRUE(eventually([&] { return ids::proc_fs::findProcess("nad") == pid; }));
    ASSERT_TRUE(CallbackDispatcher::trigger("ids::CNad", "onApnStartFailed"));
    ASSERT_THAT(idsm.eventIds(), ElementsAre(0xD705, 0xD705, 0xE901));
    EXPECT_EQ(idsm.field(0, "processName").text(), "nad");
    EXPECT_EQ(idsm.field(0, "processId").integer(), 0U) << "there was no modem process";
    EXPECT_EQ(idsm.field(1, "processId").integer(), pid);
    EXPECT_EQ(idsm.field(2, "connectionType").integer(), 4U);
}

struct Information final : NadInformationServiceSAttr
{
    ~Information() override { unregisterInstance(); }
    using Service::registerInstance;
    void set(const util::SharedPtr<DataConnectionStartResult>& result)
    {
        setAttribute<&NadInformationServiceReply::updateDataConnectionStartResult>(result);
    }
};

/// Sends two messages to whoever connects.
struct Messaging final : NadMessagingServicesS
{
    ~Messaging() override { unregisterInstance(); }
    void clientConnected(const Reply& client) override
    {
        using MessagesReply = NadMessagingServicesReply;
        client.call<&MessagesReply::onMessage>(SmsType::type3, 4U, std::make_shared<std::string>("0791"));
        client.call<&MessagesReply::onMessage>(SmsType::type0, 0U, nullptr);
    }
    using Service::registerInstance;
};

TEST(CNadTest, WhatTheModemTellsOnTheBusReachesTheSensor)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject modem;
    const TestActiveObject daemon;
    Information information;
    Messaging messaging;
    information.set(std::make_shared<DataConnectionStartResult>(DataConnectionStartResult{1, 0}));
    ASSERT_FALSE(information.registerInstance(1, modem.factory()) || messaging.registerInstance(1, modem.factory()));
    RecordingIdsm idsm;
    ids::CNad nad{idsm};
    auto client = std::make_unique<ids::CNadInformationAsiClient>(daemon.factory());
    auto messages = std::make_unique<ids::CNadMsgAsiClient>(daemon.factory());
    daemon.run([&] {
        client->addListener(&nad);
        messages->addListener(&nad);
        client->start();
        messages->start();
    });
    const auto hasLines = [&log](std::size_t count, const char* text) {
        return eventually([&] { return log.count("CON_IDS_SENSOR_HOST", Level::progress, text) == count; });
    };
    EXPECT_TRUE(hasLines(1, "PDU: 0791") && hasLines(1, "PDU: <Invalid>"));
    EXPECT_TRUE(hasLines(1, "APN configuration has changed."));
    modem.run([&] {
        information.set(nullptr);
        information.set(std::make_shared<DataConnectionStartResult>(DataConnectionStartResult{1, 2}));
    });
    EXPECT_TRUE(hasLines(2, "APN configuration has changed."));
    daemon.run([&] {
        client.reset();
        messages.reset();
    });
    EXPECT_THAT(idsm.eventIds(), ElementsAre(0xD705, 0xD705, 0xE901));
    EXPECT_EQ(log.count("CON_IDS_ASI", Level::progress, "ASI CNadInformationAsiClient is alive."), 1U);
    EXPECT_EQ(log.count("CON_IDS_ASI", Level::progress, "ASI CNadMsgAsiClient is alive."), 1U);
}

} // namespace
