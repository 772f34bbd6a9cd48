#include "ProcFsText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>
#include <type_traits>

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

/// Takes whole numbers from a text as scanf does. The first thing that is no number ends it.
class Numbers
{
public:
    explicit Numbers(std::string_view text) : m_text{text} {}

    template <typename Number>
    Numbers& take(Number& number)
    {
        char* end = nullptr;
        const auto taken = std::is_signed_v<Number> ? static_cast<Number>(std::strtol(m_next, &end, 10))
                                                    : static_cast<Number>(std::strtoul(m_next, &end, 10));
        if (end == m_next) {
            m_next = "";
            return *this;
        }
        number = taken;
        m_next = end;
        return *this;
    }

    Numbers& skip(int count)
    {
        for (std::int64_t skipped = 0; count > 0; --count) {
            take(skipped);
        }
        return *this;
    }

private:
    const std::string m_text;
    const char* m_next = m_text.c_str();
};

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
    Numbers{text}.take(seconds);
    return seconds;
}

bool parseStat(std::string_view text, double uptime, SProcStat& stat)
{
    const auto nameEnd = text.substr(0, kStatHead).rfind(')');
    if (nameEnd == std::string_view::npos) {
        return false;
    }
    Numbers{text.substr(0, nameEnd)}.take(stat.pid);
    stat.uptime = uptime;
    const auto rest = withoutBlanks(text.substr(nameEnd + 1));
    if (rest.empty()) {
        return false;
    }
    stat.state = rest.front();
    Numbers{rest.substr(1)}
        .take(stat.ppid)
        .skip(9)
        .take(stat.utime)
        .take(stat.stime)
        .take(stat.cutime)
        .take(stat.cstime)
        .take(stat.priority)
        .take(stat.nice)
        .take(stat.numThreads)
        .skip(1)
        .take(stat.starttime)
        .take(stat.vsize)
        .skip(15)
        .take(stat.processor);
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
        Numbers{line.substr(kKey.size())}.take(stat.vmRss);
    }
}

} // namespace ids::proc_fs
