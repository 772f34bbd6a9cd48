#include "NfLogDatagram.h"

#include <algorithm>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <netinet/ip6.h>
#include <new>
#include <span>
#include <utility>

#include "CGnssManager.h"
#include "NfLogGroup.h"
#include "io_manager/NetlinkWalk.h"

namespace ids {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kUsualCount = 32; // of packets in a datagram
constexpr std::size_t kPacketHeader = NLMSG_HDRLEN + sizeof(nfgenmsg);

std::uint16_t bigEndian16(Bytes bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint16_t groupOf(Bytes message)
{
    return message.size() < kPacketHeader ? std::uint16_t{0}
                                          : bigEndian16(message.subspan(NLMSG_HDRLEN + offsetof(nfgenmsg, res_id)));
}

// Ports are taken from where TCP and UDP have them, whatever the IPv6 header announces.
void readPacket(Bytes packet, SFirewallStatistics& record)
{
    if (packet.size() < sizeof(ip6_hdr)) {
        return;
    }
    const auto source = packet.subspan(offsetof(ip6_hdr, ip6_src), sizeof(in6_addr));
    const auto destination = packet.subspan(offsetof(ip6_hdr, ip6_dst), sizeof(in6_addr));
    std::copy(source.begin(), source.end(), record.sourceAddress.begin());
    std::copy(destination.begin(), destination.end(), record.destinationAddress.begin());
    const auto ports = packet.subspan(sizeof(ip6_hdr));
    if (ports.size() >= 4) {
        record.sourcePort = bigEndian16(ports);
        record.destinationPort = bigEndian16(ports.subspan(2));
    }
}

// The record may have been used: every member that a packet sets is set.
void readMessage(Bytes message, SFirewallStatistics& record)
{
    const auto group = groupOf(message);
    record.nflogGroup = group;
    record.groupNumber = group;
    record.groupTag = groupTag(group);
    std::fill(record.sourceAddress.begin(), record.sourceAddress.end(), std::uint8_t{0});
    std::fill(record.destinationAddress.begin(), record.destinationAddress.end(), std::uint8_t{0});
    record.sourcePort = 0;
    record.destinationPort = 0;
    record.time = CGnssManager::getInstance()->getGnssTime();
    io_manager::forEachAttribute(message.subspan(std::min(kPacketHeader, message.size())),
                                 [&](std::uint16_t type, Bytes payload) {
                                     if (type == NFULA_PAYLOAD) {
                                         readPacket(payload, record);
                                     }
                                 });
}

} // namespace

SNfLogDatagram parseNfLogDatagram(Bytes bytes, CRecordStore& store)
{
    SNfLogDatagram datagram;
    bool done = false;
    const auto addPacket = [&](Bytes message) {
        const auto type = io_manager::load<nlmsghdr>(message).nlmsg_type;
        done = done || type == NLMSG_DONE;
        if (!done && type != NLMSG_ERROR) {
            auto record = store.take();
            readMessage(message, *record);
            datagram.packets.push_back(std::move(record));
        }
    };
    try {
        datagram.packets.reserve(kUsualCount);
        const auto end = io_manager::forEachMessage(bytes, addPacket);
        datagram.cut = !done && end < bytes.size();
    } catch (const std::bad_alloc&) {
        datagram.noMemory = true;
    }
    return datagram;
}

} // namespace ids
