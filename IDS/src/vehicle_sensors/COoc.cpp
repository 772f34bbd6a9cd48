#include "COoc.h"

#include <chrono>

#include "CommonHelpers.h"
#include "SensorChannels.h"

namespace ids {
namespace {

using common_helpers::CommonHelpers;

constexpr char kLabel[] = "ids::COoc";
constexpr std::chrono::milliseconds kPeriod{62000};

const char* text(bool isValid)
{
    return isValid ? "true" : "false";
}

} // namespace

COoc::COoc(IIdsm& idsm, common_::ISynchronizedTimerFactory& timers)
    : m_idsm{idsm}, m_timer{timers.createTimer(kPeriod, [this](void*) { onTimerExpired(); })}
{}

void COoc::start()
{
    CommonHelpers::startTimer(m_timer);
}

void COoc::updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid)
{
    TRACE(s_sensorChannel, progress, kLabel, "isValid: %s", text(isValid));
    if (isValid && info) {
        TRACE(s_sensorChannel, progress, kLabel, "state: %d", info->state);
    }
}

void COoc::updateCallActive(std::uint32_t status, bool isValid)
{
    TRACE(s_sensorChannel, progress, kLabel, "status: %d, isValid: %s", static_cast<int>(status), text(isValid));
}

void COoc::updateEthCommInterruptReason(std::uint32_t reason, bool isValid)
{
    TRACE(s_sensorChannel, progress, kLabel, "reason: %d, isValid: %s", static_cast<int>(reason), text(isValid));
    if (isValid) {
        ++m_interruptionCount;
    }
}

void COoc::updateRunMode(std::uint32_t mode, bool isValid)
{
    TRACE(s_sensorChannel, progress, kLabel, "mode: %d, isValid: %s", static_cast<int>(mode), text(isValid));
}

void COoc::onTimerExpired()
{
    TRACE(s_sensorChannel, progress, kLabel, "Timer expired. Interruption count: %u", m_interruptionCount);
    m_interruptionCount = 0;
    CommonHelpers::startTimer(m_timer);
}

} // namespace ids
