#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "UnixSocket/ISocketFileHandle.h"
#include "comm/ActiveObject.h"
#include "conn_common/HandOver.h"
#include "ipl/GlobalErrorHandler.h"
#include "quor_logger.h"

/// Brings an RSTP interface onto an active object: frames are posted by the reading thread and evaluated there.
///
/// At most 64 frames are on the way, and none goes on the way while the bus cannot keep up. An active object or a bus
/// that lags thus holds the reading thread back, and in the end the peer, whose socket is full; nothing is lost.
/// Destroyed on the active object, after the reading thread has ended.
template <typename Interface>
class RstpInterfaceActiveObject : public Interface
{
public:
    RstpInterfaceActiveObject(UnixSocket::ISocketFileHandle& socket, typename Interface::Incoming& incoming,
                              const comm::FactoryPtr& activeObjectFactory, const quor_logger& logger)
        : Interface{[&socket](const std::vector<std::uint8_t>& frame) { socket.write(frame.data(), frame.size()); },
                    logger, incoming},
          m_activeObject{checked(activeObjectFactory)->getActiveObject({})},
          m_frames{activeObjectFactory, kMostInFlight, [this](const Frame& frame) { this->evaluateMsg(frame); }}
    {}

    /// Ends the wait of the reading thread for room, for good. From any thread.
    void close() { m_frames.close(); }

protected:
    using Frame = std::vector<std::uint8_t>;

    bool busCongested() const { return m_activeObject.busCongested(); }

    /// Whether post would wait now.
    bool full() const { return m_frames.full(); }

    /// Waits for room and posts the frame. Once closed, the frame is dropped.
    void post(Frame frame) { m_frames.post(std::move(frame)); }

private:
    static const comm::FactoryPtr& checked(const comm::FactoryPtr& activeObjectFactory)
    {
        if (!activeObjectFactory || !activeObjectFactory->valid()) {
            ipl::GlobalErrorHandler::doFatalAssert("activeObjectFactory.valid()",
                                                   "rstp_Interface/include/RstpInterfaceActiveObject", 29,
                                                   "RstpInterfaceActiveObject", "Active Object Factory invalid!");
        }
        return activeObjectFactory;
    }

    static constexpr unsigned kMostInFlight = 64;

    const comm::ActiveObject m_activeObject;
    common_::HandOver<Frame> m_frames;
};
