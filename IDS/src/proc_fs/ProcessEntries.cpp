#include "ProcessEntries.h"

namespace ids::proc_fs {
namespace {

bool looksLikeProcess(const dirent& entry)
{
    return entry.d_type == DT_DIR && entry.d_name[0] >= '1' && entry.d_name[0] <= '9';
}

} // namespace

const char* ProcessEntries::next()
{
    while (const auto* const entry = m_directory ? ::readdir(m_directory.get()) : nullptr) {
        if (looksLikeProcess(*entry)) {
            return entry->d_name;
        }
    }
    return nullptr;
}

} // namespace ids::proc_fs
