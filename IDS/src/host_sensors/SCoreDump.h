#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ids {

/// What the name of a core file tells.
struct SCoreDump
{
    std::int32_t procId = 0;
    std::string procName;
    std::string timestamp;

    void print() const;
};

/// Reads the name of the core file at the path. Nothing when there is no such file in the folder for core files, or
/// when it is named otherwise; the log tells why.
std::optional<SCoreDump> getCoreDump(const std::string& path);

} // namespace ids
