#pragma once

#include <optional>
#include <string>

namespace rstp_peer {

/// The lines of a descriptor that another program or a person writes to.
class LineInput
{
public:
    explicit LineInput(int descriptor) : m_descriptor{descriptor} {}

    int descriptor() const { return m_descriptor; }

    /// Reads once: what is there, or waits for it.
    void read();

    /// A line without its end, once the whole of it has been read.
    std::optional<std::string> next();

    /// There will be no more lines.
    bool isOver() const { return m_isAtEnd && m_text.empty(); }

    /// Reading on may bring more.
    bool isOpen() const { return !m_isAtEnd; }

private:
    const int m_descriptor;
    std::string m_text;
    bool m_isAtEnd = false;
};

} // namespace rstp_peer
