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

/// More of a frame the daemon does not read.
inline constexpr std::size_t kMostRead = 4096;

/// More than that a socket's buffer need not take.
inline constexpr std::size_t kLargestFrame = 65536;

/// The bytes of a line in hex that may end in a comment after '#', none when there is only that; nothing when the line
/// is anything else.
std::optional<Bytes> fromHexLine(std::string_view line);

/// "01 05 14"
std::string toHex(std::span<const std::uint8_t> bytes);

/// Appends an integer below 2^62 in the fewest bytes: 1, 2, 4 or 8, which the two highest bits of the first tell.
void appendInteger(Bytes& to, std::uint64_t value);

/// Message 1, an IDS event, with the event as its parameter 2.
Bytes eventFrame(std::span<const std::uint8_t> event);

/// Bytes of context data that hold the number of a generated event.
inline constexpr std::size_t kLeastContext = 11;

/// An event as another domain of the car would frame it. Bytes 7 to 10 of the context data are its number, big-endian;
/// what follows is zero. contextSize: kLeastContext or more. time: UTC milliseconds.
Bytes generatedEvent(std::uint16_t id, std::size_t contextSize, std::uint64_t number, std::uint64_t time);

} // namespace rstp_peer
