#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tracing {

/// The severity of a line. Thresholds use the numbers.
enum class Level : std::uint8_t
{
    detail = 0,    ///< details of single events, record dumps
    progress = 1,  ///< routine progress
    milestone = 2, ///< lifecycle, connections, entry of test commands
    warning = 3,   ///< warnings, disabled features
    error = 4,     ///< errors that the daemon survives
    resource = 5   ///< failures of kernel resources
};

/// The threshold above all levels.
constexpr int kNothing = 6;

/// One line for the sinks. The text is one line of printable bytes, valid only during the call.
struct Line
{
    const char* channel;
    Level level;
    std::string_view text;
};

/// Receives the lines of the channels on the logging thread; several threads may call concurrently.
class ISink
{
public:
    virtual ~ISink() = default;
    virtual void write(const Line& line) noexcept = 0;
};

/// The sinks of the process. A channel's mask selects the sinks of its lines.
enum SinkSlot : unsigned
{
    standardError = 0, ///< set from the start
    viewer = 1,
    observer = 2, ///< for tests and tools
    sinkSlots = 3
};

/// Sets the sink of a slot; null clears the slot. The sink must outlive all threads that may log.
void setSink(SinkSlot slot, ISink* sink) noexcept;

/// The initial sink of the standardError slot: one write to file descriptor 2 per line, so that lines of several
/// threads do not mix, with the journal's priority prefix when the descriptor is connected to the journal.
ISink& standardErrorSink() noexcept;

/// The log channel of a module. Every module has one with static storage duration and logs on no other.
///
/// A line is written when its level reaches the channel's threshold or that of the viewer. Each sink applies its own
/// threshold: a change for the viewer neither floods nor silences the journal. The check compares the level with the
/// lower of the two thresholds, at the cost of one relaxed load, before any formatting (see TRACE). Both thresholds may
/// be changed at any time from any thread.
class Channel
{
public:
    /// sinks: one bit for each SinkSlot. threshold: the lowest level that is written, unless the environment variable
    /// TRACING sets another one for this channel.
    Channel(const char* name, unsigned sinks, int threshold) noexcept;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    const char* name() const noexcept { return m_name; }

    /// Of every sink except the viewer.
    int threshold() const noexcept { return m_threshold.load(std::memory_order_relaxed); }
    void setThreshold(int threshold) noexcept;

    /// Of the viewer only, initially kNothing. No effect on a channel whose sinks do not include the viewer.
    void setViewerThreshold(int threshold) noexcept;

    bool passes(Level level) const noexcept
    {
        return m_lowest.load(std::memory_order_relaxed) <= static_cast<int>(level);
    }

    bool reaches(SinkSlot slot) const noexcept { return (m_sinks & (1U << slot)) != 0; }

    /// Formats and writes "<class>::<operation>(<line>): <text>", class and operation truncated to 32 bytes each;
    /// without class only the operation. Control characters become '?', so that external input cannot forge a line. The
    /// text is truncated to about 1000 bytes.
    [[gnu::format(printf, 6, 7)]] void write(Level level, const char* className, const char* operation, int line,
                                             const char* format, ...) const noexcept;

    /// Writes a text that already contains its place, with control characters replaced as above.
    void writeText(Level level, std::string_view text) const noexcept;

    /// The next channel in the list of all channels, null at its end.
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

/// Sets the thresholds of all channels from a text such as "CON_IDS_IDSM=0,*=1": a channel's own entry overrides "*",
/// and a channel with neither gets the threshold of its constructor. Entries that are not NAME=NUMBER are reported on
/// standard error and skipped. Null means no entries. Each channel's constructor reads the environment variable TRACING
/// in the same way.
void setThresholds(const char* text) noexcept;

} // namespace tracing

/// Logs a line if a threshold of the channel permits its level; otherwise the arguments are not evaluated. level is a
/// name of tracing::Level, className the prefix of the enclosing function's name, null for none.
#define TRACE(channel, level, className, ...) TRACE_AT(channel, level, className, __func__, __LINE__, __VA_ARGS__)

/// TRACE with an explicit operation and line: a lambda does not know the function's name, and support tools search for
/// the line number.
#define TRACE_AT(channel, level, className, operation, line, ...)                                                      \
    do {                                                                                                               \
        if ((channel).passes(::tracing::Level::level)) {                                                               \
            (channel).write(::tracing::Level::level, className, operation, line, __VA_ARGS__);                         \
        }                                                                                                              \
    } while (false)
