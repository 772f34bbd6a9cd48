// A batch of connection-tracking messages. The parser's library must neither end the process nor return a record that
// is not IPv4.

#include <cstdint>
#include <cstdlib>
#include <sys/socket.h>
#include <vector>

#include "CConntrack.h"
#include "NlHelpers.h"
#include "support/log.h"

namespace {

struct Listener final : common_::ListenerBase<ids::IConntrackListener>
{
    void updateFromCtrk(const ids::SConntrackInfo& info) override
    {
        if (info.family != AF_INET) {
            std::abort();
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::logIntoNothing();

    static ids::CConntrack conntrack{nullptr};
    Listener listener;
    conntrack.addListener(&listener);
    std::vector<std::uint8_t> buffer{data, data + size};
    conntrack.ct_event_cb(IDS::NlHelpers::getNlMsgHdrs(buffer, size));
    return 0;
}
