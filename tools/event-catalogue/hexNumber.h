#pragma once

#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>

namespace event_catalogue_tool {

/// "0x" and at least this number of digits.
inline std::string hexNumber(std::uint32_t number, int digits)
{
    std::ostringstream text;
    text << "0x" << std::uppercase << std::hex << std::setfill('0') << std::setw(digits) << number;
    return text.str();
}

} // namespace event_catalogue_tool
