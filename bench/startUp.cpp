// How long the daemon takes from exec until its service is registered, and until all its clients are alive, when all of
// the unit's services are there and a core connects at once. Beside it a bare sd-bus program that connects to as many
// services by the same calls, one after the other, on the same bus.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

#include "ChildProcess.h"
#include "Eventually.h"
#include "TestBus.h"

namespace {

using namespace test_support;

constexpr int kStarts = 21;

struct Instance
{
    const char* service;
    int number;
};

constexpr Instance kDaemon{"asi.connectivity.idscore.IdsSecurityEvents", 1};

// Those that the daemon connects to; it has two clients of the time.
constexpr std::array<Instance, 14> kPeers{{{"asi.someip.oru.services.idssecurityevent.v2.IDSSecurityEvent", 1},
                                           {"asi.connectivity.diagnostic.DiagnosticDtcs", 1},
                                           {"asi.navigation.gnss.Gnss", 1},
                                           {"asi.connectivity.al.NadInformationService", 1},
                                           {"asi.connectivity.al.NadMessagingServices", 1},
                                           {"asi.ooc.app.IOocApplication", 1},
                                           {"asi.ooc.app.IOocIds", 1},
                                           {"asi.servicediag.diag", 1},
                                           {"asi.servicediag.diag", 2},
                                           {"asi.connectivity.configuration.QuorConfiguration", 1},
                                           {"asi.connectivity.networking.WlanService", 1},
                                           {"asi.time.TimeSync", 1},
                                           {"asi.time.TimeSync", 1},
                                           {"persistence.IPersistenceA", 1}}};

// What a client's log says when it is alive, and the channels that say so only when asked.
constexpr std::array<const char*, 3> kAliveTexts{": ASI alive ", ": Persistence went alive",
                                                 ": Call 'm_TimeProxy->setNotification()' successful"};
constexpr auto kThresholds = "CON_PERSISTENCE_IMPL=0,CON_TIME=0";

/// Since boot, as the log has it.
double now()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

[[noreturn]] void fail(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(1);
}

sd_bus* openBus()
{
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) < 0) {
        fail("no bus");
    }
    return bus;
}

std::string nameOf(const Instance& instance)
{
    return instance.service + (".instance" + std::to_string(instance.number));
}

std::string pathOf(const Instance& instance)
{
    auto path = "/" + (instance.service + ("/" + std::to_string(instance.number)));
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

std::string ownerRule(const Instance& instance)
{
    return "type='signal',member='NameOwnerChanged',path='/org/freedesktop/DBus',arg0='" + nameOf(instance) + "'";
}

/// Follows the owner of a name, asks for it, and connects to it.
void connectBare(sd_bus* bus, const Instance& instance)
{
    const auto name = nameOf(instance);
    sd_bus_message* owner = nullptr;
    sd_bus_message* answer = nullptr;
    const char* ownerName = nullptr;
    const auto ignore = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
    if (sd_bus_add_match(bus, nullptr, ownerRule(instance).c_str(), ignore, nullptr) < 0 ||
        sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
                           nullptr, &owner, "s", name.c_str()) < 0 ||
        sd_bus_message_read(owner, "s", &ownerName) < 0 ||
        sd_bus_call_method(bus, ownerName, pathOf(instance).c_str(), instance.service, "connect", nullptr, &answer,
                           "") < 0)
    {
        fail("no connection to " + name);
    }
    sd_bus_message_unref(answer);
    sd_bus_message_unref(owner);
}

int runBare()
{
    auto* const bus = openBus();
    for (const auto& peer : kPeers) {
        connectBare(bus, peer);
    }
    std::printf("connected %f\n", now());
    sd_bus_flush_close_unref(bus);
    return 0;
}

/// A core that connects in the moment in which the daemon's service comes.
class PromptCore
{
public:
    PromptCore() { sd_bus_add_match(m_bus, nullptr, ownerRule(kDaemon).c_str(), &PromptCore::onOwner, this); }
    ~PromptCore() { sd_bus_flush_close_unref(m_bus); }
    PromptCore(const PromptCore&) = delete;
    PromptCore& operator=(const PromptCore&) = delete;

    /// Waits for the service. Returns the time at which it came.
    double awaitService()
    {
        for (m_came = 0; m_came == 0;) {
            if (sd_bus_process(m_bus, nullptr) == 0) {
                sd_bus_wait(m_bus, UINT64_MAX);
            }
        }
        sd_bus_call_method(m_bus, nameOf(kDaemon).c_str(), pathOf(kDaemon).c_str(), kDaemon.service, "connect", nullptr,
                           nullptr, "");
        return m_came;
    }

    /// Waits until it is gone again.
    void awaitEnd()
    {
        for (m_gone = false; !m_gone;) {
            if (sd_bus_process(m_bus, nullptr) == 0) {
                sd_bus_wait(m_bus, UINT64_MAX);
            }
        }
    }

private:
    static int onOwner(sd_bus_message* signal, void* self, sd_bus_error*)
    {
        auto& core = *static_cast<PromptCore*>(self);
        const char* name = nullptr;
        const char* before = nullptr;
        const char* after = nullptr;
        sd_bus_message_read(signal, "sss", &name, &before, &after);
        core.m_gone = after == nullptr || *after == '\0';
        core.m_came = core.m_gone ? 0 : now();
        return 0;
    }

    sd_bus* const m_bus = openBus();
    double m_came = 0;
    bool m_gone = true;
};

/// The times of the lines in which a client says that it is alive, in their order.
std::vector<double> aliveTimes(const std::string& log)
{
    std::vector<double> times;
    for (std::size_t begin = 0; begin < log.size();) {
        const auto end = std::min(log.find('\n', begin), log.size());
        const auto line = log.substr(begin, end - begin);
        const auto isIn = [&line](const char* text) { return line.find(text) != std::string::npos; };
        if (std::any_of(kAliveTexts.begin(), kAliveTexts.end(), isIn)) {
            times.push_back(std::strtod(line.c_str() + 1, nullptr)); // "[  123.456789] ..."
        }
        begin = end + 1;
    }
    return times;
}

struct Start
{
    double registered; ///< milliseconds since exec
    double alive;
};

Start startDaemon(PromptCore& core)
{
    const auto begin = now();
    ChildProcess daemon{{IDS_PROC}};
    const auto registered = core.awaitService();
    if (!eventually([&] { return aliveTimes(daemon.output()).size() >= kPeers.size(); })) {
        fail(daemon.output() + "not all clients have found their services");
    }
    const auto alive = aliveTimes(daemon.output()).at(kPeers.size() - 1);
    daemon.signal(SIGTERM);
    core.awaitEnd();
    daemon.wait();
    return {(registered - begin) * 1e3, (alive - begin) * 1e3};
}

double startBare()
{
    const auto begin = now();
    ChildProcess bare{{"/proc/self/exe", "--bare"}};
    if (bare.wait() != 0) {
        fail(bare.output());
    }
    return (std::strtod(bare.output().c_str() + sizeof "connected", nullptr) - begin) * 1e3;
}

double print(const char* name, std::vector<double>& values)
{
    std::sort(values.begin(), values.end());
    std::printf("%-30s %6.1f ms (median of %zu, worst %.1f)\n", name, values[values.size() / 2], values.size(),
                values.back());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string{argv[1]} == "--bare") {
        return runBare();
    }
    const TestBus bus;
    const ChildProcess unit{{UNIT_SIMULATOR}};
    if (!unit.waitForOutput("the unit's services are there")) {
        fail(unit.output());
    }
    setenv("TRACING", kThresholds, 1);
    PromptCore core;
    std::vector<double> registered;
    std::vector<double> alive;
    std::vector<double> bare;
    for (int i = 0; i < kStarts; ++i) {
        const auto start = startDaemon(core);
        registered.push_back(start.registered);
        alive.push_back(start.alive);
        bare.push_back(startBare());
    }
    print("exec to registered service", registered);
    const auto ours = print("exec to all clients alive", alive);
    const auto floor = print("bare program, all connected", bare);
    std::printf("ratio %.2f\n", ours / floor);
    return 0;
}
