#pragma once

#include <cstdint>

namespace ids {

/// Milliseconds since boot, time in suspend included, modulo 2^32 (it starts again after 49 days).
std::uint32_t millisecondsSinceBoot();

} // namespace ids
