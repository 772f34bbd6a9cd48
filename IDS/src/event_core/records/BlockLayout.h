#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>

#include "SFieldLayout.h"

/// Blocks of bytes described as constant tables. A table names for each field its place, its kind and where its value
/// comes from. The code that writes the block, the code that reads it and the papers about it are made from the table.
namespace ids {

inline constexpr std::size_t kAddressWidth = 16;
inline constexpr std::size_t kTimeWidth = 10;

/// A field and what its value is read from: a member of the input record or a function of it.
template <typename SourceT>
struct Field
{
    SFieldLayout layout;
    SourceT source;
};

/// The table of a block that is made from an InputT.
template <typename InputT, typename... SourceT>
struct BlockLayout
{
    using Input = InputT;

    std::tuple<Field<SourceT>...> fields;
};

template <typename InputT, typename... SourceT>
consteval BlockLayout<InputT, SourceT...> blockLayout(Field<SourceT>... fields)
{
    return {{fields...}};
}

namespace field {

/// The low width bytes of an unsigned value; width is 1 to 4.
template <typename SourceT>
consteval Field<SourceT> integer(std::string_view name, std::uint16_t offset, std::uint16_t width, SourceT source)
{
    return {{name, offset, width, EFieldKind::integer}, source};
}

/// An integer that shares its bytes with others.
template <typename SourceT>
consteval Field<SourceT> bits(std::string_view name, std::uint16_t offset, std::uint16_t width, std::uint32_t mask,
                              SourceT source)
{
    return {{name, offset, width, EFieldKind::integer, mask}, source};
}

consteval Field<std::nullptr_t> constant(std::string_view name, std::uint16_t offset, std::uint16_t width,
                                         std::uint32_t value)
{
    return {{name, offset, width, EFieldKind::constant, 0, value}, nullptr};
}

/// A string, cut at width.
template <typename SourceT>
consteval Field<SourceT> text(std::string_view name, std::uint16_t offset, std::uint16_t width, SourceT source)
{
    return {{name, offset, width, EFieldKind::text}, source};
}

/// A string, cut at width, that leaves zeros when it is empty.
template <typename SourceT>
consteval Field<SourceT> characters(std::string_view name, std::uint16_t offset, std::uint16_t width, SourceT source)
{
    return {{name, offset, width, EFieldKind::characters}, source};
}

/// A vector of bytes, cut at width.
template <typename SourceT>
consteval Field<SourceT> bytes(std::string_view name, std::uint16_t offset, std::uint16_t width, SourceT source)
{
    return {{name, offset, width, EFieldKind::bytes}, source};
}

/// A vector of bytes that holds an IPv6 address.
template <typename SourceT>
consteval Field<SourceT> address(std::string_view name, std::uint16_t offset, SourceT source)
{
    return {{name, offset, kAddressWidth, EFieldKind::address}, source};
}

/// Milliseconds.
template <typename SourceT>
consteval Field<SourceT> time(std::string_view name, std::uint16_t offset, SourceT source)
{
    return {{name, offset, kTimeWidth, EFieldKind::time}, source};
}

} // namespace field

/// The fields of a table without their sources.
template <const auto& kLayout>
consteval auto fieldsOf()
{
    return std::apply([](const auto&... fields) { return std::array{fields.layout...}; }, kLayout.fields);
}

/// Whether the fields, in ascending order, take each bit of kSize bytes exactly once.
template <std::size_t kSize, std::size_t kCount>
consteval bool tiles(const std::array<SFieldLayout, kCount>& fields)
{
    std::array<std::uint8_t, kSize> taken{};
    std::size_t last = 0;
    for (const SFieldLayout& field : fields) {
        if (field.offset < last || field.offset + field.width > kSize) {
            return false;
        }
        last = field.offset;
        for (unsigned i = 0; i < field.width; ++i) {
            const auto bits =
                static_cast<std::uint8_t>(field.mask == 0 ? 0xFFU : field.mask >> (8U * (field.width - 1U - i)));
            if ((taken[field.offset + i] & bits) != 0) {
                return false;
            }
            taken[field.offset + i] |= bits;
        }
    }
    return std::ranges::all_of(taken, [](std::uint8_t bits) { return bits == 0xFF; });
}

} // namespace ids
