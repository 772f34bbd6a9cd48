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
#include "io_manager/NetlinkSocket.h"
#include "io_manager/util/IoManRunner.h"

namespace common_ {

/// A netlink socket for requests and notifications. The runner's thread reads datagrams and posts them; everything else
/// happens on the active object: requests, and the listeners' calls with what was read.
///
/// Only the request sent last is matched with its answers; those to an earlier one count as unsolicited. While the
/// active object is behind by 64 datagrams nothing is read; what the kernel's buffer cannot hold then is lost and
/// logged. Datagrams of more than 8192 bytes are lost and logged. A dump of which an overrun or a lack of memory has
/// taken a part is requested again, under a new sequence number; one that was refused is not.
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
    /// sequence number, which its results carry, or 0 when it could not be sent.
    std::uint32_t sendRequest(const std::string& name, std::uint16_t type, std::uint16_t flags,
                              std::span<const std::uint8_t> body);

    /// The sequence number of the last request sent under the name, 0 when there is none.
    std::uint32_t sequenceOf(const std::string& name) const;

private:
    /// What was read while answers to a sequence number were expected; without bytes, an overrun.
    struct SDatagram
    {
        std::uint32_t expected;
        std::vector<std::uint8_t> bytes;
    };

    void open(int protocol, std::uint32_t groups);
    void watch();
    void read();
    void take(const io_manager::SNetlinkDatagram& received);
    void post(std::span<const std::uint8_t> bytes);
    void deliver(const SDatagram& datagram);
    void deliverMessage(std::uint32_t expected, std::span<const std::uint8_t> message);
    void endDump(std::uint32_t expected, const nlmsghdr& message);
    void repeatDump(std::uint32_t expected);
    bool sendAs(std::uint32_t& sequence);

    const std::shared_ptr<io_manager::IoManRunner> m_runner;
    io_manager::NetlinkSocket m_socket;
    bool m_overrun = false; ///< of the runner's thread
    std::atomic<std::uint32_t> m_sequence{0};
    std::map<std::string, std::uint32_t> m_sequences;
    std::vector<std::uint8_t> m_request; ///< the one sent last
    bool m_dumping = false;              ///< it is a dump without end or refusal yet
    bool m_incomplete = false;           ///< of that dump, a part is lost
    HandOver<SDatagram> m_received;
};

} // namespace common_
