#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "BlockLayout.h"
#include "STimestamp.h"

/// Writing and reading blocks through their tables. The tables are unrolled at compile time: what runs is one store or
/// copy for each field, at a constant offset.
namespace ids {

template <std::size_t kWidth>
constexpr void storeInteger(std::uint8_t* to, std::uint32_t value)
{
    static_assert(kWidth >= 1 && kWidth <= sizeof(value));
    [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>)
    {
        ((to[kIndex] = static_cast<std::uint8_t>(value >> (8U * (kWidth - 1U - kIndex)))), ...);
    }
    (std::make_index_sequence<kWidth>{});
}

/// The same for the bits of a mask, into zeros.
template <std::size_t kWidth>
constexpr void storeBits(std::uint8_t* to, std::uint32_t value)
{
    [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>)
    {
        ((to[kIndex] |= static_cast<std::uint8_t>(value >> (8U * (kWidth - 1U - kIndex)))), ...);
    }
    (std::make_index_sequence<kWidth>{});
}

/// The integer in the bytes of a field; the low 64 bits when there are more.
constexpr std::uint64_t loadInteger(std::span<const std::uint8_t> bytes, std::uint32_t mask)
{
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value << 8U | byte;
    }
    return mask == 0 ? value : (value & mask) >> std::countr_zero(mask);
}

template <const auto& kLayout, typename InputT>
void encode(std::uint8_t* block, const InputT& input);

template <const auto& kLayout, std::size_t kIndex, typename InputT>
inline void encodeField(std::uint8_t* block, const InputT& input)
{
    constexpr const auto& field = std::get<kIndex>(kLayout.fields);
    constexpr SFieldLayout layout = field.layout;
    std::uint8_t* const slot = block + layout.offset;

    if constexpr (layout.kind == EFieldKind::constant) {
        storeInteger<layout.width>(slot, layout.constant);
    } else if constexpr (layout.kind == EFieldKind::integer && layout.mask == 0) {
        storeInteger<layout.width>(slot, std::invoke(field.source, input));
    } else if constexpr (layout.kind == EFieldKind::integer) {
        const std::uint32_t value = std::invoke(field.source, input);
        storeBits<layout.width>(slot, value << std::countr_zero(layout.mask) & layout.mask);
    } else if constexpr (layout.kind == EFieldKind::time) {
        encode<kTimestamp>(slot + 2, toTimestamp(std::invoke(field.source, input)));
    } else {
        const auto& value = std::invoke(field.source, input);
        if (layout.kind == EFieldKind::text && value.empty()) {
            std::memset(slot, '-', layout.width);
        } else if (value.size() >= layout.width) {
            std::memcpy(slot, value.data(), layout.width);
        } else if (!value.empty()) {
            std::memcpy(slot, value.data(), value.size());
        }
    }
}

/// Writes all fields of a table into a block of zeros.
template <const auto& kLayout, typename InputT>
inline void encode(std::uint8_t* block, const InputT& input)
{
    [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>)
    {
        (encodeField<kLayout, kIndex>(block, input), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<decltype(kLayout.fields)>>{});
}

/// Reads a block of integers back into the record whose members its table names.
template <const auto& kLayout>
inline auto decode(const std::uint8_t* block)
{
    typename std::remove_cvref_t<decltype(kLayout)>::Input record{};
    const auto load = [&]<typename T>(T& member, const SFieldLayout& field) {
        member = static_cast<T>(loadInteger({block + field.offset, field.width}, field.mask));
    };
    std::apply([&](const auto&... fields) { (load(record.*fields.source, fields.layout), ...); }, kLayout.fields);
    return record;
}

} // namespace ids
