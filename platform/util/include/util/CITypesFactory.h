#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "util/SharedPtr.h"

/// A byte array as it travels on the unit's bus. The handle may be null: the array is then absent.
using UInt8Array = util::SharedPtr<std::vector<std::uint8_t>>;

/// Makes bus data types.
class CITypesFactory
{
public:
    /// A byte array of the given size, all zero; null when there is no memory.
    static UInt8Array createUInt8Array(std::size_t size) noexcept
    {
        try {
            return UInt8Array{new (std::nothrow) std::vector<std::uint8_t>(size)};
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
};
