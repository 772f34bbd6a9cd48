#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "STimestamp.h"
#include "event_decoder.h"

/// Text forms of event values for humans and programs. Every result is one line of printable ASCII for any bytes.
namespace core_monitor {

/// "0x000B"
std::string idText(std::uint16_t eventId);

/// Two digits for each byte, without separators.
std::string hexText(std::span<const std::uint8_t> bytes);

/// 16 bytes as an IPv6 address; any other length as hex.
std::string addressText(std::span<const std::uint8_t> bytes);

/// ISO 8601 with this number of digits (0 to 9) for the fraction, "2023-11-14T22:15:23.456Z". Nanoseconds beyond a
/// second are shown as 999999999.
std::string utcText(const ids::STimestamp& time, int digits);

/// utcText; "no time" for a time stamp of zero, "-" for none.
std::string timeText(const std::optional<ids::STimestamp>& time, int digits);

/// Texts are quoted as in JSON: control characters and non-ASCII characters are escaped, invalid UTF-8 is replaced.
std::string valueText(const ids::event_decoder::DecodedField& field);

/// valueText, but a text of one plain word is not quoted. Distinct values have distinct texts.
std::string bareText(const ids::event_decoder::DecodedField& field);

/// The result of valueText and bareText for an empty text.
inline constexpr std::string_view kNoText = "\"\"";

/// At most width characters; trailing dots mark truncation.
std::string cutTo(std::size_t width, const std::string& text);

/// Lines of at most width characters, each indented by 4. The text is split at blanks, and within a word that is longer
/// than a line.
std::string indentedLines(std::size_t width, std::string_view text);

} // namespace core_monitor
