#pragma once

#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/PersistenceServices.h"
#include "ids/IIdsm.h"

namespace ids {

/// Reads the daemon's one setting, an integer, from the unit's persistence service when that is there, and writes its
/// default when there is none. Nobody uses the value yet. On the active object only.
class CPersistence final : public persistence::PersistenceListener
{
public:
    CPersistence(const comm::FactoryPtr& factory, IIdsm* dispatcher);

    /// Looks for the service from now on.
    void startServices();

    void persistenceLoaded() override;

private:
    using Result = persistence::PersistenceServices::subscription_result;

    void retrieveCallback(const Result& result);

    [[maybe_unused]] IIdsm* const m_dispatcher; ///< nothing is reported yet
    persistence::PersistenceServices m_client;
    common_::DelayedCallback<CPersistence, Result> m_retrieveCallback;
};

} // namespace ids
