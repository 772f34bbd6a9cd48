#pragma once

#include "asi/connectivity/al/NadInformationService.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/INadInformationAsiClientListener.h"

namespace ids {

/// Forwards the updates of the modem's information service to the client.
class NadInformationServiceReplyImpl : public asi::connectivity::al::NadInformationServiceReply,
                                       public common_::ReplyForwarder<INadInformationAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updateNetworkRegistration(const util::SharedPtr<asi::connectivity::al::NetworkRegistration>& registration,
                                   bool isValid) override
    {
        forward(&INadInformationAsiClientListener::updateNetworkRegistration, registration, isValid);
    }

    void updateSignalStrength(const util::SharedPtr<asi::connectivity::al::SignalStrength>& strength,
                              bool isValid) override
    {
        forward(&INadInformationAsiClientListener::updateSignalStrength, strength, isValid);
    }

    void
    updateDataConnectionStartResult(const util::SharedPtr<asi::connectivity::al::DataConnectionStartResult>& result,
                                    bool isValid) override
    {
        forward(&INadInformationAsiClientListener::updateDataConnectionStartResult, result, isValid);
    }
};

/// Subscribes to the state of the cellular modem and notifies the listeners of every update. On the active object only.
/// Of changes during a disconnection only the last value arrives.
class CNadInformationAsiClient final
    : public common_::AsiClientSkeleton<asi::connectivity::al::NadInformationServiceProxy,
                                        NadInformationServiceReplyImpl>,
      public common_::SubjectBase<INadInformationAsiClientListener>,
      public INadInformationAsiClientListener
{
public:
    explicit CNadInformationAsiClient(comm::FactoryPtr factory);

    void updateNetworkRegistration(const util::SharedPtr<asi::connectivity::al::NetworkRegistration>& registration,
                                   bool isValid) override;
    void updateSignalStrength(const util::SharedPtr<asi::connectivity::al::SignalStrength>& strength,
                              bool isValid) override;
    void
    updateDataConnectionStartResult(const util::SharedPtr<asi::connectivity::al::DataConnectionStartResult>& result,
                                    bool isValid) override;

private:
    void onAlive() override;
};

} // namespace ids
