// The cost of decoding a frame of the car domain against a bare copy of its payload into a vector.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <utility>
#include <vector>

#include "IDS_Event/CInterface.h"
#include "IplLogger.h"
#include "RstpChannel.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kPayload = 59; // a raw event of typical size

Bytes typicalFrame()
{
    Bytes frame(4 + kPayload, 0x5A);
    frame[0] = 1;
    frame[1] = kPayload + 2;
    frame[2] = 0x14;
    frame[3] = kPayload;
    return frame;
}

struct Incoming final : IIDS_EventIncoming
{
    void onConnectionStateChanged(bool) override {}
    void onIdsEvent(Bytes payload) override { benchmark::DoNotOptimize(payload.data()); }
};

void decode(benchmark::State& state)
{
    const auto frame = typicalFrame();
    const IplLogger logger{s_rstpChannel};
    Incoming incoming;
    IDS_Event::CInterface codec{{}, logger, incoming};
    for (auto _ : state) {
        codec.evaluateMsg(frame);
    }
}
BENCHMARK(decode);

void copyPayload(benchmark::State& state)
{
    const auto frame = typicalFrame();
    for (auto _ : state) {
        const Bytes payload{frame.begin() + 4, frame.end()};
        benchmark::DoNotOptimize(payload.data());
    }
}
BENCHMARK(copyPayload);

} // namespace

BENCHMARK_MAIN();
