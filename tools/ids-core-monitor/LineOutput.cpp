#include "LineOutput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits.h>
#include <poll.h>
#include <unistd.h>

namespace core_monitor {

int LineOutput::write(std::string_view lines) const
{
    while (!lines.empty()) {
        std::array<pollfd, 2> ready{{{m_descriptor, POLLOUT, 0}, {m_ending.descriptor(), POLLIN, 0}}};
        if (poll(ready.data(), ready.size(), -1) < 0) {
            continue;
        }
        if (ready[0].revents == 0) {
            return ECANCELED;
        }
        // A pipe that is ready accepts this number of bytes without blocking.
        const auto written = ::write(m_descriptor, lines.data(), std::min<std::size_t>(lines.size(), PIPE_BUF));
        if (written >= 0) {
            lines.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            return errno;
        }
    }
    return 0;
}

} // namespace core_monitor
