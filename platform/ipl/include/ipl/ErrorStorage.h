#pragma once

#include <cstdint>

namespace ipl {

/// The reason of the last platform error, one per thread. A platform call that fails stores its reason here; the caller
/// reads and acknowledges it. An error that is replaced before it was acknowledged is passed to the action of the
/// process' ErrorStorage object.
class ErrorStorage
{
public:
    using Action = void (*)(std::uint32_t code, const char* reason);

    /// Action: one line on the standard output, unbuffered.
    static void action_dump_to_stdout(std::uint32_t code, const char* reason);

    /// Installs the action for the whole process until the object is destroyed.
    explicit ErrorStorage(Action action);
    ~ErrorStorage();
    ErrorStorage(const ErrorStorage&) = delete;
    ErrorStorage& operator=(const ErrorStorage&) = delete;

    /// Stores an error of the calling thread. The text is truncated to 255 bytes.
    [[gnu::format(printf, 2, 3)]] static void set(std::uint32_t code, const char* format, ...);

    /// Whether the calling thread has an unacknowledged error.
    static bool pending();

    /// The code of the calling thread's error, 0 when there is none.
    static std::uint32_t code();

    /// The reason of the calling thread's error, "no error" when there is none. Valid until the next set or ack.
    static const char* reason();

    /// Acknowledges and clears the calling thread's error.
    static void ack();
};

} // namespace ipl
