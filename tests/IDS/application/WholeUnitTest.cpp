#include <gtest/gtest.h>
#include <map>
#include <optional>

#include "ChildProcess.h"
#include "SimulatedUnit.h"
#include "TestBus.h"
#include "TestCore.h"

namespace {

using namespace test_support;

/// A step of the unit, and the event that the core is told because of it. 0: events of the SOME/IP network have no ID
/// beside their frame.
const std::map<const char*, std::uint16_t> kSteps{{"connection-result startResult=0", 0xD705},
                                                  {"services names=[\"ecall\"]", 0xD016},
                                                  {"discovery status=1", 0xD006},
                                                  {"handshake success=false", 0xD012},
                                                  {"wlan-failure ssid=Home", 0xE901},
                                                  {"tee-access app=keystore", 0xD015},
                                                  {"no-keys", 0xD00E},
                                                  {"some-ip-events", 0}};

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (auto place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) {
        ++count;
    }
    return count;
}

TEST(WholeUnitTest, EveryServiceIsHeardAndHeardAgainAfterTheUnitWasKilled)
{
    const TestBus bus;
    TestCore core;
    ChildProcess daemon{{IDS_PROC}, {"TRACING=*=2"}};
    ASSERT_TRUE(daemon.waitForOutput("CIdsInformationAsiService registered service."));
    const auto lines = [&](const char* text) { return countOf(daemon.output(), text); };
    std::optional<SimulatedUnit> unit;
    for (const std::size_t life : {1U, 2U}) {
        unit.emplace(UNIT_SIMULATOR);
        ASSERT_TRUE(eventually([&] { return lines("ASI alive") == 12 * life; })) << daemon.output();
        unit->type("services names=[]");
        for (const auto& [step, id] : kSteps) {
            unit->type(step);
            EXPECT_TRUE(eventually([&, id = id] { return core.count(id) >= life; })) << step;
        }
        unit->kill();
        ASSERT_TRUE(eventually([&] { return lines("ASI dead") == 12 * life; })) << daemon.output();
    }
    EXPECT_EQ(lines("Persistence died"), 2U);
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0);
}

} // namespace
