#include "PartitionManager.h"

#include <algorithm>
#include <new>

#include "tracing/Channel.h"

namespace persistence {
namespace {

constexpr char kLabel[] = "PersistenceServices";

tracing::Channel s_channel{"CON_PERSISTENCE", 7, 2};

} // namespace

std::string textOf(const PersistenceLocation& location)
{
    return location.kind == PersistenceLocation::byNumber ? std::to_string(static_cast<std::int32_t>(location.number))
                                                          : location.name;
}

std::optional<PartitionManager::State> PartitionManager::stateOf(const PersistenceLocation& location) const
{
    const auto* const item = find(location);
    return item != nullptr ? std::optional{item->state} : std::nullopt;
}

std::optional<std::uint32_t> PartitionManager::handleOf(const PersistenceLocation& location) const
{
    const auto* const item = find(location);
    return item != nullptr && item->state == opened ? std::optional{item->handle} : std::nullopt;
}

const PersistenceLocation* PartitionManager::locationOf(std::uint32_t handle) const
{
    const auto found = std::find_if(m_items.begin(), m_items.end(), [handle](const partition_item& item) {
        return item.state == opened && item.handle == handle;
    });
    return found != m_items.end() ? &found->location : nullptr;
}

void PartitionManager::setOpenRequested(const PersistenceLocation& location)
{
    try {
        m_items.push_back({location, openRequested, 0, nullptr});
    } catch (const std::bad_alloc&) {
        TRACE(s_channel, resource, kLabel, "Out of memory!");
        return;
    }
    TRACE(s_channel, detail, kLabel, "Open request for partition %s sent", textOf(location).c_str());
}

const PartitionManager::partition_item* PartitionManager::setVersion(const PersistenceLocation& location,
                                                                     const Version& version)
{
    auto* const item = findWaiting(location);
    if (item != nullptr) {
        item->version = version;
    }
    return item;
}

bool PartitionManager::setOpened(const PersistenceLocation& location, std::uint32_t handle)
{
    auto* const item = findWaiting(location);
    if (item == nullptr) {
        return false;
    }
    item->state = opened;
    item->handle = handle;
    TRACE(s_channel, detail, kLabel, "Partition %s opened", textOf(location).c_str());
    m_tracker.partitionOpened(location);
    return true;
}

bool PartitionManager::setFailed(const PersistenceLocation& location)
{
    auto* const item = findWaiting(location);
    if (item == nullptr) {
        return false;
    }
    item->state = openFailed;
    return true;
}

const PartitionManager::partition_item* PartitionManager::find(const PersistenceLocation& location) const
{
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [&](const partition_item& item) { return item.location == location; });
    return found != m_items.end() ? &*found : nullptr;
}

PartitionManager::partition_item* PartitionManager::findWaiting(const PersistenceLocation& location)
{
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&](const partition_item& item) {
        return item.state == openRequested && item.location == location;
    });
    return found != m_items.end() ? &*found : nullptr;
}

} // namespace persistence
