#pragma once

#include <string>

#include "ReceivedEvent.h"

namespace core_monitor {

/// Writes an event as a line for people: time, ID, name, the fields that say something, and what is odd.
class LineFormat
{
public:
    struct Style
    {
        bool colour = false; ///< for a terminal
        bool hex = false;    ///< adds a line with all bytes
    };

    explicit LineFormat(Style style) : m_style{style} {}

    /// With the line's end.
    std::string operator()(const ReceivedEvent& event) const;

private:
    std::string painted(const char* colour, const std::string& text) const;

    const Style m_style;
};

} // namespace core_monitor
