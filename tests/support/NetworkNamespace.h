#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A network of its own, with only a loopback that is up, for the calling thread and the threads that it starts
/// meanwhile. Destroying it leads the thread back; the network ends with its last socket.
class NetworkNamespace : iplbase::NonCopyable
{
public:
    NetworkNamespace();
    ~NetworkNamespace();

    /// Whether the system permits it; if not, why says what it refused.
    bool entered() const { return m_why.empty(); }
    const std::string& why() const { return m_why; }

    /// Runs a shell command in the network. Returns true when it exits with 0.
    bool run(const std::string& command) const;

private:
    int m_before = -1;
    std::string m_why;
};

/// Sends datagrams of the given payload size to a UDP port of the loopback. What a packet filter drops counts as sent.
void sendUdp(std::uint16_t port, std::size_t count, std::size_t payload = 8);

} // namespace test_support
