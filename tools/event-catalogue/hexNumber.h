#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

namespace event_catalogue_tool {

/// "0x" and at least so many digits.
inline std::string hexNumber(std::uint32_t number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*X", digits, number);
    return text.data();
}

} // namespace event_catalogue_tool
