#include "CConntrackObject.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <libmnl/libmnl.h>
#include <libnetfilter_conntrack/libnetfilter_conntrack.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <netinet/in.h>
#include <span>
#include <sys/socket.h>
#include <utility>

#include "io_manager/NetlinkWalk.h"

namespace ids {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kFixedPart = NLMSG_HDRLEN + sizeof(nfgenmsg);
constexpr std::size_t kCopySize = 512; // three tuples of IPv6 take less than 300

/// An attribute that is copied: a value of a fixed size, or one that is made of parts.
struct SAttribute
{
    std::uint16_t type;
    std::size_t size;
    std::span<const SAttribute> parts;
};

constexpr SAttribute kAddresses[] = {
    {CTA_IP_V4_SRC, 4, {}}, {CTA_IP_V4_DST, 4, {}}, {CTA_IP_V6_SRC, 16, {}}, {CTA_IP_V6_DST, 16, {}}};
constexpr SAttribute kProtocol[] = {
    {CTA_PROTO_NUM, 1, {}},       {CTA_PROTO_SRC_PORT, 2, {}},    {CTA_PROTO_DST_PORT, 2, {}},
    {CTA_PROTO_ICMP_ID, 2, {}},   {CTA_PROTO_ICMP_TYPE, 1, {}},   {CTA_PROTO_ICMP_CODE, 1, {}},
    {CTA_PROTO_ICMPV6_ID, 2, {}}, {CTA_PROTO_ICMPV6_TYPE, 1, {}}, {CTA_PROTO_ICMPV6_CODE, 1, {}}};
constexpr SAttribute kTuple[] = {{CTA_TUPLE_IP, 0, kAddresses}, {CTA_TUPLE_PROTO, 0, kProtocol}};
constexpr SAttribute kMessage[] = {
    {CTA_TUPLE_ORIG, 0, kTuple}, {CTA_TUPLE_REPLY, 0, kTuple}, {CTA_TUPLE_MASTER, 0, kTuple}};

bool copyAll(Bytes attributes, std::span<const SAttribute> known, nlmsghdr* copy);

bool copyOne(const SAttribute& attribute, Bytes payload, nlmsghdr* copy)
{
    if (attribute.parts.empty()) {
        return payload.size() == attribute.size &&
               mnl_attr_put_check(copy, kCopySize, attribute.type, payload.size(), payload.data());
    }
    auto* const nest = mnl_attr_nest_start_check(copy, kCopySize, attribute.type);
    if (nest == nullptr || !copyAll(payload, attribute.parts, copy)) {
        return false;
    }
    mnl_attr_nest_end(copy, nest);
    return true;
}

bool copyAll(Bytes attributes, std::span<const SAttribute> known, nlmsghdr* copy)
{
    bool sound = true;
    io_manager::forEachAttribute(attributes, [&](std::uint16_t type, Bytes payload) {
        const auto found =
            std::find_if(known.begin(), known.end(), [type](const SAttribute& one) { return one.type == type; });
        if (found != known.end()) {
            sound = sound && copyOne(*found, payload, copy);
        }
    });
    return sound;
}

template <typename Address>
bool copyAddress(const nf_conntrack* object, nf_conntrack_attr attribute, Address& address)
{
    const auto* const value = nfct_get_attr(object, attribute);
    if (value == nullptr) {
        return false;
    }
    std::memcpy(address.data(), value, address.size());
    return true;
}

// Either is copied, whether the other is there or not.
template <typename Address>
bool copyAddresses(const nf_conntrack* object, std::pair<nf_conntrack_attr, nf_conntrack_attr> attributes,
                   Address& source, Address& destination)
{
    const bool hasSource = copyAddress(object, attributes.first, source);
    return copyAddress(object, attributes.second, destination) && hasSource;
}

bool isZero(const std::array<std::uint8_t, 4>& address)
{
    return address == std::array<std::uint8_t, 4>{};
}

} // namespace

void CConntrackObject::Release::operator()(nf_conntrack* object) const
{
    nfct_destroy(object);
}

CConntrackObject::CConntrackObject() : m_object{nfct_new()} {}

bool CConntrackObject::parse(const nlmsghdr* message)
{
    if (message == nullptr || message->nlmsg_len < kFixedPart) {
        return false;
    }
    const Bytes bytes{reinterpret_cast<const std::uint8_t*>(message), message->nlmsg_len};
    alignas(nlmsghdr) std::array<std::uint8_t, kCopySize> buffer;
    auto* const copy = mnl_nlmsg_put_header(buffer.data());
    copy->nlmsg_type = message->nlmsg_type;
    std::memcpy(mnl_nlmsg_put_extra_header(copy, sizeof(nfgenmsg)), bytes.data() + NLMSG_HDRLEN, sizeof(nfgenmsg));
    return copyAll(bytes.subspan(kFixedPart), kMessage, copy) && nfct_nlmsg_parse(copy, m_object.get()) == 0;
}

std::uint8_t CConntrackObject::protocol() const
{
    return nfct_get_attr_u8(m_object.get(), ATTR_ORIG_L4PROTO);
}

bool CConntrackObject::readAddresses(SConntrackInfo& info) const
{
    const auto* const object = m_object.get();
    info.family = nfct_get_attr_u8(object, ATTR_REPL_L3PROTO);
    switch (info.family) {
    case AF_INET:
        return copyAddresses(object, {ATTR_REPL_IPV4_SRC, ATTR_REPL_IPV4_DST}, info.sourceIpv4, info.destinationIpv4) &&
               !isZero(info.sourceIpv4) && !isZero(info.destinationIpv4);
    case AF_INET6:
        return copyAddresses(object, {ATTR_REPL_IPV6_SRC, ATTR_REPL_IPV6_DST}, info.sourceIpv6, info.destinationIpv6);
    default:
        return false;
    }
}

bool CConntrackObject::readPorts(SConntrackInfo& info) const
{
    const auto* const object = m_object.get();
    switch (protocol()) {
    case IPPROTO_TCP:
    case IPPROTO_UDP:
    case IPPROTO_DCCP:
    case IPPROTO_GRE:
    case IPPROTO_SCTP:
    case IPPROTO_UDPLITE:
        info.sourcePort = nfct_get_attr_u16(object, ATTR_ORIG_PORT_SRC);
        info.destinationPort = nfct_get_attr_u16(object, ATTR_ORIG_PORT_DST);
        return info.sourcePort != 0 && info.destinationPort != 0;
    case IPPROTO_ICMP:
    case IPPROTO_ICMPV6: {
        const std::array<std::uint8_t, 2> typeAndCode{nfct_get_attr_u8(object, ATTR_ICMP_TYPE),
                                                      nfct_get_attr_u8(object, ATTR_ICMP_CODE)};
        info.sourcePort = nfct_get_attr_u16(object, ATTR_ICMP_ID);
        std::memcpy(&info.destinationPort, typeAndCode.data(), typeAndCode.size());
        return typeAndCode[0] != 0 && typeAndCode[1] != 0 && info.sourcePort != 0;
    }
    default:
        return true;
    }
}

} // namespace ids
