#include "event_text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

namespace core_monitor {

std::string idText(std::uint16_t eventId)
{
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "0x%04X", unsigned{eventId});
    return text.data();
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

std::string addressText(std::span<const std::uint8_t> bytes)
{
    std::array<char, INET6_ADDRSTRLEN> text;
    if (bytes.size() != sizeof(in6_addr) || inet_ntop(AF_INET6, bytes.data(), text.data(), text.size()) == nullptr) {
        return hexText(bytes);
    }
    return text.data();
}

std::string utcText(const ids::STimestamp& time, int digits)
{
    const std::time_t seconds = time.seconds;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text;
    std::strftime(text.data(), text.size(), "%FT%T", &parts);
    std::array<char, 16> fraction;
    std::snprintf(fraction.data(), fraction.size(), ".%09u", std::min(time.nanoseconds, 999'999'999U));
    return std::string{text.data()} +
           (digits > 0 ? std::string{fraction.data()}.substr(0, 1U + unsigned(digits)) : "") + "Z";
}

std::string quotedText(const std::string& text)
{
    return nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

} // namespace core_monitor
