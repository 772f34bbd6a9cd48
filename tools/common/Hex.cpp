#include "Hex.h"

#include <cctype>
#include <charconv>
#include <system_error>

namespace tool_support {
namespace {

bool isBlank(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

} // namespace

std::optional<std::vector<std::uint8_t>> fromHex(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    for (auto at = text.begin(); at != text.end();) {
        if (isBlank(*at)) {
            ++at;
            continue;
        }
        if (text.end() - at < 2) {
            return std::nullopt;
        }
        std::uint8_t byte = 0;
        const auto [end, error] = std::from_chars(&*at, &*at + 2, byte, 16);
        if (error != std::errc{} || end != &*at + 2) {
            return std::nullopt;
        }
        bytes.push_back(byte);
        at += 2;
    }
    return bytes;
}

} // namespace tool_support
