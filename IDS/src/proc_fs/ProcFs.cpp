#include "ProcFs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include "ProcFsText.h"
#include "ProcessEntries.h"
#include "io_manager/UniqueFd.h"

namespace ids::proc_fs {
namespace {

constexpr std::size_t kNameSize = 64;
constexpr std::size_t kSearchedNameSize = 32;
constexpr auto kUptime = "/proc/uptime";

using Path = std::array<char, 64>;

Path pathOf(const std::string& pid, const char* file)
{
    Path path;
    std::snprintf(path.data(), path.size(), "/proc/%.32s/%s", pid.c_str(), file);
    return path;
}

/// 0 when the text is not a number from its first character to its last.
std::uint32_t idOf(std::string_view pid)
{
    std::uint32_t id = 0;
    const auto* const end = pid.data() + pid.size();
    const auto result = std::from_chars(pid.data(), end, id);
    return result.ec == std::errc{} && result.ptr == end ? id : 0;
}

/// One file that is read from its beginning. The kernel makes up its contents at each read, so few large ones are best.
class File
{
public:
    explicit File(const char* path) : m_descriptor{::open(path, O_RDONLY | O_CLOEXEC)} {}

    bool isOpen() const { return m_descriptor.valid(); }
    bool failed() const { return m_failed; }

    /// What comes next, at most what the buffer holds; less only at the end of the file, or when a read has failed.
    std::string_view read(std::span<char> buffer)
    {
        std::size_t length = 0;
        while (length < buffer.size()) {
            const auto more = ::read(m_descriptor.get(), buffer.data() + length, buffer.size() - length);
            m_failed = more < 0;
            if (more <= 0) {
                break;
            }
            length += static_cast<std::size_t>(more);
        }
        return {buffer.data(), length};
    }

private:
    const io_manager::UniqueFd m_descriptor;
    bool m_failed = false;
};

} // namespace

std::uint64_t readUptimeSeconds()
{
    File file{kUptime};
    std::array<char, 64> buffer;
    return parseUptimeSeconds(file.read(buffer));
}

std::string readProcessComm(const std::string& pid, std::size_t size)
{
    File file{pathOf(pid, "comm").data()};
    std::array<char, kNameSize> buffer;
    const auto text = file.read(std::span{buffer}.first(std::min(size, kNameSize) - 1));
    return std::string{text.substr(0, text.find('\n'))};
}

std::string getProcessName(std::uint32_t id)
{
    return readProcessComm(std::to_string(id), kNameSize);
}

std::uint32_t findProcess(std::string_view name)
{
    ProcessEntries entries;
    while (const auto* const pid = entries.next()) {
        if (const auto id = idOf(pid); id != 0 && readProcessComm(pid, kSearchedNameSize) == name) {
            return id;
        }
    }
    return 0;
}

bool readProcStat(const std::string& pid, SProcStat& stat)
{
    const auto path = pathOf(pid, "stat");
    File file{path.data()};
    File uptimeFile{kUptime};
    if (!file.isOpen() || !uptimeFile.isOpen()) {
        return false;
    }
    std::array<char, 2048> buffer; // more than the fields can take
    const auto text = file.read(buffer);
    std::array<char, 64> uptimeBuffer;
    const auto uptime = parseUptime(uptimeFile.read(uptimeBuffer));
    if (text.empty() || !uptime) {
        return false;
    }
    if (file.failed() && text.size() < kStatHead) {
        std::fprintf(stderr, "Failed to read %s\n", path.data());
        return false;
    }
    return parseStat(text, *uptime, stat);
}

bool readProcStatus(const std::string& pid, SProcStat& stat)
{
    File file{pathOf(pid, "status").data()};
    if (!file.isOpen()) {
        return false;
    }
    std::array<char, 4096> buffer;
    std::size_t held = 0;
    while (true) {
        const auto room = std::span{buffer}.subspan(held);
        const auto more = file.read(room).size();
        const std::string_view text{buffer.data(), held + more};
        const auto taken = parseStatusLines(text, stat);
        if (more < room.size()) {
            parseStatusLine(text.substr(taken), stat);
            return true;
        }
        held = text.size() - taken;
        std::memmove(buffer.data(), buffer.data() + taken, held);
    }
}

} // namespace ids::proc_fs
