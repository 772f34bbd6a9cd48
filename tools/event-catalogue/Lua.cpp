#include "Lua.h"

#include <ostream>
#include <span>

#include "event_catalogue.h"
#include "hexNumber.h"
#include "kindName.h"

namespace event_catalogue_tool {
namespace {

using ids::SFieldLayout;

void printFields(std::ostream& out, std::span<const SFieldLayout> fields, const char* indentation)
{
    for (const auto& field : fields) {
        out << indentation << "{name = \"" << field.name << "\", offset = " << field.offset
            << ", width = " << field.width << ", kind = \"" << kindName(field.kind) << "\"";
        if (field.mask != 0) {
            out << ", mask = " << hexNumber(field.mask, 2 * field.width);
        }
        out << "},\n";
    }
}

void printBlock(std::ostream& out, const char* name, std::span<const SFieldLayout> fields)
{
    out << "local " << name << " = {\n";
    printFields(out, fields, "    ");
    out << "}\n";
}

} // namespace

void printLua(std::ostream& out)
{
    printBlock(out, "frame_header", ids::event_catalogue::frameHeaderFields());
    printBlock(out, "timestamp", ids::event_catalogue::timestampFields());
    out << "local events = {\n";
    for (const auto& event : ids::event_catalogue::events()) {
        if (event.name.empty()) {
            continue;
        }
        out << "    [" << hexNumber(event.eventId, 4) << "] = {name = \"" << event.name << "\", producer = \""
            << event.producer << "\", fields = {\n";
        printFields(out, event.fields, "        ");
        out << "    }},\n";
    }
    out << "}\n\n";
}

} // namespace event_catalogue_tool
