#include "LineFormat.h"

#include <algorithm>

#include "ShortForm.h"
#include "event_text.h"

namespace core_monitor {
namespace {

constexpr std::size_t kTimeWidth = 12;
constexpr std::size_t kDayWidth = 10;
constexpr std::size_t kIdWidth = 6;
constexpr std::size_t kNameWidth = 12;

constexpr char kDim[] = "\033[2m";
constexpr char kBold[] = "\033[1m";
constexpr char kRed[] = "\033[31m";
const std::string kGap = "  ";

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string idOf(const ReceivedEvent& event)
{
    return event.payload ? idText(event.payload->eventId) : "-";
}

std::string allFields(const ReceivedEvent& event)
{
    std::string text;
    for (const auto& field : event.context.fields) {
        if (!field.isCut()) {
            text += (text.empty() ? "" : " ") + std::string{field.layout().name} + "=" + valueText(field);
        }
    }
    return text;
}

} // namespace

std::string LineFormat::painted(const char* colour, const std::string& text) const
{
    return m_style.colour ? colour + text + "\033[0m" : text;
}

std::string LineFormat::operator()(const ReceivedEvent& event)
{
    auto text = m_style.isLong ? longText(event) : shortText(event);
    if (m_style.hex) {
        text += painted(kDim, indentedLines(m_width, "frame " + hexText(event.frameBytes) + " timestamp " +
                                                         hexText(event.timestampBytes) + " context " +
                                                         hexText(event.contextBytes)));
    }
    return text;
}

std::string LineFormat::shortText(const ReceivedEvent& event)
{
    auto [name, colour, detail] = shortForm(event);
    auto time = timeText(event.timestamp, 3);
    std::string dayLine;
    if (time.size() > kTimeWidth) {
        const auto day = time.substr(0, kDayWidth);
        time = time.substr(kDayWidth + 1, kTimeWidth);
        if (day != m_day && event.isRaw) {
            detail.insert(0, day + " ");
        } else if (day != m_day) {
            m_day = day;
            dayLine = painted(kBold, day + " UTC") + '\n';
        }
    }
    const auto room = m_width - kTimeWidth - kIdWidth - kNameWidth - 3 * kGap.size();
    const auto note = event.notes.empty() ? "" : cutTo(room, "[" + event.note() + "]");
    const auto taken = note.empty() ? 0 : std::min(room, note.size() + kGap.size());
    detail = cutTo(room - taken, detail);
    const auto gap = detail.empty() || note.empty() ? "" : kGap;
    auto line = painted(kDim, padded(time, kTimeWidth)) + kGap +
                painted(colour, padded(idOf(event), kIdWidth) + kGap + padded(std::string{name}, kNameWidth)) + kGap +
                detail + gap + (note.empty() ? note : painted(kRed, note));
    line.erase(line.find_last_not_of(' ') + 1);
    return dayLine + line + '\n';
}

std::string LineFormat::longText(const ReceivedEvent& event) const
{
    auto text = painted(kDim, timeText(event.timestamp, 3)) + kGap +
                painted(kBold, idOf(event) + kGap + std::string{event.name()}) + '\n';
    if (event.isRaw) {
        text += indentedLines(m_width, shortForm(event).detail);
    }
    text += indentedLines(m_width, allFields(event));
    return event.notes.empty() ? text : text + painted(kRed, indentedLines(m_width, "[" + event.note() + "]"));
}

} // namespace core_monitor
