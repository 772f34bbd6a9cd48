#pragma once

#include <iosfwd>

namespace event_catalogue_tool {

/// Prints the layouts of all events as Lua tables for the dissector.
void printLua(std::ostream& out);

} // namespace event_catalogue_tool
