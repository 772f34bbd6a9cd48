#include "comm/Message.h"

#include <cerrno>
#include <systemd/sd-bus.h>

namespace comm {

void MessageWriter::basic(char type, const void* value)
{
    if (ok()) {
        m_bytes += sizeof(std::uint64_t);
        m_error = sd_bus_message_append_basic(m_message, type, value);
    }
}

void MessageWriter::numbers(char type, const void* values, std::size_t bytes)
{
    if (ok()) {
        m_bytes += bytes;
        m_error = sd_bus_message_append_array(m_message, type, values, bytes);
    }
}

void MessageWriter::text(const std::string& value)
{
    // The bus ends a text at its terminating zero.
    if (ok()) {
        m_bytes += value.size();
        m_error = value.find('\0') == std::string::npos
                      ? sd_bus_message_append_basic(m_message, SD_BUS_TYPE_STRING, value.c_str())
                      : -EINVAL;
    }
}

void MessageWriter::open(char type, const char* contents)
{
    if (ok()) {
        m_error = sd_bus_message_open_container(m_message, type, contents);
    }
}

void MessageWriter::close()
{
    if (ok()) {
        m_error = sd_bus_message_close_container(m_message);
    }
}

void MessageReader::basic(char type, void* value)
{
    if (ok()) {
        check(sd_bus_message_read_basic(m_message, type, value));
    }
}

void MessageReader::text(std::string& value)
{
    const char* text = nullptr;
    basic(SD_BUS_TYPE_STRING, &text);
    if (ok()) {
        value = text;
    }
}

std::span<const std::byte> MessageReader::numbers(char type)
{
    const void* values = nullptr;
    std::size_t bytes = 0;
    if (ok()) {
        check(sd_bus_message_read_array(m_message, type, &values, &bytes));
    }
    return ok() ? std::span{static_cast<const std::byte*>(values), bytes} : std::span<const std::byte>{};
}

void MessageReader::enter(char type, const char* contents)
{
    if (ok()) {
        check(sd_bus_message_enter_container(m_message, type, contents));
    }
}

void MessageReader::leave()
{
    if (ok()) {
        check(sd_bus_message_exit_container(m_message));
    }
}

bool MessageReader::atEnd()
{
    return !ok() || sd_bus_message_at_end(m_message, 0) != 0;
}

void MessageReader::refuse(const char* reason)
{
    if (ok()) {
        m_error = -EINVAL;
        m_reason = reason;
    }
}

std::optional<std::uint32_t> MessageReader::senderUser() const
{
    sd_bus_creds* credentials = nullptr;
    uid_t user = 0;
    const bool known = sd_bus_query_sender_creds(m_message, SD_BUS_CREDS_EUID, &credentials) >= 0 &&
                       sd_bus_creds_get_euid(credentials, &user) >= 0;
    sd_bus_creds_unref(credentials);
    return known ? std::optional<std::uint32_t>{user} : std::nullopt;
}

void MessageReader::check(int result)
{
    m_error = result;
}

} // namespace comm
