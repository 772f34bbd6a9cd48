#include "CVoiceAsiClient.h"

#include <utility>

namespace ids {

CVoiceAsiClient::CVoiceAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

void CVoiceAsiClient::updateQuorServices(const util::SharedPtr<QuorServices>& services, bool isValid)
{
    notify(&IVoiceAsiClientListener::updateQuorServices, services, isValid);
}

void CVoiceAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CVoiceAsiClient", "ASI CVoiceAsiClient is alive.");
    requestNotifications();
}

void CVoiceAsiClient::onDead()
{
    proxy().cancelNotifications();
}

} // namespace ids
