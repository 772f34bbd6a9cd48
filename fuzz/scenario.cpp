// A scenario of the unit simulator or, depending on the first byte, a command. An accepted scenario has its steps in
// order, each with all its fields; any other input is refused with a line that names the place.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Scenario.h"
#include "Steps.h"
#include "support/Input.h"

namespace {

using namespace unit_simulator;

void expect(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

void readFields(const Step& step)
{
    for (const auto& [name, kind, otherwise, help] : step.kind->fields) {
        switch (kind) {
        case Kind::flag:
            step.fields.flag(name);
            break;
        case Kind::seconds:
            expect(step.fields.seconds(name) >= 0);
            break;
        case Kind::number:
            step.fields.number<std::int64_t>(name);
            break;
        case Kind::text:
            step.fields.text(name);
            break;
        case Kind::bytes:
            step.fields.bytes(name);
            break;
        case Kind::texts:
            step.fields.texts(name);
            break;
        case Kind::service:
            expect(std::find(kServices.begin(), kServices.end(), step.fields.word(name)) != kServices.end());
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto kinds = allSteps();
    fuzz_support::Input input{data, size};
    const bool isCommand = size > 0 && *data == '>';
    const auto bytes = input.bytes(size);
    const std::string text{bytes.begin(), bytes.end()};
    try {
        if (isCommand) {
            readFields(readCommand(text.substr(1), kinds));
            return 0;
        }
        const auto scenario = readScenario(text, "file", kinds);
        expect(std::is_sorted(scenario.steps.begin(), scenario.steps.end(),
                              [](const Step& one, const Step& other) { return one.at < other.at; }));
        std::for_each(scenario.steps.begin(), scenario.steps.end(), readFields);
    } catch (const BadInput& problem) {
        expect(isCommand || std::string{problem.what()}.rfind("file:", 0) == 0);
    }
    return 0;
}
