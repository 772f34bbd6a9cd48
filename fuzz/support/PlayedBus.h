#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Input.h"
#include "comm/ServiceInfo.h"

struct sd_bus;
struct sd_bus_message;

namespace fuzz_support {

/// A message to the daemon: a reply or update of a service of the unit, or a request.
struct Operation
{
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
};

/// The replies and updates of the first instance of a service.
std::vector<Operation> repliesOf(const comm::ServiceInfo& service);

/// The requests of a service, including the reserved ones.
std::vector<Operation> requestsOf(const comm::ServiceInfo& service);

/// The unit's bus and all peers on it, except one active object, simulated on the fuzzer's thread. It grants every
/// requested name, returns an owner for every name, and accepts every connection.
class PlayedBus
{
public:
    static constexpr const char* kOwner = ":1.1"; ///< owner of every name

    /// Listens at the address of the daemon's bus.
    PlayedBus();

    /// Runs until the condition holds. Aborts when the daemon makes no progress for ten seconds.
    void playUntil(const std::function<bool()>& condition);

    /// Runs until the daemon has handled all sent messages.
    void settle();

    /// Sends the operation, as a service or as a caller, with arguments of the signature from the input. Sends nothing
    /// when a bus would refuse the arguments.
    void signal(const std::string& sender, const Operation& operation, Input& input, const std::string& signature);
    void request(const std::string& sender, const Operation& operation, Input& input, const std::string& signature);

    /// A peer connects under a new unique name, or disconnects.
    std::string arrive();
    void leave(const std::string& name);

    std::size_t namesGiven = 0;   ///< granted to the daemon
    std::size_t connections = 0;  ///< of the daemon to services
    std::size_t ownersAsked = 0;  ///< queried by the daemon
    std::size_t requests = 0;     ///< to the daemon
    std::size_t answers = 0;      ///< of the daemon
    std::size_t signalsHeard = 0; ///< from the daemon

private:
    void accept();
    int handle(sd_bus_message* message);
    int handleCall(sd_bus_message* call);
    void deliver(sd_bus_message* message, const std::string& sender) const;

    const int m_listener;
    std::set<std::string> m_present; ///< peers connected by arrive
    std::size_t m_arrivals = 0;
    sd_bus* m_bus = nullptr;
};

} // namespace fuzz_support
