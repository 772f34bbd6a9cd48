#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IGnssAsiClientListener.h"
#include "ids/IGnssManager.h"
#include "iplbase/NonCopyable.h"

namespace ids {

/// The one time base of the process: the UTC time of the last valid GNSS position, which stays in force until the next
/// one. Positions arrive on the daemon's active object; any thread may read the time, at the cost of a load.
class CGnssManager final : public IGnssManager,
                           public common_::ListenerBase<IGnssAsiClientListener>,
                           private iplbase::NonCopyable
{
public:
    /// Never empty. A reference, so that reading the time does not touch the count of owners.
    static const std::shared_ptr<CGnssManager>& getInstance();

    std::uint64_t getGnssTime() override { return m_gnssTime.load(std::memory_order_relaxed); }

    void updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid) override;

private:
    CGnssManager() = default;

    std::atomic<std::uint64_t> m_gnssTime{0};
};

} // namespace ids
