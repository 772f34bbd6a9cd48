#pragma once

#include <optional>
#include <string>

namespace rstp_peer {

/// Reads lines from a descriptor.
class LineInput
{
public:
    explicit LineInput(int descriptor) : m_descriptor{descriptor} {}

    int descriptor() const { return m_descriptor; }

    /// Reads once, waiting for data.
    void read();

    /// The next complete line without its newline.
    std::optional<std::string> next();

    /// All lines have been returned, and the input has ended.
    bool isOver() const { return m_isAtEnd && m_text.empty(); }

    /// The input has not ended.
    bool isOpen() const { return !m_isAtEnd; }

private:
    const int m_descriptor;
    std::string m_text;
    bool m_isAtEnd = false;
};

} // namespace rstp_peer
