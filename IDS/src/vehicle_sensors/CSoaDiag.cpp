#include "CSoaDiag.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "SensorChannels.h"
#include "event_factory.h"
#include "ids/SServiceDiscoveryFailure.h"
#include "ids/STeeAccess.h"
#include "ids/STlsHandshakeFailure.h"
#include "ids/constants.h"
#include "tracing/client_helper.h"

namespace ids {
namespace {

using namespace asi::servicediag;

constexpr char kLabel[] = "ids::CSoaDiag";
constexpr std::uint32_t kDiscoveryFailed = 1;

std::string textOf(const util::SharedPtr<std::string>& text)
{
    return text ? *text : std::string{};
}

std::vector<std::uint8_t> bytesOf(const util::SharedPtr<ServiceAddress>& address)
{
    return address && address->address ? *address->address : std::vector<std::uint8_t>{};
}

std::uint16_t portOf(const util::SharedPtr<ServiceAddress>& address)
{
    return address ? address->port : std::uint16_t{0};
}

const char* protocolOf(const util::SharedPtr<ServiceAddress>& address)
{
    if (!address) {
        return "";
    }
    return address->isUdp ? "UDP" : "TCP";
}

SServiceDiscoveryFailure failureOf(const ServiceDiscoveryEvent& event)
{
    const auto& service = event.querying_service;
    return {.errorText = textOf(event.error_info),
            .queryingAddress = bytesOf(event.querying_address),
            .queryingService = service ? textOf(service->name) : std::string{}};
}

STlsHandshakeFailure failureOf(const SecureConnectionEvent& event)
{
    const auto& source = event.source_address;
    const auto& destination = event.destination_address;
    return {.destinationPort = portOf(destination),
            .sourceAddress = bytesOf(source),
            .sourcePort = portOf(source),
            .count = 1,
            .protocolName = protocolOf(source),
            .destinationAddress = bytesOf(destination),
            .tlsIdentity = textOf(event.tls_identity)};
}

/// An unassigned address of a unique-local prefix.
util::SharedPtr<ServiceAddress> testAddress(std::uint8_t lastByte, std::uint16_t port)
{
    const std::vector<std::uint8_t> bytes{0xFD, 0x12, 0x34, 0x56, 0x78, 0x9A, 0, 1, 0, 0, 0, 0, 0, 0, 0, lastByte};
    return std::make_shared<ServiceAddress>(
        ServiceAddress{std::make_shared<std::vector<std::uint8_t>>(bytes), port, true});
}

} // namespace

CSoaDiag::CSoaDiag(IIdsm& idsm) : m_idsm{idsm}, m_testCommands{kLabel}
{
    tracing::client_helper::addCommand(m_testCommands, "onTlsHandshakeFailed", *this, &CSoaDiag::onTlsHandshakeFailed);
}

void CSoaDiag::publish_ServiceDiscoveryEvent(const util::SharedPtr<ServiceDiscoveryEvent>& event)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "called");
    if (!event) {
        TRACE(s_hostSensorChannel, error, kLabel, "event invalid!");
        return;
    }
    if (event->status == kDiscoveryFailed) {
        TRACE(s_hostSensorChannel, progress, kLabel, "Failed service discovery.");
        m_idsm.reportEvent(event_factory::createEvent<SEvent_FailServiceDiscovery>(failureOf(*event)));
        return;
    }
    TRACE(s_hostSensorChannel, progress, kLabel, "Service discovery succeeded. TLS handshake will be performed.");
    const STeeAccess access{.teeName = std::string{teeName}, .appName = "telmux_someip_forwarder"};
    m_idsm.reportEvent(event_factory::createEvent<SEvent_TeeInvocation>(access));
}

void CSoaDiag::publish_ServiceSecSOAEvent(const util::SharedPtr<ServiceSecSOAEvent>& event)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "called");
    if (!event) {
        TRACE(s_hostSensorChannel, error, kLabel, "event invalid!");
    }
}

void CSoaDiag::publish_SecureConnectionEvent(const util::SharedPtr<SecureConnectionEvent>& event)
{
    if (!event) {
        TRACE(s_hostSensorChannel, error, kLabel, "event invalid!");
        return;
    }
    TRACE(s_hostSensorChannel, progress, kLabel, "success: %s", event->success ? "true" : "false");
    if (!event->success) {
        m_idsm.reportEvent(event_factory::createEvent<SEvent_FailTlsHandshake>(failureOf(*event)));
    }
}

void CSoaDiag::onTlsHandshakeFailed()
{
    TRACE(s_hostSensorChannel, milestone, kLabel, "called");
    publish_SecureConnectionEvent(std::make_shared<SecureConnectionEvent>(
        SecureConnectionEvent{.source_address = testAddress(0x68, 4031),
                              .destination_address = testAddress(0x67, 4030),
                              .tls_identity = std::make_shared<std::string>("TLS_IDENT"),
                              .success = false}));
}

} // namespace ids
