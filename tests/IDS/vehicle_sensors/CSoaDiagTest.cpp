#include "CSoaDiag.h"

#include <memory>

#include <gmock/gmock.h>

#include "CSoaDiagAsiClient.h"
#include "CapturedLog.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"

using namespace asi::servicediag;
using namespace test_support;
using testing::Each;
using testing::ElementsAre;
using tracing::Level;

namespace {

/// Publishes all that a sensor may meet as soon as it is asked to.
struct Diagnostics final : diagS
{
    ~Diagnostics() override { unregisterInstance(); }
    void clientConnected(const Reply& client) override { reply = client; }
    void startPublishing() override
    {
        const auto text = std::make_shared<std::string>("text");
        const auto address = std::make_shared<ServiceAddress>(
            ServiceAddress{std::make_shared<std::vector<std::uint8_t>>(16, std::uint8_t{7}), 80, false});
        publish(ServiceDiscoveryEvent{1, std::make_shared<ServiceIdentity>(ServiceIdentity{text}), address, text});
        publish(SecureConnectionEvent{address, address, text, false});
        publish(SecureConnectionEvent{});
        publish(SecureConnectionEvent{.success = true});
        reply.call<&diagReply::publish_ServiceDiscoveryEvent>(nullptr);
        reply.call<&diagReply::publish_ServiceSecSOAEvent>(nullptr);
        reply.call<&diagReply::publish_SecureConnectionEvent>(nullptr);
        publish(ServiceDiscoveryEvent{});
    }
    void publish(const ServiceDiscoveryEvent& event)
    {
        reply.call<&diagReply::publish_ServiceDiscoveryEvent>(std::make_shared<ServiceDiscoveryEvent>(event));
    }
    void publish(const SecureConnectionEvent& event)
    {
        reply.call<&diagReply::publish_SecureConnectionEvent>(std::make_shared<SecureConnectionEvent>(event));
    }
    using Service::registerInstance;
    Reply reply;
};

TEST(CSoaDiagTest, WhatTheSecondInstancePublishesIsReportedAsFarAsItIsKnown)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject middleware;
    const TestActiveObject daemon;
    Diagnostics diagnostics;
    ASSERT_FALSE(diagnostics.registerInstance(2, middleware.factory()));
    RecordingIdsm idsm;
    ids::CSoaDiag sensor{idsm};
    EXPECT_TRUE(tracing::CallbackDispatcher::trigger("ids::CSoaDiag", "onTlsHandshakeFailed"));
    auto client = std::make_unique<ids::CSoaDiagAsiClient>(daemon.factory(), 1);
    daemon.run([&] {
        client->publish_SecureConnectionEvent(nullptr); // has nobody to go to
        client->setListener(&sensor);
        client->start();
    });
    EXPECT_TRUE(log.waitFor("Service discovery succeeded. TLS handshake will be performed."));
    daemon.run([&] { client.reset(); });
    EXPECT_EQ(log.count("CON_IDS_ASI", Level::progress, "ASI CSoaDiagAsiClient is alive."), 1U);
    EXPECT_EQ(log.count("CON_IDS_SENSOR_HOST", Level::progress, "success: true"), 1U);
    EXPECT_EQ(log.count("CON_IDS_SENSOR_HOST", Level::error, "event invalid!"), 3U);
    ASSERT_THAT(idsm.eventIds(), ElementsAre(0xD012, 0xD006, 0xD012, 0xD012, 0xD015));
    EXPECT_EQ(idsm.field(0, "protocolName").text(), "UDP");
    EXPECT_EQ(idsm.field(0, "sourcePort").integer(), 4031U);
    EXPECT_EQ(idsm.field(0, "destinationPort").integer(), 4030U);
    EXPECT_EQ(idsm.field(0, "sourceAddress").bytes().back(), 0x68);
    EXPECT_EQ(idsm.field(0, "tlsIdentity").text(), "TLS_IDENT");
    EXPECT_EQ(idsm.field(1, "queryingService").text(), "text");
    EXPECT_THAT(idsm.field(1, "queryingAddress").bytes(), Each(7));
    EXPECT_EQ(idsm.field(2, "protocolName").text(), "TCP");
    EXPECT_EQ(idsm.field(2, "tlsIdentity").text(), "text");
    EXPECT_EQ(idsm.field(3, "protocolName").text(), "");
    EXPECT_EQ(idsm.field(4, "teeName").text(), "OP-TEE");
    EXPECT_EQ(idsm.field(4, "appName").text(), "telmux_someip_forwarder");
}

} // namespace
