#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <poll.h>
#include <thread>
#include <vector>

#include "io_manager/CFdInstance.h"
#include "io_manager/IWatchListener.h"
#include "osal/Mutex.h"

namespace io_manager {

/// Outcome of an operation of CFdManager; the numbers appear in log lines.
enum EFdError : std::uint32_t
{
    fdSuccess = 0,
    fdNegative = 15,        ///< a descriptor below zero cannot be watched
    fdPassInProgress = 17,  ///< one pass at a time, also from inside a callback
    fdNothingToWaitOn = 18, ///< no descriptor is registered
    fdNoEntry = 20          ///< no memory for the descriptor's entry
};

/// A set of descriptors, each with the callback to run when it becomes readable.
///
/// One thread at a time calls wait, and the callbacks run there. Descriptors may be added and removed from any thread,
/// callbacks included; a pass that already waits learns of a new one only after it returns.
class CFdManager final : public IWatchListener
{
public:
    CFdManager() = default;
    CFdManager(const CFdManager&) = delete;
    CFdManager& operator=(const CFdManager&) = delete;

    /// A descriptor that is registered already keeps its first callback, and that is a success.
    bool addFileDescriptor(std::int32_t descriptor, std::function<void()> callback, EFdError& error);

    /// After the return the callback neither runs nor starts, unless it is the callback itself that removes. The
    /// descriptor may then be closed and its number used again.
    void removeFileDescriptor(std::int32_t descriptor);

    /// Called by a pass that ends without a ready descriptor. Set before the first pass.
    void setTimeoutHandler(std::function<void()> handler) { m_timeoutHandler = std::move(handler); }

    /// One pass: waits at most the given milliseconds, -1 for as long as it takes, and calls the callbacks of the ready
    /// descriptors in the order of their registration. A poll that fails is a pass without any call, not an error.
    bool wait(EFdError& error, int timeoutMs);

private:
    void collectDescriptors(std::vector<std::int32_t>& descriptors) override;
    void onReadable(std::int32_t descriptor) override;
    void onTimeout() override;
    EFdError pass(int timeoutMs);

    using Entry = std::shared_ptr<CFdInstance>;
    std::vector<Entry>::iterator find(std::int32_t descriptor);

    osal::Mutex m_mutex; ///< guards the entries and the running callback
    std::vector<Entry> m_entries;
    Entry m_running;
    std::thread::id m_runningThread;
    std::condition_variable m_callbackEnded;

    std::function<void()> m_timeoutHandler;
    std::atomic<bool> m_passInProgress{false};
    std::vector<std::int32_t> m_descriptors; ///< of the pass in progress, as is the poll set
    std::vector<pollfd> m_pollSet;
};

} // namespace io_manager
