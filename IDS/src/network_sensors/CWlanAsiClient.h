#pragma once

#include "asi/connectivity/networking/WlanService.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IWlanAsiClient.h"
#include "ids/IWlanAsiClientListener.h"

namespace ids {

/// Tells the client's listeners what the WLAN service notifies.
class IWlanServiceReply : public asi::connectivity::networking::WlanServiceReply,
                          public common_::ReplyForwarder<common_::SubjectBase<IWlanAsiClientListener>>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updateWLANDevice(const util::SharedPtr<asi::connectivity::networking::WlanDevice>& device) override
    {
        tell(&IWlanAsiClientListener::updateWLANDevice, device);
    }
    void updateWlanConnectionFailureHotspot(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureHotspot>& failure) override
    {
        tell(&IWlanAsiClientListener::updateWlanConnectionFailureHotspot, failure);
    }
    void updateWlanConnectionFailureClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionFailureClient>& failure) override
    {
        tell(&IWlanAsiClientListener::updateWlanConnectionFailureClient, failure);
    }
    void updateWlanConnectionSuccessClient(
        const util::SharedPtr<asi::connectivity::networking::WlanConnectionSuccessClient>& success) override
    {
        tell(&IWlanAsiClientListener::updateWlanConnectionSuccessClient, success);
    }
    void responseTrafficCounters(
        const util::SharedPtr<asi::connectivity::networking::WlanTrafficCounters>& counters) override
    {
        tell(&IWlanAsiClientListener::responseTrafficCounters, counters);
    }
};

/// Follows the unit's WLAN service for its listeners and asks it for its traffic counters. On the active object only.
/// What the service tells while we are not connected is lost.
class CWlanAsiClient final
    : public common_::SubjectBase<IWlanAsiClientListener>,
      public common_::AsiClientSkeleton<asi::connectivity::networking::WlanServiceProxy, IWlanServiceReply>,
      public IWlanAsiClient
{
public:
    explicit CWlanAsiClient(comm::FactoryPtr factory);

    bool requestTrafficCounters() override;

private:
    void onAlive() override;
};

} // namespace ids
