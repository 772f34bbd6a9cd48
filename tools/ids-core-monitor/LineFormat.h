#pragma once

#include <cstddef>
#include <string>

#include "ReceivedEvent.h"

namespace core_monitor {

/// Formats an event in printable ASCII: as one line with time of day, ID, short name, the main values and anomalies; or
/// with all fields, indented. A new day is shown on a line of its own for the daemon's events, and in the event's line
/// for those of other domains.
class LineFormat
{
public:
    struct Style
    {
        bool colour = false; ///< for a terminal
        bool hex = false;    ///< adds all bytes, indented
        bool isLong = false; ///< all fields
    };

    static constexpr std::size_t kUsualWidth = 100;
    static constexpr std::size_t kLeastWidth = 60;

    explicit LineFormat(Style style) : m_style{style} {}

    /// At least kLeastWidth.
    void setWidth(std::size_t width) { m_width = width; }

    /// Includes the newlines.
    std::string operator()(const ReceivedEvent& event);

private:
    std::string shortText(const ReceivedEvent& event);
    std::string longText(const ReceivedEvent& event) const;
    std::string painted(const char* colour, const std::string& text) const;

    const Style m_style;
    std::size_t m_width = kUsualWidth;
    std::string m_day; // of the daemon's last event with a time
};

} // namespace core_monitor
