// Files of /proc, selected by the first byte. CPU shares must be numbers, and the result for a status file must not
// depend on the boundaries of the reads.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "ProcFsText.h"
#include "support/Input.h"

namespace {

using namespace ids::proc_fs;

void stat(std::string_view text, double uptime)
{
    ids::SProcStat stat;
    if (parseStat(text, uptime, stat) && !(std::isfinite(stat.userCpuUsage) && std::isfinite(stat.systemCpuUsage) &&
                                           stat.userCpuUsage >= 0 && stat.systemCpuUsage >= 0))
    {
        std::abort();
    }
}

std::int32_t residentSetSize(std::string_view text, std::size_t part)
{
    ids::SProcStat stat;
    std::string held;
    while (!text.empty()) {
        held += text.substr(0, part);
        text.remove_prefix(std::min(part, text.size()));
        held.erase(0, parseStatusLines(held, stat));
    }
    parseStatusLine(held, stat);
    return stat.vmRss;
}

void status(std::string_view text, std::size_t part)
{
    if (residentSetSize(text, part) != residentSetSize(text, text.size())) {
        std::abort();
    }
}

void uptime(std::string_view text)
{
    const auto seconds = parseUptime(text);
    const auto whole = parseUptimeSeconds(text);
    const bool isPlain = text.size() < 16 && text.find_first_not_of("0123456789. \n") == std::string_view::npos;
    if (isPlain && seconds && static_cast<std::uint64_t>(*seconds) != whole) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::Input input{data, size};
    const auto file = input.below(3);
    const auto seed = input.number<std::uint32_t>();
    const auto bytes = input.bytes(size);
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    if (file == 0) {
        stat(text, seed / 100.0);
    } else if (file == 1) {
        status(text, 1 + seed % 200);
    } else {
        uptime(text);
    }
    return 0;
}
