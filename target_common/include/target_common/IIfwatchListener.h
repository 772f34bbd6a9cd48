#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <sys/socket.h>

namespace common_ {

/// What happened to an interface.
struct IfEvent
{
    enum Type : std::uint32_t
    {
        arrival = 0,
        departure = 1,
        linkUp = 2,
        linkDown = 3,
        addressAdded = 6,
        addressRemoved = 7
    };

    std::uint32_t type = arrival;
    std::string name;
    sockaddr_storage address{};        ///< of address events, AF_INET or AF_INET6; AF_UNSPEC otherwise
    std::uint64_t hardwareAddress = 0; ///< of events of a link: its 6 bytes as they lie in memory, then two 0
    std::uint32_t addressFlags = 0;    ///< of address events: IFA_F_*, the low 8 bits
    std::uint32_t scope = 0;           ///< of address events: RT_SCOPE_*
    std::uint32_t index = 0;
    std::uint32_t operationalState =
        0; ///< of events of a link: IF_OPER_*, the greatest number when the kernel told none
};

/// What is known now of a neighbour on a link.
struct SNeighbourEvent
{
    std::uint8_t removed = 0;
    std::string interfaceName;
    std::array<std::uint8_t, 8> linkLayerAddress{}; ///< as many bytes as it has, then 0
    sockaddr_storage address{};                     ///< AF_UNSPEC when the kernel told none
    bool reachable = false;                         ///< NUD_REACHABLE or NUD_STALE
};

/// Follows the unit's network interfaces, on the watcher's active object.
class IIfwatchListener
{
public:
    virtual ~IIfwatchListener() = default;

    virtual void interfaceEvent(const IfEvent& event) = 0;

    /// All links, and then all IPv6 addresses, that were there at the start have been told of.
    virtual void linksListed() = 0;
    virtual void addressesListed() = 0;

    virtual void neighbourEvent(const SNeighbourEvent& event) = 0;
};

} // namespace common_
