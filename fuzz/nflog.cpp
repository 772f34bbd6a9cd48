// A datagram of logged packets, and the configuration exchange before it.

#include <cstdint>
#include <cstdlib>
#include <span>

#include "CNfLogExchange.h"
#include "NfLogDatagram.h"
#include "support/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::logIntoNothing();

    ids::CRecordStore store;
    const std::span<const std::uint8_t> bytes{data, size};
    const auto datagram = ids::parseNfLogDatagram(bytes, store);
    for (const auto& packet : datagram.packets) {
        if (packet->sourceAddress.size() != 16 || packet->sourcePort > 0xFFFF) {
            std::abort();
        }
    }

    ids::CNfLogExchange exchange{[](const ids::NfLogRequest&) { return true; }, [] { return 1U; }, store};
    exchange.begin();
    for (int round = 0; round < 6; ++round) {
        exchange.onReceived(bytes, 0);
    }
    return 0;
}
