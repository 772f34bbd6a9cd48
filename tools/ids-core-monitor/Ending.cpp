#include "Ending.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace core_monitor {

Ending::Ending() : m_descriptor{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}
{
    if (m_descriptor < 0) {
        throw std::system_error{errno, std::generic_category(), "eventfd"};
    }
}

Ending::~Ending()
{
    close(m_descriptor);
}

void Ending::because(Reason reason)
{
    auto none = Reason::none;
    if (m_reason.compare_exchange_strong(none, reason)) {
        eventfd_write(m_descriptor, 1);
    }
}

} // namespace core_monitor
