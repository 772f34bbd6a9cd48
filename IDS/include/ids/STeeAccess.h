#pragma once

#include <cstdint>
#include <string>

namespace ids {

/// An access to the trusted execution environment.
struct STeeAccess
{
    std::string teeName{};
    std::string appName{};
    std::uint16_t code = 0;
    std::string detail{};
};

} // namespace ids
