#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "BlockLayout.h"

/// Context data: 3 bytes of length and a header of 4 bytes, which SEvent writes, then the fields of the event's type. A
/// type that begins its fields right after the length has no header.
namespace ids {

inline constexpr SFieldLayout kLengthField{"length", 0, 3, EFieldKind::constant};
inline constexpr SFieldLayout kContextHeaderField{"contextHeader", 3, 4, EFieldKind::constant, 0, 1};

/// The length word of context data of that many bytes: those after the word, and the top bit.
constexpr std::uint32_t lengthWord(std::size_t contextDataSize)
{
    return 0x80'0000U | static_cast<std::uint32_t>(contextDataSize - kLengthField.width);
}

/// The context data of one type of event.
template <typename InputT, typename... SourceT>
struct EventLayout : BlockLayout<InputT, SourceT...>
{
    std::string_view name;
    std::uint16_t eventId;
    std::string_view producer; ///< class and occasion

    consteval std::size_t size() const
    {
        const SFieldLayout& last = std::get<sizeof...(SourceT) - 1>(this->fields).layout;
        return last.offset + last.width;
    }

    consteval bool hasContextDataHeader() const
    {
        return std::get<0>(this->fields).layout.offset > kContextHeaderField.offset;
    }
};

template <typename InputT, typename... SourceT>
consteval EventLayout<InputT, SourceT...> eventLayout(std::string_view name, std::uint16_t eventId,
                                                      std::string_view producer, Field<SourceT>... fields)
{
    return {{{fields...}}, name, eventId, producer};
}

/// All fields of the context data, those that all types have in common included.
template <const auto& kLayout>
consteval auto contextFieldsOf()
{
    constexpr auto own = fieldsOf<kLayout>();
    constexpr std::size_t common = kLayout.hasContextDataHeader() ? 2 : 1;
    std::array<SFieldLayout, common + own.size()> fields{kLengthField};
    fields[0].constant = lengthWord(kLayout.size());
    if constexpr (kLayout.hasContextDataHeader()) {
        fields[1] = kContextHeaderField;
    }
    std::ranges::copy(own, fields.begin() + common);
    return fields;
}

} // namespace ids
