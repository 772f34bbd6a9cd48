#include "ProcFsText.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <string>
#include <system_error>

namespace ids::proc_fs {
namespace {

constexpr std::size_t kLongestLine = 99;
constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr double kTicksPerSecond = 100.0;

std::string_view withoutBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text;
}

// What follows the name in a stat file, from the state to the processor.
constexpr char kStatFields[] = " %c %d %*d %*d %*d %*d %*u %*u %*u %*u %*u %u %u %d %d %d %d %u %*d %u %u %*d %*u %*u "
                               "%*u %*u %*u %*u %*u %*u %*u %*u %*u %*u %*u %*d %d";

void workOutShares(SProcStat& stat)
{
    const double seconds = stat.uptime - stat.starttime / kTicksPerSecond;
    if (!std::isfinite(seconds) || seconds <= 0) {
        return;
    }
    stat.userCpuUsage = stat.utime / kTicksPerSecond * 100.0 / seconds;
    stat.systemCpuUsage = stat.stime / kTicksPerSecond * 100.0 / seconds;
}

} // namespace

std::optional<double> parseUptime(std::string_view text)
{
    text = withoutBlanks(text);
    double seconds = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
    return result.ec == std::errc{} ? std::optional{seconds} : std::nullopt;
}

std::uint64_t parseUptimeSeconds(std::string_view text)
{
    std::uint64_t seconds = 0;
    std::sscanf(std::string{text}.c_str(), "%" SCNu64, &seconds);
    return seconds;
}

bool parseStat(std::string_view text, double uptime, SProcStat& stat)
{
    const auto nameEnd = text.substr(0, kStatHead).rfind(')');
    if (nameEnd == std::string_view::npos) {
        return false;
    }
    const std::string fields{text};
    std::sscanf(fields.c_str(), "%d", &stat.pid);
    stat.uptime = uptime;
    if (std::sscanf(fields.c_str() + nameEnd + 1, kStatFields, &stat.state, &stat.ppid, &stat.utime, &stat.stime,
                    &stat.cutime, &stat.cstime, &stat.priority, &stat.nice, &stat.numThreads, &stat.starttime,
                    &stat.vsize, &stat.processor) == EOF)
    {
        return false;
    }
    workOutShares(stat);
    return true;
}

std::size_t parseStatusLines(std::string_view text, SProcStat& stat)
{
    const auto all = text.size();
    while (true) {
        const auto line = text.substr(0, kLongestLine);
        const auto newline = line.find('\n');
        if (newline == std::string_view::npos && line.size() < kLongestLine) {
            return all - text.size();
        }
        parseStatusLine(line.substr(0, newline), stat);
        text.remove_prefix(newline == std::string_view::npos ? kLongestLine : newline + 1);
    }
}

void parseStatusLine(std::string_view line, SProcStat& stat)
{
    constexpr std::string_view kKey = "VmRSS:";
    if (line.starts_with(kKey)) {
        stat.vmRss = 0;
        std::sscanf(std::string{line.substr(kKey.size())}.c_str(), "%d", &stat.vmRss);
    }
}

} // namespace ids::proc_fs
