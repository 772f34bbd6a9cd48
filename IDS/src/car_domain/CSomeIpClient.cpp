#include "CSomeIpClient.h"

#include <utility>

#include "tracing/Channel.h"

namespace ids {
namespace {

using namespace asi::someip::oru::services::idssecurityevent;

constexpr char kClass[] = "ids::CSomeIpClient";
constexpr std::uint32_t kForward = 2;

tracing::Channel s_channel{"CON_IDS_SOMEIP", 7, 2};

} // namespace

CSomeIpClient::CSomeIpClient(comm::FactoryPtr factory, std::uint32_t forwardMode)
    : AsiClientSkeleton{std::move(factory), *this}, m_forwardMode{forwardMode}
{}

bool CSomeIpClient::onSecurityEvents(const util::SharedPtr<SecurityEvents>& content)
{
    if (m_forwardMode != kForward) {
        return false;
    }
    notify(&ISomeIpClientListener::onEventFromV2X, content);
    return true;
}

void CSomeIpClient::onAlive()
{
    TRACE(s_channel, milestone, kClass, "called");
    if (!proxy().call<&v2::IDSSecurityEvent::subscribeItem>(v2::securityEventItem, 0U)) {
        TRACE(s_channel, error, kClass, "Can't send subscribeItem()!");
    }
}

} // namespace ids
