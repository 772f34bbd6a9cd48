#include "target_common/TimeProvider.h"

#include <optional>

#include <gtest/gtest.h>

#include "ClientOnBus.h"
#include "ManualAlarms.h"

namespace {

using asi::time::TimeSyncReply;
using namespace test_support;

/// In a process of its own, as there is one provider in each.
TEST(TimeProviderTest, FirstOffsetsAndChangesAreLoggedAlsoAfterTheServiceOrTheBusWasAway)
{
    auto& alarms = *new ManualAlarms; // the provider's alarm outlives the test
    const CapturedLog log;
    TestBus bus;
    common_::TimeProvider::getInstance();
    EXPECT_EQ(&common_::TimeProvider::getInstance(), &common_::TimeProvider::getInstance());
    const auto lines = [&](const char* text) { return log.count("CON_TIME", tracing::Level::detail, text); };

    std::optional<ProvidedService<asi::time::TimeSyncSAttr>> service{std::in_place};
    ASSERT_TRUE(log.waitFor("Call 'm_TimeProxy->setNotification()' successful"));
    for (const std::int64_t offset : {5, 5, 7}) {
        service->set<&TimeSyncReply::updatepltOffset>(offset);
        service->set<&TimeSyncReply::updateutcOffset>(-offset);
        EXPECT_TRUE(log.waitFor("): utcTimeOffset=" + std::to_string(-offset)));
    }
    EXPECT_EQ(lines("): pltTimeOffset=5"), 1U);
    EXPECT_EQ(lines("): pltTimeOffset=7"), 1U);
    EXPECT_EQ(lines("): utcTimeOffset=-5"), 1U);

    service.reset();
    service.emplace();
    EXPECT_TRUE(eventually([&] { return lines("setNotification()' successful") == 2; })) << "without any delay";
    service->set<&TimeSyncReply::updatepltOffset>(std::int64_t{8});
    EXPECT_TRUE(log.waitFor("): pltTimeOffset=8"));
    EXPECT_EQ(alarms.count(), 0U);

    bus.kill();
    ASSERT_TRUE(eventually([&] { return alarms.count() == 1; }));
    alarms.expire();
    ASSERT_TRUE(log.waitFor("Could not connect TimeSync,reason="));
    service.reset();
    bus.start();
    service.emplace();
    EXPECT_TRUE(eventually([&] {
        alarms.expire();
        return lines("setNotification()' successful") == 3;
    }));
}

} // namespace
