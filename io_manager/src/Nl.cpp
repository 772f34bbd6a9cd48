#include "io_manager/Nl.h"

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
#include "tracing/Channel.h"

namespace common_ {
namespace {

tracing::Channel s_channel{"CON_LIB_NL", 7, 2};
constexpr auto kClass = "common_::Nl";

constexpr std::size_t kLongestDatagram = 8192;
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
        m_runner->removeFileDescriptor(m_socket.get());
    }
}

void Nl::open(int protocol, std::uint32_t groups)
{
    m_socket = io_manager::UniqueFd{::socket(AF_NETLINK, SOCK_RAW, protocol)};
    if (!m_socket.valid()) {
        TRACE(s_channel, resource, kClass, "Socket error (%s)", std::strerror(errno));
        return;
    }
    // Beyond the system's limit with CAP_NET_ADMIN; without it up to that limit.
    if (::setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) < 0) {
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
    bind(groups);
    if (::fcntl(m_socket.get(), F_SETFD, FD_CLOEXEC) < 0) {
        TRACE(s_channel, error, kClass, "Cannot fcntl FD_CLOEXEC (%s)", std::strerror(errno));
    }
}

void Nl::bind(std::uint32_t groups)
{
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        // Without its groups; the first request gives the socket a port all the same.
        TRACE(s_channel, resource, kClass, "Cannot talk to rtnetlink (%s)", std::strerror(errno));
        return;
    }
    learnPort();
}

void Nl::learnPort()
{
    sockaddr_nl address{};
    socklen_t length = sizeof address;
    if (::getsockname(m_socket.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        m_port = address.nl_pid;
    }
}

void Nl::watch()
{
    if (m_runner == nullptr || !m_socket.valid()) {
        TRACE(s_channel, resource, kClass, "not adding fd (%d,%d)", m_runner != nullptr ? 1 : 0, m_socket.get());
        return;
    }
    io_manager::EFdError error;
    m_runner->addFileDescriptor(
        m_socket.get(), [this] { read(); }, error);
}

std::uint32_t Nl::sendRequest(const std::string& name, std::uint16_t type, std::uint16_t flags,
                              std::span<const std::uint8_t> body)
{
    if (!m_socket.valid()) {
        TRACE(s_channel, error, kClass, "fd unitialized (%d)", m_socket.get());
        return 0;
    }
    auto sequence = m_sequence.load() + 1;
    if (sequence == 0) { // 0 is what the kernel's own notifications carry
        sequence = 1;
    }

    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + body.size());
    header.nlmsg_type = type;
    header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
    header.nlmsg_seq = sequence;
    std::vector<std::uint8_t> message(io_manager::netlinkAligned(header.nlmsg_len));
    std::memcpy(message.data(), &header, sizeof header);
    std::copy(body.begin(), body.end(), message.begin() + sizeof header);

    // Known before the kernel can answer.
    m_sequence = sequence;
    m_sequences[name] = sequence;

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(m_socket.get(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&kernel),
                 sizeof kernel) < 0)
    {
        TRACE(s_channel, error, kClass, "Cannot send request (%s)", std::strerror(errno));
        m_sequences.erase(name);
        return 0;
    }
    if (m_port == 0) {
        learnPort();
    }
    return sequence;
}

std::uint32_t Nl::sequenceOf(const std::string& name) const
{
    const auto found = m_sequences.find(name);
    return found != m_sequences.end() ? found->second : 0;
}

// What has come meanwhile is read as well: a poll for each datagram would cost as much as reading it. The rest lets a
// storm gather, which would wake both threads for each datagram otherwise.
void Nl::read()
{
    for (unsigned number = 0; number < kMostAtOnce; ++number) {
        const auto length = peekLength();
        if (length < 0) {
            break;
        }
        take(static_cast<std::size_t>(length));
    }
    std::this_thread::sleep_for(kRest);
}

void Nl::take(std::size_t length)
{
    if (length > kLongestDatagram) {
        TRACE(s_channel, error, kClass, "Packet from netlink is bigger than we can handle %zu > %zu", length,
              kLongestDatagram);
        ::recv(m_socket.get(), nullptr, 0, MSG_DONTWAIT); // or it would be peeked at for ever
        return;
    }
    TRACE(s_channel, detail, kClass, "peeked len: %zu", length);
    receive(length);
}

ssize_t Nl::peekLength() const
{
    for (;;) {
        const auto length = ::recv(m_socket.get(), nullptr, 0, MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
        if (length >= 0 || errno == EAGAIN) {
            return length;
        }
        if (errno != EINTR) {
            TRACE(s_channel, error, kClass, "recvmsg: %s", std::strerror(errno));
            return length;
        }
    }
}

void Nl::receive(std::size_t length)
{
    SDatagram datagram{m_sequence, std::vector<std::uint8_t>(io_manager::netlinkAligned(length))};
    sockaddr_nl sender{};
    socklen_t senderLength = sizeof sender;
    const auto received = ::recvfrom(m_socket.get(), datagram.bytes.data(), datagram.bytes.size(), MSG_DONTWAIT,
                                     reinterpret_cast<sockaddr*>(&sender), &senderLength);
    if (received < 0) {
        TRACE(s_channel, error, kClass, "recvmsg: %s", std::strerror(errno));
        return;
    }
    if (senderLength != sizeof sender) {
        TRACE(s_channel, error, kClass, "size mismatch");
        return;
    }
    TRACE(s_channel, detail, kClass, "recv'd len: %zd, expecting %d", received, static_cast<int>(datagram.expected));
    datagram.bytes.resize(static_cast<std::size_t>(received));
    m_received.post(std::move(datagram));
}

void Nl::deliver(const SDatagram& datagram)
{
    const auto check = checkMessages(datagram.bytes, datagram.expected, m_port);
    TRACE(s_channel, detail, kClass, "chk: %d, #resp: %zu, #urc: %zu", check.result, check.responses.size(),
          check.unsolicited.size());
    if (check.result < 0) {
        TRACE(s_channel, error, kClass, "error %d on expected=%d", check.result, static_cast<int>(datagram.expected));
    }
    for (const auto* const response : check.responses) {
        notify(&INlEvent::nl_cmd_result, datagram.expected, 0, *response);
    }
    if (check.end != nullptr) {
        notify(&INlEvent::nl_cmd_result, datagram.expected, check.result, *check.end);
    }
    for (const auto* const message : check.unsolicited) {
        notify(&INlEvent::nl_urc, *message);
    }
}

} // namespace common_
