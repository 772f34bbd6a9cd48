#include "CIdsInformationAsiService.h"

#include <utility>

namespace ids {

CIdsInformationAsiService::CIdsInformationAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CIdsInformationAsiService::~CIdsInformationAsiService()
{
    unregisterInstance();
}

void CIdsInformationAsiService::updateFirewallDropPacketInfo(
    const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info)
{
    setAttribute<&asi::connectivity::ids::IdsServiceReply::updateFirewallDropPacketInfo>(info);
}

} // namespace ids
