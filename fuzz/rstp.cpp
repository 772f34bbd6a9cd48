// A frame of the car domain. The delivered bytes must be a part of the frame.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "IDS_Event/CInterface.h"
#include "IplLogger.h"
#include "RstpChannel.h"
#include "support/log.h"

namespace {

struct Incoming final : IIDS_EventIncoming
{
    void onConnectionStateChanged(bool) override {}

    void onIdsEvent(std::vector<std::uint8_t> payload) override
    {
        if (std::search(frame.begin(), frame.end(), payload.begin(), payload.end()) == frame.end() && !payload.empty())
        {
            std::abort();
        }
    }

    std::vector<std::uint8_t> frame;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::logIntoNothing();

    Incoming incoming;
    incoming.frame.assign(data, data + size);
    const IplLogger logger{s_rstpChannel};
    IDS_Event::CInterface codec{{}, logger, incoming};
    codec.evaluateMsg(incoming.frame);
    return 0;
}
