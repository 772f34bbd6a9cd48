// What the kernel tells of links, addresses and neighbours, in messages as the netlink walk hands them on. Nothing
// longer than an interface's name, and nothing but known kinds of event, must come out.

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

/// Posts go nowhere: what the fuzzer brings comes without having been asked for.
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

    // Each message is alone in memory, so that a byte too many is seen.
    io_manager::forEachMessage({data, size}, [&](std::span<const std::uint8_t> message) {
        const std::vector<std::uint8_t> copy{message.begin(), message.end()};
        watch.nl_urc(*reinterpret_cast<const nlmsghdr*>(copy.data()));
    });
    return 0;
}
