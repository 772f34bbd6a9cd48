#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "PersistenceStore.h"
#include "ProvidedService.h"
#include "persistence/IPersistenceA.h"

namespace unit_simulator {

/// The unit's persistence service. Handles last until the service is withdrawn. Subscriptions are common to all clients
/// and end with the last of them; every answer goes to all.
class PersistenceService final : public ProvidedService<persistence::IPersistenceADescription>
{
public:
    using Location = persistence::PersistenceLocation;

    /// Takes a line for every request.
    using Report = std::function<void(const std::string&)>;

    /// What becomes of the next requests of a kind instead of what should.
    struct Fault
    {
        std::optional<std::uint32_t> result; ///< nothing: there is no answer
        bool versionIsAbsent = false;
        std::uint32_t times = 1;
    };

    PersistenceService(std::string name, const comm::FactoryPtr& factory, PersistenceStore& store, Report report)
        : ProvidedService{std::move(name), factory}, m_store{store}, m_report{std::move(report)}
    {}

    /// request: version, open, set, flush or subscribe, which tells the result as the status of the values.
    void fail(const std::string& request, const Fault& fault) { m_faults[request] = fault; }

    /// Changes a value behind the clients' backs, in a partition that is made if need be.
    void change(const Location& location, std::uint32_t key, const PersistenceStore::Value& value);

    void withdraw() override;
    void version(std::uint32_t partition) override;
    void versionByName(const std::string& partition) override;
    void open(std::uint32_t partition, const persistence::Version& version) override;
    void openByName(const std::string& partition, const persistence::Version& version) override;
    void setInt(std::uint32_t handle, std::uint32_t key, std::int32_t value) override;
    void flush(std::uint32_t handle) override;
    void subscribe(std::uint32_t handle, const persistence::Keys& keys) override;
    void unsubscribe(std::uint32_t handle, const persistence::Keys& keys) override;

private:
    struct Opened
    {
        PersistenceStore::PartitionId id;
        std::string name;
    };

    void clientDisconnected(const Reply& client) override;

    template <typename Tell>
    void answerVersion(const Location& location, const Tell& tell);
    template <typename Tell>
    void answerOpen(const Location& location, const persistence::Version& version, const Tell& tell);
    template <typename Tell>
    void answer(const std::string& request, std::uint32_t result, const Tell& tell);
    Fault takeFault(const std::string& request, std::uint32_t result);
    std::uint32_t handleOf(const Location& location, const std::string& version);
    void tellValue(std::uint32_t handle, std::uint32_t key, std::uint32_t status) const;
    void tellIfSubscribed(std::uint32_t handle, std::uint32_t key) const;
    std::string nameOf(std::uint32_t handle) const;

    PersistenceStore& m_store;
    const Report m_report;
    std::map<std::string, Fault> m_faults;
    std::map<std::uint32_t, Opened> m_opened; // by handle
    std::uint32_t m_lastHandle = 0;
    std::set<std::pair<std::uint32_t, std::uint32_t>> m_subscriptions; // handle and key
};

} // namespace unit_simulator
