#include "CDtcsAsiClient.h"

#include <utility>

namespace ids {

CDtcsAsiClient::CDtcsAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

void CDtcsAsiClient::updateDtcs(const util::SharedPtr<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid)
{
    notify(&IDtcsAsiClientListener::updateDtcs, dtcs, isValid);
}

void CDtcsAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CDtcsAsiClient", "ASI CDtcsAsiClient is alive.");
    requestNotifications();
}

void CDtcsAsiClient::onDead()
{
    proxy().cancelNotifications();
}

} // namespace ids
