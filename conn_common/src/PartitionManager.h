#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "IPartitionStateTracker.h"
#include "persistence/IPersistenceA.h"

namespace persistence {

/// For log lines: the number or the name, as the partition goes.
std::string textOf(const PersistenceLocation& location);

/// The books about the partitions that have been asked for since the service came. On the active object.
class PartitionManager
{
public:
    enum State : std::uint32_t
    {
        opened = 0,
        openFailed = 1,
        openRequested = 2
    };

    struct partition_item
    {
        PersistenceLocation location;
        State state;
        std::uint32_t handle; ///< valid while opened
        Version version;      ///< as the service reported it
    };

    explicit PartitionManager(IPartitionStateTracker& tracker) : m_tracker{tracker} {}

    /// Nothing while the partition has not been asked for.
    std::optional<State> stateOf(const PersistenceLocation& location) const;

    /// Nothing unless the partition is opened.
    std::optional<std::uint32_t> handleOf(const PersistenceLocation& location) const;

    /// The opened partition with the handle, null when there is none.
    const PersistenceLocation* locationOf(std::uint32_t handle) const;

    void setOpenRequested(const PersistenceLocation& location);

    /// The following three return false or null for a partition that is not waiting to be opened, and change nothing.
    const partition_item* setVersion(const PersistenceLocation& location, const Version& version);
    bool setOpened(const PersistenceLocation& location, std::uint32_t handle);
    bool setFailed(const PersistenceLocation& location);

    void forgetAll() { m_items.clear(); }

private:
    const partition_item* find(const PersistenceLocation& location) const;
    partition_item* findWaiting(const PersistenceLocation& location);

    IPartitionStateTracker& m_tracker;
    std::vector<partition_item> m_items;
};

} // namespace persistence
