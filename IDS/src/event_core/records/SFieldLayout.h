#pragma once

#include <cstdint>
#include <string_view>

namespace ids {

enum class EFieldKind : std::uint8_t
{
    integer,    ///< most significant byte first
    constant,   ///< an integer that is the same in every event
    text,       ///< zeros after the last character, '-' all over when there is no text
    characters, ///< zeros after the last character
    bytes,      ///< zeros after the last byte
    address,    ///< IPv6
    time        ///< 2 zero bytes, then nanoseconds and seconds of 4 bytes each
};

/// The place of one field in a block of bytes.
struct SFieldLayout
{
    std::string_view name;
    std::uint16_t offset = 0; ///< bytes from the start of the block
    std::uint16_t width = 0;  ///< bytes
    EFieldKind kind = EFieldKind::integer;
    std::uint32_t mask = 0;     ///< the bits of an integer that are the field's, 0 when all are
    std::uint32_t constant = 0; ///< the value of a constant
};

} // namespace ids
