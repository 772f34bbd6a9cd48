#include "CConntrack.h"

#include <arpa/inet.h>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "NlHelpers.h"
#include "io_manager/addressText.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

using io_manager::addressText;

tracing::Channel s_channel{"CON_IDS_CONNTRACK", 7, 2};
constexpr auto kLabel = "ids::CConntrack";

EConntrackStatus statusOf(const nlmsghdr& message)
{
    switch (message.nlmsg_type & 0xFF) {
    case IPCTNL_MSG_CT_NEW:
        return EConntrackStatus::ADD;
    case IPCTNL_MSG_CT_DELETE:
        return EConntrackStatus::DELETE;
    default:
        return EConntrackStatus::UNKNOWN;
    }
}

std::string addressesText(const SConntrackInfo& info)
{
    switch (info.family) {
    case AF_INET:
        return "Family = AF_INET Ip: src=" + addressText(AF_INET, info.sourceIpv4.data()) +
               " dst=" + addressText(AF_INET, info.destinationIpv4.data());
    case AF_INET6:
        return "Family = AF_INET6 Ip: src=" + addressText(AF_INET6, info.sourceIpv6.data()) +
               " dst=" + addressText(AF_INET6, info.destinationIpv6.data()) + ' ';
    default:
        return "No Ip from Conntrack ";
    }
}

const char* textOf(EConntrackStatus status)
{
    switch (status) {
    case EConntrackStatus::ADD:
        return " Msg status = add";
    case EConntrackStatus::DELETE:
        return " Msg status = delete";
    case EConntrackStatus::UNKNOWN:
        break;
    }
    return " Msg status = unknown";
}

std::string textOf(const SConntrackInfo& info)
{
    return addressesText(info) + "sport=" + std::to_string(ntohs(info.sourcePort)) +
           " dport=" + std::to_string(ntohs(info.destinationPort)) + ' ' + info.protocolName + textOf(info.status);
}

} // namespace

CConntrack::CConntrack(const comm::FactoryPtr& factory)
    : m_socket{IDS::NlHelpers::openSocket(AF_NETLINK, NETLINK_NETFILTER, SOCK_RAW)},
      m_protocolNames{{IPPROTO_TCP, "tcp"},   {IPPROTO_UDP, "udp"},       {IPPROTO_UDPLITE, "udplite"},
                      {IPPROTO_ICMP, "icmp"}, {IPPROTO_ICMPV6, "icmpv6"}, {IPPROTO_SCTP, "sctp"},
                      {IPPROTO_GRE, "gre"},   {IPPROTO_DCCP, "dccp"}},
      m_batches{factory, [this](const std::vector<nlmsghdr*>& batch) { ct_event_cb(batch); }}
{}

CConntrack::~CConntrack()
{
    if (m_socket.fd >= 0) {
        IDS::NlHelpers::closeSocket(m_socket.fd);
    }
}

int CConntrack::ct_event_cb(const std::vector<nlmsghdr*>& batch)
{
    CConntrackObject object;
    if (!object.valid()) {
        return -1;
    }
    SConntrackInfo info;
    for (const auto* const message : batch) {
        if (!readMessage(message, object, info)) {
            return -1;
        }
    }
    if (info.family == AF_INET) {
        updateFromCtrk(info);
    }
    return 0;
}

bool CConntrack::readMessage(const nlmsghdr* message, CConntrackObject& object, SConntrackInfo& info)
{
    if (!object.parse(message)) {
        return false;
    }
    info.status = statusOf(*message);
    if (!object.readAddresses(info)) {
        TRACE(s_channel, error, kLabel, "IP address is missing in Netlink message");
    }
    if (!object.readPorts(info)) {
        TRACE(s_channel, error, kLabel, "NAT ID is missing in Netlink message");
    }
    info.protocolName = m_protocolNames[object.protocol()];
    if (info.protocolName.empty()) {
        TRACE(s_channel, error, kLabel, "Protocol is unknown");
    }
    return true;
}

void CConntrack::updateFromCtrk(const SConntrackInfo& info)
{
    notify(&IConntrackListener::updateFromCtrk, info);
    TRACE(s_channel, detail, kLabel, "%s", textOf(info).c_str());
}

} // namespace ids
