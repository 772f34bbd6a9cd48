#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ReceivedEvent.h"

namespace core_monitor {

/// A capture file with one packet for each event, at the time of its arrival, with the first link type reserved for
/// private use. A packet begins with 2 bytes each of the event ID, the size of the frame header, the size of the time
/// stamp, and zeros; then follow frame header, time stamp and context data as received.
///
/// Each packet is written immediately, so that the file is complete after a crash.
class PcapngFile
{
public:
    /// Replaces an existing file. Throws std::system_error when it cannot be written.
    explicit PcapngFile(const std::string& path);
    ~PcapngFile();
    PcapngFile(const PcapngFile&) = delete;
    PcapngFile& operator=(const PcapngFile&) = delete;

    /// The event must have a payload. Returns 0 or the errno.
    int write(const ReceivedEvent& event);

private:
    int put(std::uint32_t blockType, const std::vector<std::uint8_t>& body) const;

    const int m_descriptor;
};

} // namespace core_monitor
