#include "CSoaDiagAsiClient.h"

#include <utility>

namespace ids {

using namespace asi::servicediag;

CSoaDiagAsiClient::CSoaDiagAsiClient(comm::FactoryPtr factory, std::uint32_t index)
    : AsiClientSkeleton{std::move(factory), *this, index + 1}
{}

void CSoaDiagAsiClient::publishingStarted()
{
    if (m_listener != nullptr) {
        m_listener->publishingStarted();
    }
}

void CSoaDiagAsiClient::publish_ServiceDiscoveryEvent(const util::SharedPtr<ServiceDiscoveryEvent>& event)
{
    if (m_listener != nullptr) {
        m_listener->publish_ServiceDiscoveryEvent(event);
    }
}

void CSoaDiagAsiClient::publish_ServiceSecSOAEvent(const util::SharedPtr<ServiceSecSOAEvent>& event)
{
    if (m_listener != nullptr) {
        m_listener->publish_ServiceSecSOAEvent(event);
    }
}

void CSoaDiagAsiClient::publish_SecureConnectionEvent(const util::SharedPtr<SecureConnectionEvent>& event)
{
    if (m_listener != nullptr) {
        m_listener->publish_SecureConnectionEvent(event);
    }
}

void CSoaDiagAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CSoaDiagAsiClient", "ASI CSoaDiagAsiClient is alive.");
    retryUnless(proxy().call<&diag::startPublishing>());
}

} // namespace ids
