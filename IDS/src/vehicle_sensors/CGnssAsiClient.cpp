#include "CGnssAsiClient.h"

#include <utility>

namespace ids {

void GnssReplyImpl::updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid)
{
    forward(&CGnssAsiClient::updatePosition, position, isValid);
}

CGnssAsiClient::CGnssAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

void CGnssAsiClient::updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid)
{
    notify(&IGnssAsiClientListener::updatePosition, position, isValid);
}

void CGnssAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CGnssAsiClient", "ASI CGnssAsiClient is alive.");
    requestNotifications();
}

void CGnssAsiClient::onDead()
{
    proxy().cancelNotifications();
}

} // namespace ids
