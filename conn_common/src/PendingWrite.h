#pragma once

#include <cstdint>
#include <utility>

#include "conn_common/PersistenceLocation.h"
#include "persistence/IPersistenceA.h"

namespace persistence {

/// A write that waits for its partition and its turn.
class PendingWriteBase
{
public:
    PendingWriteBase(PersistenceLocation location, std::uint32_t keyId, bool flush)
        : m_location{std::move(location)}, m_keyId{keyId}, m_flush{flush}
    {}
    virtual ~PendingWriteBase() = default;
    PendingWriteBase(const PendingWriteBase&) = delete;
    PendingWriteBase& operator=(const PendingWriteBase&) = delete;

    /// Returns true when the write was sent.
    virtual bool doWrite(const IPersistenceAProxy& proxy, std::uint32_t handle) const = 0;

    const PersistenceLocation& getLocation() const { return m_location; }
    std::uint32_t getKeyId() const { return m_keyId; }

    /// Whether a flush of the partition must follow the bunch with this write.
    bool needsFlush() const { return m_flush; }

private:
    const PersistenceLocation m_location;
    const std::uint32_t m_keyId;
    const bool m_flush;
};

template <typename Value>
class PendingWrite;

template <>
class PendingWrite<int> final : public PendingWriteBase
{
public:
    PendingWrite(PersistenceLocation location, std::uint32_t keyId, bool flush, std::int32_t value)
        : PendingWriteBase{std::move(location), keyId, flush}, m_Value{value}
    {}

    bool doWrite(const IPersistenceAProxy& proxy, std::uint32_t handle) const override;

private:
    const std::int32_t m_Value;
};

} // namespace persistence
