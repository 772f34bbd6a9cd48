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

/// Something that can be sent to the daemon: a reply or update of a service of the unit, or a request.
struct Operation
{
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
};

/// What the first instance of the service may send to its clients.
std::vector<Operation> repliesOf(const comm::ServiceInfo& service);

/// What clients may ask of a service, the requests that all services understand included.
std::vector<Operation> requestsOf(const comm::ServiceInfo& service);

/// The unit's bus and everybody on it but one active object, played by the fuzzer's own thread. It gives every name
/// that is asked for, knows an owner of every name, and connects whoever wants to be a client.
class PlayedBus
{
public:
    static constexpr const char* kOwner = ":1.1"; ///< of every name

    /// Listens where the daemon will look for its bus.
    PlayedBus();

    /// Plays until the condition holds. A daemon that does nothing for ten seconds is a finding.
    void playUntil(const std::function<bool()>& condition);

    /// Plays until the daemon has handled everything that was sent to it.
    void settle();

    /// Sends the operation, as a service or as a caller, with what the input says for arguments of the signature.
    /// Nothing is sent when there are none that a bus would let through.
    void signal(const std::string& sender, const Operation& operation, Input& input, const std::string& signature);
    void request(const std::string& sender, const Operation& operation, Input& input, const std::string& signature);

    /// Somebody comes, under a name that nobody has had before, or leaves.
    std::string arrive();
    void leave(const std::string& name);

    std::size_t namesGiven = 0;   ///< to the daemon
    std::size_t connections = 0;  ///< of the daemon to services
    std::size_t ownersAsked = 0;  ///< by the daemon
    std::size_t requests = 0;     ///< to the daemon
    std::size_t answers = 0;      ///< of the daemon
    std::size_t signalsHeard = 0; ///< from the daemon

private:
    void accept();
    int handle(sd_bus_message* message);
    int handleCall(sd_bus_message* call);
    void deliver(sd_bus_message* message, const std::string& sender) const;

    const int m_listener;
    std::set<std::string> m_present; ///< those who came by arrive
    std::size_t m_arrivals = 0;
    sd_bus* m_bus = nullptr;
};

} // namespace fuzz_support
