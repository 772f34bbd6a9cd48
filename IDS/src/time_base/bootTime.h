#pragma once

#include <cstdint>
#include <optional>

namespace ids {

/// Milliseconds since boot, time in suspend included, modulo 2^32 (it starts again after 49 days). Nothing when the
/// clock cannot be read; errno tells why.
std::optional<std::uint32_t> readMillisecondsSinceBoot();

/// The same, 0 when the clock cannot be read.
std::uint32_t millisecondsSinceBoot();

} // namespace ids
