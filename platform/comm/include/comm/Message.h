#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

struct sd_bus_message;

namespace comm {

/// Appends values to a message of the bus. After the first failure further calls have no effect; ok returns whether all
/// succeeded.
class MessageWriter
{
public:
    explicit MessageWriter(sd_bus_message* message) : m_message{message} {}

    /// A value of one of D-Bus' basic number types: its type letter and its address.
    void basic(char type, const void* value);

    /// A contiguous array of numbers.
    void numbers(char type, const void* values, std::size_t bytes);

    /// A text. The writer fails for bytes that are not UTF-8 and for an embedded zero.
    void text(const std::string& value);

    /// type: 'a' array, 'r' structure, 'v' variant. contents: the signature of the contents.
    void open(char type, const char* contents);
    void close();

    bool ok() const { return m_error >= 0; }

    /// Approximate size of the appended values, in bytes.
    std::size_t bytes() const { return m_bytes; }

private:
    sd_bus_message* m_message;
    int m_error = 0;
    std::size_t m_bytes = 0;
};

/// Reads values from a message of the bus whose signature has been checked. After the first failure further calls have
/// no effect.
class MessageReader
{
public:
    explicit MessageReader(sd_bus_message* message) : m_message{message} {}

    void basic(char type, void* value);
    void text(std::string& value);

    /// An array of numbers. The span is valid as long as the message.
    std::span<const std::byte> numbers(char type);

    /// Enters a container of the given contents.
    void enter(char type, const char* contents);
    void leave();

    /// Whether the container entered last has no more elements. True after a failure, so that loops terminate.
    bool atEnd();

    /// Rejects the message: a value has the right type but is not permitted. The reason must be a literal.
    void refuse(const char* reason);

    /// The user of the message's sender, none when it is unknown. Waits for a reply of the bus.
    std::optional<std::uint32_t> senderUser() const;

    bool ok() const { return m_error >= 0; }

    /// The reason of the failure, for an error reply and a log line.
    const char* reason() const { return m_reason; }

private:
    void check(int result);

    sd_bus_message* m_message;
    int m_error = 0;
    const char* m_reason = "malformed message";
};

} // namespace comm
