#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "conn_common/PersistenceLocation.h"

struct sqlite3;

namespace unit_simulator {

/// Partitions and their values in an SQLite file. Changes since the last commit reach the medium only at an orderly
/// exit. A change that the database refuses, for example for lack of space, has no effect.
class PersistenceStore
{
public:
    using PartitionId = std::int64_t;

    /// Nothing, an integer, a text or bytes.
    using Value = std::variant<std::monostate, std::int32_t, std::string, std::vector<std::uint8_t>>;

    /// file: created if it does not exist; ":memory:" for none. Throws BadInput when it cannot be used.
    explicit PersistenceStore(const std::string& file);
    ~PersistenceStore();
    PersistenceStore(const PersistenceStore&) = delete;
    PersistenceStore& operator=(const PersistenceStore&) = delete;

    /// Nullopt when the partition does not exist.
    std::optional<std::string> version(const persistence::PersistenceLocation& location) const;

    /// Returns the partition; creates it with the version if it does not exist.
    PartitionId open(const persistence::PersistenceLocation& location, const std::string& version);

    Value value(PartitionId partition, std::uint32_t key) const;

    /// Stores a value; std::monostate removes it. Returns true on success.
    bool set(PartitionId partition, std::uint32_t key, const Value& value);
    bool commit();

private:
    struct Closer
    {
        void operator()(sqlite3* database) const;
    };

    std::unique_ptr<sqlite3, Closer> m_database;
};

} // namespace unit_simulator
