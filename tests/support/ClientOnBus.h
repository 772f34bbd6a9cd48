#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "CapturedLog.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace test_support {

/// A service of the unit, instance 1, on the bus during its lifetime.
template <typename Stub>
class ProvidedService : Stub
{
public:
    ProvidedService()
    {
        if (this->registerInstance(1, m_activeObject.factory())) {
            throw std::runtime_error{"the bus refuses the service"};
        }
    }
    ~ProvidedService() override { this->unregisterInstance(); }

    template <auto function, typename Value>
    void set(const Value& value)
    {
        m_activeObject.run([&] { this->template setAttribute<function>(value); });
    }

private:
    const TestActiveObject m_activeObject;
};

/// A call of a listener: its function, value and validity.
using Heard = std::vector<std::tuple<std::string, std::int64_t, bool>>;

/// A client of the daemon on a test bus, destroyed before its listener.
template <typename Client, typename Listener>
class ClientOnBus
{
public:
    explicit ClientOnBus(Listener& listener) : m_listener{listener}
    {
        m_activeObject.run([this] {
            m_client = std::make_unique<Client>(m_activeObject.factory());
            m_client->addListener(&m_listener);
            m_client->start();
        });
    }
    ~ClientOnBus()
    {
        m_activeObject.run([this] { m_client.reset(); });
    }

    /// Waits until exactly these calls have been received.
    bool hears(const Heard& expected) const
    {
        return eventually([&] {
            bool same = false;
            m_activeObject.run([&] { same = m_listener.heard == expected; });
            return same;
        });
    }

    const CapturedLog log;

private:
    const TestBus m_bus;
    const TestActiveObject m_activeObject;
    Listener& m_listener;
    std::unique_ptr<Client> m_client;
};

} // namespace test_support
