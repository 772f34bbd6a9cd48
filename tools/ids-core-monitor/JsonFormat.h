#pragma once

#include <string>

#include "ReceivedEvent.h"

namespace core_monitor {

/// Formats an event as one JSON object on one line, ASCII only. All objects of a program run have the same members,
/// except "note", which exists only for anomalies.
class JsonFormat
{
public:
    struct Style
    {
        bool fieldBytes = false; ///< adds the bytes of each field
    };

    explicit JsonFormat(Style style) : m_style{style} {}

    /// Includes the newline.
    std::string operator()(const ReceivedEvent& event) const;

private:
    const Style m_style;
};

} // namespace core_monitor
