#include "IDS_Event/CInterface.h"

#include <algorithm>
#include <array>
#include <utility>

namespace IDS_Event {
namespace {

constexpr unsigned kChannel = 0x33;
constexpr std::uint8_t kIdsEvent = 1;
constexpr std::uint8_t kEventParam = 2;
constexpr unsigned kVariable = 4; ///< wire types below have a fixed size, those above are undefined
constexpr std::size_t kMostDumped = 20;

/// A variable-length integer and the bytes it took, 0 when it is not whole.
struct VariableLength
{
    std::size_t taken = 0;
    std::uint64_t value = 0;
};

VariableLength decodeLength(const std::vector<std::uint8_t>& frame, std::size_t at)
{
    if (at >= frame.size()) {
        return {};
    }
    const auto size = std::size_t{1} << (frame[at] >> 6);
    if (size > frame.size() - at) {
        return {};
    }
    std::uint64_t value = frame[at] & 0x3FU;
    for (std::size_t i = 1; i < size; ++i) {
        value = value << 8 | frame[at + i];
    }
    return {size, value};
}

} // namespace

CInterface::CInterface(Send send, const quor_logger& logger, IIDS_EventIncoming& incoming)
    : CRstpInterfaceBase{std::move(send)}, m_logger{logger}, m_incoming{incoming}
{}

void CInterface::evaluateMsg(const std::vector<std::uint8_t>& frame)
{
    if (frame.empty()) {
        m_logger.error("%s(%s): ERROR: Message buffer is empty", "evaluateMsg", "94");
        return;
    }
    if (extractParamPositions(frame)) {
        if (frame[0] == kIdsEvent) {
            m_incoming.onIdsEvent(readParsedBuffer(frame, kEventParam));
            return;
        }
        m_logger.error("%s(%s): ERROR (DECODING): Unknown message-id: %x (channel: %x)", "evaluateMsg", "117", frame[0],
                       kChannel);
    }
    logCorruptedBuf(frame);
}

// Fills the list of parameters. Returns false when the frame has no sound length.
bool CInterface::extractParamPositions(const std::vector<std::uint8_t>& frame)
{
    m_params.clear();
    const bool isBare = frame.size() > 1 && frame[1] == 0;
    if (isBare) {
        return true;
    }
    const auto begin = extractMsg(frame);
    if (begin == frame.size()) {
        m_logger.error("%s(%s): Decoding RSTP message failed: incorrect megs_len! (channel: %x)",
                       "extractParamPositions", "54", kChannel);
        return false;
    }
    decodeMsg(frame, begin);
    return true;
}

// The begin of the parameters, the end of the frame when its length is not what it says.
std::size_t CInterface::extractMsg(const std::vector<std::uint8_t>& frame) const
{
    const auto length = decodeLength(frame, 1);
    if (length.taken == 0 || length.value == 0) {
        return frame.size();
    }
    const auto begin = 1 + length.taken;
    const auto present = frame.size() - begin;
    if (length.value != present) {
        m_logger.error("%s(%s): Message length mismatch! Expected=%zu, received=%zu", "extractMsg", "475",
                       static_cast<std::size_t>(length.value), present);
        return frame.size();
    }
    return begin;
}

void CInterface::decodeMsg(const std::vector<std::uint8_t>& frame, std::size_t begin)
{
    for (auto at = begin; at < frame.size();) {
        const auto id = static_cast<std::uint8_t>(frame[at] >> 3);
        const auto wireType = frame[at] & 7U;
        ++at;
        std::uint64_t length = std::uint64_t{1} << wireType;
        if (wireType > kVariable) {
            m_logger.error("%s(%s): ERROR (DECODING): Invalid Wire Type or Wire Type not defined: %d", "decodeMsg",
                           "397", static_cast<int>(wireType));
            rejectParams();
            return;
        }
        if (wireType == kVariable) {
            const auto field = decodeLength(frame, at);
            if (field.taken == 0) {
                rejectParams();
                return;
            }
            at += field.taken;
            length = field.value;
        }
        if (length > frame.size() - at) {
            rejectParams();
            return;
        }
        m_params.push_back({id, static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(length)});
        at += static_cast<std::size_t>(length);
    }
    std::sort(m_params.begin(), m_params.end());
}

void CInterface::rejectParams()
{
    m_logger.error("%s(%s): ERROR (DECODING): Unable to Decode Parameters. Corrupted Frame Detected.", "decodeMsg",
                   "411");
    m_params.clear();
}

std::vector<std::uint8_t> CInterface::readParsedBuffer(const std::vector<std::uint8_t>& frame, std::uint8_t id) const
{
    const auto param =
        std::find_if(m_params.begin(), m_params.end(), [id](const ParamPosition& one) { return one.id == id; });
    if (param == m_params.end()) {
        m_logger.error("%s(%s): ERROR (DECODING): Expected Parameter ID: '%d' not Found. Returning Default Value.",
                       "readParsedBuffer", "263", id);
        return {};
    }
    const auto* const value = frame.data() + param->offset;
    return {value, value + param->length};
}

void CInterface::logCorruptedBuf(const std::vector<std::uint8_t>& frame) const
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::array<char, 3 * kMostDumped> text;
    const auto dumped = std::min(frame.size(), kMostDumped);
    for (std::size_t i = 0; i < dumped; ++i) {
        text[i * 3] = kDigits[frame[i] >> 4];
        text[i * 3 + 1] = kDigits[frame[i] & 0xFU];
        text[i * 3 + 2] = ' ';
    }
    const auto length = static_cast<int>(dumped * 3 - 1); // without the last blank
    m_logger.error("%s(%s): Corrupted buf: %.*s", "logCorruptedBuf", "52", length, text.data());
}

} // namespace IDS_Event
