#include "CIdsCoreAsiService.h"

#include <utility>

#include "ipl/ErrorStorage.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsCoreAsiServer";
constexpr std::uint32_t kInstance = 1;

tracing::Channel s_channel{"CON_IDS_CORE", 7, 2};

using asi::connectivity::idscore::IdsSecurityEventsReply;
using asi::connectivity::idscore::SecEvent;

} // namespace

CIdsCoreAsiService::CIdsCoreAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CIdsCoreAsiService::~CIdsCoreAsiService()
{
    unregisterInstance();
}

bool CIdsCoreAsiService::registerService()
{
    if (registerInstance(kInstance, m_factory)) {
        TRACE(s_channel, error, kLabel, "CIdsCoreAsiServer can't register service! (Instance ID: %u)", kInstance);
        ipl::ErrorStorage::ack();
        return false;
    }
    TRACE(s_channel, milestone, kLabel, "CIdsCoreAsiServer registered service. (Instance ID: %u)", kInstance);
    return true;
}

void CIdsCoreAsiService::deregisterService()
{
    unregisterInstance();
    TRACE(s_channel, milestone, kLabel, "CIdsCoreAsiServer deregistered service.");
}

void CIdsCoreAsiService::clientConnected(const Reply& client)
{
    TRACE(s_channel, progress, kLabel, "Client connected.");
    m_client = client;
    notify(&IIdsCoreServiceListener::onIdsCoreConnected);
}

void CIdsCoreAsiService::clientDisconnected(const Reply& client)
{
    TRACE(s_channel, progress, kLabel, "Client disconnected.");
    // A core that goes after its successor has come does not take the successor's connection with it.
    if (m_client == client) {
        m_client = Reply{};
    }
}

bool CIdsCoreAsiService::isConnected() const
{
    return m_client.isAlive();
}

bool CIdsCoreAsiService::sendEvent(const std::shared_ptr<SecEvent>& event)
{
    if (!event) {
        return false;
    }
    TRACE(s_channel, detail, kLabel, "Send event with ID 0x%X", event->eventId);
    if (!m_client.isAlive()) {
        TRACE(s_channel, detail, kLabel, "Proxy not alive!");
        return false;
    }
    return m_client.call<&IdsSecurityEventsReply::onSecEvent>(event, true);
}

} // namespace ids
