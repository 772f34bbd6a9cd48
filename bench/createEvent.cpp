// The time to make an event, against a lower bound: the same four allocations, zeroed, and one read of the clock.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "event_factory.h"

namespace {

constexpr const char* kEvent = "createEvent/";
constexpr const char* kFloor = "floor/";

template <typename InputT>
InputT sample()
{
    return {};
}

template <>
std::uint32_t sample()
{
    return 5;
}

template <>
ids::SProcess sample()
{
    return {.cpuUsage = 12.5, .systemCpuUsage = 3.9, .id = 1234, .name = "telematics", .ramUsage = 2048};
}

template <>
ids::SFirewallStatistics sample()
{
    ids::SFirewallStatistics drop;
    drop.nflogGroup = 29;
    drop.groupNumber = 29;
    drop.groupTag = "INV_PORT_TCP";
    drop.sourcePort = 40000;
    drop.destinationPort = 5000;
    return drop;
}

template <>
ids::STlsHandshakeFailure sample()
{
    const std::vector<std::uint8_t> address(16, 0xFD);
    return {.destinationPort = 443,
            .sourceAddress = address,
            .sourcePort = 40000,
            .count = 1,
            .protocolName = "TCP",
            .destinationAddress = address,
            .tlsIdentity = "backend.example"};
}

template <>
ids::SServiceDiscoveryFailure sample()
{
    return {.errorText = "no offer within 5 s",
            .queryingAddress = std::vector<std::uint8_t>(16, 0xFD),
            .queryingService = "navigation"};
}

template <>
ids::STeeAccess sample()
{
    return {.teeName = "OP-TEE", .appName = "key_manager"};
}

template <>
ids::SServiceListUpdate sample()
{
    return {.kind = 1, .services = "voice,hotspot,maps", .time = 1'700'000'123'456};
}

template <>
ids::SExtConnFailure sample()
{
    return {
        .connectionType = 4, .hardwareAddress = std::vector<std::uint8_t>(6, 0xAB), .failureCode = 7, .name = "wlan0"};
}

template <typename RecordT>
void createEvent(benchmark::State& state)
{
    const auto input = sample<typename RecordT::Input>();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ids::event_factory::createEvent<RecordT>(input));
    }
}

struct Floor
{
    explicit Floor(std::size_t contextDataSize) : contextData(contextDataSize)
    {
        timespec now{};
        clock_gettime(CLOCK_BOOTTIME, &now);
        creationTime = static_cast<std::uint32_t>(now.tv_nsec);
    }

    std::vector<std::uint8_t> contextData;
    std::vector<std::uint8_t> eventFrame = std::vector<std::uint8_t>(8);
    std::uint16_t eventId = 0;
    std::vector<std::uint8_t> timestamp = std::vector<std::uint8_t>(8);
    std::uint32_t creationTime;
};

template <typename RecordT>
void makeFloor(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::make_shared<Floor>(ids::contextDataSize(RecordT::kEventId)));
    }
}

template <typename... RecordT>
void registerAll(ids::RecordList<RecordT...>)
{
    const auto name = [](const char* what, const auto& layout) { return what + std::string{layout.name}; };
    (benchmark::RegisterBenchmark(name(kEvent, RecordT::kLayout).c_str(), createEvent<RecordT>), ...);
    (benchmark::RegisterBenchmark(name(kFloor, RecordT::kLayout).c_str(), makeFloor<RecordT>), ...);
}

double medianOf(std::vector<double> values)
{
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

/// Compares each event with its lower bound, by the median CPU time of the repetitions.
class ComparingReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                m_times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
            }
        }
    }

    void Finalize() override
    {
        std::vector<double> events;
        std::vector<double> floors;
        for (const auto& [name, times] : m_times) {
            if (!name.starts_with(kEvent)) {
                continue;
            }
            const std::string type = name.substr(std::string_view{kEvent}.size());
            events.push_back(medianOf(times));
            floors.push_back(medianOf(m_times[kFloor + type]));
            print(type.c_str(), events.back(), floors.back());
        }
        print("median over the types", medianOf(events), medianOf(floors));
    }

private:
    static void print(const char* what, double event, double floor)
    {
        std::printf("%-40s %7.1f ns  floor %7.1f ns  ratio %.2f\n", what, event, floor, event / floor);
    }

    std::map<std::string, std::vector<double>> m_times;
};

} // namespace

int main(int argc, char** argv)
{
    // Many short runs in mixed order spread the noise of shared machines over events and lower bounds alike.
    std::vector<std::string> arguments{argv[0], "--benchmark_min_time=0.01", "--benchmark_repetitions=15",
                                       "--benchmark_enable_random_interleaving=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    registerAll(ids::EventRecords{});
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 1;
    }
    ComparingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
