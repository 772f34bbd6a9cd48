#include "CPersistence.h"

#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CPersistence";
constexpr std::uint32_t kKey = 0;
constexpr std::int32_t kDefault = 0;

tracing::Channel s_channel{"CON_IDS_PERSISTENCE", 7, 2};

persistence::PersistenceLocation partition()
{
    return {persistence::PersistenceLocation::byName, 0, "IDS"};
}

} // namespace

CPersistence::CPersistence(const comm::FactoryPtr& factory, IIdsm* dispatcher)
    : m_dispatcher{dispatcher},
      m_client{factory, *this},
      m_retrieveCallback{this, &CPersistence::retrieveCallback, factory}
{
    m_client.requestValue(partition(), kKey, m_retrieveCallback);
}

void CPersistence::startServices()
{
    TRACE(s_channel, progress, kLabel, "called");
    m_client.startService();
}

void CPersistence::persistenceLoaded()
{
    TRACE(s_channel, progress, kLabel, "called");
}

void CPersistence::retrieveCallback(const Result& result)
{
    TRACE(s_channel, progress, kLabel, "called");
    if (result.status != Result::present) {
        m_client.writeInt(partition(), kKey, kDefault, false);
        TRACE(s_channel, error, kLabel, "result not OK");
    }
}

} // namespace ids
