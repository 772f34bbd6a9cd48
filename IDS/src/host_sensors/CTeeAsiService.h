#pragma once

#include <cstdint>
#include <string>

#include "asi/connectivity/ids/IdsTee.h"
#include "comm/ActiveObject.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/ITeeAsiServiceListener.h"

namespace ids {

/// Provides "asi.connectivity.ids.IdsTee", instance 1: what the trusted execution environment and its key management
/// report goes to the listeners.
///
/// Registered and withdrawn from any thread, everything else on the active object. While nobody listens, reports are
/// lost.
class CTeeAsiService final : public asi::connectivity::ids::IdsTeeS, public common_::SubjectBase<ITeeAsiServiceListener>
{
public:
    explicit CTeeAsiService(comm::FactoryPtr factory);
    ~CTeeAsiService() override;

    /// Returns true on success; false when it is registered already or the bus refuses it.
    bool registerService();
    void deregisterService();

    void reportNoKeysAvailable() override;
    void reportTeeAccess(const util::SharedPtr<std::string>& appName) override;

    /// A process that has ended meanwhile is reported with an empty name.
    void reportTeeAccessOfProcess(std::uint32_t processId) override;

private:
    const comm::FactoryPtr m_factory;
};

} // namespace ids
