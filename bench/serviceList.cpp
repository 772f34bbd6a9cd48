// An update of the service list, from the notification to the two reports, against a bare sort and the two set
// differences of the same names. The previous list is already sorted, as after every update.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

#include "CVoice.h"
#include "ids/SEvent.h"
#include "tracing/Channel.h"

namespace {

using namespace asi::connectivity::configuration;
using Names = std::vector<std::string>;

struct NoDispatcher final : ids::IIdsm
{
    bool reportEvent(const std::shared_ptr<ids::SEvent>& event) override
    {
        benchmark::DoNotOptimize(event.get());
        return true;
    }
};

/// Names in random order, numbered from the first.
Names shuffledNames(std::int64_t count, std::int64_t first)
{
    Names names;
    for (auto number = first; number < first + count; ++number) {
        names.push_back("Service_" + std::to_string(number * 7919));
    }
    std::shuffle(names.begin(), names.end(), std::mt19937{1});
    return names;
}

util::SharedPtr<QuorServices> listOf(const Names& names)
{
    auto list = std::make_shared<QuorServices>();
    for (const auto& name : names) {
        list->push_back(std::make_shared<QuorService>(QuorService{std::make_shared<std::string>(name)}));
    }
    return list;
}

void update(benchmark::State& state)
{
    const auto count = state.range(0);
    NoDispatcher dispatcher;
    ids::CVoice sensor{dispatcher};
    const std::vector<util::SharedPtr<QuorServices>> lists{listOf(shuffledNames(count, 0)),
                                                           listOf(shuffledNames(count, count / 100))};
    std::size_t round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto list = std::make_shared<QuorServices>(*lists[round++ % 2]);
        state.ResumeTiming();
        sensor.updateQuorServices(list, true);
    }
}
BENCHMARK(update)->Arg(1000);

void bareSortAndDifferences(benchmark::State& state)
{
    const auto count = state.range(0);
    const auto less = [](const std::string& one, const std::string& other) {
        return strcasecmp(one.c_str(), other.c_str()) < 0;
    };
    auto before = shuffledNames(count, 0);
    std::sort(before.begin(), before.end(), less);
    const auto update = shuffledNames(count, count / 100);
    for (auto _ : state) {
        state.PauseTiming();
        auto now = update;
        Names added;
        Names removed;
        state.ResumeTiming();
        std::sort(now.begin(), now.end(), less);
        std::set_difference(now.begin(), now.end(), before.begin(), before.end(), std::back_inserter(added), less);
        std::set_difference(before.begin(), before.end(), now.begin(), now.end(), std::back_inserter(removed), less);
        benchmark::DoNotOptimize(added.data());
        benchmark::DoNotOptimize(removed.data());
    }
}
BENCHMARK(bareSortAndDifferences)->Arg(1000);

} // namespace

BENCHMARK_MAIN();
