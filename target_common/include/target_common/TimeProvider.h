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
    TimeProvider();
    ~TimeProvider() override = default;

    void alive(const comm::Lifecycle& lifecycle) override;
    void dead(const comm::Lifecycle& lifecycle, const comm::DeathNotice& notice) override;
    void updatepltOffset(std::int64_t offset, bool isValid) override;
    void updateutcOffset(std::int64_t offset, bool isValid) override;
    void connect(const char* name);

    const comm::FactoryPtr m_factory;
    std::unique_ptr<asi::time::TimeSyncProxy> m_timeProxy;
    // In the service's own unit. Kept while the service is away.
    std::int64_t m_pltOffset = 0;
    std::int64_t m_previousPltOffset = 0;
    bool m_pltOffsetValid = false;
    bool m_previousPltOffsetValid = false;
    std::int64_t m_utcOffset = 0;
    std::int64_t m_previousUtcOffset = 0;
    bool m_utcOffsetValid = false;
    bool m_previousUtcOffsetValid = false;
    Reconnection m_reconnection;
};

} // namespace common_
