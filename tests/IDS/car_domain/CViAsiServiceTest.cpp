#include <gmock/gmock.h>

#include "CViAsiService.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::HasSubstr;
using tracing::Level;
using Bytes = std::vector<std::uint8_t>;

constexpr auto kChannel = "CON_IDS_ASI";

struct Listener final : common_::ListenerBase<ids::IViAsiServiceListener>
{
    bool onViEvent(const UInt8Array& event) override
    {
        events.push_back(event ? *event : Bytes{0xDE, 0xAD});
        return false;
    }

    std::vector<Bytes> events;
};

std::string call(std::vector<std::string> arguments)
{
    std::vector<std::string> command{"busctl",
                                     "--system",
                                     "call",
                                     "asi.connectivity.ids.ViIdsmConnector.instance1",
                                     "/asi/connectivity/ids/ViIdsmConnector/1",
                                     "asi.connectivity.ids.ViIdsmConnector",
                                     "sendEvent"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return outputOf(command);
}

TEST(CViAsiServiceTest, WhatAnybodySendsReachesTheListenersWhole)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject activeObject;
    ids::CViAsiService service{activeObject.factory()};
    Listener listener;
    ASSERT_TRUE(service.registerService());
    EXPECT_EQ(log.count(kChannel, Level::milestone, "CViAsiService registered service."), 1U);
    EXPECT_FALSE(service.registerService()) << "twice";
    EXPECT_EQ(log.count(kChannel, Level::error, "CViAsiService can't register service!"), 1U);

    EXPECT_EQ(call({"ayu", "1", "9", "1"}), "") << "nobody listens, and nothing is answered";
    activeObject.run([&] {
        service.addListener(&listener);
        service.sendEvent(nullptr, 0);
    });
    EXPECT_EQ(call({"ayu", "3", "1", "2", "3", "99"}), "");
    EXPECT_EQ(call({"ayu", "0", "0"}), "");
    EXPECT_THAT(call({"s", "text"}), HasSubstr("Call failed")) << "a wrong signature";
    activeObject.run([&] { EXPECT_THAT(listener.events, ElementsAre(Bytes{0xDE, 0xAD}, Bytes{1, 2, 3}, Bytes{})); });
    EXPECT_EQ(log.count(kChannel, Level::milestone, "CViAsiService::sendEvent listener call"), 4U);

    service.deregisterService();
    EXPECT_EQ(log.count(kChannel, Level::milestone, "CViAsiService deregistered service."), 1U);
    EXPECT_THAT(call({"ayu", "0", "0"}), HasSubstr("Call failed"));
    activeObject.run([&] { service.removeListener(&listener); });
}

} // namespace
