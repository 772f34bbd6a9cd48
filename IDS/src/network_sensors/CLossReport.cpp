#include "CLossReport.h"

#include <utility>

#include "SensorChannels.h"

namespace ids {

void CLossReport::count(Clock::time_point now)
{
    ++m_count;
    report(now);
}

void CLossReport::report(Clock::time_point now)
{
    if (!waiting() || (m_lastReport && now - *m_lastReport < kInterval)) {
        return;
    }
    m_lastReport = now;
    TRACE(s_sensorChannel, warning, "ids::CLossReport", "Dropped packets went unseen: %s (%u times).", m_reason,
          std::exchange(m_count, 0U));
}

} // namespace ids
