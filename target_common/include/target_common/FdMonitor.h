#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "target_common/IFdMonitorListener.h"

namespace common_ {

/// Descriptors that are waited on with select, each for reading, for writing or for errors.
///
/// One thread uses it; the listeners are called there and may add and remove descriptors.
class FdMonitor
{
public:
    enum List : std::size_t
    {
        read = 0,
        write = 1,
        error = 2
    };

    /// Watches a descriptor from the next cycle on; one that is listed already is active again and keeps its listener.
    /// A descriptor without listener only ends the wait. Returns false when select cannot take the descriptor.
    bool add(List list, std::int32_t fd, IFdMonitorListener* listener);

    /// The listener is not called any more; the entry goes with the next cycle.
    void remove(List list, std::int32_t fd);

    /// Waits until a descriptor is ready, at most for the time, and tells the listeners. Returns false when the system
    /// refused to wait.
    bool runCycle(int timeoutMs);

private:
    struct Entry
    {
        std::int32_t fd;
        bool active;
        bool removeMe;
        IFdMonitorListener* listener;
    };

    void tell(List list, const Entry& entry);

    std::array<std::vector<Entry>, 3> m_lists;
};

} // namespace common_
