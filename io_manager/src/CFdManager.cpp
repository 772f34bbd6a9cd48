#include "io_manager/CFdManager.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "ipl/GlobalErrorHandler.h"

namespace io_manager {
namespace {

constexpr std::chrono::milliseconds kRest{10}; // after a poll that fails at once, and may do so again

void reportNoMemory(const char* message)
{
    ipl::GlobalErrorHandler::doOutOfMem(__FILE__, __LINE__, __func__, message);
}

} // namespace

bool CFdManager::addFileDescriptor(std::int32_t descriptor, std::function<void()> callback, EFdError& error)
{
    if (descriptor < 0) {
        error = fdNegative;
        return false;
    }
    const std::lock_guard lock{m_mutex};
    error = fdSuccess;
    if (find(descriptor) != m_entries.end()) {
        return true;
    }
    try {
        m_entries.push_back(std::make_shared<CFdInstance>(descriptor, std::move(callback)));
    } catch (const std::bad_alloc&) {
        error = fdNoEntry;
        return false;
    }
    return true;
}

void CFdManager::removeFileDescriptor(std::int32_t descriptor)
{
    std::unique_lock lock{m_mutex};
    const auto position = find(descriptor);
    if (position == m_entries.end()) {
        return;
    }
    const Entry removed = std::move(*position);
    m_entries.erase(position);
    if (m_runningThread != std::this_thread::get_id()) {
        m_callbackEnded.wait(lock, [&] { return m_running != removed; });
    }
}

bool CFdManager::wait(EFdError& error, int timeoutMs)
{
    if (m_passInProgress.exchange(true)) {
        error = fdPassInProgress;
        return false;
    }
    error = fdSuccess;
    try {
        error = pass(timeoutMs);
    } catch (const std::bad_alloc&) {
        reportNoMemory("a pass over the descriptors is cut short");
    }
    m_passInProgress = false;
    return error == fdSuccess;
}

EFdError CFdManager::pass(int timeoutMs)
{
    collectDescriptors(m_descriptors);
    if (m_descriptors.empty()) {
        return fdNothingToWaitOn;
    }
    m_pollSet.clear();
    for (const auto descriptor : m_descriptors) {
        m_pollSet.push_back({descriptor, POLLIN, 0});
    }

    const int ready = ::poll(m_pollSet.data(), m_pollSet.size(), timeoutMs);
    if (ready < 0 && errno != EINTR) {
        std::this_thread::sleep_for(kRest);
    }
    if (ready == 0) {
        onTimeout();
    }
    if (ready > 0) {
        for (const auto& polled : m_pollSet) {
            if (polled.revents != 0) {
                onReadable(polled.fd);
            }
        }
    }
    return fdSuccess;
}

void CFdManager::collectDescriptors(std::vector<std::int32_t>& descriptors)
{
    const std::lock_guard lock{m_mutex};
    descriptors.clear();
    for (const auto& entry : m_entries) {
        entry->setWatched();
        descriptors.push_back(entry->descriptor());
    }
}

void CFdManager::onReadable(std::int32_t descriptor)
{
    std::unique_lock lock{m_mutex};
    const auto position = find(descriptor);
    if (position == m_entries.end() || !(*position)->watched()) {
        return;
    }
    m_running = *position;
    m_runningThread = std::this_thread::get_id();
    const auto* const running = m_running.get();
    lock.unlock();
    try {
        running->call();
    } catch (const std::bad_alloc&) {
        reportNoMemory("what has come on a descriptor is not taken");
    }
    lock.lock();
    const auto ended = std::exchange(m_running, nullptr);
    m_runningThread = {};
    lock.unlock();
    m_callbackEnded.notify_all();
}

void CFdManager::onTimeout()
{
    if (m_timeoutHandler) {
        m_timeoutHandler();
    }
}

std::vector<CFdManager::Entry>::iterator CFdManager::find(std::int32_t descriptor)
{
    return std::find_if(m_entries.begin(), m_entries.end(),
                        [descriptor](const Entry& entry) { return entry->descriptor() == descriptor; });
}

} // namespace io_manager
