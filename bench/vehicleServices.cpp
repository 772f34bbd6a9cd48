// The daemon as a client of the unit's services. How long a notification takes from the service to the report, beside a
// raw sd-bus callback. How long it takes, and what it costs, until all clients have their services again after the bus
// has died and come back.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <systemd/sd-bus.h>
#include <thread>
#include <vector>

#include "CSoaDiag.h"
#include "CSoaDiagAsiClient.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "cpuSeconds.h"

using namespace std::chrono_literals;
using namespace test_support;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kRounds = 3000;
constexpr std::size_t kClients = 12; ///< of the daemon, by the line that all but two of its clients leave
constexpr int kDeaths = 5;

std::atomic<Clock::rep> g_arrived{0};

void arrived()
{
    g_arrived = Clock::now().time_since_epoch().count();
}

struct Dispatcher final : ids::IIdsm
{
    bool reportEvent(const std::shared_ptr<ids::SEvent>&) override
    {
        arrived();
        return true;
    }
};

/// The diagnostics, which tell one of their clients of a failed handshake.
class Diagnostics final : asi::servicediag::diagS
{
public:
    explicit Diagnostics(const TestActiveObject& activeObject) : m_activeObject{activeObject}
    {
        registerInstance(1, activeObject.factory());
    }
    ~Diagnostics() override { unregisterInstance(); }

    std::size_t clients() const { return m_count; }

    void tell(std::size_t client)
    {
        m_activeObject.run([&] {
            m_clients[client].call<&asi::servicediag::diagReply::publish_SecureConnectionEvent>(
                std::make_shared<asi::servicediag::SecureConnectionEvent>());
        });
    }

private:
    void startPublishing() override {}
    void clientConnected(const Reply& client) override
    {
        m_clients.push_back(client);
        ++m_count;
    }

    const TestActiveObject& m_activeObject;
    std::vector<Reply> m_clients;
    std::atomic<std::size_t> m_count{0};
};

/// Connects by hand and waits for signals.
class RawClient
{
public:
    ~RawClient()
    {
        m_ending = true;
        m_thread.join();
    }

private:
    void run()
    {
        sd_bus* bus = nullptr;
        sd_bus_open_system(&bus);
        sd_bus_call_method(bus, "asi.servicediag.diag.instance1", "/asi/servicediag/diag/1", "asi.servicediag.diag",
                           "connect", nullptr, nullptr, "");
        const auto onSignal = [](sd_bus_message* message, void*, sd_bus_error*) {
            if (sd_bus_message_is_signal(message, nullptr, "publish_SecureConnectionEvent") > 0) {
                arrived();
            }
            return 0;
        };
        sd_bus_add_filter(bus, nullptr, onSignal, nullptr);
        while (!m_ending) {
            while (sd_bus_process(bus, nullptr) > 0) {
            }
            sd_bus_wait(bus, 20'000);
        }
        sd_bus_flush_close_unref(bus);
    }

    std::atomic<bool> m_ending{false};
    std::thread m_thread{[this] { run(); }};
};

double latency(Diagnostics& diagnostics, std::size_t client)
{
    g_arrived = 0;
    const auto begin = Clock::now().time_since_epoch().count();
    diagnostics.tell(client);
    while (g_arrived == 0) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(200us);
    return static_cast<double>(g_arrived - begin) / 1000;
}

void print(const char* name, std::vector<double>& values)
{
    std::sort(values.begin(), values.end());
    std::printf("%-24s p50 %6.0f us  p99 %6.0f us\n", name, values[values.size() / 2],
                values[values.size() * 99 / 100]);
}

void measureLatency()
{
    const TestBus bus;
    const TestActiveObject unit;
    const TestActiveObject daemon;
    Diagnostics diagnostics{unit};
    Dispatcher dispatcher;
    ids::CSoaDiag sensor{dispatcher};
    std::unique_ptr<ids::CSoaDiagAsiClient> client;
    daemon.run([&] {
        client = std::make_unique<ids::CSoaDiagAsiClient>(daemon.factory(), 0);
        client->setListener(&sensor);
        client->start();
    });
    eventually([&] { return diagnostics.clients() == 1; });
    {
        const RawClient raw;
        eventually([&] { return diagnostics.clients() == 2; });
        std::vector<double> ours;
        std::vector<double> bare;
        for (std::size_t round = 0; round < kRounds; ++round) {
            ours.push_back(latency(diagnostics, 0));
            bare.push_back(latency(diagnostics, 1));
        }
        print("notification to report", ours);
        print("raw sd-bus callback", bare);
        std::printf("ratio of p50 %.2f\n", ours[kRounds / 2] / bare[kRounds / 2]);
    }
    daemon.run([&] { client.reset(); });
}

std::size_t count(const std::string& output, const char* text)
{
    std::size_t found = 0;
    for (auto at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) {
        ++found;
    }
    return found;
}

void measureReconnect()
{
    TestBus bus;
    const ChildProcess unit{{UNIT_SIMULATOR}};
    const ChildProcess daemon{{IDS_PROC}, {"TRACING=CON_COMMON_RSTP=6,CON_IDS_SENSOR_HOST=6"}};
    daemon.waitForOutput("registered service. (Instance");
    outputOf({"busctl", "--system", "call", "asi.connectivity.idscore.IdsSecurityEvents.instance1",
              "/asi/connectivity/idscore/IdsSecurityEvents/1", "asi.connectivity.idscore.IdsSecurityEvents",
              "connect"}); // the clients start when the core has come
    std::size_t alive = kClients;
    for (int death = 0; death < kDeaths; ++death) {
        if (!eventually([&] { return count(daemon.output(), "ASI alive") >= alive; })) {
            std::fprintf(stderr, "%s\nnot all clients have found their services\n", daemon.output().c_str());
            std::exit(1);
        }
        bus.kill();
        std::this_thread::sleep_for(2s);
        bus.start();
        const auto begin = Clock::now();
        const auto cpu = bench_support::cpuSeconds(daemon);
        alive += kClients;
        eventually([&] { return count(daemon.output(), "ASI alive") >= alive; });
        std::printf("all %zu connections again after %5.2f s, %5.1f ms of CPU\n", kClients,
                    std::chrono::duration<double>(Clock::now() - begin).count(),
                    (bench_support::cpuSeconds(daemon) - cpu) * 1e3);
    }
}

} // namespace

int main()
{
    measureLatency();
    measureReconnect();
    return 0;
}
