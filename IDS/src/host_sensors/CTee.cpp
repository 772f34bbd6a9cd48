#include "CTee.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "HostSensorChannel.h"
#include "event_factory.h"
#include "ids/STeeAccess.h"
#include "ids/constants.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CTee";

/// Milliseconds since boot, time in suspend included, modulo 2^32; 0 when the clock cannot be read.
std::uint32_t getTimestamp()
{
    timespec now{};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) {
        TRACE(s_hostSensorChannel, error, kLabel, "clock_gettime() returned error! (errno: %s)", std::strerror(errno));
        return 0;
    }
    return static_cast<std::uint32_t>(now.tv_sec) * 1000U + static_cast<std::uint32_t>(now.tv_nsec / 1'000'000);
}

} // namespace

CTee::CTee(IIdsm& idsm) : m_idsm{idsm} {}

void CTee::onNoVkmsKeyAvailable()
{
    TRACE(s_hostSensorChannel, progress, kLabel, "called");
    m_idsm.reportEvent(event_factory::createEvent<SEvent_VkmsNoKeysAvailable>(getTimestamp()));
}

void CTee::onTeeAccessed(const util::SharedPtr<std::string>& appName)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "App name: %s", appName ? appName->c_str() : "<Invalid>");
    if (!appName) {
        return;
    }
    m_idsm.reportEvent(
        event_factory::createEvent<SEvent_TeeInvocation>({.teeName = std::string{teeName}, .appName = *appName}));
}

} // namespace ids
