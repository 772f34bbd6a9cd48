#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <vector>

#include "CapturedLog.h"
#include "ManualAlarms.h"
#include "SimulatedUnit.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "conn_common/PersistenceServices.h"

namespace {

using namespace persistence;
using namespace std::chrono_literals;
using namespace test_support;
using testing::ElementsAre;
using tracing::Level;
using Result = PersistenceServices::subscription_result;

const PersistenceLocation kIds{PersistenceLocation::byName, 0, "IDS"};
const PersistenceLocation kSeven{PersistenceLocation::byNumber, 7, {}};

struct PersistenceServicesTest : testing::Test, PersistenceListener
{
    PersistenceServicesTest()
    {
        activeObject.run([this] {
            callback = std::make_unique<Callback>(this, &PersistenceServicesTest::keep, activeObject.factory());
            services = std::make_unique<PersistenceServices>(activeObject.factory(), *this);
        });
    }
    void TearDown() override
    {
        activeObject.run([this] { destroy(); });
    }

    void destroy()
    {
        services.reset();
        callback.reset();
    }
    void persistenceLoaded() override { ++timesLoaded; }
    void keep(const Result& result) { results.push_back(result); }

    void provide(const std::vector<std::string>& steps, const std::vector<std::string>& options = {})
    {
        unit = std::make_unique<SimulatedUnit>(UNIT_SIMULATOR, options);
        for (const auto& step : steps) {
            unit->type(step);
        }
    }
    void startService()
    {
        activeObject.run([this] { services->startService(); });
    }
    void write(const PersistenceLocation& location, std::uint32_t key, bool flush = false)
    {
        services->writeInt(location, key, static_cast<std::int32_t>(key) * 10, flush);
    }
    std::vector<Result> resultsWhen(std::size_t count)
    {
        std::vector<Result> all;
        eventually([&] {
            activeObject.run([&] { all = results; });
            return all.size() >= count;
        });
        return all;
    }
    std::size_t lines(Level level, const std::string& text) const
    {
        return log.count("CON_PERSISTENCE_IMPL", level, text);
    }

    using Callback = common_::DelayedCallback<PersistenceServicesTest, Result>;

    const CapturedLog log;
    ManualAlarms alarms;
    TestBus bus;
    const TestActiveObject activeObject;
    std::unique_ptr<SimulatedUnit> unit;
    std::unique_ptr<Callback> callback;
    std::unique_ptr<PersistenceServices> services;
    std::vector<Result> results;
    int timesLoaded = 0;
};

TEST_F(PersistenceServicesTest, AMissingPartitionIsMadeAndTheWriteIsFlushed)
{
    provide({});
    startService();
    write(kSeven, 3, true);
    EXPECT_THAT(unit->settingsUses(4),
                ElementsAre("version 7", "open 7 as DSI-unversioned", "set 7 3 to 30", "flush 7"));
    ASSERT_TRUE(eventually([this] { return lines(Level::milestone, "Write bunch finished") == 1; }));
    EXPECT_EQ(lines(Level::milestone, "-> Creating partition with version DSI-unversioned"), 1U);
    EXPECT_EQ(lines(Level::detail, "Call 'm_PersistencyProxy->flush(handle)' successful"), 1U);
    EXPECT_EQ(log.count("CON_PERSISTENCE", Level::detail, "PersistenceServices::setOpened"), 1U);
}

TEST_F(PersistenceServicesTest, TheBunchOfAPartitionEndsBeforeTheNextBeginsWhateverElseIsAnswered)
{
    for (const std::uint32_t key : {1U, 2U, 3U}) {
        write(kIds, key, key == 1);
        if (key == 2) {
            write(kSeven, 9);
        }
    }
    provide({"persistence-fault request=set times=3", "persistence-fault request=flush"});
    startService();
    EXPECT_THAT(unit->settingsUses(7),
                ElementsAre("version IDS", "version 7", "open IDS as DSI-unversioned", "open 7 as DSI-unversioned",
                            "set IDS 1 to 10", "set IDS 2 to 20", "set IDS 3 to 30"));
    for (const auto* const answer : {"set handle=99", "flush", "version", "open handle=99", "version partition=x",
                                     "open partition=x", "set", "values handle=99", "set"})
    {
        unit->type("persistence-answer answer=" + std::string{answer});
    }
    ASSERT_TRUE(log.waitFor("pendingWriteResults=2"));
    EXPECT_EQ(unit->settingsUses(7).size(), 7U) << "one answer is missing";
    unit->type("persistence-answer answer=set");
    EXPECT_EQ(unit->settingsUses(8).back(), "flush IDS");
    unit->type("persistence-answer answer=set");
    unit->type("persistence-answer answer=flush handle=2");
    EXPECT_EQ(unit->settingsUses(8).size(), 8U) << "the flush is not answered yet";
    unit->type("persistence-answer answer=flush");
    EXPECT_EQ(unit->settingsUses(9).back(), "set 7 9 to 90");
    EXPECT_TRUE(eventually([this] { return lines(Level::milestone, "Write bunch finished") == 2; }));
}

TEST_F(PersistenceServicesTest, ARequestIsAnsweredOnceWithTheValueAndWhetherItIsThere)
{
    provide({"persistence-value value=-5", "persistence-value key=2 text=abc", "persistence-value key=3 blob=0102"});
    startService();
    for (const std::uint32_t key : {0U, 1U, 2U, 3U}) {
        services->requestValue(kIds, key, *callback);
    }
    auto all = resultsWhen(4);
    ASSERT_EQ(all.size(), 4U);
    unit->type("persistence-fault request=subscribe result=9");
    services->requestValue(kIds, 0, *callback);
    ASSERT_EQ((all = resultsWhen(5)).size(), 5U);
    EXPECT_TRUE(all[0].status == Result::present && all[0].intValue == -5 && all[0].location == kIds);
    EXPECT_TRUE(all[1].status == Result::missing && all[1].keyId == 1);
    EXPECT_TRUE(all[2].status == Result::present && *all[2].stringValue == "abc");
    EXPECT_TRUE(all[3].status == Result::present && *all[3].blobValue == (std::vector<std::uint8_t>{1, 2}));
    EXPECT_EQ(all[4].status, Result::failed);
    EXPECT_THAT(unit->settingsUses(12), testing::Contains("unsubscribe IDS 2"));
    unit->type("persistence-answer answer=values count=100000");
    ASSERT_TRUE(eventually([this] { return lines(Level::warning, "neither opened nor subscribed") == 1; }));
    EXPECT_EQ(resultsWhen(5).size(), 5U);
}

TEST_F(PersistenceServicesTest, WhatWaitsWhenTheServiceDiesIsSentToItsSuccessor)
{
    const std::vector<std::string> options{"--persistence-file", bus.directory() + "/settings"};
    provide({"persistence-value value=5"}, options);
    startService();
    write(kIds, 4, true);
    ASSERT_EQ(unit->settingsUses(4).back(), "flush IDS");
    unit->type("persistence-fault request=set times=9");
    unit->type("persistence-fault request=subscribe");
    services->requestValue(kIds, 0, *callback);
    write(kIds, 1);
    ASSERT_EQ(unit->settingsUses(6).back(), "set IDS 1 to 10");
    write(kIds, 2, true);
    unit->kill();
    ASSERT_TRUE(log.waitFor("Persistence died, mh..."));
    provide({}, options);
    EXPECT_THAT(unit->settingsUses(6), testing::IsSupersetOf({"version IDS", "open IDS as unit", "subscribe IDS 0",
                                                              "set IDS 2 to 20", "unsubscribe IDS 0", "flush IDS"}));
    EXPECT_EQ(resultsWhen(1).size(), 1U);
    EXPECT_EQ(unit->linesWith("set IDS 1").size(), 0U) << "what was sent is not known to be lost";
    activeObject.run([this] { EXPECT_EQ(timesLoaded, 2); });
}

TEST_F(PersistenceServicesTest, APartitionThatCannotBeOpenedHoldsUpNoOther)
{
    provide({"persistence-fault request=version result=4", "persistence-fault request=open result=4"});
    startService();
    write(kIds, 1);
    ASSERT_TRUE(
        eventually([this] { return lines(Level::error, "-> Serious error while opening requested partition") == 1; }));
    write(kSeven, 2);
    ASSERT_EQ(unit->settingsUses(3).back(), "open 7 as DSI-unversioned");
    unit->type("persistence-fault request=version result=0 absent=true");
    write({PersistenceLocation::byName, 0, "new"}, 3);
    EXPECT_THAT(unit->settingsUses(6), ElementsAre("version IDS", "version 7", "open 7 as DSI-unversioned",
                                                   "version new", "open new as ", "set new 3 to 30"));
    EXPECT_EQ(lines(Level::detail, "version=<INVALID_STRING>"), 3U);
}

TEST_F(PersistenceServicesTest, AServiceThatRefusesUsOrABusThatIsAwaySetsNoPace)
{
    provide({"refuse service=persistence"});
    startService();
    ASSERT_TRUE(eventually([this] { return alarms.count() == 1; }));
    activeObject.drain();
    EXPECT_EQ(lines(Level::warning, "Persistence died, mh..."), 1U);
    unit->type("refuse service=persistence refuses=false");
    alarms.expire();
    write(kIds, 1);
    EXPECT_EQ(unit->settingsUses(3).back(), "set IDS 1 to 10");
    startService();
    write(kIds, 2);
    EXPECT_EQ(unit->settingsUses(4).back(), "set IDS 2 to 20") << "starting again has changed nothing";
    bus.kill();
    const std::string failure = "IPL error at conn_common/src/PersistenceServicesImpl:85! Couldn't connect to "
                                "persistence proxy,reason=";
    ASSERT_TRUE(eventually([this] { return alarms.count() == 1; }));
    alarms.expire();
    ASSERT_TRUE(log.waitFor(failure + "cannot connect to persistence.IPersistenceA.instance1"));
    write(kIds, 3);
    bus.start();
    ASSERT_TRUE(log.waitFor("is back"));
    alarms.expire();
    EXPECT_EQ(unit->settingsUses(7).back(), "set IDS 3 to 30");
}

TEST_F(PersistenceServicesTest, DestructionForgetsWhatWaitsAndWhatIsOnItsWay)
{
    provide({});
    startService();
    services->requestValue(kIds, 0, *callback);
    ASSERT_EQ(unit->settingsUses(4).back(), "unsubscribe IDS 0");
    activeObject.run([this] {
        services->requestValue(kIds, 0, *callback);
        write(kIds, 1);
        destroy();
    });
    activeObject.drain();
    callback = std::make_unique<Callback>(this, &PersistenceServicesTest::keep, activeObject.factory());
    const TestActiveObject ending;
    ending.run([&] {
        services = std::make_unique<PersistenceServices>(ending.factory(), *this);
        services->startService();
        services->requestValue(kIds, 0, *callback);
    });
    ASSERT_TRUE(eventually([this] { return unit->linesWith("persistence: subscribe IDS 0").size() == 2; }));
    ending.stop();
    services.reset();
}

} // namespace
