#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "STimestamp.h"

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

/// In quotation marks, as JSON writes it: control characters and all but ASCII escaped, what is not UTF-8 replaced.
std::string quotedText(const std::string& text);

} // namespace core_monitor
