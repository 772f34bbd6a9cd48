// The iteration over netlink messages and the classification of replies, in both forms that the daemon uses.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "NlHelpers.h"
#include "io_manager/NetlinkWalk.h"
#include "io_manager/NlCheck.h"
#include "support/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::logIntoNothing();

    std::size_t messages = 0;
    const auto end = io_manager::forEachMessage({data, size}, [&](std::span<const std::uint8_t> message) {
        ++messages;
        io_manager::forEachAttribute(message.subspan(sizeof(nlmsghdr)), [](std::uint16_t, auto payload) {
            static_cast<void>(std::count(payload.begin(), payload.end(), 0));
        });
    });
    std::vector<std::uint8_t> buffer{data, data + size};
    const auto headers = IDS::NlHelpers::getNlMsgHdrs(buffer, size);
    const auto check = common_::checkMessages(buffer, 1, 0);
    const auto sorted = check.responses + check.unsolicited;
    if (end > size || headers.size() != messages || sorted > messages) {
        std::abort();
    }
    return 0;
}
