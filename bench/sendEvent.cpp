// The cost of an event in the core link against a bare signal of the same bytes on the same bus.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <systemd/sd-bus.h>
#include <vector>

#include "CIdsCore.h"
#include "CIdsCoreAsiService.h"
#include "ManualTimers.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "event_factory.h"

namespace {

using namespace test_support;

constexpr int kRounds = 101;
constexpr int kSendsPerRound = 64;

double threadMicroseconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void sendBare(sd_bus* bus, const char* destination, const ids::SEvent& event)
{
    sd_bus_message* message = nullptr;
    sd_bus_message_new_signal(bus, &message, "/asi/connectivity/idscore/IdsSecurityEvents/1",
                              "asi.connectivity.idscore.IdsSecurityEventsReply", "onSecEvent");
    sd_bus_message_open_container(message, 'a', "(ayayqay)");
    sd_bus_message_open_container(message, 'r', "ayayqay");
    sd_bus_message_append_array(message, 'y', event.contextData.data(), event.contextData.size());
    sd_bus_message_append_array(message, 'y', event.eventFrame.data(), event.eventFrame.size());
    sd_bus_message_append(message, "q", event.eventId);
    sd_bus_message_append_array(message, 'y', event.timestamp.data(), event.timestamp.size());
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
    sd_bus_message_append(message, "b", 1);
    sd_bus_message_set_destination(message, destination);
    sd_bus_send(bus, message, nullptr);
    sd_bus_message_unref(message);
}

/// The core: reads only between the rounds, so that it costs the same for both ways of sending.
class Core
{
public:
    Core()
    {
        sd_bus_open_system(&m_bus);
        sd_bus_call_method(m_bus, "asi.connectivity.idscore.IdsSecurityEvents.instance1",
                           "/asi/connectivity/idscore/IdsSecurityEvents/1",
                           "asi.connectivity.idscore.IdsSecurityEvents", "connect", nullptr, nullptr, "");
        sd_bus_get_unique_name(m_bus, &m_name);
    }
    ~Core() { sd_bus_close_unref(m_bus); }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    const char* name() const { return m_name; }

    /// Reads until no more events arrive and returns their number.
    int drain()
    {
        int events = 0;
        do {
            sd_bus_message* message = nullptr;
            while (sd_bus_process(m_bus, &message) > 0) {
                if (message != nullptr && sd_bus_message_is_signal(message, nullptr, "onSecEvent") > 0) {
                    ++events;
                }
                message = sd_bus_message_unref(message);
            }
        } while (sd_bus_wait(m_bus, kQuietMicroseconds) > 0);
        return events;
    }

private:
    static constexpr std::uint64_t kQuietMicroseconds = 20'000;

    sd_bus* m_bus = nullptr;
    const char* m_name = nullptr;
};

} // namespace

int main()
{
    const TestBus bus;
    const TestActiveObject activeObject;
    ManualTimers timers;
    ids::CIdsCoreAsiService service{activeObject.factory()};
    ids::CIdsCore core{service, timers};
    service.registerService();
    Core receiver;
    sd_bus* bare = nullptr;
    sd_bus_open_system(&bare);
    const char* greeted = nullptr;
    sd_bus_get_unique_name(bare, &greeted); // waits for the connection

    int arrived = 0;
    std::vector<double> link;
    std::vector<double> signal;
    const auto event = ids::event_factory::createEvent<ids::SEvent_Firewall_DropInvPortTCP>(ids::SFirewallStatistics{});
    for (int round = 0; round < kRounds; ++round) {
        activeObject.run([&] {
            const auto begin = threadMicroseconds();
            for (int i = 0; i < kSendsPerRound; ++i) {
                core.sendEvent(*event);
            }
            link.push_back((threadMicroseconds() - begin) / kSendsPerRound);
        });
        arrived += receiver.drain();
        const auto begin = threadMicroseconds();
        for (int i = 0; i < kSendsPerRound; ++i) {
            sendBare(bare, receiver.name(), *event);
        }
        signal.push_back((threadMicroseconds() - begin) / kSendsPerRound);
        arrived += receiver.drain();
    }
    const bool complete = arrived == 2 * kRounds * kSendsPerRound;
    std::printf("sendEvent  %6.2f us of CPU (median of %d rounds of %d)%s\n", median(link), kRounds, kSendsPerRound,
                complete ? "" : ", NOT ALL ARRIVED");
    std::printf("bare signal %5.2f us\nratio      %6.2f\n", median(signal), median(link) / median(signal));
    sd_bus_flush_close_unref(bare);
    return complete ? 0 : 1;
}
