#include "io_manager/util/IoManRunner.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/eventfd.h>
#include <utility>

#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"
#include "tracing/Channel.h"

namespace io_manager {
namespace {

tracing::Channel s_channel{"CON_LIB_IOMRUN", 7, 2};
constexpr auto kClass = "io_manager::IoManRunner";

} // namespace

IoManRunner::IoManRunner(std::shared_ptr<CFdManager> manager, int timeoutMs)
    : m_manager{std::move(manager)},
      m_timeoutMs{timeoutMs},
      m_kick{::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)},
      m_thread{"IoManRunner", [this] { run(); }}
{
    if (!m_kick.valid()) {
        // A thread that nothing can wake is not started.
        TRACE(s_channel, resource, kClass, "eventfd: (%s)", std::strerror(errno));
        return;
    }
    TRACE(s_channel, detail, kClass, "adding pipe-to-self: %d", m_kick.get());
    EFdError error;
    m_manager->addFileDescriptor(
        m_kick.get(), [this] { readKick(); }, error);
    if (m_thread.start()) {
        TRACE(s_channel, resource, kClass, "Error constructing IoManRunner Thread. Reason: %s",
              ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
    }
}

IoManRunner::~IoManRunner()
{
    stopThread();
    m_manager->removeFileDescriptor(m_kick.get());
}

bool IoManRunner::addFileDescriptor(std::int32_t descriptor, std::function<void()> callback, EFdError& error)
{
    const bool added = m_manager->addFileDescriptor(descriptor, std::move(callback), error);
    kick();
    return added;
}

void IoManRunner::removeFileDescriptor(std::int32_t descriptor)
{
    m_manager->removeFileDescriptor(descriptor);
    kick();
}

void IoManRunner::kick()
{
    if (!m_kick.valid()) {
        return;
    }
    const auto written = ::eventfd_write(m_kick.get(), 1);
    if (written != 0 && errno != EAGAIN) { // EAGAIN: so many kicks wait already that no more can be counted
        std::array<char, 128> message;
        std::snprintf(message.data(), message.size(), "kickin pipe failed %d %d (%s)", m_kick.get(), written,
                      std::strerror(errno));
        ipl::GlobalErrorHandler::doFatalAssert("written == 0", "io_manager/util/IoManRunner", __LINE__, __func__,
                                               message.data());
    }
}

void IoManRunner::stopThread()
{
    TRACE(s_channel, progress, kClass, "Requesting stop of IoManRunner thread.");
    m_thread.requestStop();
    kick();
    if (m_thread.join()) {
        TRACE(s_channel, warning, kClass, "Join of IoManRunner thread failed!");
        ipl::ErrorStorage::ack();
    }
}

void IoManRunner::run()
{
    TRACE(s_channel, detail, kClass, "entered");
    while (!m_thread.stopRequested()) {
        EFdError error;
        if (!m_manager->wait(error, m_timeoutMs)) {
            TRACE(s_channel, error, kClass, "fd watch broken (%d)", static_cast<int>(error));
            m_thread.requestStop();
        }
        TRACE(s_channel, detail, kClass, "loop");
    }
    TRACE(s_channel, milestone, kClass, "my watch has ended");
}

void IoManRunner::readKick()
{
    eventfd_t kicks = 0;
    if (const auto result = ::eventfd_read(m_kick.get(), &kicks); result != 0) {
        TRACE(s_channel, error, kClass, "pipe read: %d (%s)", result, std::strerror(errno));
        return;
    }
    TRACE(s_channel, detail, kClass, "Kicked. ouch.");
}

} // namespace io_manager
