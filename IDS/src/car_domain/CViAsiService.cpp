#include "CViAsiService.h"

#include <utility>

#include "ipl/ErrorStorage.h"
#include "tracing/Channel.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CViAsiService";
constexpr std::uint32_t kInstance = 1;

tracing::Channel s_channel{"CON_IDS_ASI", 7, 2};

} // namespace

CViAsiService::CViAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CViAsiService::~CViAsiService()
{
    unregisterInstance();
}

bool CViAsiService::registerService()
{
    if (registerInstance(kInstance, m_factory)) {
        TRACE(s_channel, error, kLabel, "CViAsiService can't register service!");
        ipl::ErrorStorage::ack();
        return false;
    }
    TRACE(s_channel, milestone, kLabel, "CViAsiService registered service.");
    return true;
}

void CViAsiService::deregisterService()
{
    unregisterInstance();
    TRACE(s_channel, milestone, kLabel, "CViAsiService deregistered service.");
}

void CViAsiService::sendEvent(const UInt8Array& event, std::uint32_t)
{
    TRACE(s_channel, milestone, kLabel, "CViAsiService::sendEvent listener call");
    notify(&IViAsiServiceListener::onViEvent, event);
}

} // namespace ids
