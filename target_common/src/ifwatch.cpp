#include "target_common/ifwatch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <vector>

#include "io_manager/NetlinkWalk.h"
#include "io_manager/addressText.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_CONMAN_IFW", 7, 2};
constexpr auto kClass = "common_::ifwatch";

constexpr auto kAllLinks = "get_all_links1";
constexpr auto kAllAddresses = "get_all_addresses";
constexpr std::size_t kHardwareAddressSize = 6;

// IF_OPER_* of the kernel's linux/if.h, which cannot be included beside net/if.h.
constexpr std::uint32_t kOperationUnknown = 0;
constexpr std::uint32_t kOperationDormant = 5;
constexpr std::uint32_t kOperationUp = 6;

using Bytes = std::span<const std::uint8_t>;

const char* newOrDeleted(bool isNew)
{
    return isNew ? "NEW" : "DEL";
}

// The attributes behind a message's fixed part. False when that part is cut.
template <typename Header>
bool splitBody(Bytes body, Header& header, Bytes& attributes)
{
    if (body.size() < sizeof header) {
        TRACE(s_channel, warning, kClass, "truncated message of %zu bytes", body.size());
        return false;
    }
    header = io_manager::load<Header>(body);
    attributes = body.subspan(std::min(io_manager::netlinkAligned(sizeof header), body.size()));
    return true;
}

std::optional<sockaddr_storage> socketAddress(int family, Bytes bytes)
{
    sockaddr_storage storage{};
    storage.ss_family = static_cast<sa_family_t>(family);
    if (family == AF_INET && bytes.size() == sizeof(in_addr)) {
        std::memcpy(&reinterpret_cast<sockaddr_in&>(storage).sin_addr, bytes.data(), bytes.size());
        return storage;
    }
    if (family == AF_INET6 && bytes.size() == sizeof(in6_addr)) {
        std::memcpy(&reinterpret_cast<sockaddr_in6&>(storage).sin6_addr, bytes.data(), bytes.size());
        return storage;
    }
    return {};
}

template <typename T>
void copyUpTo(Bytes bytes, T& value)
{
    std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
}

struct SLinkAttributes
{
    std::string name;
    std::uint64_t hardwareAddress = 0;
    int operationalState = -1;
};

SLinkAttributes readLinkAttributes(Bytes attributes)
{
    SLinkAttributes link;
    io_manager::forEachAttribute(attributes, [&](std::uint16_t type, Bytes payload) {
        switch (type) {
        case IFLA_ADDRESS:
            if (payload.size() == kHardwareAddressSize) {
                copyUpTo(payload, link.hardwareAddress);
            }
            break;
        case IFLA_IFNAME: {
            const auto* const name = reinterpret_cast<const char*>(payload.data());
            link.name.assign(name, ::strnlen(name, std::min<std::size_t>(payload.size(), IFNAMSIZ)));
            break;
        }
        case IFLA_MTU: {
            std::uint32_t mtu = 0;
            copyUpTo(payload, mtu);
            TRACE_AT(s_channel, detail, kClass, "readLinkAttributes", __LINE__, "mtu: %d", static_cast<int>(mtu));
            break;
        }
        case IFLA_OPERSTATE:
            link.operationalState = payload.empty() ? -1 : payload.front();
            break;
        case IFLA_IFALIAS:
            break;
        default:
            TRACE_AT(s_channel, detail, kClass, "readLinkAttributes", __LINE__, "unhandled link attribute type %d %lx",
                     type, payload.size());
        }
    });
    return link;
}

bool isUp(std::uint32_t operationalState)
{
    return operationalState == kOperationUnknown || operationalState == kOperationDormant ||
           operationalState == kOperationUp;
}

bool isNotified(std::uint8_t flags)
{
    if ((flags & IFA_F_TENTATIVE) != 0) {
        TRACE(s_channel, detail, kClass, "TENTATIVE, won't notify");
        return false;
    }
    if ((flags & IFA_F_DADFAILED) != 0) {
        TRACE(s_channel, warning, kClass, "DADFAILED");
        return false;
    }
    return true;
}

std::string stateName(std::uint16_t state)
{
    switch (state) {
    case NUD_NONE:
        return "NUD_NONE";
    case NUD_INCOMPLETE:
        return "NUD_INCOMPLETE";
    case NUD_REACHABLE:
        return "NUD_REACHABLE";
    case NUD_STALE:
        return "NUD_STALE";
    case NUD_DELAY:
        return "NUD_DELAY";
    case NUD_PROBE:
        return "NUD_PROBE";
    case NUD_FAILED:
        return "NUD_FAILED";
    case NUD_NOARP:
        return "NUD_NOARP";
    case NUD_PERMANENT:
        return "NUD_PERMANENT";
    default:
        return std::to_string(state);
    }
}

} // namespace

ifwatch::ifwatch(const comm::FactoryPtr& factory, Nl& nl)
    : EasyCallAO{factory}, m_nl{nl}, m_names{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)}
{
    TRACE(s_channel, progress, kClass, "ctor");
    m_nl.addListener(this);
    post([this] { request(kAllLinks, RTM_GETLINK, AF_UNSPEC); });
}

void ifwatch::request(const char* name, std::uint16_t type, std::uint8_t family)
{
    const std::array<std::uint8_t, NLMSG_ALIGN(sizeof(rtgenmsg))> body{family};
    m_nl.sendRequest(name, type, NLM_F_DUMP, body);
}

void ifwatch::requestAddresses()
{
    request(kAllAddresses, RTM_GETADDR, AF_INET6);
}

void ifwatch::nl_cmd_result(std::uint32_t sequence, std::int32_t result, const nlmsghdr& message)
{
    TRACE(s_channel, detail, kClass, "nl_cmd_result received seq=%d, result=%d", static_cast<int>(sequence), result);
    if (result < 0) {
        TRACE(s_channel, resource, kClass, "getaddr/-link failed");
        return;
    }
    const bool isLinks = sequence == m_nl.sequenceOf(kAllLinks);
    if (!isLinks && sequence != m_nl.sequenceOf(kAllAddresses)) {
        return;
    }
    if (result == 0) {
        nl_urc(message);
    } else if (isLinks) {
        notify(&IIfwatchListener::linksListed);
        post([this] { requestAddresses(); });
    } else {
        notify(&IIfwatchListener::addressesListed);
    }
}

void ifwatch::nl_urc(const nlmsghdr& message)
{
    const Bytes body{reinterpret_cast<const std::uint8_t*>(&message) + sizeof message,
                     message.nlmsg_len - sizeof message};
    switch (message.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return linkMessage(message.nlmsg_type == RTM_NEWLINK, body);
    case RTM_NEWADDR:
    case RTM_DELADDR:
        return addressMessage(message.nlmsg_type == RTM_NEWADDR, body);
    case RTM_NEWNEIGH:
    case RTM_DELNEIGH:
        return neighbourMessage(message.nlmsg_type == RTM_NEWNEIGH, body);
    default:
        TRACE(s_channel, warning, kClass, "Unknown netlink nlmsg_type %d", message.nlmsg_type);
    }
}

void ifwatch::linkMessage(bool isNew, Bytes body)
{
    ifinfomsg header;
    Bytes attributes;
    if (!splitBody(body, header, attributes)) {
        return;
    }
    const auto link = readLinkAttributes(attributes);
    TRACE(s_channel, milestone, kClass, "RTM_%sLINK: %s (%d) %lx; operstate: %d", newOrDeleted(isNew),
          link.name.c_str(), header.ifi_index, link.hardwareAddress, link.operationalState);
    if (link.name.empty()) {
        TRACE(s_channel, warning, kClass, "empty interface name");
        return;
    }

    IfEvent event;
    event.name = link.name;
    event.hardwareAddress = link.hardwareAddress;
    event.index = static_cast<std::uint32_t>(header.ifi_index);
    event.operationalState = static_cast<std::uint32_t>(link.operationalState);
    if (track(isNew, header.ifi_index, link.name)) {
        event.type = isNew ? IfEvent::arrival : IfEvent::departure;
        notify(&IIfwatchListener::interfaceEvent, event);
    }
    TRACE(s_channel, detail, kClass, "iflist-size %zu", m_interfaces.size());
    if (isNew) {
        event.type = isUp(event.operationalState) ? IfEvent::linkUp : IfEvent::linkDown;
        notify(&IIfwatchListener::interfaceEvent, event);
    }
}

// Whether the table changed.
bool ifwatch::track(bool isNew, std::int32_t index, const std::string& name)
{
    return isNew ? m_interfaces.emplace(index, name).second : m_interfaces.erase(index) != 0;
}

void ifwatch::addressMessage(bool isNew, Bytes body)
{
    ifaddrmsg header;
    Bytes attributes;
    if (!splitBody(body, header, attributes)) {
        return;
    }
    const auto name = nameOf(header.ifa_index);
    std::vector<IfEvent> events;
    io_manager::forEachAttribute(attributes, [&](std::uint16_t type, Bytes payload) {
        if (type != IFA_ADDRESS && type != IFA_LOCAL && type != IFA_BROADCAST && type != IFA_ANYCAST) {
            return;
        }
        const auto address = socketAddress(header.ifa_family, payload);
        if (!address) {
            return;
        }
        TRACE_AT(s_channel, milestone, kClass, "addressMessage", __LINE__,
                 "RTM_%sADDR: \"%s\" (%d) fam: %d, flags: %d, scope:%d %s/%d", newOrDeleted(isNew), name.c_str(),
                 static_cast<int>(header.ifa_index), header.ifa_family, header.ifa_flags, header.ifa_scope,
                 io_manager::addressText(header.ifa_family, payload.data()).c_str(), header.ifa_prefixlen);
        if (isNotified(header.ifa_flags)) {
            IfEvent event;
            event.type = isNew ? IfEvent::addressAdded : IfEvent::addressRemoved;
            event.name = name;
            event.address = *address;
            event.addressFlags = header.ifa_flags;
            event.scope = header.ifa_scope;
            event.index = header.ifa_index;
            events.push_back(std::move(event));
        }
    });
    for (const auto& event : events) {
        notify(&IIfwatchListener::interfaceEvent, event);
    }
}

void ifwatch::neighbourMessage(bool isNew, Bytes body)
{
    ndmsg header;
    Bytes attributes;
    if (!splitBody(body, header, attributes)) {
        return;
    }
    SNeighbourEvent event;
    std::string addressText;
    io_manager::forEachAttribute(attributes, [&](std::uint16_t type, Bytes payload) {
        switch (type) {
        case NDA_DST:
            if (const auto address = socketAddress(header.ndm_family, payload)) {
                event.address = *address;
                addressText = io_manager::addressText(header.ndm_family, payload.data());
            }
            break;
        case NDA_LLADDR:
            copyUpTo(payload, event.linkLayerAddress);
            break;
        case NDA_CACHEINFO:
        case NDA_PROBES:
            break;
        default:
            TRACE_AT(s_channel, progress, kClass, "neighbourMessage", __LINE__, "unhandled attr %u", type);
        }
    });
    event.removed = isNew ? 0 : 1;
    event.interfaceName = nameOf(static_cast<std::uint32_t>(header.ndm_ifindex));
    event.reachable = header.ndm_state == NUD_REACHABLE || header.ndm_state == NUD_STALE;
    TRACE(s_channel, milestone, kClass, "RTM_%sNEIGH: (%d) %s has %016lX on %s (st: %s, flags: %u)",
          newOrDeleted(isNew), event.address.ss_family != AF_UNSPEC ? 1 : 0, addressText.c_str(),
          io_manager::load<std::uint64_t>(event.linkLayerAddress), event.interfaceName.c_str(),
          stateName(header.ndm_state).c_str(), header.ndm_flags);
    notify(&IIfwatchListener::neighbourEvent, event);
}

// The table knows the names of interfaces that are gone, the kernel those of the ones that came later.
std::string ifwatch::nameOf(std::uint32_t index) const
{
    ifreq request{};
    request.ifr_ifindex = static_cast<int>(index);
    if (::ioctl(m_names.get(), SIOCGIFNAME, &request) == 0) {
        return {request.ifr_name, ::strnlen(request.ifr_name, sizeof request.ifr_name)};
    }
    const auto found = m_interfaces.find(static_cast<std::int32_t>(index));
    return found != m_interfaces.end() ? found->second : "";
}

} // namespace common_
