#pragma once

#include <array>
#include <cstdint>

namespace ipl {

/// 128-bit identifier. The nil identifier (all zero) asks an active-object factory for its own active object.
struct UUID
{
    std::array<std::uint8_t, 16> bytes{};
};

} // namespace ipl
