#pragma once

#include <arpa/inet.h>
#include <array>
#include <string>

namespace io_manager {

/// An address of AF_INET (4 bytes) or AF_INET6 (16 bytes) as text; empty for another family.
inline std::string addressText(int family, const void* address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(family, address, text.data(), text.size());
    return text.data();
}

} // namespace io_manager
