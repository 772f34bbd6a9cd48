#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

struct sd_bus_message;

namespace comm {

/// Appends values to a message of the bus. The first failure sticks; ok tells in the end whether all went well.
class MessageWriter
{
public:
    explicit MessageWriter(sd_bus_message* message) : m_message{message} {}

    /// A value of one of D-Bus' basic number types: its type letter and where it lies.
    void basic(char type, const void* value);

    /// An array of numbers that lie one behind the other.
    void numbers(char type, const void* values, std::size_t bytes);

    /// A text. Bytes that are not UTF-8, and what follows an embedded zero, cannot travel: the writer fails.
    void text(const std::string& value);

    /// type: 'a' array, 'r' structure, 'v' variant. contents: the signature of what is inside.
    void open(char type, const char* contents);
    void close();

    bool ok() const { return m_error >= 0; }

    /// About how much memory has been appended, in bytes.
    std::size_t bytes() const { return m_bytes; }

private:
    sd_bus_message* m_message;
    int m_error = 0;
    std::size_t m_bytes = 0;
};

/// Takes values from a message of the bus whose signature has been checked. The first failure sticks.
class MessageReader
{
public:
    explicit MessageReader(sd_bus_message* message) : m_message{message} {}

    void basic(char type, void* value);
    void text(std::string& value);

    /// An array of numbers. The span lives as long as the message.
    std::span<const std::byte> numbers(char type);

    /// Enters a container of the given contents.
    void enter(char type, const char* contents);
    void leave();

    /// Whether the container entered last has no more elements. True after a failure, so that loops end.
    bool atEnd();

    /// Refuses the message: a value is of the right type but not one of those allowed. The reason must be a literal.
    void refuse(const char* reason);

    /// The user that the message's sender runs as, none when it cannot be told. Waits for the bus' answer.
    std::optional<std::uint32_t> senderUser() const;

    bool ok() const { return m_error >= 0; }

    /// Why the reading failed, for an error reply and a log line.
    const char* reason() const { return m_reason; }

private:
    void check(int result);

    sd_bus_message* m_message;
    int m_error = 0;
    const char* m_reason = "malformed message";
};

} // namespace comm
