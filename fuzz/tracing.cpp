// Thresholds from the environment, and log lines with external text. No text may become two lines.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tracing/Channel.h"

namespace {

struct Observer final : tracing::ISink
{
    void write(const tracing::Line& line) noexcept override
    {
        const auto isControl = [](char byte) { return std::iscntrl(static_cast<unsigned char>(byte)) != 0; };
        if (std::any_of(line.text.begin(), line.text.end(), isControl)) {
            std::abort();
        }
    }
};

tracing::Channel s_channel{"CON_FUZZ", 1U << tracing::observer, 2};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Observer observer;
    static const auto* const silence = stderr =
        std::fopen("/dev/null", "w"); // for the messages about invalid thresholds
    static_cast<void>(silence);
    tracing::setSink(tracing::observer, &observer);

    const std::string text{data, data + size};
    tracing::setThresholds(text.c_str());
    s_channel.write(tracing::Level::error, text.c_str(), text.c_str(), 1, "%s", text.c_str());
    s_channel.writeText(tracing::Level::error, text);
    return 0;
}
