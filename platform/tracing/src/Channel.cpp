#include "tracing/Channel.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

namespace tracing {
namespace {

constexpr std::size_t kMostText = 1152;

constinit Channel* g_first = nullptr;
constinit std::array<std::atomic<ISink*>, sinkSlots> g_sinks{};
constinit std::mutex g_thresholds; // held during a change, so that the lower of the two is computed from current values

struct Entry
{
    std::string_view name;
    int threshold;
};

std::optional<Entry> parseEntry(std::string_view text)
{
    const auto equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        return std::nullopt;
    }
    const auto number = text.substr(equals + 1);
    int threshold = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), threshold);
    if (error != std::errc{} || end != number.data() + number.size()) {
        return std::nullopt;
    }
    return Entry{text.substr(0, equals), threshold};
}

// Calls visit for each comma-separated, non-empty part of the text.
template <typename Visit>
void forEachPart(std::string_view text, Visit visit)
{
    while (!text.empty()) {
        const auto comma = std::min(text.find(','), text.size());
        if (comma > 0) {
            visit(text.substr(0, comma));
        }
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
}

int thresholdFor(std::string_view channel, const char* text, int otherwise)
{
    std::optional<int> own;
    std::optional<int> all;
    forEachPart(text != nullptr ? text : "", [&](std::string_view part) {
        if (const auto entry = parseEntry(part)) {
            if (entry->name == channel) {
                own = entry->threshold;
            } else if (entry->name == "*") {
                all = entry->threshold;
            }
        }
    });
    return own.value_or(all.value_or(otherwise));
}

void reportBadEntries(const char* text)
{
    forEachPart(text != nullptr ? text : "", [](std::string_view part) {
        if (!parseEntry(part)) {
            std::fprintf(stderr, "TRACING: \"%.*s\" is not NAME=NUMBER and is skipped\n", static_cast<int>(part.size()),
                         part.data());
        }
    });
}

Channel* enlist(Channel* channel)
{
    return std::exchange(g_first, channel);
}

} // namespace

void setSink(SinkSlot slot, ISink* sink) noexcept
{
    g_sinks[slot].store(sink, std::memory_order_release);
}

Channel::Channel(const char* name, unsigned sinks, int threshold) noexcept
    : m_name{name},
      m_sinks{sinks},
      m_defaultThreshold{threshold},
      m_threshold{thresholdFor(name, std::getenv("TRACING"), threshold)},
      m_lowest{m_threshold.load()},
      m_next{enlist(this)}
{
    if (m_next == nullptr) {
        setSink(standardError, &standardErrorSink());
        reportBadEntries(std::getenv("TRACING"));
    }
}

void Channel::setThreshold(int threshold) noexcept
{
    const std::lock_guard lock{g_thresholds};
    m_threshold = threshold;
    m_lowest = std::min(threshold, m_viewerThreshold.load());
}

void Channel::setViewerThreshold(int threshold) noexcept
{
    if (reaches(viewer)) {
        const std::lock_guard lock{g_thresholds};
        m_viewerThreshold = threshold;
        m_lowest = std::min(threshold, m_threshold.load());
    }
}

void Channel::write(Level level, const char* className, const char* operation, int line, const char* format,
                    ...) const noexcept
{
    std::array<char, kMostText> text;
    const auto clamp = [&text](int length) {
        return static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(text.size()) - 1));
    };
    auto used = clamp(className != nullptr
                          ? std::snprintf(text.data(), text.size(), "%.32s::%.32s(%d): ", className, operation, line)
                          : std::snprintf(text.data(), text.size(), "%.32s(%d): ", operation, line));
    va_list args;
    va_start(args, format);
    const auto room = text.size() - used;
    used = clamp(static_cast<int>(used) + std::max(std::vsnprintf(text.data() + used, room, format, args), 0));
    va_end(args);

    emit(level, text.data(), used);
}

void Channel::writeText(Level level, std::string_view text) const noexcept
{
    std::array<char, kMostText> copy;
    emit(level, copy.data(), text.copy(copy.data(), copy.size()));
}

bool Channel::wantedBy(SinkSlot slot, Level level) const noexcept
{
    const auto& threshold = slot == viewer ? m_viewerThreshold : m_threshold;
    return reaches(slot) && threshold.load(std::memory_order_relaxed) <= static_cast<int>(level);
}

void Channel::emit(Level level, char* text, std::size_t size) const noexcept
{
    const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f'; };
    std::replace_if(text, text + size, isControl, '?');

    const Line out{m_name, level, {text, size}};
    for (const auto slot : {standardError, viewer, observer}) {
        if (ISink* const sink = g_sinks[slot].load(std::memory_order_acquire); sink != nullptr && wantedBy(slot, level))
        {
            sink->write(out);
        }
    }
}

Channel* firstChannel() noexcept
{
    return g_first;
}

void setThresholds(const char* text) noexcept
{
    reportBadEntries(text);
    for (auto* channel = firstChannel(); channel != nullptr; channel = channel->m_next) {
        channel->setThreshold(thresholdFor(channel->m_name, text, channel->m_defaultThreshold));
    }
}

} // namespace tracing
