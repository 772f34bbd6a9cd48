#pragma once

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IDtcsAsiClientListener.h"
#include "ids/IIdsm.h"

namespace ids {

/// Logs the GNSS failure when it is among the diagnostic trouble codes; no event exists for it. On the active object
/// only.
class CDtcs final : public common_::ListenerBase<IDtcsAsiClientListener>
{
public:
    explicit CDtcs(IIdsm& idsm);

    void updateDtcs(const util::SharedPtr<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid) override;

private:
    [[maybe_unused]] IIdsm& m_idsm; ///< the failure has no event
};

} // namespace ids
