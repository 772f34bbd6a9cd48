#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "comm/ActiveObject.h"
#include "conn_common/HandOver.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "io_manager/INlEvent.h"
#include "io_manager/UniqueFd.h"
#include "io_manager/util/IoManRunner.h"

namespace common_ {

/// A netlink socket for requests and notifications. The runner's thread reads datagrams and posts them; everything else
/// happens on the active object: requests, and the listeners' calls with what was read.
///
/// Only the request sent last is matched with its answers; those to an earlier one count as unsolicited. While the
/// active object is behind by 64 datagrams nothing is read; what the kernel's buffer cannot hold then is lost and
/// logged. Datagrams of more than 8192 bytes are lost and logged.
class Nl final : public SubjectBase<INlEvent>
{
public:
    /// groups: the mask of multicast groups to receive. Any failure is logged and leaves an object that sends and
    /// receives nothing.
    Nl(const comm::FactoryPtr& factory, int protocol, std::uint32_t groups,
       std::shared_ptr<io_manager::IoManRunner> runner);

    /// On the active object, or after its end.
    ~Nl() override;

    /// Sends a message of this type with NLM_F_REQUEST and the given flags and remembers it under the name. Returns its
    /// sequence number, which its results will carry, or 0 when it could not be sent.
    std::uint32_t sendRequest(const std::string& name, std::uint16_t type, std::uint16_t flags,
                              std::span<const std::uint8_t> body);

    /// The sequence number of the last request sent under the name, 0 when there is none.
    std::uint32_t sequenceOf(const std::string& name) const;

private:
    struct SDatagram
    {
        std::uint32_t expected;
        std::vector<std::uint8_t> bytes;
    };

    void open(int protocol, std::uint32_t groups);
    void bind(std::uint32_t groups);
    void learnPort();
    void watch();
    void read();
    ssize_t peekLength() const;
    void take(std::size_t length);
    void receive(std::size_t length);
    void deliver(const SDatagram& datagram);

    const std::shared_ptr<io_manager::IoManRunner> m_runner;
    io_manager::UniqueFd m_socket;
    std::uint32_t m_port = 0;
    std::atomic<std::uint32_t> m_sequence{0};
    std::map<std::string, std::uint32_t> m_sequences;
    HandOver<SDatagram> m_received;
};

} // namespace common_
