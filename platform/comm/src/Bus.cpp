#include "Bus.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <utility>

#include "comm/EventLoop.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

constexpr char kLabel[] = "comm::Bus";
constexpr std::uint64_t kRetryMicroseconds = 500'000;
constexpr std::size_t kMessageSize = 512; // what a message takes besides what is appended

tracing::Channel s_channel{"CON_COMM", 7, 2};

bool isOfBus(sd_bus_message* message)
{
    const char* const sender = sd_bus_message_get_sender(message);
    return sender == nullptr || std::string_view{sender} == "org.freedesktop.DBus";
}

} // namespace

void SlotDeleter::operator()(sd_bus_slot* slot) const
{
    sd_bus_slot_unref(slot);
}

void MessageDeleter::operator()(sd_bus_message* message) const
{
    sd_bus_message_unref(message);
}

// The timer is had now: when the bus dies for want of descriptors, it must not be missing.
Bus::Bus(sd_event* event) : m_event{event}
{
    int error = sd_event_add_time_relative(m_event, &m_retry, CLOCK_MONOTONIC, 0, 0, &Bus::onRetry, this);
    if (error >= 0) {
        error = sd_event_source_set_enabled(m_retry, SD_EVENT_OFF);
    }
    if (error < 0) {
        sd_event_source_unref(m_retry);
        throwError(-error, "sd_event_add_time_relative");
    }
}

Bus::~Bus()
{
    visitUsers([](User& user) {
        user.onBusLost();
        return false;
    });
    m_users.clear();
    sd_event_source_disable_unref(m_retry);
    forget();
}

void Bus::use()
{
    if (!std::exchange(m_used, true)) {
        open();
    }
}

void Bus::addUser(User& user)
{
    m_users.push_back(&user);
    const auto onBusConnected = [&user] {
        user.onBusConnected();
        return 0;
    };
    if (m_connected && guarded(onBusConnected) < 0) {
        lose();
    }
}

void Bus::removeUser(User& user)
{
    std::replace(m_users.begin(), m_users.end(), &user, static_cast<User*>(nullptr));
    if (m_visits == 0) {
        std::erase(m_users, nullptr);
    }
}

bool Bus::send(sd_bus_message* message, std::size_t bytes)
{
    const auto size = kMessageSize + bytes;
    dropWritten();
    const bool fits =
        m_queuedSizes.empty() || (m_queuedSizes.size() < kMaxQueuedWrites && m_queuedBytes + size <= kMaxQueuedBytes);
    if (!m_connected || !fits) {
        return false;
    }
    if (!note(size)) { // first: what has been sent must not seem to have failed
        return false;
    }
    if (sd_bus_send(m_bus, message, nullptr) < 0) {
        m_queuedSizes.pop_back();
        return false;
    }
    m_queuedBytes += size;
    return true;
}

bool Bus::note(std::size_t size)
{
    try {
        m_queuedSizes.push_back(size);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool Bus::congested()
{
    dropWritten();
    return m_queuedSizes.size() >= kMaxQueuedWrites / 4 || m_queuedBytes >= kMaxQueuedBytes / 4;
}

// The library tells how many messages wait, but not how much that is: the last ones sent are those that wait.
void Bus::dropWritten()
{
    std::uint64_t waiting = 0;
    if (!m_connected || sd_bus_get_n_queued_write(m_bus, &waiting) < 0) {
        waiting = 0;
    }
    for (; m_queuedSizes.size() > waiting; m_queuedSizes.pop_front()) {
        m_queuedBytes -= m_queuedSizes.front();
    }
}

const char* Bus::address()
{
    const char* const address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr ? address : "the system bus";
}

// Shows the users one by one to visit until it returns true. A user may come or go meanwhile, or fail for itself.
template <typename Visit>
Bus::Visited Bus::visitUsers(Visit visit)
{
    auto visited = Visited::byAll;
    ++m_visits;
    const auto count = m_users.size();
    for (std::size_t place = 0; place < count && visited != Visited::taken; ++place) {
        auto* const user = m_users[place];
        const int result = user != nullptr ? guarded([&] { return visit(*user) ? 1 : 0; }) : 0;
        if (result != 0) {
            visited = result > 0 ? Visited::taken : Visited::notByAll;
        }
    }
    if (--m_visits == 0) {
        std::erase(m_users, nullptr);
    }
    return visited;
}

// Opens the connection or sees to it that it is tried again. The bus has answered nothing yet when this returns: what
// is sent meanwhile waits in the connection, and a bus that refuses us makes itself known as a loss.
void Bus::open()
{
    if (const int error = connect(); error < 0) {
        if (!m_reported) {
            m_reported = true;
            TRACE(s_channel, warning, kLabel, "no bus at %s (%s), trying again", address(), std::strerror(-error));
        }
        forget();
        retryLater();
        return;
    }
    m_connected = true;
    const auto visited = visitUsers([](User& user) {
        user.onBusConnected();
        return false;
    });
    if (visited == Visited::notByAll) {
        lose();
    }
}

int Bus::connect()
{
    int error = sd_bus_open_system_with_description(&m_bus, "idsProc");
    if (error < 0) {
        return error;
    }
    sd_bus_set_exit_on_disconnect(m_bus, 0);
    const auto filter = [](sd_bus_message* message, void* userdata, sd_bus_error*) {
        return guarded([=] { return static_cast<Bus*>(userdata)->handle(message); });
    };
    error = sd_bus_add_filter(m_bus, nullptr, filter, this);
    return error < 0 ? error : sd_bus_attach_event(m_bus, m_event, SD_EVENT_PRIORITY_NORMAL);
}

int Bus::handle(sd_bus_message* message)
{
    if (sd_bus_message_is_signal(message, "org.freedesktop.DBus.Local", "Disconnected") > 0) {
        lose();
        return 0;
    }
    if (m_reported) {
        m_reported = false;
        TRACE(s_channel, milestone, kLabel, "bus at %s is back", address());
    }
    if (sd_bus_message_is_signal(message, nullptr, nullptr) <= 0 || isOfBus(message)) {
        return 0;
    }
    // A peer's signal goes no further. All our matches are for what the bus itself tells, but the library does not
    // compare the sender: what a peer sends to us alone could forge the death of anybody.
    if (sd_bus_message_get_destination(message) != nullptr) {
        visitUsers([message](User& user) { return user.onSignal(message); });
    }
    return 1;
}

void Bus::lose()
{
    if (!m_connected) {
        return;
    }
    m_connected = false;
    if (!m_reported) {
        m_reported = true;
        TRACE(s_channel, warning, kLabel, "bus at %s is gone, trying again", address());
    }
    visitUsers([](User& user) {
        user.onBusLost();
        return false;
    });
    // The dead connection is released by the retry, not in the middle of its own last message.
    retryLater();
}

void Bus::retryLater()
{
    sd_event_source_set_time_relative(m_retry, kRetryMicroseconds);
    sd_event_source_set_enabled(m_retry, SD_EVENT_ONESHOT);
}

int Bus::onRetry(sd_event_source*, std::uint64_t, void* userdata)
{
    return guarded([userdata] {
        auto& bus = *static_cast<Bus*>(userdata);
        bus.forget();
        bus.open();
        return 0;
    });
}

void Bus::forget()
{
    m_connected = false;
    if (m_bus != nullptr) {
        sd_bus_detach_event(m_bus);
        sd_bus_close_unref(m_bus);
        m_bus = nullptr;
    }
}

} // namespace comm
