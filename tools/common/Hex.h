#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace tool_support {

/// Bytes in hex, digits in pairs, blanks between the pairs or not; nothing when the text is anything else.
std::optional<std::vector<std::uint8_t>> fromHex(std::string_view text);

} // namespace tool_support
