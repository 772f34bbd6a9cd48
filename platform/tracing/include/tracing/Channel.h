#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tracing {

/// How much a line matters. The numbers are what thresholds are given in.
enum class Level : std::uint8_t
{
    detail = 0,    ///< per-event detail, record dumps
    progress = 1,  ///< routine progress
    milestone = 2, ///< lifecycle, connections, entry of test commands
    warning = 3,   ///< warnings, switched-off features
    error = 4,     ///< errors the daemon survives
    resource = 5   ///< failures of kernel resources
};

/// The threshold that no level reaches.
constexpr int kNothing = 6;

/// One line on its way to the sinks. The text is one line of printable bytes; it lives only during the call.
struct Line
{
    const char* channel;
    Level level;
    std::string_view text;
};

/// Receives the lines of the channels, on the thread that logs; several threads may call at the same time.
class ISink
{
public:
    virtual ~ISink() = default;
    virtual void write(const Line& line) noexcept = 0;
};

/// The sinks of the process. A channel's mask says which of them get its lines.
enum SinkSlot : unsigned
{
    standardError = 0, ///< in place from the start
    viewer = 1,
    observer = 2, ///< for tests and tools
    sinkSlots = 3
};

/// Puts a sink into a slot, or empties it with null. The sink must stay alive while a thread may log.
void setSink(SinkSlot slot, ISink* sink) noexcept;

/// The sink that is in the standardError slot from the start: one line per write to file descriptor 2, never broken by
/// the lines of other threads, with the journal's priority in front when the descriptor leads to the journal.
ISink& standardErrorSink() noexcept;

/// A module's way into the log. Every module has one with static storage duration and logs on no other.
///
/// A line is written only when its level reaches the channel's threshold, or that of the viewer: each sink gets what it
/// was opened for, so whoever turns the viewer up at night does not flood the journal, and whoever turns it down does
/// not silence it. The check is one relaxed load and one compare of the lower of the two and comes before any
/// formatting (see TRACE). Both thresholds may be changed at any time from any thread.
class Channel
{
public:
    /// sinks: one bit for each SinkSlot. threshold: the lowest level that is written, unless the environment variable
    /// TRACING names another for this channel.
    Channel(const char* name, unsigned sinks, int threshold) noexcept;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    const char* name() const noexcept { return m_name; }

    /// Of every sink but the viewer.
    int threshold() const noexcept { return m_threshold.load(std::memory_order_relaxed); }
    void setThreshold(int threshold) noexcept;

    /// Of the viewer alone, kNothing until a viewer is there. No effect on a channel without the viewer among its
    /// sinks.
    void setViewerThreshold(int threshold) noexcept;

    bool passes(Level level) const noexcept
    {
        return m_lowest.load(std::memory_order_relaxed) <= static_cast<int>(level);
    }

    bool reaches(SinkSlot slot) const noexcept { return (m_sinks & (1U << slot)) != 0; }

    /// Formats and writes "<class>::<operation>(<line>): <text>", class and operation cut at 32 bytes each; without
    /// class only the operation. Control characters become '?', so that nobody's input can forge a line. The text is
    /// cut at about 1000 bytes.
    [[gnu::format(printf, 6, 7)]] void write(Level level, const char* className, const char* operation, int line,
                                             const char* format, ...) const noexcept;

    /// Writes a text that brings its own place, with control characters as above.
    void writeText(Level level, std::string_view text) const noexcept;

    /// The next channel in the list of all, null at its end.
    Channel* next() const noexcept { return m_next; }

private:
    bool wantedBy(SinkSlot slot, Level level) const noexcept;
    void emit(Level level, char* text, std::size_t size) const noexcept;

    const char* const m_name;
    const unsigned m_sinks;
    const int m_defaultThreshold;
    std::atomic<int> m_threshold;
    std::atomic<int> m_viewerThreshold{kNothing};
    std::atomic<int> m_lowest;
    Channel* const m_next;

    friend void setThresholds(const char* text) noexcept;
};

/// The first of all channels of the process.
Channel* firstChannel() noexcept;

/// Sets the thresholds of all channels from a text such as "CON_IDS_IDSM=0,*=1": a channel's own entry wins over "*",
/// and a channel with neither goes back to the threshold of its constructor. Entries that do not read as NAME=NUMBER
/// are reported on standard error and skipped. Null means no entries. The environment variable TRACING is read at the
/// construction of each channel in the same way.
void setThresholds(const char* text) noexcept;

} // namespace tracing

/// Logs a line when the channel lets its level through; otherwise the arguments are not even evaluated.
/// level is a name of tracing::Level, className the text put before the enclosing function's name, null for none.
#define TRACE(channel, level, className, ...) TRACE_AT(channel, level, className, __func__, __LINE__, __VA_ARGS__)

/// TRACE with the operation's name, which a lambda does not know, and the line that support tools look it up by.
#define TRACE_AT(channel, level, className, operation, line, ...)                                                      \
    do {                                                                                                               \
        if ((channel).passes(::tracing::Level::level)) {                                                               \
            (channel).write(::tracing::Level::level, className, operation, line, __VA_ARGS__);                         \
        }                                                                                                              \
    } while (false)
