#include "COviLogger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "SensorChannels.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr auto kLabel = "ids::COviLogger";
constexpr auto kLoop = "operator()";

constexpr int kBacklog = 10;
constexpr int kAttempts = 3;
constexpr std::size_t kMostClients = 16;
constexpr std::size_t kReceiveBuffer = 8192;
constexpr std::chrono::milliseconds kRest{200};
constexpr mode_t kUserAndGroup = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP;

// Another process may take the place between the removal and the bind. errno is that of the removal when the file of
// another account stays in the way.
bool takePlace(std::int32_t descriptor, const sockaddr_un& address)
{
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (::unlink(address.sun_path) != 0 && errno != ENOENT) {
            return false;
        }
        if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return true;
        }
        if (errno != EADDRINUSE) {
            return false;
        }
    }
    return false;
}

/// The file never admits more than user and group: it is made with the mode of the socket, less the process' mask. What
/// the mask took from the group is given back, unless the next one has the place already. A link is removed, or in the
/// way, but never followed.
bool bindTo(std::int32_t descriptor, const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    path.copy(address.sun_path, path.size());
    return ::fchmod(descriptor, kUserAndGroup) == 0 && takePlace(descriptor, address) &&
           (::fchmodat(AT_FDCWD, path.c_str(), kUserAndGroup, AT_SYMLINK_NOFOLLOW) == 0 || errno == ENOENT);
}

io_manager::UniqueFd listenOn(const std::string& path)
{
    io_manager::UniqueFd socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
    if (!socket.valid() || !bindTo(socket.get(), path) || ::listen(socket.get(), kBacklog) != 0) {
        TRACE(s_hostSensorChannel, error, kLabel, "Can't listen on %s! (errno: %s)", path.c_str(),
              std::strerror(errno));
        return io_manager::UniqueFd{};
    }
    return socket;
}

// The system error that a code of the watcher stands for.
const char* textOf(io_manager::EFdError error)
{
    return std::strerror(error == io_manager::fdNoEntry ? ENOMEM : EINVAL);
}

} // namespace

COviLogger::COviLogger(IIdsm& idsm, std::string path)
    : m_idsm{idsm}, m_path{std::move(path)}, m_listenSocket{listenOn(m_path)}, m_thread{"IdsOviLogger", *this}
{
    m_clients.reserve(kMostClients);
    TRACE(s_hostSensorChannel, progress, kLabel, "Listen socket FD: %d:", m_listenSocket.get());
}

COviLogger::~COviLogger()
{
    m_thread.requestStop();
    m_thread.join();
    removeSocket();
}

void COviLogger::removeSocket() const
{
    ::unlink(m_path.c_str());
}

bool COviLogger::startOviLogger()
{
    if (!m_listenSocket.valid()) {
        m_listenSocket = listenOn(m_path); // what was in the way may be gone
    }
    if (!m_listenSocket.valid()) {
        TRACE(s_hostSensorChannel, error, kLabel, "Listen socket invalid!");
        return false;
    }
    if (m_started) {
        return true;
    }
    io_manager::EFdError error;
    if (!m_watcher.addFileDescriptor( // a thread that nothing can wake is not started
            m_thread.stateDescriptor(), [] {}, error))
    {
        TRACE(s_hostSensorChannel, resource, kLabel, "Can't watch for the end! (error: %u)",
              static_cast<unsigned>(error));
        return false;
    }
    if (m_thread.start()) {
        TRACE(s_hostSensorChannel, resource, kLabel, "Can't start receiving thread! (%s)", ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return false;
    }
    m_started = true;
    return true;
}

void COviLogger::run(util::Thread const* const thread)
{
    while (!thread->stopRequested()) {
        updateAccepting();
        waitOnce(*thread);
    }
}

// A connection that cannot be accepted keeps the listening socket readable: it is not watched meanwhile.
void COviLogger::updateAccepting()
{
    const bool wanted = m_clients.size() < kMostClients && Clock::now() >= m_restEnds;
    if (wanted == m_accepting) {
        return;
    }
    if (wanted) {
        m_accepting = watchListenSocket();
        return;
    }
    m_watcher.removeFileDescriptor(m_listenSocket.get());
    m_accepting = false;
}

bool COviLogger::watchListenSocket()
{
    io_manager::EFdError error;
    const bool added = m_watcher.addFileDescriptor(
        m_listenSocket.get(), [this] { acceptClient(); }, error);
    if (!added) {
        TRACE_AT(s_hostSensorChannel, error, kLabel, kLoop, __LINE__,
                 "Failed adding a new file descriptor 'listen_socket': %s", textOf(error));
        m_restEnds = Clock::now() + kRest;
    }
    return added;
}

void COviLogger::waitOnce(const util::Thread& thread)
{
    const bool resting = !m_accepting && m_clients.size() < kMostClients;
    io_manager::EFdError error;
    if (!m_watcher.wait(error, resting ? static_cast<int>(kRest.count()) : -1)) {
        TRACE_AT(s_hostSensorChannel, error, kLabel, kLoop, __LINE__,
                 "Watch cycle properly started error is indicated, the caller is blocked until the end of the cycle : "
                 "%s",
                 textOf(error));
        thread.sleep(kRest);
    }
}

void COviLogger::acceptClient()
{
    errno = 0; // a descriptor 0 is refused without an error
    io_manager::UniqueFd client{::accept4(m_listenSocket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)};
    if (client.get() > 0) {
        addClient(std::move(client));
        return;
    }
    const auto* const reason = std::strerror(errno);
    m_restEnds = Clock::now() + kRest;
    if (client.valid()) {
        TRACE(s_hostSensorChannel, error, kLabel, "accept ERROR %s : ", reason);
    } else {
        TRACE(s_hostSensorChannel, error, kLabel, "accept ERROR %s ", reason);
    }
}

void COviLogger::addClient(io_manager::UniqueFd client)
{
    const auto descriptor = client.get();
    io_manager::EFdError error;
    if (!m_watcher.addFileDescriptor(
            descriptor, [this, descriptor] { reciveData(descriptor); }, error))
    {
        TRACE(s_hostSensorChannel, error, kLabel, "Adding a new file descriptor 'client_socket' Failed: %s",
              textOf(error));
        return;
    }
    m_clients.push_back(std::move(client));
    if (m_clients.size() == kMostClients) {
        TRACE(s_hostSensorChannel, error, kLabel, "%zu clients are connected, further ones wait.", kMostClients);
    }
}

void COviLogger::reciveData(std::int32_t client)
{
    std::array<char, kReceiveBuffer> buffer;
    errno = 0;
    const auto received = ::read(client, buffer.data(), buffer.size());
    if (received > 0 || errno == EAGAIN || errno == EINTR) {
        return;
    }
    if (received < 0) {
        TRACE(s_hostSensorChannel, error, kLabel, "Occurrence of errors when reading NBITES in BUF from FD : %s",
              std::strerror(errno));
    } else {
        TRACE(s_hostSensorChannel, error, kLabel, "EOF when reading NBITES in BUF from FD: %s", std::strerror(errno));
    }
    removeClient(client);
}

void COviLogger::removeClient(std::int32_t client)
{
    m_watcher.removeFileDescriptor(client);
    m_clients.erase(
        std::find_if(m_clients.begin(), m_clients.end(), [client](const auto& one) { return one.get() == client; }));
}

} // namespace ids
