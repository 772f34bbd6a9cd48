#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Frames of the RSTP IDS_Event channel: a message ID, the length of the parameters, the parameters.
namespace rstp_peer {

using Bytes = std::vector<std::uint8_t>;

/// The daemon truncates longer frames.
inline constexpr std::size_t kMostRead = 4096;

/// A socket's buffer need not accept longer frames.
inline constexpr std::size_t kLargestFrame = 65536;

/// Parses a line of hex bytes with an optional comment after '#'. Empty for a line without bytes, nullopt for an
/// invalid line.
std::optional<Bytes> fromHexLine(std::string_view line);

/// "01 05 14"
std::string toHex(std::span<const std::uint8_t> bytes);

/// Appends an integer below 2^62 in the fewest bytes: 1, 2, 4 or 8, encoded in the two most significant bits.
void appendInteger(Bytes& to, std::uint64_t value);

/// Message 1, an IDS event, with the event as its parameter 2.
Bytes eventFrame(std::span<const std::uint8_t> event);

/// The least context data that contain the number of a generated event.
inline constexpr std::size_t kLeastContext = 11;

/// An event in the frame of another domain of the car. Bytes 7 to 10 of the context data are its number, big-endian;
/// the following bytes are zero. contextSize: kLeastContext or more. time: UTC milliseconds.
Bytes generatedEvent(std::uint16_t id, std::size_t contextSize, std::uint64_t number, std::uint64_t time);

} // namespace rstp_peer
