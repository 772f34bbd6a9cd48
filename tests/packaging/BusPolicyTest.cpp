#include <algorithm>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <optional>
#include <sstream>
#include <unistd.h>

#include "Accounts.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestBus.h"

namespace {

using namespace test_support;

/// The accounts that the policy names, and one that it does not, played by accounts that every Debian system has, whose
/// users and groups have the same numbers.
const std::map<std::string, int> kAccounts{{"root", 0},    {"idsproc", 1},  {"idscore", 2}, {"ids-tee", 3},
                                           {"ids-v2x", 7}, {"ids-info", 8}, {"stranger", 9}};

std::string numbered(std::string policy)
{
    for (const auto& [name, number] : kAccounts) {
        const auto quoted = "=\"" + name + '"';
        for (auto place = policy.find(quoted); place != std::string::npos; place = policy.find(quoted)) {
            policy.replace(place, quoted.size(), "=\"" + std::to_string(number) + '"');
        }
    }
    return policy;
}

/// What the system's bus does without exceptions, and the policy with numbers for its accounts.
std::string rulesWith(const std::string& policyFile)
{
    std::ostringstream policy;
    policy << std::ifstream{BUS_POLICY}.rdbuf();
    std::ofstream{policyFile} << numbered(policy.str());
    return "<deny own=\"*\"/><deny send_type=\"method_call\"/><allow send_destination=\"org.freedesktop.DBus\"/>"
           "</policy><include>" +
           policyFile + "</include><policy context=\"default\">";
}

std::vector<std::string> as(const std::string& account, std::vector<std::string> command)
{
    const auto number = std::to_string(kAccounts.at(account));
    command.insert(command.begin(), {"setpriv", "--reuid=" + number, "--regid=" + number, "--clear-groups"});
    return command;
}

struct BusPolicyTest : testing::Test
{
    BusPolicyTest()
    {
        if (canChangeAccount()) {
            bus.emplace(rulesWith(policyFile));
        }
    }
    ~BusPolicyTest() override { std::remove(policyFile.c_str()); }

    static std::string call(const std::string& account, const std::string& service,
                            const std::vector<std::string>& member)
    {
        auto path = '/' + service + "/1";
        std::replace(path.begin(), path.end(), '.', '/');
        std::vector<std::string> command{"busctl", "--system", "call", service + ".instance1", path};
        command.insert(command.end(), member.begin(), member.end());
        return outputOf(as(account, command));
    }

    std::size_t refusals() const
    {
        std::size_t count = 0;
        std::istringstream lines{bus->output()};
        for (std::string line; std::getline(lines, line);) {
            count += line.find("Rejected send message") != std::string::npos ? 1 : 0;
        }
        return count;
    }

    const std::string policyFile = testing::TempDir() + "ids-policy-" + std::to_string(::getpid());
    std::optional<TestBus> bus;
};

TEST_F(BusPolicyTest, EveryNeighbourReachesItsOwnServiceAndEveryOtherCallLeavesALine)
{
    if (!bus) {
        GTEST_SKIP() << kNoOtherAccounts;
    }
    ChildProcess daemon{as("idsproc", {IDS_PROC, "--test-commands"}), {"TRACING=CON_IDS_ASI=2,*=3"}};
    ASSERT_TRUE(daemon.waitForOutput("CIdsInformationAsiService registered service."));
    EXPECT_TRUE(daemon.waitForOutput("test commands are not offered"));

    const std::map<std::string, std::string> owners{{"asi.connectivity.idscore.IdsSecurityEvents", "idscore"},
                                                    {"asi.connectivity.ids.IdsTee", "ids-tee"},
                                                    {"asi.connectivity.ids.ViIdsmConnector", "ids-v2x"},
                                                    {"asi.connectivity.ids.IdsService", "ids-info"}};
    std::size_t refused = 0;
    for (const auto& [service, owner] : owners) {
        for (const auto& [account, number] : kAccounts) {
            const auto answer = call(account, service, {service, "connect"});
            if (account == owner) {
                EXPECT_EQ(answer, "") << account << ' ' << service;
            } else {
                EXPECT_THAT(answer, testing::HasSubstr("ccess")) << account << ' ' << service;
                ++refused;
            }
        }
        EXPECT_THAT(
            outputOf(as("stranger", {"busctl", "--system", "call", "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                     "RequestName", "su", service + ".instance1", "0"})),
            testing::HasSubstr("ccess denied"));
    }
    const std::string info = "asi.connectivity.ids.IdsService";
    const std::vector<std::string> get{"org.freedesktop.DBus.Properties", "Get", "ss", info, "FirewallDropPacketInfo"};
    EXPECT_THAT(call("ids-info", info, get), testing::HasSubstr("v (a(uu)b) 0 false"));
    EXPECT_THAT(call("idscore", info, get), testing::HasSubstr("ccess"));
    EXPECT_TRUE(eventually([&] { return refusals() == refused + 1; })) << bus->output();
    EXPECT_THAT(call("root", info, {"org.freedesktop.DBus.Introspectable", "Introspect"}),
                testing::HasSubstr("interface name"));
}

} // namespace
