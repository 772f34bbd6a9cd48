#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FrameSource.h"

namespace rstp_peer {

/// The options of the command line.
struct Options
{
    std::string socketPath = "/tmp/rstp_IDS_Event_sdata";
    std::vector<Bytes> frames;          ///< frames to send, in order
    bool repeats = false;               ///< repeat the frames
    bool generates = false;             ///< generate events instead
    std::uint16_t id = 0xD707;          ///< ID of the generated events
    std::optional<std::size_t> size;    ///< size of their context data, default: the size of the ID
    double rate = 1;                    ///< frames in a second, 0 without a limit
    std::optional<std::uint64_t> count; ///< frames in all
    bool exits = false;                 ///< exit when all has been sent and read
    bool readsInput = false;
    bool verbose = false;
};

inline constexpr int kUsageError = 2;

/// Fills options. Returns the exit status when the program must exit at once: help, version or an error has been
/// printed.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

/// The frames that the options specify, except those from standard input. The options must outlive it.
FrameSource sourceOf(const Options& options);

} // namespace rstp_peer
