#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// A network namespace whose loopback interface is up, for the calling thread and the threads that it starts meanwhile.
/// The destructor returns the thread to its former namespace; the network ends with its last socket.
class NetworkNamespace : iplbase::NonCopyable
{
public:
    NetworkNamespace();
    ~NetworkNamespace();

    /// Whether the system permits it; if not, why returns the reason.
    bool entered() const { return m_why.empty(); }
    const std::string& why() const { return m_why; }

    /// Runs a shell command in the namespace. Returns true when it exits with 0.
    bool run(const std::string& command) const;

private:
    int m_before = -1;
    std::string m_why;
};

/// Sends datagrams of the given payload size to a UDP port of the loopback address. Datagrams dropped by the packet
/// filter count as sent.
void sendUdp(std::uint16_t port, std::size_t count, std::size_t payload = 8);

} // namespace test_support
