#pragma once

#include <string>

#include "ReceivedEvent.h"

namespace core_monitor {

/// Writes an event as one JSON object on a line of its own, ASCII only. The objects of one program run all have the
/// same members, but for "note", which is there when something is odd.
class JsonFormat
{
public:
    struct Style
    {
        bool fieldBytes = false; ///< adds the bytes of each field
    };

    explicit JsonFormat(Style style) : m_style{style} {}

    /// With the line's end.
    std::string operator()(const ReceivedEvent& event) const;

private:
    const Style m_style;
};

} // namespace core_monitor
