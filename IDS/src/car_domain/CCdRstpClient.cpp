#include "CCdRstpClient.h"

namespace ids {

CCdRstpClient::CCdRstpClient(const comm::FactoryPtr& factory, const std::string& path) : m_transport{factory, path} {}

bool CCdRstpClient::init()
{
    return m_transport.init(this, "RstpDecoderChannel");
}

void CCdRstpClient::onIdsEvent(std::vector<std::uint8_t> payload)
{
    notify(&ICdRstpClientListener::onEventFromCarDomain, payload);
}

} // namespace ids
