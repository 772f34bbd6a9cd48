#include "event_text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

namespace core_monitor {

std::string idText(std::uint16_t eventId)
{
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "0x%04X", unsigned{eventId});
    return text.data();
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

std::string addressText(std::span<const std::uint8_t> bytes)
{
    std::array<char, INET6_ADDRSTRLEN> text;
    if (bytes.size() != sizeof(in6_addr) || inet_ntop(AF_INET6, bytes.data(), text.data(), text.size()) == nullptr) {
        return hexText(bytes);
    }
    return text.data();
}

std::string utcText(const ids::STimestamp& time, int digits)
{
    const std::time_t seconds = time.seconds;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text;
    std::strftime(text.data(), text.size(), "%FT%T", &parts);
    std::array<char, 16> fraction;
    std::snprintf(fraction.data(), fraction.size(), ".%09u", std::min(time.nanoseconds, 999'999'999U));
    return std::string{text.data()} +
           (digits > 0 ? std::string{fraction.data()}.substr(0, 1U + unsigned(digits)) : "") + "Z";
}

std::string timeText(const std::optional<ids::STimestamp>& time, int digits)
{
    if (!time) {
        return "-";
    }
    return *time == ids::STimestamp{} ? "no time" : utcText(*time, digits);
}

std::string valueText(const ids::event_decoder::DecodedField& field)
{
    using ids::EFieldKind;
    switch (field.layout().kind) {
    case EFieldKind::integer:
    case EFieldKind::constant:
        return std::to_string(field.integer());
    case EFieldKind::text:
    case EFieldKind::characters:
        return nlohmann::json(field.text()).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    case EFieldKind::bytes:
        return hexText(field.bytes());
    case EFieldKind::address:
        return addressText(field.bytes());
    case EFieldKind::time:
        return timeText(field.time(), 3);
    }
    return {};
}

std::string bareText(const ids::event_decoder::DecodedField& field)
{
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:;/@+-";
    auto text = valueText(field);
    if (text.starts_with('"') && text.size() > kNoText.size() && text.find_first_not_of(kPlain, 1) == text.size() - 1) {
        return text.substr(1, text.size() - 2);
    }
    return text;
}

std::string cutTo(std::size_t width, const std::string& text)
{
    const auto dots = std::min<std::size_t>(width, 3);
    return text.size() <= width ? text : text.substr(0, width - dots) + std::string(dots, '.');
}

std::string indentedLines(std::size_t width, std::string_view text)
{
    constexpr std::string_view kIndent = "    ";
    const auto room = width - kIndent.size();
    std::string lines;
    while (!text.empty()) {
        const auto blank = text.size() > room ? text.rfind(' ', room) : text.size();
        const auto end = blank == std::string_view::npos ? room : blank;
        lines.append(kIndent).append(text.substr(0, end)) += '\n';
        text.remove_prefix(end);
        if (text.starts_with(' ')) {
            text.remove_prefix(1);
        }
    }
    return lines;
}

} // namespace core_monitor
