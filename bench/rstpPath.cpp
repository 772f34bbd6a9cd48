// The road of a raw event from the car domain's socket through the whole daemon to the core. Throughput: beside a bare
// sd-bus sender of the same bytes. Latency, one event at a time: beside a bare forwarder from such a socket to the bus.
// The car domain and the core are threads of this program; the daemon, the bare sender and the forwarder are processes.
//
// The daemon's socket has one place, so no other daemon or peer may be there. Only figures of a Release build count.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "CCdRstpClient.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "IplLogger.h"
#include "TestBus.h"

using namespace std::chrono_literals;
using namespace test_support;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kEvents = 50'000;
constexpr std::size_t kRounds = 5;
constexpr std::size_t kSingles = 2'000;
constexpr std::size_t kHead = 16;
constexpr std::size_t kContext = 43;
constexpr auto kPath = ids::CCdRstpClient::Transport::kPath;
constexpr auto kService = "asi.connectivity.idscore.IdsSecurityEvents.instance1";
constexpr auto kObject = "/asi/connectivity/idscore/IdsSecurityEvents/1";
constexpr auto kInterface = "asi.connectivity.idscore.IdsSecurityEvents";

Bytes rawEvent()
{
    Bytes event{0x13, 0x0C, 0x40, 0xD7, 0x07, 0, 1, 0};
    event.resize(kHead + kContext, 0x5A);
    return event;
}

Bytes frame()
{
    const auto event = rawEvent();
    Bytes bytes{1, static_cast<std::uint8_t>(event.size() + 2), 0x14, static_cast<std::uint8_t>(event.size())};
    bytes.insert(bytes.end(), event.begin(), event.end());
    return bytes;
}

/// Sends one event as the daemon's service does. Waits for room on the bus when there is none.
void sendBare(sd_bus* bus, const char* destination, const std::uint8_t* event)
{
    sd_bus_message* message = nullptr;
    sd_bus_message_new_signal(bus, &message, kObject, "asi.connectivity.idscore.IdsSecurityEventsReply", "onSecEvent");
    sd_bus_message_open_container(message, 'a', "(ayayqay)");
    sd_bus_message_open_container(message, 'r', "ayayqay");
    sd_bus_message_append_array(message, 'y', event + kHead, kContext);
    sd_bus_message_append_array(message, 'y', event, 8);
    sd_bus_message_append(message, "q", event[3] << 8 | event[4]);
    sd_bus_message_append_array(message, 'y', event + 8, 8);
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
    sd_bus_message_append(message, "b", 1);
    sd_bus_message_set_destination(message, destination);
    sd_bus_send(bus, message, nullptr);
    sd_bus_message_unref(message);
    std::uint64_t waiting = 0;
    if (sd_bus_get_n_queued_write(bus, &waiting) >= 0 && waiting > 0) {
        sd_bus_flush(bus);
    }
}

sd_bus* openBus()
{
    sd_bus* bus = nullptr;
    const char* name = nullptr;
    if (sd_bus_open_system(&bus) < 0 || sd_bus_get_unique_name(bus, &name) < 0) {
        std::fprintf(stderr, "no bus\n");
        std::exit(1);
    }
    return bus;
}

/// The core: counts what comes, on a thread of its own.
class Core
{
public:
    Core() : m_reader{[this] { read(); }}
    {
        eventually([this] { return m_ready.load(); });
    }
    ~Core()
    {
        m_ending = true;
        m_reader.join();
    }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    const std::string& name() const { return m_name; }
    std::size_t received() const { return m_received; }

    /// Has the reading thread connect to the daemon when that is there.
    void connectToDaemon()
    {
        m_connected = false;
        m_wanted = true;
        eventually([this] { return m_connected.load(); });
    }

private:
    void read()
    {
        m_bus = openBus();
        const char* name = nullptr;
        sd_bus_get_unique_name(m_bus, &name);
        m_name = name;
        m_ready = true;
        while (!m_ending) {
            if (m_wanted &&
                sd_bus_call_method(m_bus, kService, kObject, kInterface, "connect", nullptr, nullptr, "") >= 0) {
                m_wanted = false;
                m_connected = true;
            }
            sd_bus_message* message = nullptr;
            while (sd_bus_process(m_bus, &message) > 0) {
                if (message != nullptr && sd_bus_message_is_signal(message, nullptr, "onSecEvent") > 0 &&
                    isRaw(message)) {
                    ++m_received;
                }
                message = sd_bus_message_unref(message);
            }
            sd_bus_wait(m_bus, 20'000);
        }
        sd_bus_flush_close_unref(m_bus);
    }

    // The daemon has events of its own to tell.
    static bool isRaw(sd_bus_message* message)
    {
        const void* bytes = nullptr;
        std::size_t size = 0;
        sd_bus_message_enter_container(message, 'a', "(ayayqay)");
        sd_bus_message_enter_container(message, 'r', "ayayqay");
        return sd_bus_message_read_array(message, 'y', &bytes, &size) > 0 && size == kContext;
    }

    sd_bus* m_bus = nullptr;
    std::string m_name;
    std::atomic<bool> m_ready{false};
    std::atomic<bool> m_wanted{false};
    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_ending{false};
    std::atomic<std::size_t> m_received{0};
    std::thread m_reader;
};

/// Waits until so many have come, or nothing comes any more. Returns how many came.
std::size_t awaitEvents(const Core& core, std::size_t before, std::size_t count)
{
    auto last = core.received();
    auto changed = Clock::now();
    while (core.received() - before < count && Clock::now() - changed < 2s) {
        if (core.received() != last) {
            last = core.received();
            changed = Clock::now();
        }
        std::this_thread::sleep_for(200us);
    }
    return core.received() - before;
}

int runBareSender(const char* destination, std::size_t count)
{
    auto* const bus = openBus();
    const auto event = rawEvent();
    for (std::size_t i = 0; i < count; ++i) {
        sendBare(bus, destination, event.data());
    }
    sd_bus_flush_close_unref(bus);
    return 0;
}

int runForwarder(const char* destination)
{
    auto* const bus = openBus();
    const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, kPath, sizeof address.sun_path - 1);
    while (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::this_thread::sleep_for(20ms);
    }
    std::array<std::uint8_t, 4096> buffer;
    while (::recv(socket, buffer.data(), buffer.size(), 0) > 0) {
        sendBare(bus, destination, buffer.data() + 4);
    }
    return 0;
}

/// The car domain, with whoever connects to it.
class Car
{
public:
    Car() { m_socket.open(kPath, 0, SOCK_SEQPACKET, 0); }
    ~Car() { ::unlink(kPath); }
    Car(const Car&) = delete;
    Car& operator=(const Car&) = delete;

    void send() { ::write(m_socket.fileDescriptor(), m_frame.data(), m_frame.size()) < 0 ? waitAndSend() : void(); }

private:
    void waitAndSend()
    {
        pollfd entry{m_socket.fileDescriptor(), POLLOUT, 0};
        ::poll(&entry, 1, -1);
        send();
    }

    const tracing::Channel m_channel{"BENCH", 0, 6};
    const IplLogger m_logger{m_channel};
    UnixSocket::CSocketFileHandle m_socket{m_logger, true};
    const Bytes m_frame = frame();
};

std::vector<double> latencies(const Core& core, Car& car)
{
    std::vector<double> all;
    for (std::size_t i = 0; i < kSingles; ++i) {
        const auto before = core.received();
        const auto begin = Clock::now();
        car.send();
        while (core.received() == before) {
            std::this_thread::yield();
        }
        all.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
        std::this_thread::sleep_for(500us);
    }
    std::sort(all.begin(), all.end());
    return all;
}

void printLatency(const char* name, const std::vector<double>& sorted)
{
    std::printf("%-12s p50 %7.0f us  p99 %7.0f us\n", name, sorted[sorted.size() / 2],
                sorted[sorted.size() * 99 / 100]);
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

struct Throughput
{
    std::vector<double> perSecond;
    std::size_t missing = 0;
};

template <typename Send>
void round(const Core& core, Throughput& result, Send send)
{
    const auto before = core.received();
    const auto begin = Clock::now();
    send();
    const auto arrived = awaitEvents(core, before, kEvents);
    const std::chrono::duration<double> seconds = Clock::now() - begin;
    result.perSecond.push_back(static_cast<double>(arrived) / (seconds.count() - (arrived < kEvents ? 2 : 0)));
    result.missing += kEvents - arrived;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::string{argv[1]} == "--bare") {
        return runBareSender(argv[2], kEvents);
    }
    if (argc == 3 && std::string{argv[1]} == "--forward") {
        return runForwarder(argv[2]);
    }
    const TestBus bus;
    Core core;
    {
        ChildProcess forwarder{{"/proc/self/exe", "--forward", core.name()}};
        Car car;
        printLatency("forwarder", latencies(core, car));
    }
    ChildProcess daemon{{IDS_PROC}, {"TRACING=*=6"}};
    core.connectToDaemon();
    Car car;
    printLatency("daemon", latencies(core, car));

    Throughput bare;
    Throughput road;
    for (std::size_t i = 0; i < kRounds; ++i) {
        round(core, bare, [&] { ChildProcess{{"/proc/self/exe", "--bare", core.name()}}.wait(); });
        round(core, road, [&] {
            for (std::size_t sent = 0; sent < kEvents; ++sent) {
                car.send();
            }
        });
    }
    std::printf("bare sender  %8.0f events/s (median of %zu), %zu of %zu missing\n", median(bare.perSecond), kRounds,
                bare.missing, kRounds * kEvents);
    std::printf("daemon       %8.0f events/s, %zu missing\nratio        %8.2f\n", median(road.perSecond), road.missing,
                median(road.perSecond) / median(bare.perSecond));
    return 0;
}
