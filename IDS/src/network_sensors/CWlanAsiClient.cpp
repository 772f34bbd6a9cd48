#include "CWlanAsiClient.h"

#include <utility>

namespace ids {
namespace {

using asi::connectivity::networking::WlanService;

constexpr char kClient[] = "ids::CWlanAsiClient";

} // namespace

CWlanAsiClient::CWlanAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

bool CWlanAsiClient::requestTrafficCounters()
{
    if (isAlive() && proxy().call<&WlanService::requestTrafficCounters>()) {
        return true;
    }
    TRACE(common_::s_asiChannel, error, kClient, "Proxy not alive!");
    return false;
}

void CWlanAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, kClient, "ASI CWlanAsiClient is alive.");
    retryUnless(proxy().call<&WlanService::startNotifications>());
}

} // namespace ids
