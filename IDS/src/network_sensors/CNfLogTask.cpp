#include "CNfLogTask.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <utility>

#include "NlHelpers.h"
#include "SensorChannels.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr auto kClass = "ids::CNfLogTask";

constexpr unsigned kMostAtOnce = 4096;
constexpr unsigned kMostInFlight = 64;
/// Half a second of 100,000 drops per second: the kernel counts about 200 bytes for each, and grants twice the number.
constexpr int kReceiveBuffer = 8 << 20;
constexpr int kLossPollMs = 1000;
constexpr std::chrono::milliseconds kRest{10}; // the kernel itself may hold a packet back for a second

std::uint32_t wallClockSeconds()
{
    return static_cast<std::uint32_t>(std::time(nullptr));
}

} // namespace

CNfLogTask::CNfLogTask(const comm::FactoryPtr& factory, Take take)
    : m_exchange{[this](const NfLogRequest& request) { return send(request); }, wallClockSeconds, m_store},
      m_batches{factory, kMostInFlight, std::move(take)},
      m_thread{"IdsNfLog", [this] { run(); }, [this] { m_batches.close(); }}
{}

bool CNfLogTask::start()
{
    if (!watch(m_thread.stateDescriptor(), [] {})) { // a thread that nothing can wake is not started
        return false;
    }
    if (m_thread.start()) {
        TRACE(s_sensorChannel, resource, kClass, "Can't start netlink thread! (%s)", ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return false;
    }
    return true;
}

void CNfLogTask::run()
{
    m_socket.adopt(IDS::NlHelpers::openSocket(AF_NETLINK, NETLINK_NETFILTER, SOCK_RAW));
    if (!m_socket.valid()) {
        TRACE(s_sensorChannel, error, kClass, "Can't open socket! (errno: %s)", std::strerror(errno));
        return;
    }
    TRACE(s_sensorChannel, progress, kClass, "Socket is open (fd: %d).", m_socket.descriptor());
    TRACE(s_sensorChannel, progress, kClass, "Receive buffer: %d bytes.", m_socket.enlargeBuffer(kReceiveBuffer));
    listen();
    m_socket.close();
}

bool CNfLogTask::watch(std::int32_t descriptor, std::function<void()> callback)
{
    io_manager::EFdError error;
    const bool added = m_watcher.addFileDescriptor(descriptor, std::move(callback), error);
    if (!added) {
        TRACE(s_sensorChannel, error, kClass, "Can't add file descriptor! (error: %u)", static_cast<unsigned>(error));
    }
    return added;
}

void CNfLogTask::listen()
{
    TRACE(s_sensorChannel, progress, kClass, "NFLOG group count: %zu", kBoundGroups.size());
    watch(m_socket.descriptor(),
          [this] { m_socket.drain(kMostAtOnce, [this](const auto& received) { take(received); }); });
    if (m_exchange.begin()) {
        loop();
    }
}

// Under a flood, waking for each datagram costs more than reading it, here and on the active object: hence the rest.
void CNfLogTask::loop()
{
    while (!m_thread.stopRequested()) {
        io_manager::EFdError error;
        if (!m_watcher.wait(error, lossesWait() ? kLossPollMs : -1)) {
            TRACE(s_sensorChannel, error, kClass, "Can't monitor file descriptor! (error: %u)",
                  static_cast<unsigned>(error));
            return;
        }
        reportLosses();
        m_thread.sleep(kRest);
    }
}

bool CNfLogTask::lossesWait() const
{
    return m_overruns.waiting() || m_cuts.waiting() || m_shortages.waiting();
}

void CNfLogTask::reportLosses()
{
    if (lossesWait()) {
        const auto now = CLossReport::Clock::now();
        m_overruns.report(now);
        m_cuts.report(now);
        m_shortages.report(now);
    }
}

void CNfLogTask::take(const io_manager::SNetlinkDatagram& received)
{
    using Kind = io_manager::SNetlinkDatagram::Kind;
    if (received.error != 0) {
        IDS::NlHelpers::logReceiveError(received.error);
    }
    if (received.kind == Kind::overrun) {
        m_overruns.count(CLossReport::Clock::now());
    }
    auto datagram = m_exchange.onReceived(received.bytes, m_socket.port());
    if (datagram.cut || received.kind == Kind::cut) {
        m_cuts.count(CLossReport::Clock::now());
    }
    if (datagram.noMemory) {
        m_shortages.count(CLossReport::Clock::now());
    }
    m_batches.post(std::move(datagram.packets));
}

bool CNfLogTask::send(const NfLogRequest& request)
{
    if (!m_socket.send(request)) {
        const auto reason = errno;
        TRACE(s_sensorChannel, error, kClass, "sendto error! (errno: %s)", std::strerror(reason));
        errno = reason;
        return false;
    }
    return true;
}

} // namespace ids
