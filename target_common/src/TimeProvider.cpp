#include "target_common/TimeProvider.h"

#include <mutex>

#include "ipl/ErrorStorage.h"
#include "ipl/insist.h"
#include "osal/Mutex.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_TIME", 7, 2};
constexpr auto kLabel = "TimeProvider";
constexpr auto kSource = "target_common/src/TimeProvider";

osal::Mutex s_creation;

struct SOffset
{
    std::int64_t& value;
    bool& valid;
};

// Returns whether the new value is the first one or differs from the one before.
bool replace(SOffset current, SOffset previous, std::int64_t offset)
{
    if (current.valid) {
        previous.value = current.value;
        previous.valid = true;
    }
    current.value = offset;
    current.valid = true;
    return !previous.valid || previous.value != offset;
}

} // namespace

TimeProvider& TimeProvider::getInstance()
{
    const std::lock_guard lock{s_creation};
    static auto* const instance = new TimeProvider; // never destroyed: it may be asked for until the process is gone
    return *instance;
}

TimeProvider::TimeProvider()
    : m_factory{std::make_shared<comm::SingleThreadedActiveObjectFactory<comm::ActiveObject>>("TimerAO")},
      m_reconnection{m_factory, [this] { connect("TimeSync"); }}
{
    comm::runAndWait(m_factory->getActiveObject({}), [this] { connect("PhoneTime"); });
}

void TimeProvider::connect(const char* name)
{
    m_timeProxy = ipl::insist({kSource, __LINE__, __func__}, "a proxy waits for memory", [this] {
        return std::make_unique<asi::time::TimeSyncProxy>(1, m_factory, *this, *this);
    });
    if (m_timeProxy->connect()) {
        TRACE(s_channel, warning, kLabel, "IPL error at %s:%d! Could not connect %s,reason=%s", kSource, __LINE__, name,
              ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        m_reconnection.connectFailed();
    }
}

void TimeProvider::alive(const comm::Lifecycle&)
{
    TRACE(s_channel, detail, kLabel, "called");
    if (!m_timeProxy->isAlive()) {
        TRACE(s_channel, detail, kLabel, "Call not executed, proxy not alive");
    } else if (!m_timeProxy->requestNotifications()) {
        TRACE(s_channel, warning, kLabel,
              "IPL error at %s:%d! Called 'm_TimeProxy->setNotification()',reason=the bus does not take it", kSource,
              __LINE__);
        m_reconnection.connectFailed(); // or nothing would be heard until the service dies
    } else {
        TRACE(s_channel, detail, kLabel, "Call 'm_TimeProxy->setNotification()' successful");
    }
}

void TimeProvider::dead(const comm::Lifecycle&, const comm::DeathNotice& notice)
{
    TRACE(s_channel, detail, kLabel, "called");
    m_reconnection.serviceDied(notice);
}

void TimeProvider::updatepltOffset(std::int64_t offset, bool isValid)
{
    if (isValid && replace({m_pltOffset, m_pltOffsetValid}, {m_previousPltOffset, m_previousPltOffsetValid}, offset)) {
        TRACE(s_channel, detail, kLabel, "pltTimeOffset=%lld", static_cast<long long>(offset));
    }
}

void TimeProvider::updateutcOffset(std::int64_t offset, bool isValid)
{
    if (isValid && replace({m_utcOffset, m_utcOffsetValid}, {m_previousUtcOffset, m_previousUtcOffsetValid}, offset)) {
        TRACE(s_channel, detail, kLabel, "utcTimeOffset=%lld", static_cast<long long>(offset));
    }
}

} // namespace common_
