#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "STimestamp.h"
#include "event_decoder.h"

/// How values of events are written for people and programs. Every result is one line of printable ASCII, whatever the
/// bytes are.
namespace core_monitor {

/// "0x000B"
std::string idText(std::uint16_t eventId);

/// Two digits for each byte, nothing between.
std::string hexText(std::span<const std::uint8_t> bytes);

/// 16 bytes as an IPv6 address; bytes of any other number as hex.
std::string addressText(std::span<const std::uint8_t> bytes);

/// ISO 8601 with as many digits of the second (0 to 9), "2023-11-14T22:15:23.456Z". Nanoseconds beyond the second are
/// shown as the last one of it.
std::string utcText(const ids::STimestamp& time, int digits);

/// utcText; "no time" for a time stamp of zero, "-" for none.
std::string timeText(const std::optional<ids::STimestamp>& time, int digits);

/// Texts are in quotation marks, as JSON writes them: control characters and all but ASCII escaped, what is not UTF-8
/// replaced.
std::string valueText(const ids::event_decoder::DecodedField& field);

/// valueText, but a text of one plain word is without its quotation marks. No value can thus pass for another.
std::string bareText(const ids::event_decoder::DecodedField& field);

/// What valueText and bareText make of an empty text.
inline constexpr std::string_view kNoText = "\"\"";

/// At most width characters; dots at the end stand for what is missing.
std::string cutTo(std::size_t width, const std::string& text);

/// Lines of at most width characters, each indented by 4. The text is parted at blanks, and within a word that is
/// longer than a line.
std::string indentedLines(std::size_t width, std::string_view text);

} // namespace core_monitor
