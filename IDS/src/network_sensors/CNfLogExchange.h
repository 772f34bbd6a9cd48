#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "INetlinkListener.h"
#include "NfLogDatagram.h"
#include "NfLogGroup.h"

namespace ids {

/// Where the talk with the kernel stands.
enum class NfLogState : std::uint8_t
{
    Bind = 0,    ///< the address family is asked for; where a refusal leaves the sensor for good
    RegGrps = 1, ///< the groups are asked for
    Listen = 2,  ///< at least one group was granted: datagrams are logged packets
    Unbind = 3   ///< no group was granted: nothing more is read
};

/// A request for NFLOG configuration, as the kernel reads it.
using NfLogRequest = std::array<std::uint8_t, 28>;

/// Talks the kernel into sending what the packet filter logs, and reads what it sends. Knows nothing of sockets:
/// requests leave through a function, datagrams come in as bytes. One thread.
class CNfLogExchange
{
public:
    /// Sends a request and returns whether it went out; errno says why not.
    using Send = std::function<bool(const NfLogRequest&)>;
    /// The wall clock in whole seconds: the sequence number of what is sent now.
    using Clock = std::function<std::uint32_t()>;

    CNfLogExchange(Send send, Clock clock, CRecordStore& store);

    /// Asks for the address family. Returns false when the request did not go out.
    bool begin();

    /// Takes what one receive has brought, which may be nothing. port: the socket's, which replies carry. Everything
    /// but logged packets yields an empty result. Only logged packets need memory.
    SNfLogDatagram onReceived(std::span<const std::uint8_t> datagram, std::uint32_t port);

    NfLogState state() const { return m_state; }

private:
    /// The first answer in the datagram to what was sent last: true for an ACK, false for a NACK.
    std::optional<bool> findReply(std::span<const std::uint8_t> datagram, std::uint32_t port) const;

    void onBindReply(std::optional<bool> acknowledged);
    void onGroupReply(std::optional<bool> acknowledged);
    void onUnbindReply(std::optional<bool> acknowledged);
    void requestGroups();
    bool send(std::uint8_t command, std::uint16_t group);

    const Send m_send;
    const Clock m_clock;
    CRecordStore& m_store;
    NfLogState m_state = NfLogState::Bind;
    std::uint32_t m_lastSequence = 0;
    std::uint8_t m_groupReplies = 0;
    bool m_noAck = true;
};

} // namespace ids
