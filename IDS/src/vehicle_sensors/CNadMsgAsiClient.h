#pragma once

#include <cstdint>
#include <string>

#include "asi/connectivity/al/NadMessagingServices.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/INadMsgAsiClientListener.h"

namespace ids {

/// Forwards the messages of the modem's messaging service to the client.
class NadMessagingServicesReplyImpl : public asi::connectivity::al::NadMessagingServicesReply,
                                      public common_::ReplyForwarder<INadMsgAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void onMessage(asi::connectivity::al::SmsType type, std::uint32_t pduSize,
                   const util::SharedPtr<std::string>& pdu) override
    {
        forward(&INadMsgAsiClientListener::onMessage, type, pduSize, pdu);
    }
};

/// Notifies the listeners of every short message that the cellular modem receives. On the active object only. Messages
/// that arrive during a disconnection are lost.
class CNadMsgAsiClient final : public common_::AsiClientSkeleton<asi::connectivity::al::NadMessagingServicesProxy,
                                                                 NadMessagingServicesReplyImpl>,
                               public common_::SubjectBase<INadMsgAsiClientListener>,
                               public INadMsgAsiClientListener
{
public:
    explicit CNadMsgAsiClient(comm::FactoryPtr factory);

    void onMessage(asi::connectivity::al::SmsType type, std::uint32_t pduSize,
                   const util::SharedPtr<std::string>& pdu) override;

private:
    void onAlive() override;
};

} // namespace ids
