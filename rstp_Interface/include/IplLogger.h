#pragma once

#include "quor_logger.h"
#include "tracing/Channel.h"

/// Writes the RSTP library's lines to a tracing channel as they are: they bring their own place. From any thread.
class IplLogger final : public quor_logger
{
public:
    explicit IplLogger(const tracing::Channel& channel) : m_channel{channel} {}

    [[gnu::format(printf, 2, 3)]] void detail(const char* format, ...) const override;
    [[gnu::format(printf, 2, 3)]] void progress(const char* format, ...) const override;
    [[gnu::format(printf, 2, 3)]] void milestone(const char* format, ...) const override;
    [[gnu::format(printf, 2, 3)]] void warning(const char* format, ...) const override;
    [[gnu::format(printf, 2, 3)]] void error(const char* format, ...) const override;
    [[gnu::format(printf, 2, 3)]] void resource(const char* format, ...) const override;

private:
    const tracing::Channel& m_channel;
};
