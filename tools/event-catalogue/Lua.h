#pragma once

#include <iosfwd>

namespace event_catalogue_tool {

/// Prints the layouts of all events as tables of the dissector's language.
void printLua(std::ostream& out);

} // namespace event_catalogue_tool
