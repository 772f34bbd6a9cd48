#include "LineFormat.h"

#include <algorithm>
#include <cstddef>

#include "event_text.h"

namespace core_monitor {
namespace {

using ids::EFieldKind;
using ids::event_decoder::DecodedField;

constexpr std::size_t kTimeWidth = 24;
constexpr std::size_t kIdWidth = 6;
constexpr std::size_t kNameWidth = 36;

constexpr char kDim[] = "\033[2m";
constexpr char kBold[] = "\033[1m";
constexpr char kRed[] = "\033[31m";
constexpr char kGap[] = "  ";

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string timeColumn(const ReceivedEvent& event)
{
    if (!event.timestamp) {
        return "-";
    }
    return *event.timestamp == ids::STimestamp{} ? "no time yet" : utcText(*event.timestamp, 3);
}

bool saysSomething(const DecodedField& field)
{
    const auto bytes = field.bytes();
    switch (field.layout().kind) {
    case EFieldKind::constant:
        return false;
    case EFieldKind::text:
    case EFieldKind::characters:
        return !field.text().empty();
    case EFieldKind::bytes:
        return std::ranges::any_of(bytes, [](std::uint8_t byte) { return byte != 0; });
    default:
        return !field.isCut() && !field.layout().name.starts_with("reserved");
    }
}

std::string valueText(const DecodedField& field)
{
    switch (field.layout().kind) {
    case EFieldKind::integer:
    case EFieldKind::constant:
        return std::to_string(field.integer());
    case EFieldKind::text:
    case EFieldKind::characters:
        return quotedText(field.text());
    case EFieldKind::bytes:
        return hexText(field.bytes());
    case EFieldKind::address:
        return addressText(field.bytes());
    case EFieldKind::time:
        return utcText(field.time(), 3);
    }
    return {};
}

std::string fieldsText(const ReceivedEvent& event)
{
    if (event.context.fields.empty()) {
        return event.contextBytes.empty() ? "" : " " + std::to_string(event.contextBytes.size()) + " bytes";
    }
    std::string text;
    for (const auto& field : event.context.fields) {
        if (saysSomething(field)) {
            text += " " + std::string{field.layout().name} + "=" + valueText(field);
        }
    }
    return text;
}

} // namespace

std::string LineFormat::painted(const char* colour, const std::string& text) const
{
    return m_style.colour ? colour + text + "\033[0m" : text;
}

std::string LineFormat::operator()(const ReceivedEvent& event) const
{
    const auto id = event.payload ? idText(event.payload->eventId) : "-";
    std::string line = painted(kDim, padded(timeColumn(event), kTimeWidth)) + kGap +
                       painted(kBold, padded(id, kIdWidth)) + kGap +
                       painted(kBold, padded(std::string{event.name()}, kNameWidth)) + kGap +
                       (event.isRaw ? "raw" : "   ") + fieldsText(event);
    if (const auto note = event.note(); !note.empty()) {
        line += kGap + painted(kRed, "[" + note + "]");
    }
    line.erase(line.find_last_not_of(' ') + 1);
    line += '\n';
    if (m_style.hex) {
        line += std::string(kTimeWidth, ' ') + kGap +
                painted(kDim, "frame " + hexText(event.frameBytes) + kGap + "timestamp " +
                                  hexText(event.timestampBytes) + kGap + "context " + hexText(event.contextBytes)) +
                '\n';
    }
    return line;
}

} // namespace core_monitor
