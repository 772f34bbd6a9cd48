#include "CIdsInformationAsiService.h"

#include <cstdint>
#include <utility>

#include "conn_common/AsiChannel.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsInformationAsiService";
constexpr std::uint32_t kInstance = 1;

} // namespace

CIdsInformationAsiService::CIdsInformationAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CIdsInformationAsiService::~CIdsInformationAsiService()
{
    unregisterInstance();
}

bool CIdsInformationAsiService::registerService()
{
    if (registerInstance(kInstance, m_factory)) {
        TRACE(common_::s_asiChannel, error, kLabel, "CIdsInformationAsiService can't register service!");
        ipl::ErrorStorage::ack();
        return false;
    }
    TRACE(common_::s_asiChannel, milestone, kLabel, "CIdsInformationAsiService registered service.");
    return true;
}

void CIdsInformationAsiService::deregisterService()
{
    unregisterInstance();
    TRACE(common_::s_asiChannel, milestone, kLabel, "CIdsInformationAsiService deregistered service.");
}

void CIdsInformationAsiService::updateFirewallDropPacketInfo(
    const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info)
{
    setAttribute<&asi::connectivity::ids::IdsServiceReply::updateFirewallDropPacketInfo>(info);
}

} // namespace ids
