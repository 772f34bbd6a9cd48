#include "LineInput.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace rstp_peer {

void LineInput::read()
{
    std::array<char, 4096> part{};
    const auto size = ::read(m_descriptor, part.data(), part.size());
    if (size > 0) {
        m_text.append(part.data(), static_cast<std::size_t>(size));
    } else if (size == 0 || errno != EINTR) {
        m_isAtEnd = true;
    }
}

std::optional<std::string> LineInput::next()
{
    const auto end = m_text.find('\n');
    if (end == std::string::npos && !(m_isAtEnd && !m_text.empty())) {
        return std::nullopt;
    }
    auto line = m_text.substr(0, end);
    m_text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

} // namespace rstp_peer
