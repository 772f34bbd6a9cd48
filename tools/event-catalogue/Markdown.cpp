#include "Markdown.h"

#include <ostream>
#include <span>
#include <string>

#include "event_catalogue.h"
#include "hexNumber.h"
#include "kindName.h"

namespace event_catalogue_tool {
namespace {

using ids::EFieldKind;
using ids::SFieldLayout;
using ids::event_catalogue::SEventLayout;

constexpr char kIntroduction[] = R"(# Event catalogue

Every security event that the IDS core knows. It is printed from the tables by which the daemon writes its events and
`ids-core-monitor` reads them (`ninja event-docs` prints it anew), so it cannot differ from what is sent.

An event reaches the core as four blocks: its ID, the frame header, the time stamp, and the context data, whose layout
depends on the ID. Offsets and widths are in bytes, offsets from the start of the block. Integers have their most
significant byte first.

| Kind | Meaning |
|---|---|
| integer | unsigned; with a mask, only these bits of it |
| constant | the same in every event |
| text | ends with zeros; `-` all over when there is no text |
| characters | ends with zeros |
| bytes | ends with zeros |
| address | IPv6 |
| time | two zero bytes, nanoseconds and seconds since 1970 (UTC) of four bytes each |
)";

std::string kindText(const SFieldLayout& field)
{
    std::string text{kindName(field.kind)};
    if (field.kind == EFieldKind::constant) {
        text += " " + hexNumber(field.constant, 2 * field.width);
    }
    if (field.mask != 0) {
        text += ", mask " + hexNumber(field.mask, 2 * field.width);
    }
    return text;
}

void printFields(std::ostream& out, std::span<const SFieldLayout> fields)
{
    out << "\n| Offset | Width | Field | Kind |\n|---:|---:|---|---|\n";
    for (const auto& field : fields) {
        out << "| " << field.offset << " | " << field.width << " | " << field.name << " | " << kindText(field)
            << " |\n";
    }
}

void printEvent(std::ostream& out, const SEventLayout& event)
{
    out << "\n### " << hexNumber(event.eventId, 4) << " " << event.name << "\n\n"
        << event.producer << ". " << event.contextDataSize << " bytes.\n";
    printFields(out, event.fields);
}

} // namespace

void printMarkdown(std::ostream& out)
{
    out << kIntroduction << "\n## Events of the daemon\n\n| ID | Name | Bytes | Reported by |\n|---|---|---:|---|\n";
    for (const auto& event : ids::event_catalogue::events()) {
        if (!event.name.empty()) {
            out << "| " << hexNumber(event.eventId, 4) << " | " << event.name << " | " << event.contextDataSize << " | "
                << event.producer << " |\n";
        }
    }
    out << "\n## Events of other domains\n\nThe daemon passes them on as they come. The core knows their sizes:\n\n"
           "| ID | Bytes |\n|---|---:|\n";
    for (const auto& event : ids::event_catalogue::events()) {
        if (event.name.empty()) {
            out << "| " << hexNumber(event.eventId, 4) << " | " << event.contextDataSize << " |\n";
        }
    }
    out << "\n## Frame header\n";
    printFields(out, ids::event_catalogue::frameHeaderFields());
    out << "\n## Time stamp\n";
    printFields(out, ids::event_catalogue::timestampFields());
    out << "\n## Context data\n";
    for (const auto& event : ids::event_catalogue::events()) {
        if (!event.name.empty()) {
            printEvent(out, event);
        }
    }
}

} // namespace event_catalogue_tool
