#include "CNadMsgAsiClient.h"

#include <utility>

namespace ids {

CNadMsgAsiClient::CNadMsgAsiClient(comm::FactoryPtr factory) : AsiClientSkeleton{std::move(factory), *this} {}

void CNadMsgAsiClient::onMessage(asi::connectivity::al::SmsType type, std::uint32_t pduSize,
                                 const util::SharedPtr<std::string>& pdu)
{
    notify(&INadMsgAsiClientListener::onMessage, type, pduSize, pdu);
}

void CNadMsgAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CNadMsgAsiClient", "ASI CNadMsgAsiClient is alive.");
}

} // namespace ids
