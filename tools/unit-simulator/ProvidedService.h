#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "comm/Service.h"

namespace unit_simulator {

/// A service that the unit provides, without its types. On the unit's active object.
class IProvidedService
{
public:
    virtual ~IProvidedService() = default;
    virtual const std::string& name() const = 0;

    /// Returns false when the bus does not let us have the name.
    virtual bool provide() = 0;
    virtual void withdraw() = 0;

    /// From now on nobody may connect, or everybody again.
    virtual void refuseClients(bool refuses) = 0;
};

/// One instance of a described service: keeps its attributes and knows its clients.
template <typename Description>
class ProvidedService : public comm::Service<Description>, public IProvidedService
{
public:
    /// name: by which steps call it.
    ProvidedService(std::string name, const comm::FactoryPtr& factory, std::uint32_t instance = 1)
        : m_name{std::move(name)}, m_factory{factory}, m_instance{instance}
    {}
    ~ProvidedService() override { this->unregisterInstance(); }

    const std::string& name() const override { return m_name; }
    bool provide() override
    {
        const bool refused = this->registerInstance(m_instance, m_factory);
        ipl::ErrorStorage::ack();
        return !refused;
    }
    void withdraw() override
    {
        this->unregisterInstance();
        m_clients.clear();
    }
    void refuseClients(bool refuses) override { m_refuses = refuses; }

    /// Stores an attribute and tells those who want to know.
    template <auto function, typename Value>
    void set(Value value, bool isValid)
    {
        this->template setAttribute<function>(std::move(value), isValid);
    }

    /// Sends a reply to every connected client.
    template <auto function, typename... Args>
    void tell(const Args&... args) const
    {
        for (const auto& client : m_clients) {
            client.template call<function>(args...);
        }
    }

protected:
    using Client = typename comm::Service<Description>::Reply;

    bool hasClients() const { return !m_clients.empty(); }
    void clientDisconnected(const Client& client) override { std::erase(m_clients, client); }

private:
    void clientConnected(const Client& client) override
    {
        if (std::find(m_clients.begin(), m_clients.end(), client) == m_clients.end()) {
            m_clients.push_back(client);
        }
    }
    bool asksForUser() const override { return m_refuses; }
    bool admits(std::optional<std::uint32_t>) const override { return !m_refuses; }

    const std::string m_name;
    const comm::FactoryPtr m_factory;
    const std::uint32_t m_instance;
    bool m_refuses = false;
    std::vector<Client> m_clients;
};

} // namespace unit_simulator
