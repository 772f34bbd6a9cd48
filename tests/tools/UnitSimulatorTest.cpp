#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "ChildProcess.h"
#include "Eventually.h"
#include "Options.h"
#include "PersistenceStore.h"
#include "Player.h"
#include "Scenario.h"
#include "SimulatedUnit.h"
#include "Steps.h"
#include "TestBus.h"

namespace {

using namespace std::chrono_literals;
using namespace test_support;
using namespace unit_simulator;
using testing::HasSubstr;

std::string problemOf(const std::string& scenario)
{
    try {
        readScenario(scenario, "s.json", allSteps());
    } catch (const BadInput& problem) {
        return problem.what();
    }
    return "";
}

TEST(ScenarioTest, AProblemIsNamedWithFileLineAndWhatIsAllowed)
{
    EXPECT_THAT(problemOf("{\"steps\": [\n{\"at\": 1,]}"), HasSubstr("s.json:2: not JSON"));
    EXPECT_THAT(problemOf("[]"), HasSubstr("s.json:1: a scenario is an object"));
    EXPECT_EQ(problemOf("{\"steps\": [],\n\"every\": 1}"),
              "s.json:2: unknown field \"every\"; allowed: steps, repeatAfter");
    EXPECT_THAT(problemOf("{\"steps\": [\n\n{\"do\": \"up\"}]}"), HasSubstr("s.json:3: a step is an object with"));
    EXPECT_THAT(problemOf("{\"steps\": [{\"at\": 1,\n\"do\": \"jump\"}]}"),
                HasSubstr("s.json:2: unknown step \"jump\"; allowed: position, clamps, "));
    EXPECT_EQ(problemOf("{\"steps\": [{\"at\": 1, \"do\": \"up\"},\n{\"at\": 1, \"do\": \"services\",\n\"name\": 1}]}"),
              "s.json:3: unknown field \"name\"; allowed: names, valid");
    for (const auto* const step :
         {R"("at": -1, "do": "up")", R"("at": "1", "do": "up")", R"("at": 1, "do": "up", "service": "moon")",
          R"("at": 1, "do": "battery", "state": 1.5)", R"("at": 1, "do": "services", "names": [1])",
          R"("at": 1, "do": "v2x-event", "event": "0g")", R"("at": 1, "do": "hang", "for": -1)"})
    {
        EXPECT_THAT(problemOf("{\"steps\": [{" + std::string{step} + "}]}"), HasSubstr(" must be ")) << step;
    }
    EXPECT_THROW(readCommand("clamps Clamp15", allSteps()), BadInput);
}

TEST(ScenarioTest, StepsAreDueInTheOrderOfTheirTimesAndAgain)
{
    const auto kinds = allSteps();
    const auto scenario = readScenario(
        R"({"repeatAfter": 2, "steps": [{"at": 1.5, "do": "no-keys"}, {"at": 0, "do": "up"}]})", "", kinds);
    const auto begin = Player::Clock::now();
    Player player{scenario, begin};
    std::vector<std::string> done;
    for (const auto time : {0ms, 1499ms, 1500ms, 1999ms, 2000ms, 3500ms}) {
        while (const auto* const step = player.takeDue(begin + time)) {
            done.push_back(step->kind->name + std::to_string(time.count()));
        }
    }
    EXPECT_THAT(done, testing::ElementsAre("up0", "no-keys1500", "up2000", "no-keys3500"));
    EXPECT_EQ(player.nextDue(), begin + 4s);
}

struct UnitSimulatorTest : testing::Test
{
    static std::string services()
    {
        return outputOf({"busctl", "--system", "get-property",
                         "asi.connectivity.configuration.QuorConfiguration.instance1",
                         "/asi/connectivity/configuration/QuorConfiguration/1",
                         "asi.connectivity.configuration.QuorConfiguration", "QuorServices"});
    }
    static std::string connect()
    {
        return outputOf({"busctl", "--system", "--timeout=1", "call", "asi.navigation.gnss.Gnss.instance1",
                         "/asi/navigation/gnss/Gnss/1", "asi.navigation.gnss.Gnss", "connect"});
    }

    const TestBus bus;
};

TEST_F(UnitSimulatorTest, TheScenariosThatAreShippedAreSound)
{
    for (const auto& entry : std::filesystem::directory_iterator{SCENARIOS}) {
        std::ifstream file{entry.path()};
        const auto kinds = allSteps();
        EXPECT_FALSE(readScenario({std::istreambuf_iterator<char>{file}, {}}, entry.path(), kinds).steps.empty());
    }
}

TEST_F(UnitSimulatorTest, ServicesKeepWhatTheyAreToldAndFailOnCommand)
{
    SimulatedUnit simulator{UNIT_SIMULATOR, {"--do", "refuse service=gnss"}};
    simulator.type("services names=[\"a\",null]");
    EXPECT_EQ(services(), "(aaa(as)b) 1 2 1 1 \"a\" 0 true\n");
    EXPECT_THAT(connect(), HasSubstr("Access denied"));
    simulator.typeLine("jump");
    EXPECT_TRUE(eventually([&] { return !simulator.linesWith("unknown step \"jump\"").empty(); }));
}

TEST_F(UnitSimulatorTest, GnssTimeRunsFromTheMachinesClockUnlessSet)
{
    const auto position = [] {
        std::istringstream answer{outputOf({"busctl", "--system", "get-property", "asi.navigation.gnss.Gnss.instance1",
                                            "/asi/navigation/gnss/Gnss/1", "asi.navigation.gnss.Gnss", "Position"})};
        std::string signature;
        std::int64_t present = 0;
        std::int64_t timestamp = 0;
        std::int64_t utc = 0;
        answer >> signature >> present >> timestamp >> utc;
        return utc;
    };
    const auto now = [] { return std::chrono::system_clock::now().time_since_epoch() / 1ms; };
    const auto begin = now();
    SimulatedUnit simulator{UNIT_SIMULATOR};
    const auto first = position();
    EXPECT_TRUE(begin <= first && first <= now()) << first;
    EXPECT_TRUE(eventually([&] { return position() > first; }));
    simulator.type("position timestampUTC=1800000000000");
    EXPECT_TRUE(eventually([&] { return position() > 1'800'000'000'000; }));
    EXPECT_LT(position(), 1'800'000'000'000 + now() - begin);
    simulator.type("position absent=true");
    EXPECT_EQ(position(), 0);
}

TEST_F(UnitSimulatorTest, SettingsThatWereFlushedOutliveTheUnitAndOthersOnlyItsOrderlyEnd)
{
    const auto call = [](const std::vector<std::string>& arguments) {
        const std::string service = "persistence.IPersistenceA";
        std::vector<std::string> command{
            "busctl", "--system", "call", service + ".instance1", "/persistence/IPersistenceA/1", service};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return outputOf(command);
    };
    const auto file = bus.directory() + "/settings";
    const std::vector<std::string> command{UNIT_SIMULATOR, "--persistence-file", file, "--verbose"};
    for (const int end : {SIGKILL, SIGTERM}) {
        ChildProcess simulator{command};
        ASSERT_TRUE(simulator.waitForOutput("services are there"));
        EXPECT_EQ(call({"openByName", "sas", "IDS", "1", "v1"}), "");
        EXPECT_EQ(call({"setInt", "uui", "1", "0", "7"}), "");
        EXPECT_EQ(call({"flush", "u", "1"}), "");
        EXPECT_EQ(call({"setInt", "uui", "1", "1", "8"}), "");
        ChildProcess second{command};
        EXPECT_EQ(second.wait(), kUsageError) << "the file is in use";
        simulator.signal(end);
        simulator.wait();
        const PersistenceStore store{file};
        EXPECT_EQ(store.value(1, 0), PersistenceStore::Value{7});
        EXPECT_EQ(store.value(1, 1), end == SIGKILL ? PersistenceStore::Value{} : PersistenceStore::Value{8});
    }
}

TEST_F(UnitSimulatorTest, AServiceThatIsDownIsGoneAndAUnitThatHangsAnswersNobody)
{
    {
        ChildProcess simulator{
            {UNIT_SIMULATOR, "--do", "services names=null valid=false", "--do", "down service=gnss", "--verbose"}};
        ASSERT_TRUE(simulator.waitForOutput("unit-simulator: down"));
        EXPECT_TRUE(eventually([] { return services() == "(aaa(as)b) 0 false\n"; }));
        EXPECT_THAT(connect(), HasSubstr("Call failed"));
        simulator.signal(SIGTERM);
        EXPECT_EQ(simulator.wait(), 0);
    }
    ChildProcess hanging{{UNIT_SIMULATOR, "--do", "hang for=60", "--verbose"}};
    ASSERT_TRUE(hanging.waitForOutput("unit-simulator: hang"));
    EXPECT_THAT(connect(), HasSubstr("timed out"));
    ChildProcess second{{UNIT_SIMULATOR}};
    EXPECT_EQ(second.wait(), 1) << "its names are taken";
}

} // namespace
