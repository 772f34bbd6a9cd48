#include <gtest/gtest.h>
#include <memory>

#include "CSoaDiag.h"
#include "CSoaDiagAsiClient.h"
#include "CTee.h"
#include "CTeeAsiService.h"
#include "CVoice.h"
#include "CVoiceAsiClient.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;

/// Sensors that live on what services and callers tell, and their ways to them.
struct Sensors
{
    const comm::FactoryPtr factory;
    RecordingIdsm idsm{};
    ids::CVoice voice{idsm};
    ids::CSoaDiag diag{idsm};
    ids::CTee tee{idsm};
    ids::CVoiceAsiClient serviceList{factory};
    ids::CSoaDiagAsiClient diagnostics{factory, 0};
    ids::CTeeAsiService teeService{factory};
};

TEST(BadInputTest, WhatIsWrongIsRefusedWithALineAndWhatIsGoodAfterwardsIsReported)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject daemon;
    std::unique_ptr<Sensors> sensors{new Sensors{daemon.factory()}};
    sensors->serviceList.addListener(&sensors->voice);
    sensors->diagnostics.setListener(&sensors->diag);
    sensors->teeService.addListener(&sensors->tee);
    ASSERT_TRUE(sensors->teeService.registerService());
    daemon.run([&] { sensors->serviceList.start(); });
    daemon.run([&] { sensors->diagnostics.start(); });
    const ChildProcess peer{{BAD_PEER}};
    ASSERT_TRUE(log.waitFor("App name: good")) << peer.output();

    const auto refused = [&](const char* text) { return log.count("CON_COMM", tracing::Level::warning, text); };
    EXPECT_EQ(refused("wrong signature"), 3U);
    EXPECT_EQ(refused("updateQuorServices (aaa(as)b): more than one value where one may be absent"), 1U);
    EXPECT_EQ(refused("QuorConfiguration.instance1 sends updateNothing, which is not known"), 1U);
    EXPECT_EQ(refused("is refused: "), 2U);
    EXPECT_EQ(refused(""), 7U);
    const auto told = [&](const char* text) {
        return log.count("CON_IDS_SENSOR_HOST", tracing::Level::progress, text);
    };
    EXPECT_EQ(told("App name: <Invalid>"), 1U);
    EXPECT_EQ(told("App name: two?lines"), 1U);
    EXPECT_EQ(told("QuorServices received"), 5U) << "neither the early nor the late ones";

    daemon.run([&] {
        const auto& idsm = sensors->idsm;
        const auto changed = [&](std::size_t place) { return idsm.field(place, "services").text(); };
        ASSERT_EQ(idsm.events().size(), 2010U);
        EXPECT_EQ(changed(0) + changed(1), "") << "entries without a name are no change";
        EXPECT_EQ(changed(2).substr(0, 16), "0;1;10;100;1000;");
        EXPECT_EQ(changed(3), "old");
        EXPECT_EQ(changed(4), "good");
        EXPECT_EQ(idsm.field(2006, "tlsIdentity").text(), "good");
        EXPECT_EQ(idsm.field(2007, "appName").text(), "") << "of a process that there is not";
        EXPECT_EQ(idsm.field(2008, "appName").text().substr(0, 9), "two\nlines");
        EXPECT_EQ(idsm.field(2009, "appName").text(), "good");
        sensors.reset();
    });
}

} // namespace
