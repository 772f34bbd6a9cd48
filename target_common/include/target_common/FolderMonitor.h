#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "comm/ActiveObject.h"
#include "conn_common/HandOver.h"
#include "iplbase/NonCopyable.h"
#include "target_common/FdMonitor.h"
#include "target_common/IFdMonitorListener.h"
#include "target_common/SNotifyEvents.h"
#include "util/IRunnable.h"
#include "util/Thread.h"

namespace common_ {

/// Tells the owner's active object of the files that appear in a list of folders.
///
/// The owner's active object constructs, starts, pauses, resumes and destroys it and runs the callback; everything else
/// runs on a thread of its own. Of files that appear together only the first may be told of. While 64 paths wait for
/// the active object nothing is read; what the kernel cannot keep meanwhile is lost, as are the files of a folder that
/// does not exist at the start.
class FolderMonitor final : private iplbase::NonCopyable,
                            public util::IRunnableT<util::Thread const* const>,
                            public IFdMonitorListener
{
public:
    /// The callback is given the folder as it was listed, "/" and the file's name. Without selection all events of
    /// SNotifyEvents are told of.
    FolderMonitor(const comm::FactoryPtr& factory, std::function<void(std::string)> callback,
                  std::shared_ptr<SNotifyEvents> selection);

    /// Returns at once, also when the active object takes no paths.
    ~FolderMonitor() override;

    /// Watches the folders from now on. Returns false when no thread is available, or while it is started. A thread
    /// that ended by itself, which the log shows, can be started again.
    bool start(std::vector<std::string> folders);

    /// Nothing is told until resume; the kernel keeps what happens meanwhile. Returns false when not started.
    bool pause();
    bool resume();

    void run(util::Thread const* const thread) override { threadLoop(thread); }
    void onFdReadReady(std::int32_t fd) override;
    void onFdWriteReady(std::int32_t) override {}
    void onFdError(std::int32_t fd) override;

private:
    void threadLoop(util::Thread const* const thread);
    void addWatches(std::int32_t inotify);
    void watch(const util::Thread& thread, std::int32_t inotify);
    void takeEvents(std::int32_t fd);
    void post(std::int32_t watch, const std::string& name);
    bool request(util::Thread::State state);
    void stopThread();

    HandOver<std::string> m_paths;
    FdMonitor m_fdMonitor;
    const std::shared_ptr<SNotifyEvents> m_selection;
    std::vector<std::string> m_folders;
    std::vector<std::int32_t> m_watches;    ///< one for each folder, -1 for one that is not watched
    std::unique_ptr<util::Thread> m_thread; ///< last, so that the thread ends before what it uses
};

} // namespace common_
