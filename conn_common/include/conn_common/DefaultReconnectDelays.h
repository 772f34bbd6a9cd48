#pragma once

#include <chrono>

#include "comm/Proxy.h"

namespace common_ {

/// How long a client waits before it looks for its service again.
struct DefaultReconnectDelays
{
    static constexpr std::chrono::milliseconds afterDeath(const comm::DeathNotice& notice)
    {
        return notice.reason == comm::DeathNotice::refused ? std::chrono::milliseconds{60000}
                                                           : std::chrono::milliseconds{1000};
    }

    static constexpr std::chrono::milliseconds afterFailedConnect{5000};
};

} // namespace common_
