#pragma once

#include <cstdint>
#include <memory>

#include "asi/time/TimeSync.h"
#include "comm/ActiveObject.h"
#include "conn_common/Reconnection.h"

namespace common_ {

/// Follows the unit's time offsets, the platform's and that of UTC, and logs every change. There is one in a process,
/// from the first getInstance to the end. It has an active object, and with it a bus connection, of its own.
class TimeProvider final : public asi::time::TimeSyncReply, public comm::LifecycleListener
{
public:
    /// From any thread.
    static TimeProvider& getInstance();

    TimeProvider(const TimeProvider&) = delete;
    TimeProvider& operator=(const TimeProvider&) = delete;

private:
    /// An offset in the service's own unit, and the one before it. Kept while the service is away.
    struct SOffset
    {
        bool update(std::int64_t offset); ///< whether it is the first or differs from the one before

        std::int64_t current = 0;
        std::int64_t previous = 0;
        bool currentValid = false;
        bool previousValid = false;
    };

    TimeProvider();
    ~TimeProvider() override = default;

    void alive(const comm::Lifecycle& lifecycle) override;
    void dead(const comm::Lifecycle& lifecycle, const comm::DeathNotice& notice) override;
    void updatepltOffset(std::int64_t offset, bool isValid) override;
    void updateutcOffset(std::int64_t offset, bool isValid) override;
    void connect(const char* name);

    const comm::FactoryPtr m_factory;
    std::unique_ptr<asi::time::TimeSyncProxy> m_timeProxy;
    SOffset m_pltOffset;
    SOffset m_utcOffset;
    Reconnection m_reconnection;
};

} // namespace common_
