#pragma once

#include <cstdint>
#include <fstream>
#include <unistd.h>

namespace test_support {

inline constexpr char kNoOtherAccounts[] = "only the machine's root can act as another account";

/// Whether this process can change to another user: it is root, in a user namespace with more than one account.
inline bool canChangeAccount()
{
    std::uint64_t inside = 0;
    std::uint64_t outside = 0;
    std::uint64_t count = 0;
    std::ifstream{"/proc/self/uid_map"} >> inside >> outside >> count;
    return ::geteuid() == 0 && count > 1;
}

} // namespace test_support
