#include "io_manager/Nl.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

#include "io_manager/NetlinkWalk.h"
#include "io_manager/NlCheck.h"
#include "ipl/GlobalErrorHandler.h"
#include "ipl/insist.h"
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_LIB_NL", 7, 2};
constexpr auto kClass = "common_::Nl";

constexpr unsigned kMostInFlight = 64;
constexpr int kReceiveBuffer = 1 << 20; // bytes; the kernel's default holds about 250 address changes
constexpr unsigned kMostAtOnce = 256;
constexpr std::chrono::milliseconds kRest{1};

} // namespace

Nl::Nl(const comm::FactoryPtr& factory, int protocol, std::uint32_t groups,
       std::shared_ptr<io_manager::IoManRunner> runner)
    : m_runner{std::move(runner)}, m_received{factory, kMostInFlight, [this](const SDatagram& datagram) {
                                                  deliver(datagram);
                                              }}
{
    open(protocol, groups);
    TRACE(s_channel, detail, kClass, "ctor");
    watch();
}

Nl::~Nl()
{
    // A read that waits for the active object, whose thread this is, has to give up first.
    m_received.close();
    if (m_runner != nullptr) {
        m_runner->removeFileDescriptor(m_socket.descriptor());
    }
}

void Nl::open(int protocol, std::uint32_t groups)
{
    m_socket.adopt(::socket(AF_NETLINK, SOCK_RAW, protocol));
    if (!m_socket.valid()) {
        TRACE(s_channel, resource, kClass, "Socket error (%s)", std::strerror(errno));
        return;
    }
    m_socket.enlargeBuffer(kReceiveBuffer);
    if (!m_socket.bind(groups)) {
        // Without its groups; the first request gives the socket a port all the same.
        TRACE(s_channel, resource, kClass, "Cannot talk to rtnetlink (%s)", std::strerror(errno));
    }
    if (::fcntl(m_socket.descriptor(), F_SETFD, FD_CLOEXEC) < 0) {
        TRACE(s_channel, error, kClass, "Cannot fcntl FD_CLOEXEC (%s)", std::strerror(errno));
    }
}

void Nl::watch()
{
    if (m_runner == nullptr || !m_socket.valid()) {
        TRACE(s_channel, resource, kClass, "not adding fd (%d,%d)", m_runner != nullptr ? 1 : 0, m_socket.descriptor());
        return;
    }
    io_manager::EFdError error;
    if (!m_runner->addFileDescriptor(
            m_socket.descriptor(), [this] { read(); }, error))
    {
        TRACE(s_channel, resource, kClass, "Cannot watch fd %d (error: %u), nothing is received", m_socket.descriptor(),
              static_cast<unsigned>(error));
    }
}

std::uint32_t Nl::sendRequest(const std::string& name, std::uint16_t type, std::uint16_t flags,
                              std::span<const std::uint8_t> body)
{
    if (!m_socket.valid()) {
        TRACE(s_channel, error, kClass, "fd unitialized (%d)", m_socket.descriptor());
        return 0;
    }
    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + body.size());
    header.nlmsg_type = type;
    header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
    auto* const sequence = ipl::insist({__FILE__, __LINE__, __func__}, "a request waits for memory", [&] {
        m_request.assign(io_manager::netlinkAligned(header.nlmsg_len), 0);
        return &m_sequences[name];
    });
    std::memcpy(m_request.data(), &header, sizeof header);
    std::copy(body.begin(), body.end(), m_request.begin() + sizeof header);
    m_dumping = sendAs(*sequence) && (flags & NLM_F_DUMP) == NLM_F_DUMP;
    return *sequence;
}

// Sends the request under the next sequence number, which is 0 when that fails.
bool Nl::sendAs(std::uint32_t& sequence)
{
    sequence = std::max(m_sequence + 1, 1U); // 0 is what the kernel's own notifications carry
    m_sequence = sequence;                   // known before the kernel can answer
    m_incomplete = false;
    std::memcpy(m_request.data() + offsetof(nlmsghdr, nlmsg_seq), &sequence, sizeof sequence);
    if (m_socket.send(m_request)) {
        return true;
    }
    TRACE(s_channel, error, kClass, "Cannot send request (%s)", std::strerror(errno));
    sequence = 0;
    return false;
}

std::uint32_t Nl::sequenceOf(const std::string& name) const
{
    const auto found = m_sequences.find(name);
    return found != m_sequences.end() ? found->second : 0;
}

// The rest lets a storm gather, which would wake both threads for each datagram otherwise.
void Nl::read()
{
    const auto expected = m_sequence.load(); // an overrun concerns no request that is sent meanwhile
    const bool empty = m_socket.drain(kMostAtOnce, [this](const auto& received) { take(received); });
    if (empty && std::exchange(m_overrun, false)) { // what the kernel still had has been read
        m_received.post({expected, {}});
    }
    std::this_thread::sleep_for(kRest);
}

void Nl::take(const io_manager::SNetlinkDatagram& received)
{
    using Kind = io_manager::SNetlinkDatagram::Kind;
    if (received.kind == Kind::cut) {
        TRACE(s_channel, error, kClass, "Packet from netlink is bigger than we can handle %zu > %zu", received.length,
              m_socket.kLongest);
        return;
    }
    if (received.kind != Kind::data) {
        TRACE(s_channel, error, kClass, "recvmsg: %s", std::strerror(received.error));
        m_overrun = m_overrun || received.kind == Kind::overrun;
        return;
    }
    TRACE(s_channel, detail, kClass, "peeked len: %zu", received.length);
    if (received.senderSize != sizeof(sockaddr_nl)) {
        TRACE(s_channel, error, kClass, "size mismatch");
        return;
    }
    post(received.bytes);
}

void Nl::post(std::span<const std::uint8_t> bytes)
{
    const auto expected = m_sequence.load();
    TRACE_AT(s_channel, detail, kClass, "receive", __LINE__, "recv'd len: %zu, expecting %d", bytes.size(),
             static_cast<int>(expected));
    m_received.post(ipl::insist({__FILE__, __LINE__, __func__}, "a datagram waits for memory", [&] {
        return SDatagram{expected, {bytes.begin(), bytes.end()}};
    }));
}

void Nl::deliver(const SDatagram& datagram)
{
    if (datagram.bytes.empty()) {
        repeatDump(datagram.expected);
        return;
    }
    const auto check = checkMessages(datagram.bytes, datagram.expected, m_socket.port());
    TRACE(s_channel, detail, kClass, "chk: %d, #resp: %zu, #urc: %zu", check.result, check.responses,
          check.unsolicited);
    if (check.result < 0) {
        TRACE(s_channel, error, kClass, "error %d on expected=%d", check.result, static_cast<int>(datagram.expected));
    }
    io_manager::forEachMessage(datagram.bytes, [&](std::span<const std::uint8_t> message) {
        try {
            deliverMessage(datagram.expected, message);
        } catch (const std::bad_alloc&) {
            m_incomplete = true;
            ipl::GlobalErrorHandler::doOutOfMem(__FILE__, __LINE__, "deliver", "a message is not handled");
        }
    });
}

void Nl::deliverMessage(std::uint32_t expected, std::span<const std::uint8_t> message)
{
    const auto& header = *reinterpret_cast<const nlmsghdr*>(message.data());
    switch (classify(message, expected, m_socket.port())) {
    case ENlMessage::unsolicited:
        return notify(&INlEvent::nl_urc, header);
    case ENlMessage::response:
        return notify(&INlEvent::nl_cmd_result, expected, 0, header);
    case ENlMessage::end:
        return endDump(expected, header);
    case ENlMessage::refused:
        m_dumping = m_dumping && expected != m_sequence;
        return notify(&INlEvent::nl_cmd_result, expected, -1, header);
    case ENlMessage::acknowledged:
    case ENlMessage::truncated:
        return;
    }
}

void Nl::endDump(std::uint32_t expected, const nlmsghdr& message)
{
    if (m_incomplete && m_dumping && expected == m_sequence) {
        repeatDump(expected);
        return;
    }
    m_dumping = m_dumping && expected != m_sequence;
    notify(&INlEvent::nl_cmd_result, expected, 1, message);
}

void Nl::repeatDump(std::uint32_t expected)
{
    const auto request =
        std::find_if(m_sequences.begin(), m_sequences.end(), [&](const auto& one) { return one.second == expected; });
    if (m_dumping && expected == m_sequence && request != m_sequences.end()) {
        TRACE(s_channel, warning, kClass, "%s is requested again, an answer is lost", request->first.c_str());
        m_dumping = sendAs(request->second);
    }
}

} // namespace common_
