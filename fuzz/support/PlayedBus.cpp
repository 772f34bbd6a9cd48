#include "PlayedBus.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <utility>

namespace fuzz_support {
namespace {

constexpr auto kBus = "org.freedesktop.DBus";
constexpr auto kDaemon = ":1.0";
constexpr std::uint64_t kPatienceMicroseconds = 10'000'000;
constexpr std::string_view kTexts = "sog";

struct Unref
{
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unref>;

void must(int result)
{
    if (result < 0) {
        std::abort();
    }
}

std::string_view view(const char* text)
{
    return text != nullptr ? text : "";
}

/// The length of the first complete type, or of the rest when the type is incomplete.
std::size_t lengthOfType(std::string_view signature)
{
    std::size_t depth = 0;
    for (std::size_t i = 0; i < signature.size(); ++i) {
        depth += signature[i] == '(' || signature[i] == '{' ? 1 : 0;
        depth -= (signature[i] == ')' || signature[i] == '}') && depth > 0 ? 1 : 0;
        if (signature[i] != 'a' && depth == 0) {
            return i + 1;
        }
    }
    return signature.size();
}

std::size_t widthOf(char number)
{
    switch (number) {
    case 'y':
    case 'b':
        return 1;
    case 'n':
    case 'q':
        return 2;
    case 'i':
    case 'u':
        return 4;
    default:
        return 8;
    }
}

/// Appends values of the signature to a message, as the input determines. Stops at the first failure.
class Values
{
public:
    Values(sd_bus_message* message, Input& input) : m_message{message}, m_input{input} {}

    bool append(std::string_view signature)
    {
        while (!signature.empty()) {
            const auto type = signature.substr(0, lengthOfType(signature));
            if (!appendOne(type)) {
                return false;
            }
            signature.remove_prefix(type.size());
        }
        return true;
    }

private:
    bool appendOne(std::string_view type)
    {
        switch (type.front()) {
        case 'a':
            return inside('a', type.substr(1), [&](auto contents) { return elements(contents); });
        case '(':
            return type.size() > 2 &&
                   inside('r', type.substr(1, type.size() - 2), [&](auto contents) { return append(contents); });
        case '{':
            return type.size() > 2 &&
                   inside('e', type.substr(1, type.size() - 2), [&](auto contents) { return append(contents); });
        case 'v':
            return inside('v', "t", [&](auto contents) { return append(contents); });
        default:
            return basic(type.front());
        }
    }

    bool basic(char type)
    {
        if (kTexts.find(type) != std::string_view::npos) {
            const auto text = m_input.text();
            return sd_bus_message_append_basic(m_message, type, text.c_str()) >= 0;
        }
        std::uint64_t number = 0;
        const auto bytes = m_input.bytes(widthOf(type));
        std::memcpy(&number, bytes.data(), bytes.size());
        return sd_bus_message_append_basic(m_message, type, &number) >= 0;
    }

    // The number of elements from the input; none when the input is used up.
    bool elements(std::string_view type)
    {
        for (auto left = m_input.below(256); left > 0 && !m_input.empty(); --left) {
            if (!append(type)) {
                return false;
            }
        }
        return true;
    }

    template <typename Append>
    bool inside(char container, std::string_view contents, Append appendContents)
    {
        const std::string text{contents};
        return sd_bus_message_open_container(m_message, container, text.c_str()) >= 0 && appendContents(contents) &&
               sd_bus_message_close_container(m_message) >= 0;
    }

    sd_bus_message* const m_message;
    Input& m_input;
};

} // namespace

std::vector<Operation> repliesOf(const comm::ServiceInfo& service)
{
    std::vector<Operation> all;
    const auto path = service.objectPath(1);
    for (const auto& reply : service.replies) {
        all.push_back({path, service.replyInterface(), reply.name, reply.signature});
    }
    for (const auto& attribute : service.attributes) {
        all.push_back({path, service.replyInterface(), attribute.updateName, std::string{attribute.signature} + 'b'});
    }
    return all;
}

std::vector<Operation> requestsOf(const comm::ServiceInfo& service)
{
    constexpr auto kProperties = "org.freedesktop.DBus.Properties";
    const auto path = service.objectPath(1);
    std::vector<Operation> all{{path, service.name, "connect", ""},
                               {path, service.name, "disconnect", ""},
                               {path, service.name, "getAttributes", ""},
                               {path, service.name, "getAttribute", "u"},
                               {path, service.name, "requestNotifications", ""},
                               {path, service.name, "requestNotification", "u"},
                               {path, service.name, "cancelNotifications", ""},
                               {path, service.name, "cancelNotification", "u"},
                               {path, "org.freedesktop.DBus.Introspectable", "Introspect", ""},
                               {path, kProperties, "Get", "ss"},
                               {path, kProperties, "GetAll", "s"}};
    for (const auto& request : service.requests) {
        all.push_back({path, service.name, request.name, request.signature});
    }
    return all;
}

PlayedBus::PlayedBus() : m_listener{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)}
{
    const auto name = "ids-fuzz-" + std::to_string(::getpid());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, name.size()); // in the abstract name space, which leaves no file
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    must(::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size));
    must(::listen(m_listener, 1));
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:abstract=" + name).c_str(), 1);
}

void PlayedBus::accept()
{
    const int descriptor = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    must(descriptor);
    must(sd_bus_new(&m_bus));
    must(sd_bus_set_fd(m_bus, descriptor, descriptor));
    must(sd_bus_set_server(m_bus, 1, sd_id128_t{}));
    must(sd_bus_set_anonymous(m_bus, 1));
    must(sd_bus_start(m_bus));
    const auto filter = [](sd_bus_message* message, void* self, sd_bus_error*) {
        return static_cast<PlayedBus*>(self)->handle(message);
    };
    must(sd_bus_add_filter(m_bus, nullptr, filter, this));
}

void PlayedBus::playUntil(const std::function<bool()>& condition)
{
    if (m_bus == nullptr) {
        accept();
    }
    while (!condition()) {
        const int handled = sd_bus_process(m_bus, nullptr);
        must(handled);
        if (handled == 0 && !condition() && sd_bus_wait(m_bus, kPatienceMicroseconds) == 0) {
            std::abort();
        }
    }
}

void PlayedBus::settle()
{
    const Operation ping{"/", "org.freedesktop.DBus.Peer", "Ping", ""};
    Input nothing{nullptr, 0};
    request(kOwner, ping, nothing, ping.signature);
    playUntil([this] { return answers >= requests; });
}

void PlayedBus::signal(const std::string& sender, const Operation& operation, Input& input,
                       const std::string& signature)
{
    sd_bus_message* made = nullptr;
    must(sd_bus_message_new_signal(m_bus, &made, operation.path.c_str(), operation.interface.c_str(),
                                   operation.member.c_str()));
    const Message message{made};
    must(sd_bus_message_set_destination(made, kDaemon));
    if (Values{made, input}.append(signature)) {
        deliver(made, sender);
    }
}

void PlayedBus::request(const std::string& sender, const Operation& operation, Input& input,
                        const std::string& signature)
{
    sd_bus_message* made = nullptr;
    must(sd_bus_message_new_method_call(m_bus, &made, kDaemon, operation.path.c_str(), operation.interface.c_str(),
                                        operation.member.c_str()));
    const Message message{made};
    if (Values{made, input}.append(signature)) {
        ++requests;
        deliver(made, sender);
    }
}

std::string PlayedBus::arrive()
{
    constexpr std::size_t kFirst = 10;
    return *m_present.insert(":1." + std::to_string(kFirst + m_arrivals++)).first;
}

void PlayedBus::leave(const std::string& name)
{
    m_present.erase(name);
    sd_bus_message* made = nullptr;
    must(sd_bus_message_new_signal(m_bus, &made, "/org/freedesktop/DBus", kBus, "NameOwnerChanged"));
    const Message message{made};
    must(sd_bus_message_append(made, "sss", name.c_str(), name.c_str(), ""));
    deliver(made, kBus);
}

void PlayedBus::deliver(sd_bus_message* message, const std::string& sender) const
{
    must(sd_bus_message_set_sender(message, sender.c_str()));
    std::uint64_t cookie = 0; // 0: no reply is requested
    must(sd_bus_send(m_bus, message, &cookie));
}

int PlayedBus::handle(sd_bus_message* message)
{
    std::uint8_t type = 0;
    must(sd_bus_message_get_type(message, &type));
    if (type == SD_BUS_MESSAGE_METHOD_CALL) {
        return handleCall(message);
    }
    answers += type == SD_BUS_MESSAGE_METHOD_RETURN || type == SD_BUS_MESSAGE_METHOD_ERROR ? 1 : 0;
    signalsHeard += type == SD_BUS_MESSAGE_SIGNAL ? 1 : 0;
    return 1;
}

int PlayedBus::handleCall(sd_bus_message* call)
{
    const auto member = view(sd_bus_message_get_member(call));
    if (view(sd_bus_message_get_interface(call)) != kBus) {
        connections += member == "connect" ? 1 : 0;
    } else if (member == "Hello") {
        return sd_bus_reply_method_return(call, "s", kDaemon);
    } else if (member == "RequestName") {
        ++namesGiven;
        return sd_bus_reply_method_return(call, "u", 1U);
    } else if (member == "GetNameOwner") {
        ++ownersAsked;
        return sd_bus_reply_method_return(call, "s", kOwner);
    } else if (member == "NameHasOwner") {
        const char* name = nullptr;
        must(sd_bus_message_read(call, "s", &name));
        return sd_bus_reply_method_return(call, "b", m_present.contains(name) ? 1 : 0);
    } else if (member == "GetConnectionUnixUser") {
        return sd_bus_reply_method_return(call, "u", ::geteuid());
    }
    // The library drops the reply of a call that does not expect one.
    return sd_bus_reply_method_return(call, "");
}

} // namespace fuzz_support
