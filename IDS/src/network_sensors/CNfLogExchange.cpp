#include "CNfLogExchange.h"

#include <cerrno>
#include <cstring>
#include <endian.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <sys/socket.h>
#include <utility>

#include "NlHelpers.h"
#include "SensorChannels.h"
#include "io_manager/NetlinkSocket.h"
#include "io_manager/NetlinkWalk.h"

namespace ids {
namespace {

constexpr auto kClass = "ids::CNfLogExchange";

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint16_t kConfigMessage = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_CONFIG;

NfLogRequest makeRequest(std::uint8_t command, std::uint16_t group, std::uint32_t sequence)
{
    struct SRequest
    {
        nlmsghdr header{};
        nfgenmsg family{AF_INET6, NFNETLINK_V0, 0};
        nlattr attribute{sizeof(nlattr) + sizeof(nfulnl_msg_config_cmd), NFULA_CFG_CMD};
        nfulnl_msg_config_cmd command{};
        std::array<std::uint8_t, 3> padding{};
    };
    static_assert(sizeof(SRequest) == std::tuple_size_v<NfLogRequest>);

    SRequest request;
    IDS::NlHelpers::setNlMsgHdr(NLM_F_REQUEST | NLM_F_ACK, request.header, sizeof request, kConfigMessage, 0, sequence);
    request.family.res_id = htobe16(group);
    request.command.command = command;
    NfLogRequest bytes;
    std::memcpy(bytes.data(), &request, sizeof request);
    return bytes;
}

} // namespace

CNfLogExchange::CNfLogExchange(Send send, Clock clock, CRecordStore& store)
    : m_send{std::move(send)}, m_clock{std::move(clock)}, m_store{store}
{}

bool CNfLogExchange::begin()
{
    TRACE(s_sensorChannel, progress, kClass, "Bind IP address family.");
    m_lastSequence = m_clock();
    return send(NFULNL_CFG_CMD_PF_BIND, 0);
}

SNfLogDatagram CNfLogExchange::onReceived(Bytes datagram, std::uint32_t port)
{
    switch (m_state) {
    case NfLogState::Bind:
        onBindReply(findReply(datagram, port));
        break;
    case NfLogState::RegGrps:
        onGroupReply(findReply(datagram, port));
        break;
    case NfLogState::Listen:
        TRACE(s_sensorChannel, progress, kClass, "NFLOG update received.");
        return parseNfLogDatagram(datagram, m_store);
    case NfLogState::Unbind:
        onUnbindReply(findReply(datagram, port));
        break;
    }
    return {};
}

std::optional<bool> CNfLogExchange::findReply(Bytes datagram, std::uint32_t port) const
{
    constexpr std::size_t kShortestError = NLMSG_HDRLEN + sizeof(std::int32_t);
    std::optional<bool> acknowledged;
    io_manager::forEachMessage(datagram, [&](Bytes message) {
        const auto header = io_manager::load<nlmsghdr>(message);
        if (!acknowledged && IDS::NlHelpers::isNlMsgError(&header) && message.size() >= kShortestError &&
            io_manager::isAnswer(header, m_lastSequence, port))
        {
            acknowledged = io_manager::load<std::int32_t>(message.subspan(NLMSG_HDRLEN)) == 0;
        }
    });
    return acknowledged;
}

void CNfLogExchange::onBindReply(std::optional<bool> acknowledged)
{
    if (!acknowledged) {
        return;
    }
    if (!*acknowledged) {
        TRACE(s_sensorChannel, error, kClass, "NACK received!");
        return;
    }
    requestGroups();
    m_state = NfLogState::RegGrps;
}

void CNfLogExchange::requestGroups()
{
    TRACE(s_sensorChannel, progress, kClass, "Register NFLOG groups.");
    // One number for all: were the clock to move on between two requests, the replies to the first would be lost.
    m_lastSequence = m_clock();
    for (const auto group : kBoundGroups) {
        const auto number = static_cast<std::uint8_t>(group);
        if (!send(NFULNL_CFG_CMD_BIND, number)) {
            TRACE(s_sensorChannel, progress, kClass, "Can't register group %u! errno: %s", number,
                  std::strerror(errno));
        }
    }
}

void CNfLogExchange::onGroupReply(std::optional<bool> acknowledged)
{
    if (!acknowledged) {
        return;
    }
    ++m_groupReplies;
    if (*acknowledged) {
        m_noAck = false;
    } else {
        TRACE(s_sensorChannel, error, kClass, "NACK received!");
    }
    if (m_groupReplies < kBoundGroups.size()) {
        return;
    }
    if (!m_noAck) {
        m_groupReplies = 0;
        m_state = NfLogState::Listen;
        return;
    }
    TRACE(s_sensorChannel, progress, kClass, "Unbind IP address family.");
    m_lastSequence = m_clock();
    send(NFULNL_CFG_CMD_PF_UNBIND, 0);
    m_state = NfLogState::Unbind;
}

void CNfLogExchange::onUnbindReply(std::optional<bool> acknowledged)
{
    if (!acknowledged) {
        return;
    }
    if (*acknowledged) {
        TRACE(s_sensorChannel, progress, kClass, "ACK received.");
    } else {
        TRACE(s_sensorChannel, error, kClass, "NACK received.");
    }
}

bool CNfLogExchange::send(std::uint8_t command, std::uint16_t group)
{
    return m_send(makeRequest(command, group, m_lastSequence));
}

} // namespace ids
