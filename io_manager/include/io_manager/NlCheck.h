#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace common_ {

/// What a message is to the sender of a request.
enum class ENlMessage : std::uint8_t
{
    unsolicited,
    response,
    acknowledged,
    truncated, ///< too short to show whether the request is granted
    end,       ///< of a dump
    refused    ///< the request has failed
};

/// The message, which must start at a multiple of 4 and be as long as its header requires, seen by the socket with the
/// port that expects answers to the sequence number, 0 for none.
ENlMessage classify(std::span<const std::uint8_t> message, std::uint32_t expected, std::uint32_t port);

/// What a datagram holds for the sender of a request.
struct SNlCheck
{
    std::int32_t result = 0;   ///< 0 so far good, 1 end of a dump, -1 the request failed
    std::size_t responses = 0; ///< an acknowledgement is none
    std::size_t unsolicited = 0;
};

/// Counts and logs the messages of a datagram, which must start at a multiple of 4.
SNlCheck checkMessages(std::span<const std::uint8_t> datagram, std::uint32_t expected, std::uint32_t port);

} // namespace common_
