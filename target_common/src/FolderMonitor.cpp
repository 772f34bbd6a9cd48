#include "target_common/FolderMonitor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

#include "FolderMonitorChannel.h"
#include "io_manager/UniqueFd.h"
#include "ipl/ErrorStorage.h"

namespace common_ {

tracing::Channel s_folderMonitorChannel{"CON_COMMON_FOLDERMONITOR", 7, 2};

namespace {

constexpr auto kClass = "FolderMonitor";
constexpr auto kSource = "target_common/src/FolderMonitor";

constexpr unsigned kMostInFlight = 64;
constexpr int kCycleMs = 500;
constexpr std::size_t kNameSize = 256;
constexpr std::size_t kReadSize = sizeof(inotify_event) + kNameSize;

constexpr std::uint32_t kCloseWrite = IN_CLOSE_WRITE;
constexpr std::uint32_t kCreate = IN_CREATE;
constexpr std::uint32_t kMovedTo = 0x200; // not the kernel's IN_MOVED_TO, see SNotifyEvents

std::uint32_t maskOf(const SNotifyEvents* selection)
{
    const SNotifyEvents events = selection != nullptr ? *selection : SNotifyEvents{true, true, true};
    return (events.closeWrite ? kCloseWrite : 0) | (events.create ? kCreate : 0) | (events.movedTo ? kMovedTo : 0);
}

} // namespace

FolderMonitor::FolderMonitor(const comm::FactoryPtr& factory, std::function<void(std::string)> callback,
                             std::shared_ptr<SNotifyEvents> selection)
    : m_paths{factory, kMostInFlight, std::move(callback)}, m_selection{std::move(selection)}
{}

FolderMonitor::~FolderMonitor()
{
    if (m_thread) {
        stopThread();
    }
}

void FolderMonitor::stopThread()
{
    TRACE_AT(s_folderMonitorChannel, detail, kClass, "~FolderMonitor", __LINE__,
             "Requesting dispatch thread to stop (%p)", static_cast<void*>(m_thread.get()));
    if (m_thread->requestStateChange(util::Thread::State::stop)) {
        TRACE_AT(s_folderMonitorChannel, warning, kClass, "~FolderMonitor", __LINE__,
                 "IPL error at %s:%d! Couldn't request DispatchThread to stop,reason=%s", kSource, __LINE__,
                 ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return;
    }
    TRACE_AT(s_folderMonitorChannel, detail, kClass, "~FolderMonitor", __LINE__, "Joining DataServerThread");
    if (m_thread->join()) {
        TRACE_AT(s_folderMonitorChannel, warning, kClass, "~FolderMonitor", __LINE__,
                 "IPL error at %s:%d! Couldn't join DataServerThread,reason=%s", kSource, __LINE__,
                 ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return;
    }
    TRACE_AT(s_folderMonitorChannel, detail, kClass, "~FolderMonitor", __LINE__,
             "DataServerThread thread joined, cleaning up");
    m_thread.reset();
}

bool FolderMonitor::start(std::vector<std::string> folders)
{
    if (m_thread && m_thread->running()) {
        TRACE(s_folderMonitorChannel, warning, kClass, "DataServerThread is started already");
        return false;
    }
    m_folders = std::move(folders);
    if (!m_thread) {
        m_thread = std::make_unique<util::Thread>("DataServerThread", *this, [this] { m_paths.close(); });
    }
    if (m_thread->start()) {
        TRACE(s_folderMonitorChannel, resource, kClass, "Couldn't start DataServerThread,reason=%s",
              ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        m_thread.reset();
        return false;
    }
    return true;
}

bool FolderMonitor::pause()
{
    return request(util::Thread::State::pause);
}

bool FolderMonitor::resume()
{
    return request(util::Thread::State::run);
}

bool FolderMonitor::request(util::Thread::State state)
{
    if (!m_thread) {
        return false;
    }
    const bool failed = m_thread->requestStateChange(state);
    if (failed) {
        ipl::ErrorStorage::ack();
    }
    return !failed;
}

void FolderMonitor::threadLoop(util::Thread const* const thread)
{
    TRACE(s_folderMonitorChannel, detail, kClass, "called");
    m_fdMonitor = {};
    m_watches.clear();
    const io_manager::UniqueFd inotify{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
    if (!inotify.valid()) {
        TRACE(s_folderMonitorChannel, resource, kClass, "Failed to inotify fd");
        return;
    }
    addWatches(inotify.get());
    if (m_fdMonitor.add(FdMonitor::read, inotify.get(), this)) {
        watch(*thread, inotify.get());
    }
}

void FolderMonitor::addWatches(std::int32_t inotify)
{
    const auto mask = maskOf(m_selection.get());
    for (const auto& folder : m_folders) {
        m_watches.push_back(::inotify_add_watch(inotify, folder.c_str(), mask));
        if (m_watches.back() < 0) {
            TRACE_AT(s_folderMonitorChannel, warning, kClass, "threadLoop", __LINE__, "Failed to add monitor for '%s'",
                     folder.c_str());
        }
    }
}

void FolderMonitor::watch(const util::Thread& thread, std::int32_t inotify)
{
    using State = util::Thread::State;
    // Without it, a request is seen at the end of the cycle.
    m_fdMonitor.add(FdMonitor::read, thread.stateDescriptor(), nullptr);
    while (!thread.stopRequested()) {
        if (thread.getRequestedState() == State::pause) {
            thread.enterPause(State::pause);
        } else if (!m_fdMonitor.runCycle(kCycleMs)) {
            thread.sleep(std::chrono::milliseconds{kCycleMs});
        }
    }
    m_fdMonitor.remove(FdMonitor::read, inotify);
}

void FolderMonitor::onFdReadReady(std::int32_t fd)
{
    TRACE(s_folderMonitorChannel, detail, kClass, "fd=%d", fd);
    try {
        takeEvents(fd);
    } catch (const std::bad_alloc&) {
        TRACE(s_folderMonitorChannel, resource, kClass, "not enough memory");
    }
}

void FolderMonitor::takeEvents(std::int32_t fd)
{
    std::array<char, kReadSize> buffer{};
    const auto length = ::read(fd, buffer.data(), buffer.size());
    if (length < 1) {
        TRACE_AT(s_folderMonitorChannel, warning, kClass, "onFdReadReady", __LINE__, "read(%d)=%zu(%s)", fd,
                 static_cast<std::size_t>(length), std::strerror(errno));
        return;
    }
    inotify_event event;
    std::memcpy(&event, buffer.data(), sizeof event);
    if (event.wd < 0 || (event.mask & maskOf(m_selection.get())) == 0) { // a folder that goes is no file
        return;
    }
    const auto* const name = buffer.data() + sizeof event;
    post(event.wd, {name, ::strnlen(name, std::min<std::size_t>(event.len, kNameSize))});
}

void FolderMonitor::post(std::int32_t watch, const std::string& name)
{
    for (std::size_t i = 0; i < m_watches.size(); ++i) {
        if (m_watches[i] == watch) {
            m_paths.post(m_folders[i] + "/" + name);
        }
    }
}

void FolderMonitor::onFdError(std::int32_t)
{
    TRACE(s_folderMonitorChannel, detail, kClass, "called");
}

} // namespace common_
