#pragma once

#include <array>
#include <cstdint>

namespace ipl {

/// 128-bit identifier. An active-object factory returns its own active object for the nil identifier (all zero).
struct UUID
{
    std::array<std::uint8_t, 16> bytes{};
};

} // namespace ipl
