#pragma once

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <utility>

#include "IplLogger.h"
#include "RstpChannel.h"
#include "UnixSocket/CSocketFileHandle.h"
#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/allocate.h"
#include "ipl/ErrorStorage.h"
#include "ipl/insist.h"
#include "util/Thread.h"

namespace common_ {

/// Keeps an RSTP channel to another domain of the car: a thread of its own connects to the domain's socket, reads its
/// frames for the decoder, and connects again every 500 ms for as long as nobody is there.
///
/// init and the destructor are called on the active object that the decoder and the connection state are brought to.
/// Frames that wait in the socket when the peer goes are read before it is given up. What the active object has not
/// handled when the handler is destroyed is lost.
template <typename Decoder, typename Incoming>
class RstpInterfaceHandler final : public util::IRunnableT<util::Thread const* const>
{
public:
    static constexpr auto kPath = "/tmp/rstp_IDS_Event_sdata";

    explicit RstpInterfaceHandler(comm::FactoryPtr factory, std::string path = kPath)
        : m_path{std::move(path)},
          m_factory{std::move(factory)},
          m_logger{s_rstpChannel},
          m_socket{m_logger, false},
          m_connectionState{this, &RstpInterfaceHandler::reportConnectionState, m_factory}
    {}

    /// Ends the thread at once, wherever it waits.
    ~RstpInterfaceHandler() override
    {
        TRACE(s_rstpChannel, detail, kLabel, "called");
        if (!m_thread) {
            return;
        }
        if (m_thread->requestStateChange(util::Thread::State::stop)) {
            TRACE(s_rstpChannel, warning, kLabel,
                  "IPL error at %s:%d! Couldn't request DispatchThread to stop,reason=%s", kSource, 75,
                  ipl::ErrorStorage::reason());
            ipl::ErrorStorage::ack();
            return;
        }
        TRACE(s_rstpChannel, detail, kLabel, "Joining thread");
        if (m_thread->join()) {
            TRACE(s_rstpChannel, warning, kLabel, "IPL error at %s:%d! Couldn't join thread,reason=%s", kSource, 85,
                  ipl::ErrorStorage::reason());
            ipl::ErrorStorage::ack();
            return;
        }
        // Not before: the number of a descriptor that another thread polls may be somebody else's once it is closed.
        m_socket.close();
        TRACE(s_rstpChannel, detail, kLabel, "Thread joined, cleaning up");
        m_thread.reset();
        m_decoder.reset();
    }

    /// Makes the decoder and starts the thread under the given name; once started, further calls change nothing.
    /// Returns false when there is no memory for them, or no thread to be had.
    bool init(Incoming* incoming, const std::string& threadName)
    {
        TRACE(s_rstpChannel, detail, kLabel, "called");
        if (m_thread) {
            return true;
        }
        m_incoming = incoming;
        m_decoder = tryAllocate<Decoder>(m_socket, *m_incoming, m_factory, m_logger);
        if (!m_decoder) {
            TRACE(s_rstpChannel, resource, kLabel, "No memory!");
            return false;
        }
        m_thread = tryAllocate<util::Thread>(threadName, *this, [this] { m_decoder->close(); });
        if (!m_thread) {
            TRACE(s_rstpChannel, error, kLabel, "Couldn't allocate dispatch thread");
            return false;
        }
        TRACE(s_rstpChannel, detail, kLabel, "Dispatch thread created (%p)", static_cast<const void*>(m_thread.get()));
        if (m_thread->start()) {
            TRACE(s_rstpChannel, error, kLabel, "Couldn't start dispatch thread,reason=%s",
                  ipl::ErrorStorage::reason());
            ipl::ErrorStorage::ack();
            m_thread.reset();
            return false;
        }
        return true;
    }

    void run(util::Thread const* const thread) override { threadLoop(*thread); }

private:
    static constexpr auto kLabel = "RSTP";
    static constexpr auto kLoop = "threadLoop"; ///< the steps of the loop log as one
    static constexpr auto kSource = "rstp_interface_handler/include/RstpInterfaceHandler";
    static constexpr int kPollTimeoutMs = 500;
    static constexpr std::chrono::milliseconds kRetryDelay{500};
    static constexpr std::uint64_t kStatusPeriod = 500;
    static constexpr short kLost = POLLERR | POLLHUP | POLLNVAL;

    struct Counters
    {
        std::uint64_t errors = 0;
        std::uint64_t received = 0;
        std::uint64_t noData = 0;
        std::uint64_t connected = 0;

        std::uint64_t sum() const { return errors + received + noData + connected; }
    };

    void reportConnectionState(bool connected) { m_incoming->onConnectionStateChanged(connected); }

    void threadLoop(const util::Thread& thread)
    {
        using State = util::Thread::State;
        TRACE(s_rstpChannel, detail, kLabel, "called");
        Counters counters;
        for (auto state = thread.getRequestedState(); state != State::stop; state = thread.getRequestedState()) {
            if (state == State::pause) {
                TRACE(s_rstpChannel, milestone, kLabel, "'%s' enter pause", m_path.c_str());
                thread.enterPause(State::pause);
                continue;
            }
            if (!m_socket.isOpen()) {
                ipl::insist({kSource, __LINE__, kLoop}, "the connection waits for memory",
                            [&] { connect(thread, counters); });
            } else if (!receive(thread, counters)) {
                continue;
            }
            reportStatus(counters);
        }
        TRACE(s_rstpChannel, resource, kLabel, "exiting");
    }

    void connect(const util::Thread& thread, Counters& counters)
    {
        if (m_socket.open(m_path, 0, SOCK_SEQPACKET, 0) == 0) {
            TRACE_AT(s_rstpChannel, progress, kLabel, kLoop, __LINE__, "'%s' connected", m_path.c_str());
            m_connectionState.schedule(true);
            ++counters.connected;
            return;
        }
        TRACE_AT(s_rstpChannel, resource, kLabel, kLoop, __LINE__, "Failed to open '%s' (errno=%s)", m_path.c_str(),
                 std::strerror(m_socket.lastError()));
        thread.sleep(kRetryDelay);
        ++counters.errors;
    }

    // Returns false when it was only woken.
    bool receive(const util::Thread& thread, Counters& counters)
    {
        std::array<pollfd, 2> entries{
            {{m_socket.fileDescriptor(), POLLIN | kLost, 0}, {thread.stateDescriptor(), POLLIN, 0}}};
        const int ready = ::poll(entries.data(), entries.size(), kPollTimeoutMs);
        if (ready < 0) {
            TRACE_AT(s_rstpChannel, resource, kLabel, kLoop, __LINE__,
                     "Poll failed on '%s' (errno=%s) -> assume connection lost", m_path.c_str(), std::strerror(errno));
            lose(counters);
            return true;
        }
        if (ready == 0) {
            TRACE_AT(s_rstpChannel, detail, kLabel, kLoop, __LINE__, "nothing received");
            ++counters.noData;
            return true;
        }
        const auto events = entries[0].revents;
        if ((events & POLLIN) != 0) {
            readFrames(thread, events, counters);
            if (!m_socket.isOpen() && (events & kLost) == 0) {
                thread.sleep(kRetryDelay); // or a peer that says goodbye again and again sets the pace
            }
        }
        if ((events & kLost) != 0) {
            TRACE_AT(s_rstpChannel, resource, kLabel, kLoop, __LINE__, "'%s' lost", m_path.c_str());
            thread.sleep(kRetryDelay);
            lose(counters);
        }
        return events != 0;
    }

    // One frame; from a peer that has gone everything it left behind.
    void readFrames(const util::Thread& thread, short events, Counters& counters)
    {
        bool more = true;
        while (more) {
            TRACE_AT(s_rstpChannel, detail, kLabel, kLoop, __LINE__, "Frame ready -> decode");
            ++counters.received;
            more = m_decoder->decodePayload(thread) && (events & kLost) != 0;
        }
    }

    void lose(Counters& counters)
    {
        m_connectionState.schedule(false);
        m_socket.close();
        ++counters.errors;
    }

    void reportStatus(const Counters& counters) const
    {
        if (counters.sum() % kStatusPeriod == 0) {
            TRACE_AT(s_rstpChannel, milestone, kLabel, kLoop, __LINE__,
                     "Cyclic status: Socket path='%s', errors=%lu, received=%lu, no data=%lu, connected=%lu",
                     m_path.c_str(), counters.errors, counters.received, counters.noData, counters.connected);
        }
    }

    const std::string m_path;
    std::unique_ptr<util::Thread> m_thread;
    std::unique_ptr<Decoder> m_decoder;
    const comm::FactoryPtr m_factory;
    Incoming* m_incoming = nullptr;
    const IplLogger m_logger;
    UnixSocket::CSocketFileHandle m_socket;
    DelayedCallback<RstpInterfaceHandler, bool> m_connectionState;
};

} // namespace common_
