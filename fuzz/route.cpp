// Messages of the kernel on links, addresses and the neighbour table, as the netlink iteration passes them. The results
// must contain no name longer than an interface's name and only known kinds of event.

#include <cstdint>
#include <cstdlib>
#include <linux/netlink.h>
#include <net/if.h>
#include <vector>

#include "TestActiveObject.h"
#include "io_manager/NetlinkWalk.h"
#include "support/log.h"
#include "target_common/ifwatch.h"

namespace {

using namespace common_;

void expect(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

struct Listener final : ListenerBase<IIfwatchListener>
{
    void interfaceEvent(const IfEvent& event) override
    {
        const bool isAddress = event.type == IfEvent::addressAdded || event.type == IfEvent::addressRemoved;
        expect(isAddress || event.type <= IfEvent::linkDown);
        expect(isAddress == (event.address.ss_family != AF_UNSPEC));
        expect(event.name.size() <= IFNAMSIZ && (isAddress || !event.name.empty()));
        expect(event.hardwareAddress >> 48 == 0);
    }
    void linksListed() override {}
    void addressesListed() override {}
    void neighbourEvent(const SNeighbourEvent& event) override
    {
        expect(event.interfaceName.size() <= IFNAMSIZ && event.removed <= 1);
    }
};

/// Posted work is discarded: the fuzzer's input is unrequested.
comm::FactoryPtr endedActiveObject()
{
    const test_support::TestActiveObject activeObject;
    activeObject.stop();
    return activeObject.factory();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_support::logIntoNothing();
    static const auto factory = endedActiveObject();
    constexpr int kNoProtocol = -1;
    Nl nl{factory, kNoProtocol, 0, nullptr};
    ifwatch watch{factory, nl};
    Listener listener;
    watch.addListener(&listener);

    // Each message has an allocation of its own, so that the sanitizer detects an overread.
    io_manager::forEachMessage({data, size}, [&](std::span<const std::uint8_t> message) {
        const std::vector<std::uint8_t> copy{message.begin(), message.end()};
        watch.nl_urc(*reinterpret_cast<const nlmsghdr*>(copy.data()));
    });
    return 0;
}
