#pragma once

namespace common_ {

/// What a FolderMonitor tells of.
struct SNotifyEvents
{
    bool closeWrite = false; ///< a file opened for writing was closed
    bool create = false;     ///< a file was created
    bool movedTo = false;    ///< a file was moved into the folder: bit 0x200, by which Linux means that one was deleted
};

} // namespace common_
