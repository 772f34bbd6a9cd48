// An event of any domain in the core monitor. JSON must be well-formed, and no byte of the event may start a line.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "JsonFormat.h"
#include "LineFormat.h"
#include "ReceivedEvent.h"
#include "support/Input.h"

namespace {

using namespace core_monitor;
using asi::connectivity::idscore::SecEvent;

void expect(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Sometimes null. Usually of about the regular size of the block.
UInt8Array block(fuzz_support::Input& input, std::size_t size)
{
    const auto kind = input.below(16);
    if (kind == 0) {
        return nullptr;
    }
    const auto bytes = input.bytes(kind == 1 ? input.below(256) : size);
    return std::make_shared<std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
}

/// The given number of lines, without control characters.
bool isPrintable(const std::string& text, std::ptrdiff_t lines)
{
    return text.ends_with('\n') && std::count(text.begin(), text.end(), '\n') == lines &&
           std::none_of(text.begin(), text.end(),
                        [](char byte) { return byte != '\n' && std::iscntrl(static_cast<unsigned char>(byte)) != 0; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::Input input{data, size};
    const auto payload = std::make_shared<SecEvent>();
    const auto flags = input.number<std::uint8_t>();
    payload->eventId = input.number<std::uint16_t>();
    payload->eventFrame = block(input, 8);
    payload->timestamp = block(input, 8);
    payload->contextData = block(input, 1024);

    const ReceivedEvent event{flags == 0xFF ? nullptr : payload, (flags & 1) != 0};
    const auto json = JsonFormat{{.fieldBytes = (flags & 2) != 0}}(event);
    expect(isPrintable(json, 1) && nlohmann::json::accept(json));
    LineFormat format{{}};
    format(event); // the first event of a day adds a line
    expect(isPrintable(format(event), 1));
    const auto text = LineFormat{{.hex = true, .isLong = true}}(event);
    expect(isPrintable(text, std::count(text.begin(), text.end(), '\n')));
    return 0;
}
