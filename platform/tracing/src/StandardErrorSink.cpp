#include "tracing/Channel.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <poll.h>
#include <span>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace tracing {
namespace {

// Whether standard error is the stream that the service manager connected to the journal.
bool leadsToJournal()
{
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status;
    unsigned long device = 0;
    unsigned long inode = 0;
    return stream != nullptr && std::sscanf(stream, "%lu:%lu", &device, &inode) == 2 &&
           fstat(STDERR_FILENO, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

// Whether standard error is a regular file: writes to it never wait for a reader.
bool leadsToFile()
{
    struct stat status;
    return fstat(STDERR_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

constexpr std::array<int, 6> kJournalPriority{7, 6, 5, 4, 3, 2}; // debug, info, notice, warning, err, crit

class StandardErrorSink final : public ISink
{
public:
    void write(const Line& line) noexcept override
    {
        std::array<char, 96> head;
        const auto level = static_cast<unsigned>(line.level);
        int length = 0;
        if (m_journal) {
            length = std::snprintf(head.data(), head.size(), "<%d>%s: ", kJournalPriority[level], line.channel);
        } else {
            timespec now;
            clock_gettime(CLOCK_BOOTTIME, &now);
            length = std::snprintf(head.data(), head.size(), "[%6ld.%06ld] %-20s %u ", now.tv_sec, now.tv_nsec / 1000,
                                   line.channel, level);
        }
        char newline = '\n';
        const std::array<iovec, 3> parts{{{head.data(), static_cast<std::size_t>(length)},
                                          {const_cast<char*>(line.text.data()), line.text.size()},
                                          {&newline, 1}}};
        put(parts);
    }

private:
    // A failed write has no other place to be reported. The first attempt writes the line with one system call, without
    // blocking.
    void put(std::span<const iovec> parts) noexcept
    {
        const auto count = static_cast<int>(parts.size());
        if (!m_file && pwritev2(STDERR_FILENO, parts.data(), count, -1, RWF_NOWAIT) >= 0) {
            m_stuck = false;
            return;
        }
        if (m_file || awaitRoom()) {
            [[maybe_unused]] const auto written = writev(STDERR_FILENO, parts.data(), count);
        }
    }

    // A reader that stops reading must not block the process: one line waits up to 50 ms, and lines are lost until
    // there is room.
    bool awaitRoom() noexcept
    {
        constexpr int kPatienceMs = 50;
        pollfd entry{STDERR_FILENO, POLLOUT, 0};
        m_stuck = poll(&entry, 1, m_stuck ? 0 : kPatienceMs) == 0;
        return !m_stuck;
    }

    std::atomic<bool> m_stuck{false};
    const bool m_journal = leadsToJournal();
    const bool m_file = leadsToFile();
};

} // namespace

ISink& standardErrorSink() noexcept
{
    static StandardErrorSink sink;
    return sink;
}

} // namespace tracing
