#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <new>
#include <optional>
#include <sys/types.h>

#include "RstpChannel.h"
#include "RstpInterfaceActiveObject.h"
#include "util/Thread.h"

/// Reads the frames of an RSTP interface from its socket, each of them one datagram of at most 4096 bytes; what goes
/// beyond is cut off by the socket. decodePayload is called on the reading thread.
template <typename Interface>
class RstpInterfaceActiveObjectFileHandle : public RstpInterfaceActiveObject<Interface>
{
public:
    RstpInterfaceActiveObjectFileHandle(UnixSocket::ISocketFileHandle& socket, typename Interface::Incoming& incoming,
                                        const comm::FactoryPtr& activeObjectFactory, const quor_logger& logger)
        : RstpInterfaceActiveObject<Interface>{socket, incoming, activeObjectFactory, logger},
          m_logger{logger},
          m_socket{socket}
    {}

    /// Reads one frame and posts it. Waits, before reading, while the bus cannot keep up, and for room after it.
    /// Returns false when there is no frame, or when the thread is to do something else.
    bool decodePayload(const util::Thread& thread)
    {
        if (!awaitBus(thread)) {
            return false;
        }
        const auto length = m_socket.read(m_buffer.data(), m_buffer.size());
        if (length <= 0) {
            m_logger.error("%s(%s): ERROR (DECODING): Nothing to read or PeerShutdown : %d (channel: %x)",
                           "decodePayload", "62", static_cast<int>(length), 0x33U);
            return false;
        }
        if (this->full()) {
            reportLag(Clock::now());
        }
        postFirst(length);
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;

    bool awaitBus(const util::Thread& thread)
    {
        while (this->busCongested()) {
            reportLag(Clock::now());
            thread.sleep(kRest);
            if (thread.getRequestedState() != util::Thread::State::run) {
                return false;
            }
        }
        return true;
    }

    void postFirst(ssize_t length)
    {
        try {
            this->post({m_buffer.begin(), m_buffer.begin() + length});
        } catch (const std::bad_alloc&) {
            TRACE(s_rstpChannel, resource, "RSTP", "No memory for a frame of %zd bytes, it is lost", length);
        }
    }

    // Once for each lag: one is over when nothing was held back for a while.
    void reportLag(Clock::time_point now)
    {
        constexpr std::chrono::seconds kOver{10};
        if (!m_lastLag || now - *m_lastLag > kOver) {
            TRACE(s_rstpChannel, warning, "RSTP", "frames come faster than they are handled, reading is held back");
        }
        m_lastLag = now;
    }

    static constexpr std::chrono::milliseconds kRest{5};

    const quor_logger& m_logger;
    UnixSocket::ISocketFileHandle& m_socket;
    std::array<std::uint8_t, 4096> m_buffer;
    std::optional<Clock::time_point> m_lastLag;
};
