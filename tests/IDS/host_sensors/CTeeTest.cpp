#include "CTee.h"

#include <gmock/gmock.h>

#include "CTeeAsiService.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "bootTime.h"

namespace {

using namespace test_support;
using namespace testing;
using tracing::Level;

std::string call(const std::string& request)
{
    return outputOf({"sh", "-c",
                     "busctl --system call asi.connectivity.ids.IdsTee.instance1 /asi/connectivity/ids/IdsTee/1 "
                     "asi.connectivity.ids.IdsTee " +
                         request});
}

TEST(CTeeTest, EveryCallOfTheServiceIsReportedButAnAccessByNobody)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject activeObject;
    RecordingIdsm idsm;
    ids::CTee tee{idsm};
    ids::CTeeAsiService service{activeObject.factory()};
    ASSERT_TRUE(service.registerService());
    EXPECT_FALSE(service.registerService()) << "twice";
    activeObject.run([&] { service.addListener(&tee); });

    const auto before = ids::millisecondsSinceBoot();
    EXPECT_EQ(call("reportNoKeysAvailable"), "") << "nothing is answered";
    const auto after = ids::millisecondsSinceBoot();
    call("reportTeeAccess as 1 key_manager");
    call("reportTeeAccess as 0");
    call("reportTeeAccessOfProcess u " + std::to_string(bus.pid()));
    call("reportTeeAccessOfProcess u 4294967295"); // no such process

    activeObject.run([&] {
        EXPECT_THAT(idsm.eventIds(), ElementsAre(0xD00E, 0xD015, 0xD015, 0xD015));
        EXPECT_THAT(idsm.field(0, "millisecondsSinceBoot").integer(), AllOf(Ge(before), Le(after)));
        EXPECT_EQ(idsm.field(1, "teeName").text(), "OP-TEE");
        EXPECT_EQ(idsm.field(1, "appName").text(), "key_manager");
        EXPECT_EQ(idsm.field(2, "appName").text(), "dbus-daemon");
        EXPECT_EQ(idsm.field(3, "appName").text(), "");
    });
    EXPECT_EQ(log.count("CON_IDS_SENSOR_HOST", Level::progress, "App name: <Invalid>"), 1U);
    service.deregisterService();
    EXPECT_THAT(call("reportNoKeysAvailable"), HasSubstr("Call failed"));
}

} // namespace
