#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include "iplbase/NonCopyable.h"

namespace test_support {

/// Leaves the process as many further file descriptors as the number while it lives.
class FewDescriptors : iplbase::NonCopyable
{
public:
    explicit FewDescriptors(unsigned number)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const int next = ::dup(STDERR_FILENO);
        ::close(next);
        const rlimit few{static_cast<rlim_t>(next) + number, m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

} // namespace test_support
