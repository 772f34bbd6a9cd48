#pragma once

#include <string>

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsm.h"
#include "ids/ITeeAsiServiceListener.h"

namespace ids {

/// Reports every access to the trusted execution environment and every missing key. On the active object only.
class CTee final : public common_::ListenerBase<ITeeAsiServiceListener>
{
public:
    explicit CTee(IIdsm& idsm);

    void onNoVkmsKeyAvailable() override;

    /// Without a name there is nothing to report.
    void onTeeAccessed(const util::SharedPtr<std::string>& appName) override;

private:
    IIdsm& m_idsm;
};

} // namespace ids
