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

/// Partitions and their values in an SQLite file. What was changed since the last commit is on the medium only after an
/// orderly end. A change that the database refuses, such as for want of space, is as if it had not been asked for.
class PersistenceStore
{
public:
    using PartitionId = std::int64_t;

    /// Nothing, an integer, a text or bytes.
    using Value = std::variant<std::monostate, std::int32_t, std::string, std::vector<std::uint8_t>>;

    /// file: made when it is not there; ":memory:" for none. Throws BadInput when it cannot be used.
    explicit PersistenceStore(const std::string& file);
    ~PersistenceStore();
    PersistenceStore(const PersistenceStore&) = delete;
    PersistenceStore& operator=(const PersistenceStore&) = delete;

    /// Nothing when there is no such partition.
    std::optional<std::string> version(const persistence::PersistenceLocation& location) const;

    /// The partition, made with the version when it is not there.
    PartitionId open(const persistence::PersistenceLocation& location, const std::string& version);

    Value value(PartitionId partition, std::uint32_t key) const;

    /// Stores a value, or removes it when it is nothing. Returns true when that was done.
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
