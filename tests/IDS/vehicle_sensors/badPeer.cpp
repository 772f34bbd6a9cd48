// A process that provides services of the unit and calls the daemon's, and does it wrongly in every way that the bus
// lets through, and then well once. It speaks when its service list, the last of its services, is connected to, and
// stays until killed.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <systemd/sd-bus.h>

namespace {

const std::string kServiceList = "asi.connectivity.configuration.QuorConfiguration";
const std::string kDiagnostics = "asi.servicediag.diag";

constexpr auto kList = "aaa(as)b";
constexpr auto kHandshake = "a(a(ayqb)a(ayqb)asb)";

sd_bus* g_bus = nullptr;
std::string g_daemon; // its unique name

void must(int result)
{
    if (result < 0) {
        std::abort();
    }
}

std::string pathOf(const std::string& service)
{
    auto path = "/" + service + "/1";
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

template <typename Append>
void tellWith(const std::string& service, const char* member, Append append)
{
    sd_bus_message* message = nullptr;
    must(sd_bus_message_new_signal(g_bus, &message, pathOf(service).c_str(), (service + "Reply").c_str(), member));
    must(append(message));
    must(sd_bus_send_to(g_bus, message, g_daemon.c_str(), nullptr));
    sd_bus_message_unref(message);
}

template <typename... Args>
void tell(const std::string& service, const char* member, const char* types, Args... values)
{
    tellWith(service, member, [&](auto* message) { return sd_bus_message_append(message, types, values...); });
}

template <typename... Args>
void call(const char* member, const char* types, Args... values)
{
    must(sd_bus_call_method_async(g_bus, nullptr, "asi.connectivity.ids.IdsTee.instance1",
                                  "/asi/connectivity/ids/IdsTee/1", "asi.connectivity.ids.IdsTee", member, nullptr,
                                  nullptr, types, values...));
}

void tellService(const char* name)
{
    tell(kServiceList, "updateQuorServices", kList, 1, 1, 1, 1, name, 1);
}

int appendManyServices(sd_bus_message* message)
{
    must(sd_bus_message_open_container(message, 'a', "aa(as)"));
    must(sd_bus_message_open_container(message, 'a', "a(as)"));
    for (int i = 0; i < 100'000; ++i) {
        must(sd_bus_message_append(message, "a(as)", 1, 1, std::to_string(i).c_str()));
    }
    must(sd_bus_message_close_container(message));
    must(sd_bus_message_close_container(message));
    return sd_bus_message_append(message, "b", 1);
}

void speak()
{
    tellService("old");
    tell(kServiceList, "updateQuorServices", kList, 1, 1, 1, 1, "unsure", 0);
    tell(kServiceList, "updateQuorServices", "aaa(as)", 0);
    tell(kServiceList, "updateQuorServices", "aayb", 1, 1, 'x', 1);
    tell(kServiceList, "updateQuorServices", kList, 2, 0, 0, 1);
    tell(kServiceList, "updateNothing", "s", "x");
    tell(kServiceList, "updateQuorServices", kList, 1, 3, 0, 1, 0, 1, 1, "old", 1);
    tellWith(kServiceList, "updateQuorServices", appendManyServices);
    tellService("good");
    must(sd_bus_release_name(g_bus, (kServiceList + ".instance1").c_str()));
    tellService("late");

    tell(kDiagnostics, "publish_SecureConnectionEvent", "a(a(sqb)a(ayqb)asb)", 1, 1, "::1", 0, 0, 0, 0, 0);
    for (int i = 0; i < 2000; ++i) {
        tell(kDiagnostics, "publish_SecureConnectionEvent", kHandshake, 1, 1, 0, 1, 0, 0, 0, 0);
    }
    tell(kDiagnostics, "publish_SecureConnectionEvent", kHandshake, 1, 0, 0, 1, "good", 0);

    call("reportTeeAccess", "s", "x");
    call("reportTeeAccess", "as", 2, "x", "y");
    call("reportNothing", "");
    call("reportTeeAccess", "as", 0);
    call("reportTeeAccessOfProcess", "u", 0xFFFFFFFF);
    call("reportTeeAccess", "as", 1, ("two\nlines" + std::string(100'000, 'x')).c_str());
    call("reportTeeAccess", "as", 1, "good");
}

int onMessage(sd_bus_message* message, void*, sd_bus_error*)
{
    if (sd_bus_message_is_method_call(message, nullptr, "connect") <= 0) {
        return 0;
    }
    g_daemon = sd_bus_message_get_sender(message);
    tellService("early");
    must(sd_bus_reply_method_return(message, "s", "more than was asked for"));
    must(sd_bus_reply_method_return(message, ""));
    if (sd_bus_message_is_method_call(message, kServiceList.c_str(), nullptr) > 0) {
        speak();
    }
    return 1;
}

} // namespace

int main()
{
    must(sd_bus_open_system(&g_bus));
    must(sd_bus_add_filter(g_bus, nullptr, onMessage, nullptr));
    must(sd_bus_request_name(g_bus, (kDiagnostics + ".instance1").c_str(), 0));
    must(sd_bus_request_name(g_bus, (kServiceList + ".instance1").c_str(), 0));
    while (sd_bus_process(g_bus, nullptr) >= 0 && sd_bus_wait(g_bus, UINT64_MAX) >= 0) {
    }
}
