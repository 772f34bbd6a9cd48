#pragma once

#include <cstdint>
#include <cstring>
#include <linux/netfilter/nfnetlink_log.h>
#include <linux/netlink.h>
#include <vector>

/// Builds datagrams as the kernel would send them.
class NetlinkBytes
{
public:
    struct SAttribute
    {
        std::uint16_t type;
        std::vector<std::uint8_t> payload;
    };

    NetlinkBytes& message(std::uint16_t type, const std::vector<std::uint8_t>& payload, std::uint32_t sequence = 0)
    {
        const nlmsghdr header{static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size()), type, 0, sequence, 0};
        append(&header, sizeof header);
        append(payload.data(), payload.size());
        bytes.resize(NLMSG_ALIGN(bytes.size()));
        return *this;
    }

    NetlinkBytes& reply(std::uint32_t sequence, std::int32_t code)
    {
        std::vector<std::uint8_t> payload(sizeof(nlmsgerr));
        std::memcpy(payload.data(), &code, sizeof code);
        return message(NLMSG_ERROR, payload, sequence);
    }
    NetlinkBytes& ack(std::uint32_t sequence) { return reply(sequence, 0); }

    /// A packet logged to the group.
    NetlinkBytes& packet(std::uint16_t group, const std::vector<SAttribute>& attributes = {})
    {
        NetlinkBytes payload;
        payload.bytes = {10, 0, static_cast<std::uint8_t>(group >> 8), static_cast<std::uint8_t>(group)};
        for (const auto& attribute : attributes) {
            const nlattr header{static_cast<std::uint16_t>(sizeof(nlattr) + attribute.payload.size()), attribute.type};
            payload.append(&header, sizeof header);
            payload.append(attribute.payload.data(), attribute.payload.size());
            payload.bytes.resize(NLMSG_ALIGN(payload.bytes.size()));
        }
        return message(0x0400, payload.bytes);
    }

    /// An IPv6 packet of the given size: source addresses 1, 2, .. 16, destination 101, 102, .. 116, ports 0x1234 and
    /// 0x5678.
    static std::vector<std::uint8_t> ipv6(std::size_t size)
    {
        std::vector<std::uint8_t> packet(44);
        for (std::uint8_t index = 0; index < 16; ++index) {
            packet[8U + index] = static_cast<std::uint8_t>(index + 1);
            packet[24U + index] = static_cast<std::uint8_t>(index + 101);
        }
        packet[40] = 0x12;
        packet[41] = 0x34;
        packet[42] = 0x56;
        packet[43] = 0x78;
        packet.resize(size);
        return packet;
    }

    static void setLength(std::vector<std::uint8_t>& datagram, std::size_t offset, std::uint32_t length)
    {
        std::memcpy(datagram.data() + offset, &length, sizeof length);
    }

    std::vector<std::uint8_t> bytes;

private:
    void append(const void* data, std::size_t size)
    {
        const auto* const start = static_cast<const std::uint8_t*>(data);
        bytes.insert(bytes.end(), start, start + size);
    }
};
