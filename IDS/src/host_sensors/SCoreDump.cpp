#include "SCoreDump.h"

#include <cstdlib>
#include <string_view>
#include <sys/stat.h>

#include "SensorChannels.h"
#include "ids/constants.h"

namespace ids {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kDigitsAndLetters = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool isCorePath(std::string_view path)
{
    return path.starts_with(coreDumpFolder);
}

bool exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

bool consistsOf(std::string_view characters, std::string_view text)
{
    return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

/// <digits>_<digits and letters>_<digits>
std::optional<SCoreDump> parseCoreFileName(std::string_view name)
{
    const auto first = name.find('_');
    const auto last = name.rfind('_');
    if (first == last) {
        return std::nullopt;
    }
    const std::string id{name.substr(0, first)};
    const std::string procName{name.substr(first + 1, last - first - 1)};
    const std::string timestamp{name.substr(last + 1)};
    if (!consistsOf(kDigits, id) || !consistsOf(kDigitsAndLetters, procName) || !consistsOf(kDigits, timestamp)) {
        return std::nullopt;
    }
    return SCoreDump{static_cast<std::int32_t>(std::strtol(id.c_str(), nullptr, 10)), procName, timestamp};
}

} // namespace

void SCoreDump::print() const
{
    TRACE(s_hostSensorChannel, progress, "ids::SCoreDump", "procId: %d, procName: %s, timestamp: %s", procId,
          procName.c_str(), timestamp.c_str());
}

std::optional<SCoreDump> getCoreDump(const std::string& path)
{
    if (!isCorePath(path) || !exists(path)) {
        TRACE(s_hostSensorChannel, error, "ids::CProcMonitor", "Core file path incorrect!");
        return std::nullopt;
    }
    const auto dump = parseCoreFileName(std::string_view{path}.substr(coreDumpFolder.size()));
    if (dump) {
        dump->print();
    }
    return dump;
}

} // namespace ids
