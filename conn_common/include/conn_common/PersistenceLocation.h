#pragma once

#include <cstdint>
#include <string>

namespace persistence {

/// A partition of the unit's persistence service.
struct PersistenceLocation
{
    enum Kind : std::uint32_t
    {
        byNumber = 0,
        byName = 1
    };

    Kind kind = byNumber;
    std::uint32_t number = 0; ///< counts only when the partition goes by it
    std::string name{};       ///< empty when the partition goes by its number

    bool operator==(const PersistenceLocation& other) const
    {
        return kind == other.kind && (kind != byNumber || number == other.number) && name == other.name;
    }
};

} // namespace persistence
