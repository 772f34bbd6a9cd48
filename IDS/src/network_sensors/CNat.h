#pragma once

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IConntrackListener.h"
#include "ids/IIdsm.h"

namespace ids {

/// The place for a judgement of address translation. There is none yet: updates are ignored. On the active object only.
class CNat final : public common_::ListenerBase<IConntrackListener>
{
public:
    explicit CNat(IIdsm& idsm);

    void updateFromCtrk(const SConntrackInfo& info) override;

private:
    [[maybe_unused]] IIdsm& m_idsm;
};

} // namespace ids
