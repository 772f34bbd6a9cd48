#pragma once

#include <cstdint>
#include <string>

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsm.h"
#include "ids/INadInformationAsiClientListener.h"
#include "ids/INadMsgAsiClientListener.h"
#include "tracing/CallbackDispatcher.h"

namespace ids {

/// Reports that the cellular modem has another access point (APN) configuration, and data connections that did not
/// start. Short messages only leave a line. On the active object only.
class CNad final : public common_::ListenerBase<INadInformationAsiClientListener>,
                   public common_::ListenerBase<INadMsgAsiClientListener>
{
public:
    explicit CNad(IIdsm& idsm);

    void updateNetworkRegistration(const util::SharedPtr<asi::connectivity::al::NetworkRegistration>&, bool) override {}
    void updateSignalStrength(const util::SharedPtr<asi::connectivity::al::SignalStrength>&, bool) override {}

    /// A result that is not valid or null is left alone.
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
