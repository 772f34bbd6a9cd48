#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "io_manager/CFdManager.h"
#include "io_manager/UniqueFd.h"
#include "util/Thread.h"

namespace io_manager {

/// A thread that drives one CFdManager from construction on. Everything may be called from any thread. The thread ends
/// on stopThread or destruction, at once, and on its own when there is nothing to watch.
class IoManRunner
{
public:
    /// The time-out of one wait pass, in milliseconds.
    IoManRunner(std::shared_ptr<CFdManager> manager, int timeoutMs);
    ~IoManRunner();
    IoManRunner(const IoManRunner&) = delete;
    IoManRunner& operator=(const IoManRunner&) = delete;

    /// As the manager's own, and the descriptor is watched from now on.
    bool addFileDescriptor(std::int32_t descriptor, std::function<void()> callback, EFdError& error);

    /// As the manager's own, and no pass holds the descriptor any longer once the thread has come round.
    void removeFileDescriptor(std::int32_t descriptor);

    /// Ends the wait pass in progress.
    void kick();

    void stopThread();

private:
    void run();
    void readKick();

    const std::shared_ptr<CFdManager> m_manager;
    const int m_timeoutMs;
    const UniqueFd m_kick;
    util::Thread m_thread;
};

} // namespace io_manager
