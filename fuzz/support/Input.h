#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

namespace fuzz_support {

/// The fuzzer's input, consumed from its front. When it is used up, every value is 0 or empty.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_left{data, size} {}

    bool empty() const { return m_left.empty(); }

    std::span<const std::uint8_t> bytes(std::size_t most)
    {
        const auto taken = m_left.first(std::min(most, m_left.size()));
        m_left = m_left.subspan(taken.size());
        return taken;
    }

    template <typename Number>
    Number number()
    {
        Number value{};
        const auto taken = bytes(sizeof value);
        std::copy(taken.begin(), taken.end(), reinterpret_cast<std::uint8_t*>(&value));
        return value;
    }

    /// From 0 to limit - 1.
    std::size_t below(std::size_t limit) { return number<std::uint8_t>() % limit; }

    /// Characters that are valid in a text of the bus.
    std::string text()
    {
        std::string characters;
        for (const auto byte : bytes(number<std::uint8_t>())) {
            characters += static_cast<char>((byte & 0x7F) != 0 ? byte & 0x7F : ' ');
        }
        return characters;
    }

private:
    std::span<const std::uint8_t> m_left;
};

} // namespace fuzz_support
