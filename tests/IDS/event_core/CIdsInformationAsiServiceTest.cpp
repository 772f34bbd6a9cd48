#include <gmock/gmock.h>

#include "CIdsInformationAsiService.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;

/// The service, put on the bus.
struct OnTheBus : ids::CIdsInformationAsiService
{
    explicit OnTheBus(const comm::FactoryPtr& factory) : CIdsInformationAsiService{factory}
    {
        EXPECT_FALSE(registerInstance(1, factory));
    }
    using CIdsInformationAsiService::unregisterInstance; // before the destruction begins, on another thread
};

TEST(CIdsInformationAsiServiceTest, TheAttributeIsAbsentAndInvalidUntilItsFirstUpdate)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject activeObject;
    OnTheBus service{activeObject.factory()};
    const std::vector<std::string> read{"busctl",
                                        "--system",
                                        "get-property",
                                        "asi.connectivity.ids.IdsService.instance1",
                                        "/asi/connectivity/ids/IdsService/1",
                                        "asi.connectivity.ids.IdsService",
                                        "FirewallDropPacketInfo"};
    EXPECT_EQ(outputOf(read), "(a(uu)b) 0 false\n");
    const asi::connectivity::ids::FirewallDropPacketInfo info{2, 1};
    activeObject.run([&] {
        service.updateFirewallDropPacketInfo(std::make_shared<asi::connectivity::ids::FirewallDropPacketInfo>(info));
    });
    EXPECT_EQ(outputOf(read), "(a(uu)b) 1 2 1 true\n");
    service.unregisterInstance();
}

} // namespace
