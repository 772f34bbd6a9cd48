#pragma once

#include <iosfwd>

namespace event_catalogue_tool {

/// Prints the catalogue of all events as a Markdown document.
void printMarkdown(std::ostream& out);

} // namespace event_catalogue_tool
