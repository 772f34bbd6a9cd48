#include "CPersistence.h"

#include <gmock/gmock.h>
#include <memory>

#include "CapturedLog.h"
#include "RecordingIdsm.h"
#include "SimulatedUnit.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using testing::ElementsAre;
using tracing::Level;

TEST(CPersistenceTest, TheSettingIsReadOnceAndMadeOnlyWhenItIsMissing)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject activeObject;
    SimulatedUnit unit{UNIT_SIMULATOR};
    RecordingIdsm idsm;
    std::unique_ptr<ids::CPersistence> persistence;
    const auto begin = [&] {
        activeObject.run([&] {
            persistence = std::make_unique<ids::CPersistence>(activeObject.factory(), &idsm);
            persistence->startServices();
        });
    };
    const auto end = [&] { activeObject.run([&] { persistence.reset(); }); };
    const auto isRefused = [&log] { return log.count("CON_IDS_PERSISTENCE", Level::error, "result not OK"); };
    begin();
    EXPECT_THAT(unit.settingsUses(5), ElementsAre("version IDS", "open IDS as DSI-unversioned", "subscribe IDS 0",
                                                  "unsubscribe IDS 0", "set IDS 0 to 0"));
    EXPECT_EQ(isRefused(), 1U);
    end();
    begin();
    ASSERT_TRUE(eventually([&] { return log.count("CON_IDS_PERSISTENCE", Level::progress, "called") == 6; }));
    activeObject.drain();
    end();
    EXPECT_EQ(unit.settingsUses(9).size(), 9U) << "the setting is there and is left as it is";
    EXPECT_EQ(isRefused(), 1U);
}

} // namespace
