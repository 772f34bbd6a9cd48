// Every call of the daemon for memory or to the kernel fails once: a saboteur that is preloaded lets each place in the
// program fail when the daemon comes by, while its neighbours are at work. The daemon must report on afterwards, and
// whoever may give up does so at the start, with a line. A failed test names what had failed. One of these again:
//   SABOTAGE=<number> fault_injection_test --gtest_filter=<test>
// More places, told apart by more of their callers, in a few minutes: SABOTEUR_DEPTH=10 fault_injection_test

#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "NetworkNamespace.h"
#include "SabotagePlan.h"
#include "SimulatedUnit.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "TestCore.h"
#include "V2xDomain.h"

namespace {

using namespace test_support;
using fault_injection::SabotagePlan;

constexpr std::uint16_t kCarEvent = 0xA001;
constexpr std::uint16_t kDroppedPacket = 0x000C;

/// A step of the unit for each sensor, and the event that the core is told because of it. Events of the SOME/IP network
/// have no ID beside their frame; those of the car domain come by themselves.
const std::map<std::uint16_t, const char*> kSensors{{0xD705, "connection-result startResult=0"},
                                                    {0xD016, "services names=[\"ecall\"]"},
                                                    {0xD006, "discovery status=1"},
                                                    {0xD012, "handshake success=false"},
                                                    {0xE901, "wlan-failure ssid=Home"},
                                                    {0xD015, "tee-access app=keystore"},
                                                    {0xD00E, "no-keys"},
                                                    {0, "some-ip-events"},
                                                    {kCarEvent, "an event of the car domain"}};

constexpr std::chrono::seconds kPatience{12}; // more than the longest time after which anything is tried again

/// Whether the kernel tells of dropped packets: an emulator may not know how.
bool hasNetfilter()
{
    const int netfilter = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER);
    return netfilter >= 0 && close(netfilter) == 0;
}

/// The plan in memory that the daemon maps, and what the saboteur has told.
class Sabotage
{
public:
    explicit Sabotage(std::string place) : m_place{std::move(place)}
    {
        if (ftruncate(m_file, sizeof(SabotagePlan)) != 0) {
            throw std::runtime_error{"ftruncate"};
        }
        m_plan = static_cast<SabotagePlan*>(
            mmap(nullptr, sizeof(SabotagePlan), PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0));
        const char* const only = std::getenv("SABOTAGE");
        m_plan->only = only != nullptr ? std::strtoull(only, nullptr, 16) : 0;
    }
    ~Sabotage()
    {
        munmap(m_plan, sizeof(SabotagePlan));
        close(m_file);
    }

    std::vector<std::string> environment() const
    {
        return {std::string{"LD_PRELOAD="} + SABOTEUR,
                "SABOTEUR_PLAN=/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_file),
                "SABOTEUR_REPORT=" + report(), "SABOTEUR_PLACE=" + m_place, "TRACING=*=2"};
    }

    void begin(SabotagePlan::Kind kind, std::uint32_t most)
    {
        m_plan->left = most;
        m_plan->waiting = 0;
        m_plan->kind = kind;
    }
    void end() { m_plan->kind = SabotagePlan::nothing; }
    std::uint32_t count() const { return m_plan->count; }

    /// The failures after the first so many, with their callers.
    std::string since(std::uint32_t before) const
    {
        std::ifstream file{report()};
        std::string text;
        bool wanted = false;
        for (std::string line; std::getline(file, line);) {
            if (line.find(" fails with ") != std::string::npos) {
                wanted = std::stoul(line) > before;
            }
            text += wanted ? line + '\n' : "";
        }
        return text;
    }

private:
    std::string report() const { return m_place + "/failures"; }

    const std::string m_place;
    const int m_file = memfd_create("plan", MFD_CLOEXEC);
    SabotagePlan* m_plan = nullptr;
};

/// The daemon among its neighbours, in a network of its own where there can be one.
struct FaultInjectionTest : testing::Test
{
    FaultInjectionTest()
    {
        network.emplace();
        if (network->entered() && hasNetfilter() &&
            network->run("nft add table ip6 t && nft add chain ip6 t in '{ type filter hook input "
                         "priority 0; }' && nft add rule ip6 t in udp dport 5030 log group 30"))
        {
            sensors.emplace(kDroppedPacket, "a packet is dropped");
        }
        startDaemon();
    }

    void startDaemon()
    {
        daemon.reset();
        EXPECT_TRUE(eventually([&] { return !core->connected(); }));
        daemon.emplace(std::vector<std::string>{IDS_PROC}, sabotage.environment());
    }

    void startUnit()
    {
        unit.reset();
        unit.emplace(UNIT_SIMULATOR);
        unit->typeLine("position");
    }

    void startPeer()
    {
        peer.reset();
        peer.emplace(std::vector<std::string>{RSTP_PEER, "--socket", bus.directory() + "/rstp_IDS_Event_sdata",
                                              "--repeat", "--rate", "20", "--event",
                                              "130C41A001000100 0000000100000002 80002B0000000709 08070605"});
    }

    /// Everything that makes a sensor report, once.
    void stir()
    {
        unit->typeLine("position");
        unit->typeLine("services names=[]");
        for (const auto& [id, step] : sensors) {
            if (id == kDroppedPacket) {
                sendUdp(5030, 1);
                network->run("ip link add one type veth peer name other && ip link del one");
            } else if (id != kCarEvent) {
                unit->typeLine(step);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{30});
    }

    /// Whether an event of the V2X domain still gets through.
    bool reports()
    {
        const auto before = core->count(V2xDomain::kEventId);
        auto next = std::chrono::steady_clock::now();
        return eventually(
                   [&] {
                       if (const auto now = std::chrono::steady_clock::now(); now >= next) {
                           v2x.send();
                           next = now + std::chrono::milliseconds{50};
                       }
                       return core->count(V2xDomain::kEventId) > before || daemon->ended();
                   },
                   kPatience) &&
               !daemon->ended();
    }

    /// The sensors that do not report any more, whatever happens in the unit.
    std::string silentSensors()
    {
        auto silent = sensors;
        std::map<std::uint16_t, std::size_t> before;
        for (const auto& [id, step] : sensors) {
            before[id] = core->count(id);
        }
        const auto reported = [&](const auto& one) { return core->count(one.first) > before[one.first]; };
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!silent.empty() && std::chrono::steady_clock::now() < end) {
            stir();
            eventually([&] { return std::erase_if(silent, reported) > 0 && silent.empty(); }, std::chrono::seconds{1});
        }
        std::string names;
        for (const auto& [id, step] : silent) {
            names += std::string{step} + "; ";
        }
        return names;
    }

    /// What happened since so many calls had failed.
    std::string story(std::uint32_t before) const
    {
        constexpr std::size_t kMost = 2000;
        const auto output = daemon->output();
        return sabotage.since(before) + "and then:\n" + output.substr(output.size() - std::min(output.size(), kMost));
    }

    /// Does the action again and again while calls fail, until none fails any more.
    void sweep(SabotagePlan::Kind kind, std::uint32_t most, const std::function<void()>& action)
    {
        const auto first = sabotage.count();
        for (unsigned quiet = 0; quiet < 2;) {
            const auto before = sabotage.count();
            sabotage.begin(kind, most);
            action();
            sabotage.end();
            if (!reports()) {
                ADD_FAILURE() << story(before);
                startDaemon();
                ASSERT_TRUE(reports());
            }
            quiet = sabotage.count() == before ? quiet + 1 : 0;
        }
        EXPECT_EQ(silentSensors(), "") << story(first);
    }

    void beginWork()
    {
        startUnit();
        startPeer();
        ASSERT_TRUE(reports());
        ASSERT_EQ(silentSensors(), "");
    }

    void work(SabotagePlan::Kind kind)
    {
        beginWork();
        sweep(kind, kOne, [&] { reports(); });
        sweep(kind, kOne, [&] { stir(); });
    }

    void comeAndGo(SabotagePlan::Kind kind)
    {
        beginWork();
        sweep(kind, kSome, [&] {
            startPeer();
            reports();
        });
        sweep(kind, kSome, [&] {
            core.emplace();
            reports();
        });
        sweep(kind, kMany, [&] {
            startUnit();
            std::this_thread::sleep_for(std::chrono::milliseconds{1200}); // clients come back after a second
        });
        sweep(kind, kMany, [&] {
            core.reset();
            bus.kill();
            bus.start();
            core.emplace();
            startUnit();
            reports();
        });
    }

    /// A daemon that cannot start says why and ends in order; one that can reports, and ends when it is told to.
    void startAndEnd(SabotagePlan::Kind kind)
    {
        for (unsigned quiet = 0; quiet < 2;) {
            const auto before = sabotage.count();
            sabotage.begin(kind, kSome);
            startDaemon();
            eventually([&] { return daemon->ended() || core->connected(); }, kPatience);
            sabotage.end();
            const bool up = reports();
            if (daemon->ended()) {
                const auto says = [&](const char* text) { return daemon->output().find(text) != std::string::npos; };
                EXPECT_TRUE(daemon->wait() <= 1 || says("fatal: ")) << story(before);
                EXPECT_TRUE(says("fatal: ") || says("idsProc cannot start: ") || says("returned with error: "))
                    << story(before);
            } else {
                EXPECT_TRUE(up) << story(before);
                sabotage.begin(kind, kSome);
                daemon->signal(SIGTERM);
                EXPECT_EQ(daemon->wait(), 0) << story(before);
                sabotage.end();
            }
            quiet = sabotage.count() == before ? quiet + 1 : 0;
        }
    }

    void TearDown() override { std::printf("%u calls have failed\n", sabotage.count()); }

    static constexpr std::uint32_t kOne = 1;
    static constexpr std::uint32_t kSome = 8; // where the way to a call is long
    static constexpr std::uint32_t kMany = 30;

    TestBus bus;
    Sabotage sabotage{bus.directory()};
    std::optional<TestCore> core{std::in_place};
    V2xDomain v2x;
    std::optional<NetworkNamespace> network; // entered after the bus and the core have been started
    std::map<std::uint16_t, const char*> sensors = kSensors;
    std::optional<ChildProcess> daemon;
    std::optional<SimulatedUnit> unit;
    std::optional<ChildProcess> peer;
};

TEST_F(FaultInjectionTest, WithoutMemoryForACallAtWorkItReportsOn)
{
    work(SabotagePlan::allocations);
}

TEST_F(FaultInjectionTest, WithoutMemoryForACallWhileNeighboursComeAndGoItReportsOn)
{
    comeAndGo(SabotagePlan::allocations);
}

TEST_F(FaultInjectionTest, WithoutMemoryForACallItStartsOrSaysWhyNot)
{
    startAndEnd(SabotagePlan::allocations);
}

TEST_F(FaultInjectionTest, WhenTheKernelRefusesACallAtWorkItReportsOn)
{
    work(SabotagePlan::systemCalls);
}

TEST_F(FaultInjectionTest, WhenTheKernelRefusesACallWhileNeighboursComeAndGoItReportsOn)
{
    comeAndGo(SabotagePlan::systemCalls);
}

TEST_F(FaultInjectionTest, WhenTheKernelRefusesACallItStartsOrSaysWhyNot)
{
    startAndEnd(SabotagePlan::systemCalls);
}

} // namespace
