#pragma once

#include "asi/connectivity/configuration/QuorConfiguration.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IVoiceAsiClientListener.h"

namespace ids {

/// Hands what the configuration service tells on to the client.
class QuorConfigurationReplyImpl : public asi::connectivity::configuration::QuorConfigurationReply,
                                   public common_::ReplyForwarder<IVoiceAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updateQuorServices(const comm::Nullable<asi::connectivity::configuration::QuorServices>& services,
                            bool isValid) override
    {
        forward(&IVoiceAsiClientListener::updateQuorServices, services, isValid);
    }
};

/// Subscribes to the list of the provisioned services and tells the listeners of every update. On the active object
/// only.
class CVoiceAsiClient final
    : public common_::AsiClientSkeleton<asi::connectivity::configuration::QuorConfigurationProxy,
                                        QuorConfigurationReplyImpl>,
      public common_::SubjectBase<IVoiceAsiClientListener>,
      public IVoiceAsiClientListener
{
public:
    explicit CVoiceAsiClient(comm::FactoryPtr factory);

    void updateQuorServices(const util::SharedPtr<QuorServices>& services, bool isValid) override;

private:
    void onAlive() override;
    void onDead() override;
};

} // namespace ids
