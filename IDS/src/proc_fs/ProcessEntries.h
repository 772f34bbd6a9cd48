#pragma once

#include <dirent.h>
#include <memory>

namespace ids::proc_fs {

/// Walks the entries of /proc that look like processes, in the order of the directory. Processes that begin or end
/// meanwhile may be among them or not.
class ProcessEntries
{
public:
    /// The name of the next entry, which begins with a digit other than 0; null after the last one, and when /proc
    /// cannot be read. It lives until the next call.
    const char* next();

private:
    struct Closer
    {
        void operator()(DIR* directory) const { ::closedir(directory); }
    };

    const std::unique_ptr<DIR, Closer> m_directory{::opendir("/proc")};
};

} // namespace ids::proc_fs
