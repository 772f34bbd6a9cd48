#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <memory>

#include "ids/SConntrackInfo.h"

struct nf_conntrack;

namespace ids {

/// What libnetfilter_conntrack has read from connection-tracking messages. Owns the library's object. One thread.
///
/// The library ends the process over an attribute whose size it does not expect. It never sees a foreign message: it
/// reads a copy with nothing but the tuples, of which each attribute has the size that belongs to its type.
class CConntrackObject
{
public:
    CConntrackObject();

    /// False when there was no memory for it; then nothing else may be called.
    bool valid() const { return m_object != nullptr; }

    /// Reads a message of any content, as far as its header says, for a connection-tracking message. What it does not
    /// tell stays as it was. Returns false when it is too short, has an attribute of a wrong size, or is null.
    bool parse(const nlmsghdr* message);

    /// The layer-4 protocol of the original tuple, 0 while unknown.
    std::uint8_t protocol() const;

    /// Stores the family and the addresses of the reply tuple. Returns false when there are none.
    bool readAddresses(SConntrackInfo& info) const;

    /// Stores the ports of the original tuple, or what the protocol has in their place. Returns false when one of them
    /// is 0. A protocol without any stores nothing.
    bool readPorts(SConntrackInfo& info) const;

private:
    struct Release
    {
        void operator()(nf_conntrack* object) const;
    };
    std::unique_ptr<nf_conntrack, Release> m_object;
};

} // namespace ids
