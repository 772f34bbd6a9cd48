#include "PersistenceStore.h"

#include <sqlite3.h>

#include "Fields.h"

namespace unit_simulator {
namespace {

using persistence::PersistenceLocation;

constexpr char kTables[] =
    "CREATE TABLE IF NOT EXISTS partition(id INTEGER PRIMARY KEY, number INTEGER, name TEXT, version TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS setting(partition INTEGER, key INTEGER, value, PRIMARY KEY(partition, key));"
    "BEGIN IMMEDIATE";

/// A prepared SQL statement.
class Statement
{
public:
    Statement(sqlite3* database, const char* sql) { sqlite3_prepare_v2(database, sql, -1, &m_statement, nullptr); }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(int place, std::int64_t number) { sqlite3_bind_int64(m_statement, place, number); }
    void bind(int place, const std::string& text)
    {
        sqlite3_bind_text64(m_statement, place, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void bind(int place, const PersistenceStore::Value& value)
    {
        if (const auto* const number = std::get_if<std::int32_t>(&value)) {
            bind(place, std::int64_t{*number});
        } else if (const auto* const text = std::get_if<std::string>(&value)) {
            bind(place, *text);
        } else if (const auto* const bytes = std::get_if<std::vector<std::uint8_t>>(&value)) {
            sqlite3_bind_zeroblob(m_statement, place, 0); // also for an empty value, which has no address
            if (!bytes->empty()) {
                sqlite3_bind_blob64(m_statement, place, bytes->data(), bytes->size(), SQLITE_TRANSIENT);
            }
        }
    }

    /// A partition is identified by its number (bound at place) or its name (at the place after it); the other is null.
    void bind(int place, const PersistenceLocation& location)
    {
        if (location.kind == PersistenceLocation::byNumber) {
            bind(place, std::int64_t{location.number});
        } else {
            bind(place + 1, location.name);
        }
    }

    /// Steps to the next row; false when there is none.
    bool hasRow() { return sqlite3_step(m_statement) == SQLITE_ROW; }
    bool run() { return sqlite3_step(m_statement) == SQLITE_DONE; }

    std::int64_t number() const { return sqlite3_column_int64(m_statement, 0); }
    PersistenceStore::Value value() const
    {
        switch (sqlite3_column_type(m_statement, 0)) {
        case SQLITE_INTEGER:
            return sqlite3_column_int(m_statement, 0);
        case SQLITE_TEXT:
            return bytesAs<std::string>();
        case SQLITE_BLOB:
            return bytesAs<std::vector<std::uint8_t>>();
        default:
            return std::monostate{};
        }
    }

private:
    template <typename Bytes>
    Bytes bytesAs() const
    {
        const auto* const first = static_cast<const std::uint8_t*>(sqlite3_column_blob(m_statement, 0));
        return {first, first + sqlite3_column_bytes(m_statement, 0)};
    }

    sqlite3_stmt* m_statement = nullptr;
};

} // namespace

void PersistenceStore::Closer::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

PersistenceStore::PersistenceStore(const std::string& file)
{
    sqlite3* database = nullptr;
    int error = sqlite3_open(file.c_str(), &database);
    m_database.reset(database);
    if (error == SQLITE_OK) {
        error = sqlite3_exec(database, kTables, nullptr, nullptr, nullptr);
    }
    if (error != SQLITE_OK) {
        throw BadInput{file + ": " + sqlite3_errstr(error)};
    }
}

PersistenceStore::~PersistenceStore()
{
    commit();
}

std::optional<std::string> PersistenceStore::version(const PersistenceLocation& location) const
{
    Statement query{m_database.get(), "SELECT version FROM partition WHERE number IS ?1 AND name IS ?2"};
    query.bind(1, location);
    return query.hasRow() ? std::optional{std::get<std::string>(query.value())} : std::nullopt;
}

PersistenceStore::PartitionId PersistenceStore::open(const PersistenceLocation& location, const std::string& version)
{
    Statement query{m_database.get(), "SELECT id FROM partition WHERE number IS ?1 AND name IS ?2"};
    query.bind(1, location);
    if (query.hasRow()) {
        return query.number();
    }
    Statement insertion{m_database.get(), "INSERT INTO partition(number, name, version) VALUES(?1, ?2, ?3)"};
    insertion.bind(1, location);
    insertion.bind(3, version);
    insertion.run();
    return sqlite3_last_insert_rowid(m_database.get());
}

PersistenceStore::Value PersistenceStore::value(PartitionId partition, std::uint32_t key) const
{
    Statement query{m_database.get(), "SELECT value FROM setting WHERE partition = ?1 AND key = ?2"};
    query.bind(1, partition);
    query.bind(2, std::int64_t{key});
    return query.hasRow() ? query.value() : Value{};
}

bool PersistenceStore::set(PartitionId partition, std::uint32_t key, const Value& value)
{
    Statement change{m_database.get(), "INSERT OR REPLACE INTO setting VALUES(?1, ?2, ?3)"};
    change.bind(1, partition);
    change.bind(2, std::int64_t{key});
    change.bind(3, value);
    return change.run();
}

bool PersistenceStore::commit()
{
    return sqlite3_exec(m_database.get(), "COMMIT; BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace unit_simulator
