#pragma once

#include <cstdint>
#include <string>

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsm.h"
#include "ids/INadInformationAsiClientListener.h"
#include "ids/INadMsgAsiClientListener.h"
#include "tracing/CallbackDispatcher.h"

namespace ids {

/// Reports changes of the cellular modem's access point (APN) configuration and data connections that failed to start.
/// Short messages are only logged. On the active object only.
class CNad final : public common_::ListenerBase<INadInformationAsiClientListener>,
                   public common_::ListenerBase<INadMsgAsiClientListener>
{
public:
    explicit CNad(IIdsm& idsm);

    void updateNetworkRegistration(const util::SharedPtr<asi::connectivity::al::NetworkRegistration>&, bool) override {}
    void updateSignalStrength(const util::SharedPtr<asi::connectivity::al::SignalStrength>&, bool) override {}

    /// Ignores a result that is invalid or null.
    void
    updateDataConnectionStartResult(const util::SharedPtr<asi::connectivity::al::DataConnectionStartResult>& result,
                                    bool isValid) override;
    void onMessage(asi::connectivity::al::SmsType type, std::uint32_t pduSize,
                   const util::SharedPtr<std::string>& pdu) override;

private:
    void onApnChanged();
    void onApnStartFailed();
    void inject(std::uint32_t startResult);

    IIdsm& m_idsm;
    tracing::CallbackDispatcher m_testCommands;
};

} // namespace ids
