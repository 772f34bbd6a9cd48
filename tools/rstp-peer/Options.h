#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FrameSource.h"

namespace rstp_peer {

/// What the command line asks for.
struct Options
{
    std::string socketPath = "/tmp/rstp_IDS_Event_sdata";
    std::vector<Bytes> frames;          ///< to send, in this order
    bool repeats = false;               ///< begin anew after the last of them
    bool generates = false;             ///< events instead of them
    std::uint16_t id = 0xD707;          ///< of the generated events
    std::optional<std::size_t> size;    ///< of their context data, unless it is that of the ID
    double rate = 1;                    ///< frames in a second, 0 without a limit
    std::optional<std::uint64_t> count; ///< frames in all
    bool exits = false;                 ///< when all has been sent and read
    bool readsInput = false;
    bool verbose = false;
};

inline constexpr int kUsageError = 2;

/// Fills options. A value returned is the status to exit with at once: help or version or what is wrong has been
/// printed.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

/// The frames that the options ask for, those from standard input aside. The options must outlive it.
FrameSource sourceOf(const Options& options);

} // namespace rstp_peer
