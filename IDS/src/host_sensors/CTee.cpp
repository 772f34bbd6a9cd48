#include "CTee.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "SensorChannels.h"
#include "bootTime.h"
#include "event_factory.h"
#include "ids/STeeAccess.h"
#include "ids/constants.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CTee";

std::uint32_t getTimestamp()
{
    const auto now = readMillisecondsSinceBoot();
    if (!now) {
        TRACE(s_hostSensorChannel, error, kLabel, "clock_gettime() returned error! (errno: %s)", std::strerror(errno));
    }
    return now.value_or(0);
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
