#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace UnixSocket {

/// One end of a Unix-domain connection.
class ISocketFileHandle
{
public:
    virtual ~ISocketFileHandle() = default;

    /// The path that was opened last, empty before the first open.
    virtual std::string path() const = 0;

    /// Returns 0, or 0xFFFFFFFF on failure. type and protocol are those of socket(2); flags count for nothing.
    virtual std::uint32_t open(const std::string& path, int flags, int type, int protocol) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    /// Negative when closed.
    virtual int fileDescriptor() const = 0;

    /// Returns the number of bytes, 0 when the peer has closed, -1 on error or when there is nothing to read.
    virtual ssize_t read(void* buffer, std::size_t length) = 0;

    /// Returns the number of bytes, -1 on error.
    virtual ssize_t write(const void* buffer, std::size_t length) = 0;
};

} // namespace UnixSocket
