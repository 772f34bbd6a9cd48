#pragma once

#include <string>
#include <string_view>

#include "ReceivedEvent.h"

namespace core_monitor {

/// The content of an event's line besides time, ID and notes. Printable ASCII for any bytes.
struct ShortForm
{
    std::string_view name; ///< at most 12 characters
    const char* colour;    ///< escape sequence of the kind of event
    std::string detail;
};

ShortForm shortForm(const ReceivedEvent& event);

} // namespace core_monitor
