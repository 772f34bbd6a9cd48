#include "target_common/FdMonitor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/select.h>

#include "FolderMonitorChannel.h"

namespace common_ {
namespace {

constexpr auto kClass = "FolderMonitor"; // of which it is a part

} // namespace

bool FdMonitor::add(List list, std::int32_t fd, IFdMonitorListener* listener)
{
    if (fd < 0 || fd >= FD_SETSIZE) {
        TRACE(s_folderMonitorChannel, resource, kClass, "Can't monitor fd=%d (possible: 0 to %d)", fd, FD_SETSIZE - 1);
        return false;
    }
    TRACE(s_folderMonitorChannel, detail, kClass, "Monitoring fd=%d via %p", fd, static_cast<void*>(listener));
    for (auto& entry : m_lists[list]) {
        if (entry.fd == fd && !entry.removeMe) {
            entry.active = true;
            return true;
        }
    }
    m_lists[list].push_back({fd, true, false, listener});
    return true;
}

void FdMonitor::remove(List list, std::int32_t fd)
{
    for (auto& entry : m_lists[list]) {
        entry.removeMe = entry.removeMe || entry.fd == fd;
    }
}

bool FdMonitor::runCycle(int timeoutMs)
{
    timeval timeout{timeoutMs / 1000, timeoutMs % 1000 * 1000};
    std::array<fd_set, 3> sets;
    int highest = -1;
    for (const auto list : {read, write, error}) {
        FD_ZERO(&sets[list]);
        std::erase_if(m_lists[list], [](const Entry& entry) { return entry.removeMe; });
        for (const auto& entry : m_lists[list]) {
            if (entry.active) {
                FD_SET(entry.fd, &sets[list]);
                highest = std::max(highest, entry.fd);
            }
        }
    }

    const int ready = ::select(highest + 1, &sets[read], &sets[write], &sets[error], &timeout);
    if (ready < 0) {
        TRACE(s_folderMonitorChannel, error, kClass, "select(%d)=%s failed", highest + 1, std::strerror(errno));
        return false;
    }
    if (ready == 0) {
        TRACE(s_folderMonitorChannel, detail, kClass, "No data within time");
        return true;
    }
    TRACE(s_folderMonitorChannel, detail, kClass, "Data is available now");
    for (const auto list : {read, write, error}) {
        const auto waitedFor = m_lists[list].size(); // a listener may add more
        for (std::size_t i = 0; i < waitedFor; ++i) {
            auto& entry = m_lists[list][i];
            if (!entry.removeMe && FD_ISSET(entry.fd, &sets[list])) {
                entry.active = entry.active && list != error;
                tell(list, Entry{entry});
            }
        }
    }
    return true;
}

void FdMonitor::tell(List list, const Entry& entry)
{
    if (entry.listener == nullptr) {
        return;
    }
    switch (list) {
    case read:
        return entry.listener->onFdReadReady(entry.fd);
    case write:
        return entry.listener->onFdWriteReady(entry.fd);
    case error:
        return entry.listener->onFdError(entry.fd);
    }
}

} // namespace common_
