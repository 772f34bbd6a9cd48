#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <linux/netlink.h>
#include <span>
#include <type_traits>

namespace io_manager {

/// The one way through netlink data. Lengths come from outside: each is checked here, where it is read, and what a
/// visitor is given lies wholly inside the data. The data may have any alignment.

/// Reads a value from the start of the bytes, which must hold it.
template <typename T>
T load(std::span<const std::uint8_t> bytes)
{
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

/// Messages and attributes start at multiples of 4.
constexpr std::size_t netlinkAligned(std::size_t length)
{
    return (length + 3) & ~std::size_t{3};
}

/// Calls visit(message) with the bytes of each message, header included, up to the first whose length is below that of
/// a header or beyond the data. Returns the offset of the first byte that belongs to no message; it is the size of the
/// data when nothing was cut.
template <typename Visit>
std::size_t forEachMessage(std::span<const std::uint8_t> data, Visit visit)
{
    std::size_t offset = 0;
    while (data.size() - offset >= sizeof(nlmsghdr)) {
        const std::size_t length = load<nlmsghdr>(data.subspan(offset)).nlmsg_len;
        if (length < sizeof(nlmsghdr) || length > data.size() - offset) {
            break;
        }
        visit(data.subspan(offset, length));
        offset = std::min(offset + netlinkAligned(length), data.size());
    }
    return offset;
}

/// Calls visit(type, payload) for each attribute, up to the first whose length is below that of its header or beyond
/// the data. The type comes without its flag bits.
template <typename Visit>
void forEachAttribute(std::span<const std::uint8_t> data, Visit visit)
{
    while (data.size() >= sizeof(nlattr)) {
        const auto header = load<nlattr>(data);
        if (header.nla_len < sizeof(nlattr) || header.nla_len > data.size()) {
            return;
        }
        visit(static_cast<std::uint16_t>(header.nla_type & NLA_TYPE_MASK),
              data.subspan(sizeof(nlattr), header.nla_len - sizeof(nlattr)));
        data = data.subspan(std::min(netlinkAligned(header.nla_len), data.size()));
    }
}

} // namespace io_manager
