#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace tool_support {

/// Parses pairs of hex digits, with or without blanks between the pairs; nullopt for any other text.
std::optional<std::vector<std::uint8_t>> fromHex(std::string_view text);

} // namespace tool_support
