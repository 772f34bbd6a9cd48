#include "CTimeSyncAsiClient.h"

#include <utility>

namespace ids {

void TimeSyncReplyImpl::updatepltOffset(std::int64_t offset, bool isValid)
{
    forward(&CTimeSyncAsiClient::updatePltOffset, offset, isValid);
}

void TimeSyncReplyImpl::updateutcOffset(std::int64_t offset, bool isValid)
{
    forward(&CTimeSyncAsiClient::updateUtcOffset, offset, isValid);
}

CTimeSyncAsiClient::CTimeSyncAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

void CTimeSyncAsiClient::updatePltOffset(std::int64_t offset, bool isValid)
{
    notify(&ITimeSyncAsiClientListener::updatePltOffset, offset, isValid);
}

void CTimeSyncAsiClient::updateUtcOffset(std::int64_t offset, bool isValid)
{
    notify(&ITimeSyncAsiClientListener::updateUtcOffset, offset, isValid);
}

void CTimeSyncAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CTimeSyncAsiClient", "ASI CTimeSyncAsiClient is alive.");
    requestNotifications();
}

void CTimeSyncAsiClient::onDead()
{
    proxy().cancelNotifications();
}

} // namespace ids
