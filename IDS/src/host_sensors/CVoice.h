#pragma once

#include <cstdint>
#include <string>

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsm.h"
#include "ids/IVoiceAsiClientListener.h"
#include "tracing/CallbackDispatcher.h"

namespace ids {

/// Reports which services have appeared on the unit and which have gone, at every valid list after the first. Names
/// are equal whatever their case.
///
/// On the active object only. An event holds 128 bytes of names; what does not fit is lost.
class CVoice final : public common_::ListenerBase<IVoiceAsiClientListener>
{
public:
    explicit CVoice(IIdsm& idsm);

    /// Keeps the list until the next one and orders it then.
    void updateQuorServices(const util::SharedPtr<QuorServices>& services, bool isValid) override;

private:
    void onServiceListChanged();
    void reportChanges(QuorServices& previous, QuorServices& services);
    void report(std::uint8_t kind, std::string services);
    void keep(const util::SharedPtr<QuorServices>& services);

    IIdsm& m_idsm;
    util::SharedPtr<QuorServices> m_previousServices;
    tracing::CallbackDispatcher m_testCommands;
};

} // namespace ids
