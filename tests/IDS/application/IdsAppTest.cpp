#include <filesystem>
#include <gtest/gtest.h>
#include <optional>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "FakeServiceManager.h"
#include "IdsApp.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "ipl/ErrorStorage.h"
#include "servmngt/ServiceManager.h"

namespace {

using namespace test_support;
using tracing::Level;

struct IdsAppTest : testing::Test
{
    CapturedLog log;
    FakeServiceManager manager;
    TestActiveObject activeObject;
    ids::IdsApp app{activeObject.factory()};
};

TEST_F(IdsAppTest, TheWatchdogIsAnsweredBeforeInitialisation)
{
    app.watchdogAliveRequest();
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    EXPECT_EQ(log.count("CON_IDS_APP", Level::progress, "Watchdog request"), 1U);
    app.requestPersistenceFlush();
    EXPECT_EQ(manager.next(), "STATUS=persistence flushed");
    EXPECT_EQ(log.count("CON_IDS_APP", Level::milestone, "Flush persistence"), 1U);
}

TEST_F(IdsAppTest, ALifeIsReportedStateByState)
{
    const TestBus bus;
    EXPECT_EQ(app.initApplication(0xA, 0xB, 0xC), 0U);
    EXPECT_EQ(log.count("CON_IDS_APP", Level::progress,
                        "initApplication with system run mode: 0000000Ah, app run mode: 0000000Bh and persistence "
                        "access mode: 0000000Ch"),
              1U);
    EXPECT_EQ(manager.next(), "STATUS=initialising");
    EXPECT_EQ(manager.next(), "STATUS=initialised");
    const auto socket = [] { return std::filesystem::exists("/tmp/unix_socket"); };
    EXPECT_TRUE(socket());
    app.runApplication();
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=running");
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "registered service. (Instance ID: 1)"), 1U);
    app.stopApplication();
    EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=stopping");
    EXPECT_EQ(manager.next(), "STATUS=stopped");
    EXPECT_FALSE(socket());
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "deregistered service."), 1U);
}

TEST_F(IdsAppTest, ASecondInitialisationReplacesTheManager)
{
    const TestBus bus;
    EXPECT_EQ(app.initApplication(0, 0, 0), 0U);
    app.runApplication();
    EXPECT_EQ(app.initApplication(0, 0, 0), 0U);
    app.runApplication();
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, "CIdsCoreAsiServer registered service."), 2U)
        << "the first manager's service is off the bus before the second's is put on it";
}

TEST_F(IdsAppTest, WithoutAManagerOnlyStatesAreReported)
{
    std::optional<FailingAllocation> failing;
    activeObject.run([&] { failing.emplace(FailingAllocation::Kind::throwing); });
    servmngt::init(0, nullptr);
    EXPECT_TRUE(servmngt::startApp(0, nullptr, app, "idsProc", app.getInitIf()));
    activeObject.run([&] { failing.reset(); });
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "idsProc could not be initialised: std::bad_alloc");
    ipl::ErrorStorage::ack();
    EXPECT_EQ(log.count("CON_IDS_APP", Level::error, "Can't create IDS manager!"), 1U);
    app.runApplication();
    app.stopApplication();
    for (const auto* const state : {"STATUS=initialising", "STATUS=initialisation failed", "READY=1\nSTATUS=running",
                                    "STOPPING=1\nSTATUS=stopping", "STATUS=stopped"})
    {
        EXPECT_EQ(manager.next(), state);
    }
    EXPECT_EQ(log.count("CON_IDS_CORE", Level::milestone, ""), 0U);
}

} // namespace
