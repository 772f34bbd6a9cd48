#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "CRstpInterfaceBase.h"
#include "IIDS_EventIncoming.h"
#include "quor_logger.h"

namespace IDS_Event {

/// Decodes the frames of the IDS_Event channel and hands the events in them on.
///
/// A frame is a message id (1 byte), the length of what follows it (variable-length integer, RFC 9000 section 16; a
/// single 0 for nothing) and parameters: a tag (5 bits id, 3 bits wire type) and a value each. All numbers are
/// big-endian. Values stay where they are: only the one that is delivered is copied.
///
/// Used on one thread. A frame that does not decode is logged and dropped; the message of an IDS event is delivered all
/// the same, with an empty payload when its parameters are missing or corrupt.
class CInterface : public CRstpInterfaceBase
{
public:
    using Incoming = IIDS_EventIncoming;

    CInterface(Send send, const quor_logger& logger, IIDS_EventIncoming& incoming);

    void evaluateMsg(const std::vector<std::uint8_t>& frame);

private:
    /// Where a parameter's value is in its frame. The order is the one in which parameters are looked for.
    struct ParamPosition
    {
        std::uint8_t id;
        std::uint32_t offset;
        std::uint32_t length;

        auto operator<=>(const ParamPosition&) const = default;
    };

    bool extractParamPositions(const std::vector<std::uint8_t>& frame);
    std::size_t extractMsg(const std::vector<std::uint8_t>& frame) const;
    void decodeMsg(const std::vector<std::uint8_t>& frame, std::size_t begin);
    void rejectParams();
    std::vector<std::uint8_t> readParsedBuffer(const std::vector<std::uint8_t>& frame, std::uint8_t id) const;
    void logCorruptedBuf(const std::vector<std::uint8_t>& frame) const;

    const quor_logger& m_logger;
    IIDS_EventIncoming& m_incoming;
    std::vector<ParamPosition> m_params; ///< of the present frame; a member to keep its memory
};

} // namespace IDS_Event
