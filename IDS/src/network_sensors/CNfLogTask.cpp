#include "CNfLogTask.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <sys/socket.h>
#include <utility>

#include "NlHelpers.h"
#include "SensorChannels.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr auto kClass = "ids::CNfLogTask";

constexpr std::size_t kDatagramBuffer = 8192;
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
    : m_buffer(kDatagramBuffer),
      m_exchange{[this](const NfLogRequest& request) { return send(request); }, wallClockSeconds, m_store},
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
    m_socket.fd = IDS::NlHelpers::openSocket(AF_NETLINK, NETLINK_NETFILTER, SOCK_RAW);
    if (m_socket.fd < 0) {
        TRACE(s_sensorChannel, error, kClass, "Can't open socket! (errno: %s)", std::strerror(errno));
        return;
    }
    TRACE(s_sensorChannel, progress, kClass, "Socket is open (fd: %d).", m_socket.fd);
    prepareSocket();
    listen();
    IDS::NlHelpers::closeSocket(std::exchange(m_socket.fd, -1));
}

void CNfLogTask::prepareSocket() const
{
    // A receive never waits, even if what poll announced has gone: waiting is where the stop is noticed.
    if (::fcntl(m_socket.fd, F_SETFL, O_NONBLOCK) < 0) {
        TRACE(s_sensorChannel, error, kClass, "Can't make socket non-blocking! (errno: %s)", std::strerror(errno));
    }
    enlargeReceiveBuffer();
}

void CNfLogTask::enlargeReceiveBuffer() const
{
    if (::setsockopt(m_socket.fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) < 0) {
        ::setsockopt(m_socket.fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
    int granted = 0;
    socklen_t length = sizeof granted;
    ::getsockopt(m_socket.fd, SOL_SOCKET, SO_RCVBUF, &granted, &length);
    TRACE(s_sensorChannel, progress, kClass, "Receive buffer: %d bytes.", granted);
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
    watch(m_socket.fd, [this] { onReadable(); });
    if (m_exchange.begin()) {
        loop();
    }
}

// Under a flood, waking for each datagram costs more than reading it, here and on the active object.
void CNfLogTask::loop()
{
    while (pass(lossesWait() ? kLossPollMs : -1)) {
        while (m_datagramRead) {
            if (!pass(0)) {
                return;
            }
        }
        reportLosses();
        m_thread.sleep(kRest);
    }
}

bool CNfLogTask::pass(int timeoutMs)
{
    if (m_thread.stopRequested()) {
        return false;
    }
    m_datagramRead = false;
    io_manager::EFdError error;
    if (!m_watcher.wait(error, timeoutMs)) {
        TRACE(s_sensorChannel, error, kClass, "Can't monitor file descriptor! (error: %u)",
              static_cast<unsigned>(error));
        return false;
    }
    return true;
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

void CNfLogTask::onReadable()
{
    try {
        takeDatagram();
    } catch (const std::bad_alloc&) {
        m_shortages.count(CLossReport::Clock::now());
    }
}

void CNfLogTask::takeDatagram()
{
    const auto received = IDS::NlHelpers::recvFrom(m_buffer, m_socket, 0);
    m_datagramRead = received >= 0 || errno == ENOBUFS;
    if (received < 0 && errno == ENOBUFS) {
        m_overruns.count(CLossReport::Clock::now());
    }
    auto datagram = m_exchange.onReceived(m_buffer, received);
    if (datagram.cut) {
        m_cuts.count(CLossReport::Clock::now());
    }
    m_batches.post(std::move(datagram.packets));
}

bool CNfLogTask::send(const NfLogRequest& request) const
{
    if (::sendto(m_socket.fd, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&m_socket.addr),
                 sizeof m_socket.addr) < 0)
    {
        const auto reason = errno;
        TRACE(s_sensorChannel, error, kClass, "sendto error! (errno: %s)", std::strerror(reason));
        errno = reason;
        return false;
    }
    return true;
}

} // namespace ids
