#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "ids/IIdsm.h"
#include "io_manager/CFdManager.h"
#include "io_manager/UniqueFd.h"
#include "util/IRunnable.h"
#include "util/Thread.h"

namespace ids {

/// The unit's local socket for loggers: whoever connects may write, and what is written is read and thrown away.
///
/// The owner constructs, starts and destroys; the rest happens on a thread of the sensor's own. 16 clients are served
/// at a time, each with one read in turn; those that come later wait in the backlog. Only the daemon's user and group
/// may connect. The path belongs to who was constructed last, and is free again with the end of any.
class COviLogger final : private util::IRunnableT<util::Thread const* const>
{
public:
    /// Takes the path, whatever is there but a folder. idsm must outlive this; nothing is reported to it yet.
    explicit COviLogger(IIdsm& idsm, std::string path = "/tmp/unix_socket");

    /// Ends the thread at once, clients or not.
    ~COviLogger() override;
    COviLogger(const COviLogger&) = delete;
    COviLogger& operator=(const COviLogger&) = delete;

    /// Returns false when no socket or no thread is available; a later call tries again. Once started, further calls
    /// change nothing.
    bool startOviLogger();

    /// Removes the file, for a process that ends without destructors. From any thread.
    void removeSocket() const;

private:
    using Clock = std::chrono::steady_clock;

    void run(util::Thread const* const thread) override;
    void updateAccepting();
    bool watchListenSocket();
    void waitOnce(const util::Thread& thread);
    void acceptClient();
    void addClient(io_manager::UniqueFd client);
    void reciveData(std::int32_t client);
    void removeClient(std::int32_t client);

    [[maybe_unused]] IIdsm& m_idsm;
    const std::string m_path;
    io_manager::CFdManager m_watcher;
    io_manager::UniqueFd m_listenSocket;
    std::vector<io_manager::UniqueFd> m_clients;
    bool m_accepting = false;     ///< whether the listening socket is watched
    Clock::time_point m_restEnds; ///< nobody is accepted before
    bool m_started = false;
    util::Thread m_thread;
};

} // namespace ids
